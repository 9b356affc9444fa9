// A palette in its place: selected into a context and realised, until the object ends; then the one before it is back,
// in the background.
#pragma once

#include "qel/platform/gdi/device_context.h"
#include "qel/platform/gdi/palette.h"

namespace qel::display {

class SelectedPalette {
 public:
  /// A null palette changes nothing.
  SelectedPalette(HDC hdc, HPALETTE hPal, BOOL bForceBkgd)
      : m_hdc(hdc), m_hBefore(hPal != nullptr ? SelectPalette(hdc, hPal, bForceBkgd) : nullptr) {
    if (hPal != nullptr) RealizePalette(hdc);
  }
  ~SelectedPalette() {
    if (m_hBefore == nullptr) return;
    SelectPalette(m_hdc, m_hBefore, TRUE);
    RealizePalette(m_hdc);
  }
  SelectedPalette(const SelectedPalette &) = delete;
  SelectedPalette &operator=(const SelectedPalette &) = delete;

 private:
  HDC m_hdc;
  HPALETTE m_hBefore;
};

}  // namespace qel::display

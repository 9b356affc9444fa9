// A bitmap of a context's depth, with a context to copy it from.
#pragma once

#include "qel/platform/gdi/bitmap.h"
#include "qel/platform/gdi/blit.h"
#include "qel/platform/gdi/device_context.h"
#include "qel/platform/gdi/object.h"
#include "qel/platform/types.h"

namespace qel::display {

class MemoryBitmap {
 public:
  MemoryBitmap(HDC hdc, long lWidth, long lHeight)
      : m_hdc(CreateCompatibleDC(hdc)),
        m_hBitmap(CreateCompatibleBitmap(hdc, static_cast<int>(lWidth), static_cast<int>(lHeight))) {}
  ~MemoryBitmap() {
    DeleteDC(m_hdc);
    DeleteObject(m_hBitmap);
  }
  MemoryBitmap(const MemoryBitmap &) = delete;
  MemoryBitmap &operator=(const MemoryBitmap &) = delete;

  /// Null when it cannot be had.
  HBITMAP Get() const { return m_hdc != nullptr ? m_hBitmap : nullptr; }

  /// Copies its top left corner into a rectangle.
  void CopyTo(HDC hdc, const RECT &rc) const {
    const HGDIOBJ hBefore = SelectObject(m_hdc, m_hBitmap);
    BitBlt(hdc, rc.left, rc.top, rc.right - rc.left, rc.bottom - rc.top, m_hdc, 0, 0, SRCCOPY);
    SelectObject(m_hdc, hBefore);
  }

 private:
  HDC m_hdc;
  HBITMAP m_hBitmap;
};

}  // namespace qel::display

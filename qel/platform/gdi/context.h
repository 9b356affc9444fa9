// What stands behind a device context's handle. Internal.
#pragma once

#include <memory>

#include "qel/platform/gdi/bitmap_object.h"
#include "qel/platform/gdi/colour_set.h"
#include "qel/platform/gdi/font_object.h"
#include "qel/platform/gdi/palette_object.h"
#include "qel/platform/gdi/surface.h"
#include "qel/platform/screen.h"

namespace qel::gdi {

/// Bits of a pixel on a screen, at most 32.
int DepthOf(const ScreenMode &mode);

class DeviceContext {
 public:
  /// For a window, or for the desktop, which has no surface.
  DeviceContext(const ScreenMode &mode, HWND hWnd, std::shared_ptr<Surface> surface);

  /// For bitmaps in memory.
  explicit DeviceContext(const ScreenMode &mode);

  const ScreenMode m_mode;
  const HWND m_hWnd = nullptr;
  const bool m_bMemory;

  Selected<Bitmap> m_bitmap;  // in memory only
  Selected<Palette> m_palette;
  Selected<Font> m_font;
  Pixel m_textColour = kBlack, m_bkColour = kWhite;
  int m_nBkMode = 2;

  /// What is drawn on; null for the desktop.
  Surface *Target() const { return m_bitmap ? m_bitmap->surface.get() : m_surface.get(); }

  /// What the target, or a bitmap filled through this context, shows of any colour.
  Shown TargetColours() { return ColoursOf(m_bitmap ? m_bitmap->Depth() : DepthOf(m_mode)); }
  Shown ColoursOf(int nDepth);

  /// True when the bitmap's pixels can go to the target as they are.
  bool SharesColours(const DeviceContext &source) const;

  /// Realises the selected palette; false when it was already.
  bool Realise();

 private:
  const std::shared_ptr<Surface> m_surface;
  HGDIOBJ m_hRealised = nullptr;
  Entries m_realised;
  ColourSet m_screenColours;  // for m_nScreenColoursDepth
  int m_nScreenColoursDepth = 0;
};

using ContextTable = HandleTable<HDC, DeviceContext>;
ContextTable &Contexts();

/// Ends the contexts of a window.
void EndContextsOf(HWND hWnd);

/// True for the desktop's handle and for null, which means it.
bool IsDesktop(HWND hWnd);

/// The surface of a window; null for other handles.
std::shared_ptr<Surface> SurfaceOf(HWND hWnd);

}  // namespace qel::gdi

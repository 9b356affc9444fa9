// The screen: what only a desktop would give, set by the application instead.
#pragma once

#include "qel/export.h"
#include "qel/platform/types.h"

/// Depth, size and resolution of the screen.
struct ScreenMode {
  int nBitsPixel;
  int nPlanes;
  int nWidth;
  int nHeight;
  int nDpiX;
  int nDpiY;
};

/// Sets the mode for surfaces and contexts made afterwards, those of older windows too. Default: 32 bits, 1 plane, 1920 x 1080, 96 x 96 dpi. A mode
/// with a field below 1 is ignored.
QEL_API void SetScreenMode(const ScreenMode &mode);

/// Makes an off-screen window, all black: its client area is a surface that contexts of GetDC draw on and GetPixel
/// reads. Null for a negative size or without memory.
QEL_API HWND CreateSurfaceWindow(int nWidth, int nHeight);

/// Ends a window and the contexts that were not released; 0 for a handle that is not one.
QEL_API BOOL DestroyWindow(HWND hWnd);

namespace qel {
/// The mode in force.
ScreenMode CurrentScreenMode();
}  // namespace qel

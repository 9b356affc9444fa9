// Device contexts: handles that answer for a device. Here: the desktop's, with its capabilities.
#pragma once

#include "qel/export.h"
#include "qel/platform/types.h"

/// The desktop window; always there.
QEL_API HWND GetDesktopWindow();

/// A context for a window, for the desktop when `hWnd` is null or the desktop window; null for another handle.
QEL_API HDC GetDC(HWND hWnd);

/// Gives a context of GetDC back; 0 when it is not one.
QEL_API int ReleaseDC(HWND hWnd, HDC hDC);

/// A capability by index (LOGPIXELSX, LOGPIXELSY, BITSPIXEL, PLANES, HORZRES, VERTRES); 0 for others and for a bad
/// handle.
QEL_API int GetDeviceCaps(HDC hDC, int nIndex);

/// SM_CXSCREEN and SM_CYSCREEN; 0 for others.
QEL_API int GetSystemMetrics(int nIndex);

// Windows: the desktop, and off-screen windows whose client area is a surface (see screen.h for making them).
#pragma once

#include "qel/export.h"
#include "qel/platform/types.h"

/// The desktop window; always there.
QEL_API HWND GetDesktopWindow();

/// The client area (0, 0, width, height), of the desktop the whole screen; 0 for a handle that is not a window.
QEL_API BOOL GetClientRect(HWND hWnd, RECT *pRect);

/// SM_CXSCREEN and SM_CYSCREEN; 0 for others.
QEL_API int GetSystemMetrics(int nIndex);

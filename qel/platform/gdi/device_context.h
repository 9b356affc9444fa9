// Device contexts: handles through which is drawn on a window, on a bitmap in memory, or that only answer for the
// screen.
//
// What is different here: surfaces store colours, not indices. On a screen of 8 bits or fewer a context shows the
// colours of the palette that is realised in it exactly, whatever other contexts have realised (each has the whole
// screen palette to itself, forced background or not), then the static colours where there is room; other colours are
// shown as the nearest of these. What was drawn keeps its colours when another palette is realised. On 15- and 16-bit
// screens a colour loses its low bits; deeper screens show every colour. The desktop has no pixels: its contexts answer
// for the screen and serve as models for others; drawing there fails.
#pragma once

#include "qel/export.h"
#include "qel/platform/gdi/object.h"
#include "qel/platform/types.h"

constexpr UINT GDI_ERROR = 0xFFFFFFFF;

// Contexts -----------------------------------------------------------------------------------------------------------

/// A context for a window in the screen mode in force, for the desktop when `hWnd` is null or the desktop window; null
/// for another handle.
QEL_API HDC GetDC(HWND hWnd);

/// Gives a context of GetDC back; 0 when it is not one of that window.
QEL_API int ReleaseDC(HWND hWnd, HDC hDC);

/// A context for drawing into bitmaps of the same device, with a monochrome bitmap of one pixel selected; null `hDC`:
/// for the screen. Null for a bad handle.
QEL_API HDC CreateCompatibleDC(HDC hDC);

/// Ends a context of CreateCompatibleDC; what it had selected may then be deleted. 0 when it is not one.
QEL_API BOOL DeleteDC(HDC hDC);

/// A capability by index (LOGPIXELSX, LOGPIXELSY, BITSPIXEL, PLANES, HORZRES, VERTRES); 0 for others and for a bad
/// handle.
QEL_API int GetDeviceCaps(HDC hDC, int nIndex);

// Selection ----------------------------------------------------------------------------------------------------------

/// Selects a bitmap or font and returns the handle of the one before it. Null, and nothing changed: a handle that is
/// neither (palettes have SelectPalette, brushes are handed to FillRect), a bitmap for a context that is not in memory,
/// one that another context has selected, or one that is neither monochrome nor of the context's depth.
QEL_API HGDIOBJ SelectObject(HDC hDC, HGDIOBJ hObject);

/// Selects a palette and returns the one before it; null for a bad handle. It serves indices (DIB_PAL_COLORS) at once,
/// and on screens of 8 bits or fewer decides which colours are shown once it is realised.
QEL_API HPALETTE SelectPalette(HDC hDC, HPALETTE hPal, BOOL bForceBkgd);

/// Makes the selected palette the one whose colours the context shows. The number of its entries, or 0 when it was
/// realised already and on screens without a palette; GDI_ERROR for a bad handle.
QEL_API UINT RealizePalette(HDC hDC);

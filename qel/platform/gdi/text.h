// Text on device contexts: colours, extents and single lines, drawn in 1 bit by the selected font.
//
// Text is UTF-8; bytes that are not are read as Windows-1252. Control characters take the room of a blank.
#pragma once

#include "qel/export.h"
#include "qel/platform/gdi/device_context.h"
#include "qel/platform/gdi/font.h"
#include "qel/platform/types.h"

constexpr UINT DT_LEFT = 0;
constexpr UINT DT_TOP = 0;
constexpr UINT DT_RIGHT = 2;
constexpr UINT DT_BOTTOM = 8;
constexpr UINT DT_NOPREFIX = 0x800;
constexpr int TRANSPARENT = 1;
constexpr int OPAQUE = 2;

/// Sets the colour of text (black at first) or of its background (white at first) and returns the one before it;
/// GDI_ERROR (CLR_INVALID) for a bad handle.
QEL_API COLORREF SetTextColor(HDC hDC, COLORREF rgb);
QEL_API COLORREF SetBkColor(HDC hDC, COLORREF rgb);

/// OPAQUE (at first) fills the line behind text with the background colour, TRANSPARENT does not. The mode before it; 0
/// for a bad handle or mode.
QEL_API int SetBkMode(HDC hDC, int nMode);

/// The extent of `nCount` bytes of text: the sum of its advances and the height of a line. 0 for a bad handle, null, a
/// negative count, or a font that cannot be loaded.
QEL_API BOOL GetTextExtentPointA(HDC hDC, const char *pText, int nCount, SIZE *pSize);

/// Draws `nCount` bytes of text (-1: up to its end) as one line, cut at the rectangle. Of the formats, DT_SINGLELINE is
/// needed and DT_CENTER, DT_RIGHT, DT_VCENTER, DT_BOTTOM and DT_NOPREFIX are obeyed: without the last, "&" underlines
/// the character that follows it and "&&" stands for one "&". Returns the height of the line; 0 for a bad handle,
/// another format, a context without pixels, or a font that cannot be loaded.
QEL_API int DrawTextA(HDC hDC, const char *pText, int nCount, RECT *pRect, UINT nFormat);

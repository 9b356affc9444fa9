// Rectangles and single pixels of device contexts: copied, filled, read and set.
#pragma once

#include "qel/export.h"
#include "qel/platform/gdi/device_context.h"
#include "qel/platform/types.h"

constexpr COLORREF CLR_INVALID = 0xFFFFFFFF;

/// Copies a rectangle, cut where either context ends; areas of one surface may overlap. From a monochrome bitmap to
/// colours, 0 becomes the destination's text colour and 1 its background colour; from colours to a monochrome bitmap,
/// pixels of the source's background colour become 1. 0: a bad handle, a context without pixels, a negative size, or
/// another operation than SRCCOPY.
QEL_API BOOL BitBlt(HDC hDst, int nX, int nY, int nWidth, int nHeight, HDC hSrc, int nSrcX, int nSrcY, DWORD dwRop);

/// A brush of one colour.
QEL_API HBRUSH CreateSolidBrush(COLORREF rgb);

/// Fills a rectangle with a brush; 0 for a bad handle or a context without pixels.
QEL_API int FillRect(HDC hDC, const RECT *pRect, HBRUSH hBrush);

/// The colour that a pixel shows; CLR_INVALID outside the context and for a bad handle.
QEL_API COLORREF GetPixel(HDC hDC, int nX, int nY);

/// Sets a pixel and returns the colour that it shows then; CLR_INVALID outside the context and for a bad handle. Bits
/// 24 to 31 of the colour are ignored here as everywhere.
QEL_API COLORREF SetPixel(HDC hDC, int nX, int nY, COLORREF rgb);

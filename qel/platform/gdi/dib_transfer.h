// Device-independent bitmaps to and from device-dependent ones, in whole or by a run of scan lines.
//
// Bit counts 1, 4, 8, 16, 24 and 32, uncompressed (BI_RGB, where 16 bits are 5-5-5, or BI_BITFIELDS), bottom-up or
// top-down (negative height). Scan lines are numbered in the order in which the DIB stores them. The DIB's top left
// pixel lies on the bitmap's, whatever their sizes; what one has and the other has not is left alone. The bitmap may be
// selected into a context. Channels of fewer than 8 bits become value x 255 / largest value, truncated.
#pragma once

#include "qel/export.h"
#include "qel/platform/gdi/bitmap.h"
#include "qel/platform/types.h"

/// A bitmap of the context's depth and of the size that the header names, with dwInit = CBM_INIT filled from `pBits` as
/// by SetDIBits. Null when either fails.
QEL_API HBITMAP CreateDIBitmap(HDC hDC, const BITMAPINFOHEADER *pHeader, DWORD dwInit, const void *pBits,
                               const BITMAPINFO *pInfo, UINT nUsage);

/// Stores `nLines` scan lines from line `nStart` on; `pBits` is where line `nStart` begins. Colours come from the table
/// (DIB_RGB_COLORS), or from its 16-bit indices into the palette selected in `hDC` (DIB_PAL_COLORS; black beyond the
/// palette), and are shown as that context shows them. Returns the lines taken, 0 on any bad argument.
QEL_API int SetDIBits(HDC hDC, HBITMAP hBitmap, UINT nStart, UINT nLines, const void *pBits, const BITMAPINFO *pInfo,
                      UINT nUsage);

/// Reads `nLines` scan lines from line `nStart` on in the format that the header tells, and for 8 bits and fewer writes
/// the colour table: as many entries as biClrUsed allows (0: all that the bit count has) of the palette selected in
/// `hDC`, or of the default colours of that depth; with DIB_PAL_COLORS the indices 0, 1, 2... Pixels become the nearest
/// of them; the bits of a monochrome bitmap are read into 1-bit lines as they are. Null `pBits`: only the table, and
/// the header fields that tell size and format when biBitCount is 0. Returns the lines read (all of the bitmap's with
/// null `pBits`), 0 on any bad argument.
QEL_API int GetDIBits(HDC hDC, HBITMAP hBitmap, UINT nStart, UINT nLines, void *pBits, BITMAPINFO *pInfo, UINT nUsage);

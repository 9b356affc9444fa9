// Device-dependent bitmaps: pixels in memory that a context of CreateCompatibleDC draws on.
//
// What is different here: a width or height below 1 gives null, never a bitmap of one pixel.
#pragma once

#include "qel/export.h"
#include "qel/platform/gdi/object.h"
#include "qel/platform/types.h"

/// A bitmap of the context's depth, cleared to 0; monochrome for a memory context that has a monochrome bitmap
/// selected. Null for a bad handle or size, or without memory.
QEL_API HBITMAP CreateCompatibleBitmap(HDC hDC, int nWidth, int nHeight);

/// A bitmap of nPlanes x nBitsPixel = 1 (monochrome), 4, 8, 16, 24 or 32 bits, cleared to 0 or made from rows of
/// `pBits` that are padded to 16 bits, top row first: bits, indices of the default colours of that depth, 5-6-5 words
/// or blue, green, red bytes. Null for others, for rows of several planes, and without memory.
QEL_API HBITMAP CreateBitmap(int nWidth, int nHeight, UINT nPlanes, UINT nBitsPixel, const void *pBits);

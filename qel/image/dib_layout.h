// The measures of a device-independent bitmap: row bytes, header parts, store size in both layouts.
//
// Everything is computed and checked here before an image is touched, so that a size which does not fit is refused
// while the image at hand is still whole.
#pragma once

#include "qel/platform/types.h"

namespace qel::image {

constexpr long kHeaderBytes = 40;        // BITMAPINFOHEADER
constexpr long kMaskBytes = 12;          // three bit-field masks
constexpr long kMaxColors = 256;         // entries that every header block has room for
constexpr long kMinScratchBytes = 1024;  // scratch line of a header block, when a row is shorter
constexpr long kMaxInfoBytes = kHeaderBytes + kMaskBytes + kMaxColors * 4;

/// Header, masks and colour table in one piece, as they open a packed DIB and a header block.
struct PackedInfo {
  BITMAPINFOHEADER bih;
  unsigned char rest[kMaxInfoBytes - kHeaderBytes];
};
static_assert(sizeof(PackedInfo) == kMaxInfoBytes);

/// Bytes of a stored row, a multiple of 4.
constexpr long RowBytes(int nBits, long lWidth) {
  return (nBits * lWidth + 31) / 32 * 4;
}

/// Offset of the colour table behind header and masks.
constexpr long ColorTableOffset(DWORD dwCompression) {
  return kHeaderBytes + (dwCompression == BI_BITFIELDS ? kMaskBytes : 0);
}

/// What an image is made after.
struct ImageShape {
  int nBits = 0;
  long lWidth = 0;
  long lHeight = 0;  // rows; negative: top row first
  DWORD dwCompression = BI_RGB;
  long lColors = 0;     // entries of the colour table
  long lBlockSize = 0;  // edge of a block; 0: linear layout
  long lHeaderBytes = kHeaderBytes;
};

/// What follows from it.
struct ImageMeasures {
  long lRows = 0;
  long lLineBytes = 0;
  long lPixelOffset = 0;
  long lLinearBytes = 0;  // rows x line bytes
  long lXBlocks = 0;
  long lYBlocks = 0;
  long lBlockBytes = 0;
  long lStoreBytes = 0;
};

/// True when a packed DIB from outside describes plain rows, with masks and table where they are looked for: behind 40
/// bytes. A longer header passes when no table is in use; its masks stand at 40 too.
bool IsPlainHeader(const BITMAPINFOHEADER &bih);

/// Measures an image. False, for what is no image (width below 1, no rows, bits 0), does not fit a header's fields, or
/// overflows; `*pMeasures` is undefined then.
bool MeasureImage(const ImageShape &shape, ImageMeasures *pMeasures);

/// Dots per metre of the desktop.
void GetDesktopResolution(LONG *plDpmX, LONG *plDpmY);

/// Fills a missing resolution in: with the other direction's, or both with the desktop's.
void RepairResolution(LONG *plDpmX, LONG *plDpmY);

}  // namespace qel::image

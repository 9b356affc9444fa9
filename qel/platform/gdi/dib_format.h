// What a DIB's header says about its lines. Internal.
#pragma once

#include "qel/platform/gdi/pixel.h"

namespace qel::gdi {

struct DibFormat {
  int nWidth = 0;
  int nHeight = 0;  // never negative
  bool bTopDown = false;
  int nBits = 0;
  size_t nStride = 0;
  int nColours = 0;     // entries of the colour table that count, 0 above 8 bits
  size_t nTable = 0;    // where the table starts, in bytes from the header's start
  ChannelFields words;  // for 16 bits, and for 32 bits with masks
  bool bMasks = false;

  /// The row, from the top, that scan line `nLine` holds.
  int RowOf(UINT nLine) const { return bTopDown ? static_cast<int>(nLine) : nHeight - 1 - static_cast<int>(nLine); }
};

/// Reads a header; false when there is none or when its lines cannot be transferred.
bool ReadDibFormat(const BITMAPINFO *pInfo, DibFormat *pFormat);

}  // namespace qel::gdi

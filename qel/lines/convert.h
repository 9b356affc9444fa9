// Conversions of whole lines between pixel formats. Lines are packed by the DIB rule: 1-bit pixels most significant bit
// first, 4-bit pixels high nibble first, 24-bit pixels blue, green, red, deeper channels low byte first. `n` counts
// pixels; no function reads or writes a byte behind the last one of its pixels.
#pragma once

#include "qel/export.h"
#include "qel/platform/types.h"

/// n 24-bit pixels to gray levels: (77 red + 150 green + 28 blue) / 255, truncated.
QEL_API void QelAsmConvert24to8G(unsigned char *pDst, unsigned char *pSrc, unsigned long n);

/// n gray levels to a packed 1-bit line. byInvert 0: a pixel is 1 when its level is at or above byThreshold, and the
/// bits behind the last pixel are 1; else a pixel is 1 when its level is below, and those bits are 0.
QEL_API void QelAsmConvert8to1(unsigned char *pDst, unsigned char *pSrc, unsigned long n, unsigned char byInvert,
                               unsigned char byThreshold);

namespace qel::lines {

// To gray levels -----------------------------------------------------------------------------------------------------

/// Each bit becomes 0 or 255; with `invert` the other way round.
void BitsToGray(unsigned char *dst, const unsigned char *src, long n, bool invert);

/// n 24-bit pixels to (30 red + 59 green + 11 blue) / 100, truncated: the levels that colour conversion compares.
void Rgb24ToLuma(unsigned char *dst, const unsigned char *src, long n);

/// Each nibble becomes nibble x 17.
void NibblesToGray(unsigned char *dst, const unsigned char *src, long n);

// From gray levels ---------------------------------------------------------------------------------------------------

/// Each level becomes level / 17; an odd last one goes to a high nibble, the low one is 0.
void GrayToNibbles(unsigned char *dst, const unsigned char *src, long n);

// To 24 bits ---------------------------------------------------------------------------------------------------------

/// Indices of 1, 4 and 8 bits become their colour-table entries (2, 16 and 256 of them are read at most).
void BitsTo24(unsigned char *dst, const unsigned char *src, long n, const RGBQUAD *table);
void NibblesTo24(unsigned char *dst, const unsigned char *src, long n, const RGBQUAD *table);
void BytesTo24(unsigned char *dst, const unsigned char *src, long n, const RGBQUAD *table);

/// The one of them for indices of 1, 4 or 8 bits.
void IndicesTo24(unsigned char *dst, const unsigned char *src, int bits, long n, const RGBQUAD *table);

/// Each level three times.
void GrayTo24(unsigned char *dst, const unsigned char *src, long n);

/// 16-bit pixels: each channel c of 5 bits becomes c x 255 / 31, the 6-bit green c x 255 / 63, truncated.
void Rgb555To24(unsigned char *dst, const unsigned char *src, long n);
void Rgb565To24(unsigned char *dst, const unsigned char *src, long n);

/// 32-bit pixels lose their fourth byte, 48-bit pixels keep the low byte of each channel.
void Rgb32To24(unsigned char *dst, const unsigned char *src, long n);
void Rgb48To24(unsigned char *dst, const unsigned char *src, long n);

// From 24 bits -------------------------------------------------------------------------------------------------------

/// Each channel c becomes c x 31 / 255 (the 6-bit green c x 63 / 255), truncated.
void Rgb24To555(unsigned char *dst, const unsigned char *src, long n);
void Rgb24To565(unsigned char *dst, const unsigned char *src, long n);

/// Blue, green, red, 0.
void Rgb24To32(unsigned char *dst, const unsigned char *src, long n);

/// Each byte c becomes c x 257.
void Rgb24To48(unsigned char *dst, const unsigned char *src, long n);

// Maps ---------------------------------------------------------------------------------------------------------------

/// line[i] = map[line[i]], in place.
void MapBytes(unsigned char *line, long n, const unsigned char *map);

/// 24-bit pixels in place through a 768-byte map: red, green and blue tables of 256.
void Map24(unsigned char *line, long n, const unsigned char *map);

// Reversal -----------------------------------------------------------------------------------------------------------

/// Output pixel i is input pixel n - 1 - i, for 1, 4, 8, 16, 24, 32 and 48 bits. The bits behind a 1- or 4-bit line are
/// 0. The two lines do not overlap. False for other bit counts.
bool ReversePixels(unsigned char *dst, const unsigned char *src, long n, int bits);

}  // namespace qel::lines

// Lines through a colour map: indices of 1, 4 and 8 bits, or the 12-bit keys of 24-bit pixels, become indices of
// another palette, packed for 1, 4 or 8 bits. Lines and `n` are as in convert.h; bits of a destination byte that belong
// to no pixel of the line stay.
#pragma once

#include <cstdint>

namespace qel::lines {

/// Pixel i becomes map[index or key of source pixel i]: a map of 2, 16 or 256 entries for sources of 1, 4 and 8 bits,
/// of 4096 for 24 bits. A destination of 1 bit takes every map value but 0 as 1, one of 4 bits the low four bits.
void MapPixels(unsigned char *dst, int dstBits, const unsigned char *src, int srcBits, long n,
               const unsigned char *map);

/// Packs n values, one a byte, for 1 bit (1 for every value but 0), 4 bits (the low four) or 8.
void PackIndices(unsigned char *dst, int bits, const unsigned char *src, long n);

/// The keys of 24-bit pixels: the high four bits of red, green and blue.
void Rgb24ToKeys(std::uint16_t *keys, const unsigned char *src, long n);

/// Indices of 1, 4 or 8 bits that are not below `count` (at least 1) become 0, in place; so do the bits of the last
/// byte behind the last pixel of a line of 1 bit that has one colour.
void LimitIndices(unsigned char *line, int bits, long n, int count);

namespace plain {

void Rgb24ToKeys(std::uint16_t *keys, const unsigned char *src, long n);

}  // namespace plain
}  // namespace qel::lines

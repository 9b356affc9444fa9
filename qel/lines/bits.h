// Pixels of 1 and 4 bits as parts of bytes: columns of them gathered into lines and spread from lines.
//
// A column is read as one stored byte a pixel; the pixel is the same part of each of them, named by the shift that
// moves it to the low end (7 - x mod 8 for 1 bit, 4 or 0 for 4 bits).
#pragma once

namespace qel::lines {

/// Takes the bits under `mask` from `by` and the others from `rest`.
constexpr unsigned char MergeBits(unsigned by, unsigned rest, unsigned mask) {
  return static_cast<unsigned char>((by & mask) | (rest & ~mask));
}

/// Packs one bit of each of `count` bytes into a line; bits of its last byte behind the last pixel become 0.
void PackColumn1(unsigned char *dst, const unsigned char *column, long count, int shift);

/// Packs one nibble of each of `count` bytes into a line; for an odd count the low nibble of its last byte stays.
void PackColumn4(unsigned char *dst, const unsigned char *column, long count, int shift);

/// Replaces one bit of each of `count` bytes by the pixels of a line.
void SpreadColumn1(unsigned char *column, const unsigned char *src, long count, int shift);

/// Replaces one nibble of each of `count` bytes by the pixels of a line.
void SpreadColumn4(unsigned char *column, const unsigned char *src, long count, int shift);

}  // namespace qel::lines

// Lines of pixels as surfaces hold them: to and from lines of DIBs, and painted by bits. Internal.
//
// A pixel here is 32 bits: 0 in the high byte, then red, green, blue. DIB lines are packed as usual: 1-bit pixels most
// significant bit first, 4-bit pixels high nibble first, deeper ones low byte first. `n` counts pixels.
#pragma once

#include <cstdint>

#include "qel/platform/types.h"

namespace qel::lines {

using Pixel = std::uint32_t;

constexpr Pixel kBlack = 0;
constexpr Pixel kWhite = 0xFFFFFF;

/// A colour reference (red in the low byte) as a pixel and back: red and blue change places, the high byte is dropped.
constexpr Pixel SwapRedBlue(std::uint32_t n) {
  return (n & 0xFF) << 16 | (n & 0xFF00) | (n >> 16 & 0xFF);
}

constexpr Pixel MakePixel(BYTE byRed, BYTE byGreen, BYTE byBlue) {
  return Pixel{byRed} << 16 | Pixel{byGreen} << 8 | byBlue;
}

// Lines of DIBs ------------------------------------------------------------------------------------------------------

/// Indices of 1, 4 or 8 bits through a table of 2, 16 or 256 pixels, from the source's pixel `x` on.
void IndicesToPixels(Pixel *dst, const BYTE *src, int bits, long x, long n, const Pixel *table);

/// The low bits of one byte an index, packed to lines of 1, 4 or 8 bits; bits behind the last pixel are 0.
void PackLowBits(BYTE *dst, const BYTE *indices, int bits, long n);

/// The other way: n packed indices of 1, 2, 4 or 8 bits become a byte each.
void UnpackIndices(BYTE *indices, const BYTE *src, int bits, long n);

/// Blue, green, red and a byte that is dropped. (Pixels are lines of Rgb24To32 and go to 24 bits by Rgb32To24.)
void Rgb32ToPixels(Pixel *dst, const BYTE *src, long n);

/// Where a channel lies in words of 16 or 32 bits: its bits from `shift` on, at most 8 of them, and their values as
/// levels.
struct ChannelField {
  std::uint32_t mask = 0;
  int shift = 0;
  int bits = 0;
  BYTE levels[256] = {};
};

/// The field under a mask: value v of w bits becomes v x 255 / (2^w - 1), truncated. Of more than 8 bits the upper 8
/// count.
ChannelField MakeField(std::uint32_t mask);

struct ChannelFields {
  ChannelField red, green, blue;
};

/// Words of `bytes` (2 or 4) bytes from and to pixels; levels lose their low bits.
void WordsToPixels(Pixel *dst, const BYTE *src, int bytes, long n, const ChannelFields &fields);
void PixelsToWords(BYTE *dst, const Pixel *src, int bytes, long n, const ChannelFields &fields);

/// In place: `same` where a pixel equals `match`, `other` elsewhere.
void TellApart(Pixel *line, long n, Pixel match, Pixel same, Pixel other);

/// In place: black or white, whichever is nearer.
void ToBlackAndWhite(Pixel *line, long n);

/// What is left of each pixel when it goes through the words.
void RoundToWords(Pixel *line, long n, const ChannelFields &fields);

// Lines of bits ------------------------------------------------------------------------------------------------------

/// Sets the bits from `x` on where a pixel equals `one`, clears them elsewhere.
void PackBits(BYTE *dst, long x, const Pixel *src, long n, Pixel one);

/// Sets or clears n bits from `x` on.
void FillBits(BYTE *dst, long x, long n, bool set);

/// Writes `pixel` where a bit from `x` on is set.
void PaintSetBits(Pixel *dst, const BYTE *bits, long x, long n, Pixel pixel);

/// Sets or clears the bits from `dstX` on where a bit from `x` on is set.
void PaintBitsOnBits(BYTE *dst, long dstX, const BYTE *bits, long x, long n, bool set);

}  // namespace qel::lines

// Lines of pixels as surfaces hold them: lines of DIBs to pixels and back, bits to pixels and back.

#include "qel/lines/pixels.h"

#include <bit>
#include <cstring>

namespace qel::lines {

// Indices ------------------------------------------------------------------------------------------------------------

namespace {

// Several indices in each byte: whole bytes at once, single ones before and behind them.
template <int bits>
void UnpackIndices(Pixel *dst, const BYTE *src, long x, long n, const Pixel *table) {
  constexpr int kPerByte = 8 / bits, kMask = (1 << bits) - 1;
  const auto at = [=](long i) { return table[src[i / kPerByte] >> (kPerByte - 1 - i % kPerByte) * bits & kMask]; };
  const long lEnd = x + n;
  for (; x < lEnd && x % kPerByte != 0; ++x) *dst++ = at(x);
  for (; x + kPerByte <= lEnd; x += kPerByte, dst += kPerByte)
    for (int k = 0; k < kPerByte; ++k) dst[k] = table[src[x / kPerByte] >> (kPerByte - 1 - k) * bits & kMask];
  for (; x < lEnd; ++x) *dst++ = at(x);
}

}  // namespace

void IndicesToPixels(Pixel *dst, const BYTE *src, int bits, long x, long n, const Pixel *table) {
  if (bits == 8) {
    for (long i = 0; i < n; ++i) dst[i] = table[src[x + i]];
  } else if (bits == 4) {
    UnpackIndices<4>(dst, src, x, n, table);
  } else {
    UnpackIndices<1>(dst, src, x, n, table);
  }
}

void PackLowBits(BYTE *dst, const BYTE *indices, int bits, long n) {
  if (bits == 8) {
    std::memcpy(dst, indices, static_cast<size_t>(n));
    return;
  }
  const long lPerByte = 8 / bits;
  const unsigned mask = (1u << bits) - 1;
  for (long i = 0; i < n; i += lPerByte, ++dst) {
    unsigned by = 0;
    for (long k = 0; k < lPerByte; ++k) by = by << bits | (i + k < n ? indices[i + k] & mask : 0u);
    *dst = static_cast<BYTE>(by);
  }
}

void UnpackIndices(BYTE *indices, const BYTE *src, int bits, long n) {
  for (long i = 0; i < n; ++i) {
    const long bit = i * bits;
    indices[i] = static_cast<BYTE>(src[bit / 8] >> (8 - bits - bit % 8) & ((1 << bits) - 1));
  }
}

// 32 bits --------------------------------------------------------------------------------------------------------

void Rgb32ToPixels(Pixel *dst, const BYTE *src, long n) {
  for (long i = 0; i < n; ++i) {
    Pixel pixel;
    std::memcpy(&pixel, src + 4 * i, 4);
    dst[i] = pixel & 0xFFFFFF;
  }
}

// Words with fields --------------------------------------------------------------------------------------------------

ChannelField MakeField(std::uint32_t mask) {
  ChannelField field;
  if (mask == 0) return field;
  field.mask = mask;
  field.shift = std::countr_zero(mask);
  field.bits = std::bit_width(mask) - field.shift;
  if (field.bits > 8) field.shift += field.bits - 8, field.bits = 8;
  const int nLargest = (1 << field.bits) - 1;
  for (int v = 0; v <= nLargest; ++v) field.levels[v] = static_cast<BYTE>(v * 255 / nLargest);
  return field;
}

namespace {

BYTE Level(std::uint32_t word, const ChannelField &field) {
  return field.levels[(word & field.mask) >> field.shift & 0xFF];
}

Pixel FromWord(std::uint32_t word, const ChannelFields &fields) {
  return MakePixel(Level(word, fields.red), Level(word, fields.green), Level(word, fields.blue));
}

std::uint32_t Word(Pixel level, const ChannelField &field) {
  return ((level & 0xFF) >> (8 - field.bits) << field.shift) & field.mask;
}

std::uint32_t ToWord(Pixel pixel, const ChannelFields &fields) {
  return Word(pixel >> 16, fields.red) | Word(pixel >> 8, fields.green) | Word(pixel, fields.blue);
}

}  // namespace

void WordsToPixels(Pixel *dst, const BYTE *src, int bytes, long n, const ChannelFields &fields) {
  for (long i = 0; i < n; ++i, src += bytes) {
    std::uint32_t word = src[0] | src[1] << 8;
    if (bytes == 4) std::memcpy(&word, src, 4);
    dst[i] = FromWord(word, fields);
  }
}

void PixelsToWords(BYTE *dst, const Pixel *src, int bytes, long n, const ChannelFields &fields) {
  for (long i = 0; i < n; ++i, dst += bytes) {
    const std::uint32_t word = ToWord(src[i], fields);
    std::memcpy(dst, &word, static_cast<size_t>(bytes));
  }
}

void RoundToWords(Pixel *line, long n, const ChannelFields &fields) {
  for (long i = 0; i < n; ++i) line[i] = FromWord(ToWord(line[i], fields), fields);
}

void TellApart(Pixel *line, long n, Pixel match, Pixel same, Pixel other) {
  for (long i = 0; i < n; ++i) line[i] = line[i] == match ? same : other;
}

void ToBlackAndWhite(Pixel *line, long n) {
  constexpr Pixel kHalf = 3 * 255 / 2;
  for (long i = 0; i < n; ++i) {
    const Pixel sum = (line[i] & 0xFF) + (line[i] >> 8 & 0xFF) + (line[i] >> 16);
    line[i] = sum > kHalf ? kWhite : kBlack;
  }
}

// Bits ---------------------------------------------------------------------------------------------------------------

void PackBits(BYTE *dst, long x, const Pixel *src, long n, Pixel one) {
  for (long i = 0; i < n; ++i, ++x) {
    const unsigned bit = 0x80u >> (x & 7);
    dst[x / 8] = static_cast<BYTE>(src[i] == one ? dst[x / 8] | bit : dst[x / 8] & ~bit);
  }
}

void FillBits(BYTE *dst, long x, long n, bool set) {
  const auto fill = [&](long lByte, unsigned mask) {
    dst[lByte] = static_cast<BYTE>(set ? dst[lByte] | mask : dst[lByte] & ~mask);
  };
  if (n <= 0) return;
  const long lFirst = x / 8, lLast = (x + n - 1) / 8;
  const unsigned head = 0xFFu >> (x & 7), tail = 0xFF00u >> ((x + n - 1) & 7) >> 1 & 0xFF;
  if (lFirst == lLast) {
    fill(lFirst, head & tail);
    return;
  }
  fill(lFirst, head);
  std::memset(dst + lFirst + 1, set ? 0xFF : 0, static_cast<size_t>(lLast - lFirst - 1));
  fill(lLast, tail);
}

void PaintSetBits(Pixel *dst, const BYTE *bits, long x, long n, Pixel pixel) {
  for (long i = 0; i < n; ++i, ++x)
    if (bits[x / 8] & 0x80 >> (x & 7)) dst[i] = pixel;
}

void PaintBitsOnBits(BYTE *dst, long dstX, const BYTE *bits, long x, long n, bool set) {
  for (long i = 0; i < n; ++i, ++x, ++dstX)
    if (bits[x / 8] & 0x80 >> (x & 7)) {
      const unsigned bit = 0x80u >> (dstX & 7);
      dst[dstX / 8] = static_cast<BYTE>(set ? dst[dstX / 8] | bit : dst[dstX / 8] & ~bit);
    }
}

}  // namespace qel::lines

// Rows turned into columns: bytes in squares of 16 x 16 by interleaving vectors, bits in squares of 8 x 8 within a
// 64-bit word (Warren, Hacker's Delight, 2003), wider pixels one by one.

#include "qel/lines/transpose.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "qel/lines/transpose.cpp"
#include <hwy/foreach_target.h>  // must come before highway.h
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace qel::lines::HWY_NAMESPACE {

#if HWY_TARGET == HWY_SCALAR

long TransposeSquares(unsigned char *, long, const unsigned char *, long, long, long) {
  return 0;
}

#else

namespace hn = hwy::HWY_NAMESPACE;

using Block = hn::FixedTag<std::uint8_t, 16>;

/// Four perfect shuffles of 16 vectors bring byte j of vector i to byte i of vector j.
inline void TransposeSquare(unsigned char *dst, long dstStride, const unsigned char *src, long srcStride) {
  const Block d;
  hn::Vec<Block> a[16], b[16];
  for (int i = 0; i < 16; ++i) a[i] = hn::LoadU(d, src + i * srcStride);
  const auto shuffle = [d](hn::Vec<Block> *to, const hn::Vec<Block> *from) {
    for (int k = 0; k < 8; ++k) {
      to[2 * k] = hn::InterleaveLower(d, from[k], from[k + 8]);
      to[2 * k + 1] = hn::InterleaveUpper(d, from[k], from[k + 8]);
    }
  };
  shuffle(b, a), shuffle(a, b), shuffle(b, a), shuffle(a, b);
  for (int j = 0; j < 16; ++j) hn::StoreU(a[j], d, dst + j * dstStride);
}

/// Whole squares of 16 rows from row 0 on; returns the rows done, in all columns that fill squares.
long TransposeSquares(unsigned char *dst, long dstStride, const unsigned char *src, long srcStride, long width,
                      long height) {
  const long rows = height / 16 * 16;
  for (long i = 0; i < rows; i += 16)
    for (long j = 0; j + 16 <= width; j += 16)
      TransposeSquare(dst + j * dstStride + i, dstStride, src + i * srcStride + j, srcStride);
  return rows;
}

#endif

}  // namespace qel::lines::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace qel::lines {

HWY_EXPORT(TransposeSquares);

namespace {

/// Pixels of whole bytes in columns from `first` on.
template <int kBytes>
void TransposePixels(unsigned char *dst, long dstStride, const unsigned char *src, long srcStride, long first,
                     long width, long height) {
  for (long j = first; j < width; ++j) {
    unsigned char *to = dst + j * dstStride;
    const unsigned char *from = src + j * kBytes;
    for (long i = 0; i < height; ++i, to += kBytes, from += srcStride) std::memcpy(to, from, kBytes);
  }
}

/// 24-bit pixels as four bytes each: the fourth is overwritten by the pixel after it. So the last column, behind which
/// a row may end, and the last pixel of each destination row go in three.
void TransposeTrios(unsigned char *dst, long dstStride, const unsigned char *src, long srcStride, long width,
                    long height) {
  for (long j = 0; j + 1 < width; ++j) {
    unsigned char *to = dst + j * dstStride;
    const unsigned char *from = src + 3 * j;
    for (long i = 0; i + 1 < height; ++i, to += 3, from += srcStride) std::memcpy(to, from, 4);
    std::memcpy(to, from, 3);
  }
  TransposePixels<3>(dst, dstStride, src, srcStride, width - 1, width, height);
}

void TransposeBytes(unsigned char *dst, long dstStride, const unsigned char *src, long srcStride, long width,
                    long height) {
  const long rows = HWY_DYNAMIC_DISPATCH(TransposeSquares)(dst, dstStride, src, srcStride, width, height);
  const long columns = rows > 0 ? width / 16 * 16 : 0;
  TransposePixels<1>(dst, dstStride, src, srcStride, columns, width, rows);
  TransposePixels<1>(dst + rows, dstStride, src + rows * srcStride, srcStride, 0, width, height - rows);
}

void TransposeNibbles(unsigned char *dst, long dstStride, const unsigned char *src, long srcStride, long width,
                      long height) {
  for (long i = 0; i < height; i += 2) {
    const unsigned char *const upper = src + i * srcStride, *const lower = upper + srcStride;
    for (long j = 0; j < width; j += 2) {
      const int a = upper[j / 2], b = i + 1 < height ? lower[j / 2] : 0;
      unsigned char *const to = dst + j * dstStride + i / 2;
      to[0] = static_cast<unsigned char>((a & 0xF0) | b >> 4);
      if (j + 1 < width) to[dstStride] = static_cast<unsigned char>((a & 0x0F) << 4 | (b & 0x0F));
    }
  }
}

/// An 8 x 8 square of bits, row 0 in the highest byte, the leftmost bit the highest of its byte.
std::uint64_t TransposeSquareOfBits(std::uint64_t x) {
  std::uint64_t t = (x ^ x >> 7) & 0x00AA00AA00AA00AA;
  x ^= t ^ t << 7;
  t = (x ^ x >> 14) & 0x0000CCCC0000CCCC;
  x ^= t ^ t << 14;
  t = (x ^ x >> 28) & 0x00000000F0F0F0F0;
  return x ^ t ^ t << 28;
}

/// 64 x 64 bits, in words with the leftmost bit the highest.
void TransposeBlockOfBits(std::uint64_t *rows) {
  std::uint64_t mask = 0x00000000FFFFFFFF;
  for (int half = 32; half > 0; half >>= 1, mask ^= mask << half)
    for (int first = 0; first < 64; first += 2 * half)
      for (int k = first; k < first + half; ++k) {
        const std::uint64_t t = (rows[k] ^ rows[k + half] >> half) & mask;
        rows[k] ^= t;
        rows[k + half] ^= t << half;
      }
}

void MoveBlockOfBits(unsigned char *dst, long dstStride, const unsigned char *src, long srcStride) {
  std::uint64_t rows[64];
  for (int r = 0; r < 64; ++r) {
    std::memcpy(rows + r, src + r * srcStride, 8);
    rows[r] = __builtin_bswap64(rows[r]);
  }
  TransposeBlockOfBits(rows);
  for (int c = 0; c < 64; ++c) {
    rows[c] = __builtin_bswap64(rows[c]);
    std::memcpy(dst + c * dstStride, rows + c, 8);
  }
}

void MoveSquareOfBits(unsigned char *dst, long dstStride, const unsigned char *src, long srcStride, long rows,
                      long columns) {
  std::uint64_t square = 0;
  for (long r = 0; r < rows; ++r) square |= static_cast<std::uint64_t>(src[r * srcStride]) << (56 - 8 * r);
  square = TransposeSquareOfBits(square);
  for (long c = 0; c < columns; ++c) dst[c * dstStride] = static_cast<unsigned char>(square >> (56 - 8 * c));
}

/// Whole blocks first, then the squares to the right of them and below.
void TransposeBits(unsigned char *dst, long dstStride, const unsigned char *src, long srcStride, long width,
                   long height) {
  for (long i = 0; i < height; i += 8)
    for (long j = 0; j < width;) {
      unsigned char *const to = dst + j * dstStride + i / 8;
      const unsigned char *const from = src + i * srcStride + j / 8;
      if (i / 64 * 64 + 64 <= height && j / 64 * 64 + 64 <= width) {
        if (i % 64 == 0) MoveBlockOfBits(to, dstStride, from, srcStride);
        j += 64;
      } else {
        MoveSquareOfBits(to, dstStride, from, srcStride, std::min(height - i, 8L), std::min(width - j, 8L));
        j += 8;
      }
    }
}

}  // namespace

void Transpose(unsigned char *dst, long dstStride, const unsigned char *src, long srcStride, long width, long height,
               int bits) {
  if (width < 1 || height < 1) return;
  switch (bits) {
    case 1:
      return TransposeBits(dst, dstStride, src, srcStride, width, height);
    case 4:
      return TransposeNibbles(dst, dstStride, src, srcStride, width, height);
    case 8:
      return TransposeBytes(dst, dstStride, src, srcStride, width, height);
    case 16:
      return TransposePixels<2>(dst, dstStride, src, srcStride, 0, width, height);
    case 24:
      return TransposeTrios(dst, dstStride, src, srcStride, width, height);
    case 32:
      return TransposePixels<4>(dst, dstStride, src, srcStride, 0, width, height);
    case 48:
      return TransposePixels<6>(dst, dstStride, src, srcStride, 0, width, height);
  }
}

}  // namespace qel::lines

#endif  // HWY_ONCE

// Rows turned into columns: pixels in squares as wide as a vector of 16 bytes by interleaving vectors. Bits and nibbles
// are first brought together in bytes, eight or two rows at a time, which then move like pixels of 8 bits. What fills
// no square goes one by one, bits in squares of 8 x 8 within a 64-bit word (Warren, Hacker's Delight, 2003).

#include "qel/lines/transpose.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "qel/lines/transpose.cpp"
#include <hwy/foreach_target.h>  // must come before highway.h
#include <hwy/highway.h>

#ifndef QEL_LINES_TRANSPOSE_ONCE
#define QEL_LINES_TRANSPOSE_ONCE

namespace qel::lines {

/// The corner of a picture that consists of whole squares.
struct Corner {
  long width, height;
};

}  // namespace qel::lines

#endif  // QEL_LINES_TRANSPOSE_ONCE

HWY_BEFORE_NAMESPACE();
namespace qel::lines::HWY_NAMESPACE {

#if HWY_TARGET == HWY_SCALAR

Corner TransposeSquares(unsigned char *, long, const unsigned char *, long, long, long, int) {
  return {0, 0};
}

#else

namespace hn = hwy::HWY_NAMESPACE;

using Block = hn::FixedTag<std::uint8_t, 16>;
using BlockVector = hn::Vec<Block>;

constexpr long kBlockBytes = 16;

/// A square of as many rows as a block has lanes of type T. A perfect shuffle of the rows moves one bit of a pixel's
/// column into its row; after as many as the column has bits, pixel j of row i has become pixel i of row j.
template <class T, class Load, class Store>
inline void TransposeRows(Load load, Store store) {
  constexpr int n = kBlockBytes / sizeof(T);
  const hn::FixedTag<T, n> d;
  hn::Vec<decltype(d)> a[n], b[n];
  for (int i = 0; i < n; ++i) a[i] = hn::BitCast(d, load(i));
  const auto shuffle = [d](auto *to, const auto *from) {
    for (int k = 0; k < n / 2; ++k) {
      to[2 * k] = hn::InterleaveLower(d, from[k], from[k + n / 2]);
      to[2 * k + 1] = hn::InterleaveUpper(d, from[k], from[k + n / 2]);
    }
  };
  shuffle(b, a), shuffle(a, b);
  if constexpr (n == 16) shuffle(b, a), shuffle(a, b);
  if constexpr (n == 8) shuffle(b, a);
  for (int j = 0; j < n; ++j) store(j, hn::BitCast(Block(), n == 8 ? b[j] : a[j]));
}

/// Pixels of sizeof(T) bytes.
template <class T>
struct PixelSquare {
  static constexpr long kEdge = kBlockBytes / static_cast<long>(sizeof(T)), kSpare = 0;

  static void Move(unsigned char *dst, long dstStride, const unsigned char *src, long srcStride) {
    TransposeRows<T>([=](int i) { return hn::LoadU(Block(), src + i * srcStride); },
                     [=](int j, BlockVector v) { hn::StoreU(v, Block(), dst + j * dstStride); });
  }
};

/// 24-bit pixels as 32-bit ones. A row of a square is loaded and stored with four bytes behind it, which the square to
/// its right, or what comes after the last, writes again.
struct TrioSquare {
  static constexpr long kEdge = 4, kSpare = 2;

  static void Move(unsigned char *dst, long dstStride, const unsigned char *src, long srcStride) {
    const Block d;
    HWY_ALIGN static constexpr std::uint8_t kSpread[16] = {0, 1, 2, 0x80, 3, 4,  5,  0x80,
                                                           6, 7, 8, 0x80, 9, 10, 11, 0x80};
    HWY_ALIGN static constexpr std::uint8_t kPack[16] = {0,  1,  2,  4,  5,    6,    8,    9,
                                                         10, 12, 13, 14, 0x80, 0x80, 0x80, 0x80};
    const BlockVector spread = hn::Load(d, kSpread), pack = hn::Load(d, kPack);
    TransposeRows<std::uint32_t>(
        [=](int i) { return hn::TableLookupBytes(hn::LoadU(d, src + i * srcStride), spread); },
        [=](int j, BlockVector v) { hn::StoreU(hn::TableLookupBytes(v, pack), d, dst + j * dstStride); });
  }
};

/// Exchanges the low kBits of every 2 x kBits in `a` with the high ones in `b`.
template <int kBits>
inline void ExchangeBits(BlockVector &a, BlockVector &b) {
  const hn::Repartition<std::uint16_t, Block> words;  // there are no shifts of bytes; the mask stops what strays
  const auto mask = hn::Set(Block(), kBits == 4 ? 0x0F : kBits == 2 ? 0x33 : 0x55);
  const auto right = [=](BlockVector v) { return hn::BitCast(Block(), hn::ShiftRight<kBits>(hn::BitCast(words, v))); };
  const auto left = [=](BlockVector v) { return hn::BitCast(Block(), hn::ShiftLeft<kBits>(hn::BitCast(words, v))); };
  const BlockVector t = hn::And(hn::Xor(right(b), a), mask);
  a = hn::Xor(a, t);
  b = hn::Xor(b, left(t));
}

/// Pixels of 8 / kPixels bits. Of every kPixels rows, a byte of each becomes kPixels bytes with the pixels of one
/// column each; the bytes of a column then lie in rows of a square of their own.
template <int kPixels>
struct PackedSquare {
  static constexpr long kEdge = kBlockBytes * kPixels, kSpare = 0;

  static void Move(unsigned char *dst, long dstStride, const unsigned char *src, long srcStride) {
    const Block d;
    HWY_ALIGN unsigned char columns[kPixels][kBlockBytes * kBlockBytes];
    for (int i = 0; i < kBlockBytes; ++i) {
      BlockVector v[kPixels];
      for (int r = 0; r < kPixels; ++r) v[r] = hn::LoadU(d, src + (i * kPixels + r) * srcStride);
      if constexpr (kPixels == 2) {
        ExchangeBits<4>(v[0], v[1]);
      } else {
        for (int r = 0; r < 4; ++r) ExchangeBits<4>(v[r], v[r + 4]);
        for (int r = 0; r < 8; r += r % 2 ? 3 : 1) ExchangeBits<2>(v[r], v[r + 2]);
        for (int r = 0; r < 8; r += 2) ExchangeBits<1>(v[r], v[r + 1]);
      }
      for (int c = 0; c < kPixels; ++c) hn::Store(v[c], d, columns[c] + i * kBlockBytes);
    }
    for (int c = 0; c < kPixels; ++c)
      PixelSquare<std::uint8_t>::Move(dst + c * dstStride, kPixels * dstStride, columns[c], kBlockBytes);
  }
};

/// All whole squares. Down the columns of the source, so that rows of the destination are written from left to right.
template <class Square>
Corner MoveSquares(unsigned char *dst, long dstStride, const unsigned char *src, long srcStride, long width,
                   long height, int bits) {
  const auto whole = [](long n) { return std::max(n - Square::kSpare, 0L) / Square::kEdge * Square::kEdge; };
  const Corner corner = {whole(width), whole(height)};
  for (long j = 0; j < corner.width; j += Square::kEdge)
    for (long i = 0; i < corner.height; i += Square::kEdge)
      Square::Move(dst + j * dstStride + i * bits / 8, dstStride, src + i * srcStride + j * bits / 8, srcStride);
  return corner;
}

Corner TransposeSquares(unsigned char *dst, long dstStride, const unsigned char *src, long srcStride, long width,
                        long height, int bits) {
  const auto move = bits == 1    ? MoveSquares<PackedSquare<8>>
                    : bits == 4  ? MoveSquares<PackedSquare<2>>
                    : bits == 8  ? MoveSquares<PixelSquare<std::uint8_t>>
                    : bits == 16 ? MoveSquares<PixelSquare<std::uint16_t>>
                    : bits == 24 ? MoveSquares<TrioSquare>
                    : bits == 32 ? MoveSquares<PixelSquare<std::uint32_t>>
                                 : nullptr;
  return move ? move(dst, dstStride, src, srcStride, width, height, bits) : Corner{0, 0};
}

#endif

}  // namespace qel::lines::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace qel::lines {

HWY_EXPORT(TransposeSquares);

namespace {

// One by one ---------------------------------------------------------------------------------------------------------

/// Pixels of kBytes moved as kMoved bytes: those behind a pixel are overwritten by the one after it. So the last
/// column, behind which a row may end, and the last pixel of each destination row are moved without them.
template <int kBytes, int kMoved = kBytes>
void TransposePixels(unsigned char *dst, long dstStride, const unsigned char *src, long srcStride, long width,
                     long height) {
  for (long j = 0; j < width; ++j) {
    unsigned char *to = dst + j * dstStride;
    const unsigned char *from = src + j * kBytes;
    long i = 0;
    if (j + 1 < width)
      for (; i + 1 < height; ++i, to += kBytes, from += srcStride) std::memcpy(to, from, kMoved);
    for (; i < height; ++i, to += kBytes, from += srcStride) std::memcpy(to, from, kBytes);
  }
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

void MoveSquareOfBits(unsigned char *dst, long dstStride, const unsigned char *src, long srcStride, long rows,
                      long columns) {
  std::uint64_t square = 0;
  for (long r = 0; r < rows; ++r) square |= static_cast<std::uint64_t>(src[r * srcStride]) << (56 - 8 * r);
  square = TransposeSquareOfBits(square);
  for (long c = 0; c < columns; ++c) dst[c * dstStride] = static_cast<unsigned char>(square >> (56 - 8 * c));
}

void TransposeBits(unsigned char *dst, long dstStride, const unsigned char *src, long srcStride, long width,
                   long height) {
  for (long i = 0; i < height; i += 8)
    for (long j = 0; j < width; j += 8)
      MoveSquareOfBits(dst + j * dstStride + i / 8, dstStride, src + i * srcStride + j / 8, srcStride,
                       std::min(height - i, 8L), std::min(width - j, 8L));
}

void TransposePlain(unsigned char *dst, long dstStride, const unsigned char *src, long srcStride, long width,
                    long height, int bits) {
  const auto move = bits == 1    ? TransposeBits
                    : bits == 4  ? TransposeNibbles
                    : bits == 8  ? TransposePixels<1>
                    : bits == 16 ? TransposePixels<2>
                    : bits == 24 ? TransposePixels<3, 4>
                    : bits == 32 ? TransposePixels<4>
                                 : TransposePixels<6, 8>;
  move(dst, dstStride, src, srcStride, width, height);
}

}  // namespace

void Transpose(unsigned char *dst, long dstStride, const unsigned char *src, long srcStride, long width, long height,
               int bits) {
  if (width < 1 || height < 1) return;
  // The corner of whole squares, what is right of it, what is below both.
  const Corner done = HWY_DYNAMIC_DISPATCH(TransposeSquares)(dst, dstStride, src, srcStride, width, height, bits);
  if (done.height > 0)
    TransposePlain(dst + done.width * dstStride, dstStride, src + done.width * bits / 8, srcStride, width - done.width,
                   done.height, bits);
  TransposePlain(dst + done.height * bits / 8, dstStride, src + done.height * srcStride, srcStride, width,
                 height - done.height, bits);
}

}  // namespace qel::lines

#endif  // HWY_ONCE

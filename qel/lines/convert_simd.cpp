// The conversions that the memory would allow to run faster than a compiler makes them: one source for every vector
// width, chosen at run time (Highway). Each takes as many whole vectors as fit without touching a byte behind the line
// and leaves the rest to the plain loop.

#include "qel/lines/convert.h"
#include "qel/lines/convert_plain.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "qel/lines/convert_simd.cpp"
#include <hwy/foreach_target.h>  // must come before highway.h
#include <hwy/highway.h>

#include "qel/lines/byte_lanes-inl.h"

HWY_BEFORE_NAMESPACE();
namespace qel::lines::HWY_NAMESPACE {

#if HWY_TARGET == HWY_SCALAR

using plain::GrayTo24;
using plain::GrayToBits;
using plain::Reverse24;
using plain::Reverse8;
using plain::Rgb24To32;
using plain::Rgb24To555;
using plain::Rgb24To565;
using plain::Rgb24ToGray;
using plain::Rgb24ToLuma;
using plain::Rgb32To24;
using plain::Rgb555To24;
using plain::Rgb565To24;

#else

using Block = hn::FixedTag<std::uint8_t, 16>;

/// x / 255 for every x up to 255 x 255: (x + (x >> 8) + 1) >> 8 stays within 16 bits.
template <class V>
V DivideBy255(V x) {
  return hn::ShiftRight<8>(hn::Add(hn::Add(x, hn::ShiftRight<8>(x)), hn::Set(Words(), 1)));
}

// Gray levels --------------------------------------------------------------------------------------------------------

struct Gray {
  template <class V>
  static V Of(V blue, V green, V red) {
    return DivideBy255(hn::Add(hn::Add(Times<77>(red), Times<150>(green)), Times<28>(blue)));
  }
};

/// x / 100 as x times 5243 / 2^19, which is exact up to 43698; the largest sum is 25500.
struct Luma {
  template <class V>
  static V Of(V blue, V green, V red) {
    const V sum = hn::Add(hn::Add(Times<30>(red), Times<59>(green)), Times<11>(blue));
    return hn::ShiftRight<3>(hn::MulHigh(sum, hn::Set(Words(), 5243)));
  }
};

/// Levels of as many 24-bit pixels as fill whole vectors; returns how many.
template <class Level>
long Levels(unsigned char *dst, const unsigned char *src, long n) {
  const Bytes d;
  const long step = static_cast<long>(hn::Lanes(d));
  long i = 0;
  for (; i + step <= n; i += step) {
    hn::Vec<Bytes> b, g, r;
    hn::LoadInterleaved3(d, src + 3 * i, b, g, r);
    const auto even = Level::Of(EvenRaised(b), EvenRaised(g), EvenRaised(r));
    const auto odd = Level::Of(OddRaised(b), OddRaised(g), OddRaised(r));
    hn::StoreU(JoinBytes(even, odd), d, dst + i);
  }
  return i;
}

void Rgb24ToGray(unsigned char *dst, const unsigned char *src, long n) {
  const long done = Levels<Gray>(dst, src, n);
  plain::Rgb24ToGray(dst + done, src + 3 * done, n - done);
}

void Rgb24ToLuma(unsigned char *dst, const unsigned char *src, long n) {
  const long done = Levels<Luma>(dst, src, n);
  plain::Rgb24ToLuma(dst + done, src + 3 * done, n - done);
}

/// Eight levels a byte: the levels of each group of eight are turned round, so that mask bits come most significant
/// first.
void GrayToBits(unsigned char *dst, const unsigned char *src, long n, bool invert, unsigned char threshold) {
  const Bytes d;
  const long step = static_cast<long>(hn::Lanes(d));
  long i = 0;
  if (step >= 16) {
    alignas(16) static constexpr std::uint8_t kTurn[16] = {7, 6, 5, 4, 3, 2, 1, 0, 15, 14, 13, 12, 11, 10, 9, 8};
    const auto turn = hn::LoadDup128(d, kTurn);
    const auto limit = hn::Set(d, threshold);
    for (; i + step <= n; i += step) {
      const auto levels = hn::TableLookupBytes(hn::LoadU(d, src + i), turn);
      const auto isHigh = hn::Eq(hn::Max(levels, limit), levels);  // level >= threshold
      hn::StoreMaskBits(d, invert ? hn::Not(isHigh) : isHigh, dst + i / 8);
    }
  }
  plain::GrayToBits(dst + i / 8, src + i, n - i, invert, threshold);
}

// Shuffles within 16 bytes -------------------------------------------------------------------------------------------

constexpr std::uint8_t kNone = 0x80;  // this byte becomes 0

void Rgb24To32(unsigned char *dst, const unsigned char *src, long n) {
  const Block d;
  alignas(16) static constexpr std::uint8_t kWiden[16] = {0, 1, 2, kNone, 3, 4,  5,  kNone,
                                                          6, 7, 8, kNone, 9, 10, 11, kNone};
  const auto widen = hn::Load(d, kWiden);
  long i = 0;
  for (; i + 6 <= n; i += 4)  // four pixels a step; the load reaches 4 bytes further
    hn::StoreU(hn::TableLookupBytesOr0(hn::LoadU(d, src + 3 * i), widen), d, dst + 4 * i);
  plain::Rgb24To32(dst + 4 * i, src + 3 * i, n - i);
}

void Rgb32To24(unsigned char *dst, const unsigned char *src, long n) {
  const Block d;
  alignas(16) static constexpr std::uint8_t kNarrow[16] = {0,  1,  2,  4,  5,     6,     8,     9,
                                                           10, 12, 13, 14, kNone, kNone, kNone, kNone};
  const auto narrow = hn::Load(d, kNarrow);
  long i = 0;
  for (; i + 6 <= n; i += 4)  // the store reaches 4 bytes further, where the next one follows
    hn::StoreU(hn::TableLookupBytesOr0(hn::LoadU(d, src + 4 * i), narrow), d, dst + 3 * i);
  plain::Rgb32To24(dst + 3 * i, src + 4 * i, n - i);
}

void GrayTo24(unsigned char *dst, const unsigned char *src, long n) {
  const Block d;
  alignas(16) static constexpr std::uint8_t kThrice[3][16] = {
      {0, 0, 0, 1, 1, 1, 2, 2, 2, 3, 3, 3, 4, 4, 4, 5},
      {5, 5, 6, 6, 6, 7, 7, 7, 8, 8, 8, 9, 9, 9, 10, 10},
      {10, 11, 11, 11, 12, 12, 12, 13, 13, 13, 14, 14, 14, 15, 15, 15}};
  long i = 0;
  for (; i + 16 <= n; i += 16) {
    const auto levels = hn::LoadU(d, src + i);
    for (int k = 0; k < 3; ++k)
      hn::StoreU(hn::TableLookupBytes(levels, hn::Load(d, kThrice[k])), d, dst + 3 * i + 16 * k);
  }
  plain::GrayTo24(dst + 3 * i, src + i, n - i);
}

// Reversals walk up the source and down the destination: reading in the direction in which the processor fetches ahead
// is worth more than writing in it.

/// Three blocks with 16 pixels in each of their lanes of 16 bytes, turned round lane by lane.
template <class D, class V>
void Turn24(D d, V s0, V s1, V s2, V &t0, V &t1, V &t2) {
  alignas(16) static constexpr std::uint8_t kTurn[7][16] = {
      {13, 14, 15, 10, 11, 12, 7, 8, 9, 4, 5, 6, 1, 2, 3, kNone},
      {kNone, kNone, kNone, kNone, kNone, kNone, kNone, kNone, kNone, kNone, kNone, kNone, kNone, kNone, kNone, 14},
      {kNone, 0, kNone, kNone, kNone, kNone, kNone, kNone, kNone, kNone, kNone, kNone, kNone, kNone, kNone, kNone},
      {15, kNone, 11, 12, 13, 8, 9, 10, 5, 6, 7, 2, 3, 4, kNone, 0},
      {kNone, kNone, kNone, kNone, kNone, kNone, kNone, kNone, kNone, kNone, kNone, kNone, kNone, kNone, 15, kNone},
      {1, kNone, kNone, kNone, kNone, kNone, kNone, kNone, kNone, kNone, kNone, kNone, kNone, kNone, kNone, kNone},
      {kNone, 12, 13, 14, 9, 10, 11, 6, 7, 8, 3, 4, 5, 0, 1, 2}};
  const auto turned = [d](V v, int k) { return hn::TableLookupBytesOr0(v, hn::LoadDup128(d, kTurn[k])); };
  t0 = hn::Or(turned(s2, 0), turned(s1, 1));
  t1 = hn::Or(hn::Or(turned(s2, 2), turned(s1, 3)), turned(s0, 4));
  t2 = hn::Or(turned(s1, 5), turned(s0, 6));
}

void Reverse24(unsigned char *dst, const unsigned char *src, long n) {
  long i = 0;
#if HWY_TARGET <= HWY_AVX2
  const hn::FixedTag<std::uint8_t, 32> d32;
  const auto load = [d32](const unsigned char *p) {  // the lanes of two runs of 16 pixels, the later one first
    return hn::Combine(d32, hn::LoadU(Block(), p), hn::LoadU(Block(), p + 48));
  };
  for (; i + 32 <= n; i += 32) {
    const unsigned char *const from = src + 3 * i;
    unsigned char *const to = dst + 3 * (n - i) - 96;
    auto t0 = hn::Zero(d32), t1 = t0, t2 = t0;
    Turn24(d32, load(from), load(from + 16), load(from + 32), t0, t1, t2);
    hn::StoreU(hn::ConcatLowerLower(d32, t1, t0), d32, to);
    hn::StoreU(hn::ConcatUpperLower(d32, t0, t2), d32, to + 32);
    hn::StoreU(hn::ConcatUpperUpper(d32, t2, t1), d32, to + 64);
  }
#endif
  const Block d;
  for (; i + 16 <= n; i += 16) {
    const unsigned char *const from = src + 3 * i;
    unsigned char *const to = dst + 3 * (n - i) - 48;
    auto t0 = hn::Zero(d), t1 = t0, t2 = t0;
    Turn24(d, hn::LoadU(d, from), hn::LoadU(d, from + 16), hn::LoadU(d, from + 32), t0, t1, t2);
    hn::StoreU(t0, d, to);
    hn::StoreU(t1, d, to + 16);
    hn::StoreU(t2, d, to + 32);
  }
  plain::Reverse24(dst, src + 3 * i, n - i);
}

void Reverse8(unsigned char *dst, const unsigned char *src, long n) {
  const Block d;
  alignas(16) static constexpr std::uint8_t kTurn[16] = {15, 14, 13, 12, 11, 10, 9, 8, 7, 6, 5, 4, 3, 2, 1, 0};
  const auto turn = hn::Load(d, kTurn);
  long i = 0;
  for (; i + 16 <= n; i += 16) hn::StoreU(hn::TableLookupBytes(hn::LoadU(d, src + i), turn), d, dst + (n - i) - 16);
  plain::Reverse8(dst, src + i, n - i);
}

// High colour --------------------------------------------------------------------------------------------------------

/// 5-5-5 or 5-6-5 words of 24-bit channels held in 16-bit lanes.
template <int kGreenBits, class V>
V HighColor(V blue, V green, V red) {
  const Words d;
  const V b = DivideBy255(hn::Mul(blue, hn::Set(d, 31)));
  const V g = DivideBy255(hn::Mul(green, hn::Set(d, kGreenBits == 6 ? 63 : 31)));
  const V r = DivideBy255(hn::Mul(red, hn::Set(d, 31)));
  return hn::Or(b, hn::Or(hn::ShiftLeft<5>(g), hn::ShiftLeft<5 + kGreenBits>(r)));
}

template <int kGreenBits>
void Rgb24ToHigh(unsigned char *dst, const unsigned char *src, long n) {
  const Bytes d;
  const Words d16;
  const long step = static_cast<long>(hn::Lanes(d));
  long i = 0;
  for (; i + step <= n; i += step) {
    hn::Vec<Bytes> b, g, r;
    hn::LoadInterleaved3(d, src + 3 * i, b, g, r);
    const auto even = HighColor<kGreenBits>(EvenBytes(b), EvenBytes(g), EvenBytes(r));
    const auto odd = HighColor<kGreenBits>(OddBytes(b), OddBytes(g), OddBytes(r));
    hn::StoreInterleaved2(even, odd, d16, reinterpret_cast<std::uint16_t *>(dst + 2 * i));
  }
  (kGreenBits == 6 ? plain::Rgb24To565 : plain::Rgb24To555)(dst + 2 * i, src + 3 * i, n - i);
}

/// c x 255 / 31 for 5 bits and c x 255 / 63 for 6: 16 c times the quotient in 1/16 of 16-bit fractions, rounded up; the
/// multiply-high is exact over the whole range of c.
template <int kBits, class V>
V ScaleToByte(V c) {
  return hn::MulHigh(hn::ShiftLeft<4>(c), hn::Set(Words(), kBits == 6 ? 16581 : 33695));
}

template <int kGreenBits, int kChannel, class V>
V ChannelOf(V pixel) {
  const Words d;
  if constexpr (kChannel == 0) return ScaleToByte<5>(hn::And(pixel, hn::Set(d, 31)));
  if constexpr (kChannel == 1)
    return ScaleToByte<kGreenBits>(hn::And(hn::ShiftRight<5>(pixel), hn::Set(d, kGreenBits == 6 ? 63 : 31)));
  if constexpr (kChannel == 2) return ScaleToByte<5>(hn::And(hn::ShiftRight<5 + kGreenBits>(pixel), hn::Set(d, 31)));
}

template <int kGreenBits, int kChannel, class V>
hn::Vec<Bytes> ChannelBytes(V even, V odd) {
  return hn::BitCast(
      Bytes(), hn::Or(ChannelOf<kGreenBits, kChannel>(even), hn::ShiftLeft<8>(ChannelOf<kGreenBits, kChannel>(odd))));
}

template <int kGreenBits>
void HighTo24(unsigned char *dst, const unsigned char *src, long n) {
  const Bytes d;
  const Words d16;
  const long step = static_cast<long>(hn::Lanes(d));
  long i = 0;
  for (; i + step <= n; i += step) {
    hn::Vec<Words> even, odd;
    hn::LoadInterleaved2(d16, reinterpret_cast<const std::uint16_t *>(src + 2 * i), even, odd);
    hn::StoreInterleaved3(ChannelBytes<kGreenBits, 0>(even, odd), ChannelBytes<kGreenBits, 1>(even, odd),
                          ChannelBytes<kGreenBits, 2>(even, odd), d, dst + 3 * i);
  }
  (kGreenBits == 6 ? plain::Rgb565To24 : plain::Rgb555To24)(dst + 3 * i, src + 2 * i, n - i);
}

void Rgb24To555(unsigned char *dst, const unsigned char *src, long n) {
  Rgb24ToHigh<5>(dst, src, n);
}
void Rgb24To565(unsigned char *dst, const unsigned char *src, long n) {
  Rgb24ToHigh<6>(dst, src, n);
}
void Rgb555To24(unsigned char *dst, const unsigned char *src, long n) {
  HighTo24<5>(dst, src, n);
}
void Rgb565To24(unsigned char *dst, const unsigned char *src, long n) {
  HighTo24<6>(dst, src, n);
}

#endif  // HWY_TARGET == HWY_SCALAR

}  // namespace qel::lines::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

// Entry points: each chooses its vector width on its first call ------------------------------------------------------

namespace qel::lines {

HWY_EXPORT(Rgb24ToGray);
HWY_EXPORT(Rgb24ToLuma);
HWY_EXPORT(GrayToBits);
HWY_EXPORT(Rgb24To32);
HWY_EXPORT(Rgb32To24);
HWY_EXPORT(GrayTo24);
HWY_EXPORT(Reverse24);
HWY_EXPORT(Reverse8);
HWY_EXPORT(Rgb24To555);
HWY_EXPORT(Rgb24To565);
HWY_EXPORT(Rgb555To24);
HWY_EXPORT(Rgb565To24);

void Rgb24ToLuma(unsigned char *dst, const unsigned char *src, long n) {
  HWY_DYNAMIC_DISPATCH(Rgb24ToLuma)(dst, src, n);
}
void GrayTo24(unsigned char *dst, const unsigned char *src, long n) {
  HWY_DYNAMIC_DISPATCH(GrayTo24)(dst, src, n);
}
void Rgb24To32(unsigned char *dst, const unsigned char *src, long n) {
  HWY_DYNAMIC_DISPATCH(Rgb24To32)(dst, src, n);
}
void Rgb32To24(unsigned char *dst, const unsigned char *src, long n) {
  HWY_DYNAMIC_DISPATCH(Rgb32To24)(dst, src, n);
}
void Rgb24To555(unsigned char *dst, const unsigned char *src, long n) {
  HWY_DYNAMIC_DISPATCH(Rgb24To555)(dst, src, n);
}
void Rgb24To565(unsigned char *dst, const unsigned char *src, long n) {
  HWY_DYNAMIC_DISPATCH(Rgb24To565)(dst, src, n);
}
void Rgb555To24(unsigned char *dst, const unsigned char *src, long n) {
  HWY_DYNAMIC_DISPATCH(Rgb555To24)(dst, src, n);
}
void Rgb565To24(unsigned char *dst, const unsigned char *src, long n) {
  HWY_DYNAMIC_DISPATCH(Rgb565To24)(dst, src, n);
}

void Reverse8(unsigned char *dst, const unsigned char *src, long n) {
  HWY_DYNAMIC_DISPATCH(Reverse8)(dst, src, n);
}
void Reverse24(unsigned char *dst, const unsigned char *src, long n) {
  HWY_DYNAMIC_DISPATCH(Reverse24)(dst, src, n);
}

}  // namespace qel::lines

void QelAsmConvert24to8G(unsigned char *pDst, unsigned char *pSrc, unsigned long n) {
  using namespace qel::lines;
  if (pDst == nullptr || pSrc == nullptr) return;
  HWY_DYNAMIC_DISPATCH(Rgb24ToGray)(pDst, pSrc, static_cast<long>(n));
}

void QelAsmConvert8to1(unsigned char *pDst, unsigned char *pSrc, unsigned long n, unsigned char byInvert,
                       unsigned char byThreshold) {
  using namespace qel::lines;
  if (pDst == nullptr || pSrc == nullptr) return;
  HWY_DYNAMIC_DISPATCH(GrayToBits)(pDst, pSrc, static_cast<long>(n), byInvert != 0, byThreshold);
}

#endif  // HWY_ONCE

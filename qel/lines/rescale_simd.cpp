// The vector forms of rescaling: one source for every vector width, chosen at run time (Highway).
//
// Weighted sums are pair multiply-adds: two neighbouring source values of 16 bits by two weights of 16 bits give one
// sum of 32. Bytes reach their pairs by shuffles within blocks of 16 bytes. A 24-bit pixel takes a block of its own
// (blue, green, red, nothing), whose window of the source is loaded from where its run starts; four gray pixels share a
// block and a window. So one loop serves enlarging (runs of two) and reducing. Gray lines that are reduced to less than
// a quarter are summed without weights, 16 bytes at a time, and the two ends of each span taken off again.
//
// Sums are divided exactly in one of two ways:
//   up to kMaxFloat, sums below 256 d: by the smallest float r that is not below 1 / d. A sum q d is exact, and
//     q d r >= q rounds to q or more. The largest sum of a quotient, q d + d - 1, gives less than
//     (q + 1) (1 - 1 / (256 d)) (1 + 2^-23), which lies more than the rounding of 2^-25 below q + 1 while d < 26000.
//   above, and for sums of any size: by a multiplier of 33 bits rounded up, and two shifts, which is right for every 32
//     bits by every 32 bits (Granlund and Montgomery, "Division by Invariant Integers using Multiplication", 1994).

#include <bit>
#include <cmath>
#include <cstring>

#include "qel/lines/rescale.h"
#include "qel/lines/rescale_plain.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "qel/lines/rescale_simd.cpp"
#include <hwy/foreach_target.h>  // must come before highway.h
#include <hwy/highway.h>

#ifndef QEL_LINES_RESCALE_DIVISORS
#define QEL_LINES_RESCALE_DIVISORS
namespace qel::lines {
namespace {

constexpr std::uint32_t kMaxFloat = 16384;

/// The smallest float that is not below 1 / d.
inline float ReciprocalUp(std::uint32_t d) {
  const float r = 1.0f / static_cast<float>(d);
  return static_cast<double>(r) * d < 1.0 ? std::nextafterf(r, 2.0f) : r;
}

/// q = (t + ((x - t) >> shift1)) >> shift2, where t is the upper half of x times the multiplier.
struct Multiplier {
  std::uint32_t multiplier;
  int shift1;
  int shift2;
  explicit Multiplier(std::uint32_t d) {
    const int bits = std::bit_width(d - 1);
    multiplier = static_cast<std::uint32_t>(((((std::uint64_t{1} << bits) - d) << 32) / d) + 1);
    shift1 = bits > 0 ? 1 : 0;
    shift2 = bits > 0 ? bits - 1 : 0;
  }
};

}  // namespace
}  // namespace qel::lines
#endif

HWY_BEFORE_NAMESPACE();
namespace qel::lines::HWY_NAMESPACE {

#if HWY_TARGET == HWY_SCALAR

using plain::Accumulate;
using plain::Blend;
using plain::Divide;
using plain::SumRuns24;
using plain::SumRuns8;
using plain::SumSpans;

#else

namespace hn = hwy::HWY_NAMESPACE;

using Bytes = hn::CappedTag<std::uint8_t, HWY_HAVE_SCALABLE ? 16 : 64>;
using Words = hn::Repartition<std::uint16_t, Bytes>;
using Shorts = hn::Repartition<std::int16_t, Bytes>;
using Longs = hn::Repartition<std::int32_t, Bytes>;
using ULongs = hn::Repartition<std::uint32_t, Bytes>;
using Floats = hn::Repartition<float, Bytes>;
using FewBytes = hn::Rebind<std::uint8_t, ULongs>;  // as many as a vector holds 32-bit lanes

// Quotients ----------------------------------------------------------------------------------------------------------

class ByFloat {
 public:
  explicit ByFloat(std::uint32_t d) : m_reciprocal(ReciprocalUp(d)) {}
  template <class V>
  V operator()(V sums) const {
    const auto quotient = hn::Mul(hn::ConvertTo(Floats(), hn::BitCast(Longs(), sums)), hn::Set(Floats(), m_reciprocal));
    const auto whole = hn::Add(hn::Floor(quotient), hn::Set(Floats(), 8388608.0f));  // 2^23 + q: q are its low bits
    return hn::And(hn::BitCast(ULongs(), whole), hn::Set(ULongs(), 0xFF));
  }

 private:
  float m_reciprocal;
};

class ByInteger {
 public:
  explicit ByInteger(std::uint32_t d) : m_by(d) {}
  template <class V>
  V operator()(V x) const {
    const ULongs d;
    const hn::Repartition<std::uint64_t, ULongs> wide;
    const auto multiplier = hn::Set(d, m_by.multiplier);
    const auto even = hn::ShiftRight<32>(hn::MulEven(x, multiplier));
    const auto odd = hn::MulEven(hn::BitCast(d, hn::ShiftRight<32>(hn::BitCast(wide, x))), multiplier);
    const auto t = hn::OddEven(hn::BitCast(d, odd), hn::BitCast(d, even));
    return hn::ShiftRightSame(hn::Add(t, hn::ShiftRightSame(hn::Sub(x, t), m_by.shift1)), m_by.shift2);
  }

 private:
  Multiplier m_by;
};

// Runs ---------------------------------------------------------------------------------------------------------------

constexpr long kBlocks = HWY_HAVE_SCALABLE ? 1 : hn::MaxLanes(Bytes()) / 16;

/// A window of 16 bytes for every block: from where the runs of pixels 0, kStep, 2 kStep ... start.
template <int kStep, class D>
HWY_INLINE hn::Vec<D> LoadWindows(D d, const unsigned char *src, const std::uint32_t *starts) {
  if constexpr (HWY_HAVE_SCALABLE || hn::MaxLanes(D()) <= 16) {
    return hn::LoadU(d, src + starts[0]);
  } else {
    const hn::Half<D> half;
    const auto low = LoadWindows<kStep>(half, src, starts);
    return hn::Combine(d, LoadWindows<kStep>(half, src, starts + hn::MaxLanes(D()) / 32 * kStep), low);
  }
}

template <class V, class W>
HWY_INLINE void AddPairs(hn::Vec<Longs> &sum0, hn::Vec<Longs> &sum1, V values, W weights) {
  const Shorts d;
  sum0 = hn::ReorderWidenMulAccumulate(Longs(), hn::BitCast(d, values), hn::BitCast(d, weights), sum0, sum1);
}

template <class Quotient>
HWY_INLINE auto QuotientBytes(hn::Vec<Longs> sum0, hn::Vec<Longs> sum1, const Quotient &quotient) {
  const auto sums = hn::RearrangeToOddPlusEven(sum0, sum1);
  return hn::TruncateTo(FewBytes(), quotient(hn::BitCast(ULongs(), sums)));
}

/// kPairs: the pairs of a run; 0: as many as `runs` tells.
template <long kPairs, class Quotient>
void SumRuns24By(unsigned char *dst, const unsigned char *src, const Runs &runs, const Quotient &quotient) {
  const Bytes d;
  constexpr std::uint8_t kNone = 0x80;
  // of a window's first and second two pixels: the pair of each channel
  alignas(16) static constexpr std::uint8_t kChannels[2][16] = {
      {0, kNone, 3, kNone, 1, kNone, 4, kNone, 2, kNone, 5, kNone, kNone, kNone, kNone, kNone},
      {6, kNone, 9, kNone, 7, kNone, 10, kNone, 8, kNone, 11, kNone, kNone, kNone, kNone, kNone}};
  // of the weights of four pixels: one pixel's for each block
  alignas(64) static constexpr std::uint8_t kOwn[64] = {0,  1,  2,  3,  0,  1,  2,  3,  0,  1,  2,  3,  0,  1,  2,  3,
                                                        4,  5,  6,  7,  4,  5,  6,  7,  4,  5,  6,  7,  4,  5,  6,  7,
                                                        8,  9,  10, 11, 8,  9,  10, 11, 8,  9,  10, 11, 8,  9,  10, 11,
                                                        12, 13, 14, 15, 12, 13, 14, 15, 12, 13, 14, 15, 12, 13, 14, 15};
  alignas(16) static constexpr std::uint8_t kNarrow[16] = {0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14, 15, 15, 15, 15};
  const auto first = hn::LoadDup128(d, kChannels[0]), second = hn::LoadDup128(d, kChannels[1]);
  const auto narrow = hn::Load(FewBytes(), kNarrow);
  const long pairs = kPairs == 0 ? runs.pairs : kPairs, count = runs.count;
  const auto start = hn::Set(Longs(), static_cast<std::int32_t>(runs.start));
  const std::uint32_t *starts = runs.starts, *weights = runs.weights;
  for (long i = 0; i < count; i += 4, starts += 4, weights += i % kGroup == 0 ? kGroup * (pairs - 1) + 4 : 4) {
    for (long j = 0; j < 4; j += kBlocks) {
      const auto own = hn::LoadU(d, kOwn + 16 * j);
      auto sum0 = start, sum1 = hn::Zero(Longs());
      for (long k = 0; k < pairs; ++k) {
        const auto windows = LoadWindows<1>(d, src + 12 * (k / 2), starts + j);
        const auto pair = hn::TableLookupBytesOr0(windows, k % 2 == 0 ? first : second);
        const auto four = hn::LoadDup128(d, reinterpret_cast<const std::uint8_t *>(weights + kGroup * k));
        AddPairs(sum0, sum1, pair, hn::TableLookupBytes(four, own));
      }
      // the store reaches beyond the pixels, where the next one follows
      hn::StoreU(hn::TableLookupBytes(QuotientBytes(sum0, sum1, quotient), narrow), FewBytes(), dst + 3 * (i + j));
    }
  }
}

template <class Quotient>
void SumRuns8By(unsigned char *dst, const unsigned char *src, const Runs &runs, const Quotient &quotient) {
  const Bytes d;
  const long step = static_cast<long>(hn::Lanes(d)) / 4;
  for (long i = 0; i < runs.count; i += step) {
    const std::uint32_t *weights = runs.weights + i / kGroup * kGroup * runs.pairs + i % kGroup;
    const auto picks = hn::BitCast(d, hn::LoadU(ULongs(), runs.picks + i));
    auto sum0 = hn::Set(Longs(), static_cast<std::int32_t>(runs.start)), sum1 = hn::Zero(Longs());
    for (long k = 0; k < runs.pairs; ++k, weights += kGroup)
      AddPairs(sum0, sum1, hn::TableLookupBytesOr0(LoadWindows<4>(d, src + 2 * k, runs.starts + i), picks),
               hn::LoadU(ULongs(), weights));
    hn::StoreU(QuotientBytes(sum0, sum1, quotient), FewBytes(), dst + i);
  }
}

template <class Quotient>
void SumRuns24With(unsigned char *dst, const unsigned char *src, const Runs &runs, const Quotient &quotient) {
  if (runs.pairs == 1) return SumRuns24By<1>(dst, src, runs, quotient);
  if (runs.pairs == 2) return SumRuns24By<2>(dst, src, runs, quotient);
  SumRuns24By<0>(dst, src, runs, quotient);
}

void SumRuns24(unsigned char *dst, const unsigned char *src, const Runs &runs) {
  if (runs.divisor <= kMaxFloat) return SumRuns24With(dst, src, runs, ByFloat(runs.divisor));
  SumRuns24With(dst, src, runs, ByInteger(runs.divisor));
}

void SumRuns8(unsigned char *dst, const unsigned char *src, const Runs &runs) {
  if (runs.divisor <= kMaxFloat) return SumRuns8By(dst, src, runs, ByFloat(runs.divisor));
  SumRuns8By(dst, src, runs, ByInteger(runs.divisor));
}

// Rows down the columns ----------------------------------------------------------------------------------------------

void Accumulate(std::uint32_t *acc, const unsigned char *line, long n, std::uint32_t weight) {
  const ULongs d;
  const long step = static_cast<long>(hn::Lanes(d));
  const auto w = hn::Set(d, weight);
  long i = 0;
  for (; i + step <= n; i += step) {
    const auto values = hn::PromoteTo(d, hn::LoadU(FewBytes(), line + i));
    hn::StoreU(hn::Add(hn::LoadU(d, acc + i), hn::Mul(values, w)), d, acc + i);
  }
  plain::Accumulate(acc + i, line + i, n - i, weight);
}

void Divide(unsigned char *out, const std::uint32_t *acc, long n, std::uint32_t divisor) {
  const ULongs d;
  const long step = static_cast<long>(hn::Lanes(d));
  const ByInteger quotient(divisor);
  long i = 0;
  for (; i + step <= n; i += step)
    hn::StoreU(hn::TruncateTo(FewBytes(), quotient(hn::LoadU(d, acc + i))), FewBytes(), out + i);
  plain::Divide(out + i, acc + i, n - i, divisor);
}

// Spans --------------------------------------------------------------------------------------------------------------

/// The sum of bytes, 16 at a time.
HWY_INLINE std::uint32_t SumBytes(const unsigned char *p, long n) {
  const hn::FixedTag<std::uint8_t, 16> d;
  const hn::Repartition<std::uint64_t, decltype(d)> d64;
  alignas(16) static constexpr std::uint8_t kFirst[32] = {255, 255, 255, 255, 255, 255, 255, 255,
                                                          255, 255, 255, 255, 255, 255, 255, 255};
  auto sums = hn::Zero(d64);
  for (; n > 16; n -= 16, p += 16) sums = hn::Add(sums, hn::SumsOf8(hn::LoadU(d, p)));
  const auto rest = hn::And(hn::LoadU(d, p), hn::LoadU(d, kFirst + 16 - n));
  sums = hn::Add(sums, hn::SumsOf8(rest));
  return static_cast<std::uint32_t>(hn::GetLane(hn::SumOfLanes(d64, sums)));
}

void SumSpans(unsigned char *dst, const unsigned char *src, const Spans &spans) {
  std::uint32_t sums[64];
  for (long i = 0; i < spans.count; i += 64) {
    const long count = spans.count - i < 64 ? spans.count - i : 64;
    for (long j = i; j < i + count; ++j) {
      const unsigned char *const p = src + spans.starts[j];
      const long n = spans.lengths[j];
      sums[j - i] = spans.start + SumBytes(p, n) * spans.weight - p[0] * spans.cuts[0][j] - p[n - 1] * spans.cuts[1][j];
    }
    Divide(dst + i, sums, count, spans.divisor);
  }
}

// Blends -------------------------------------------------------------------------------------------------------------

/// Words of values below 256 from the pair sums of their even or odd places.
template <class V, class W, class Quotient>
HWY_INLINE hn::Vec<Words> BlendWords(V a, V b, W weights, const Quotient &quotient) {
  const Words d;
  const auto zero = hn::Zero(Longs());
  auto low0 = zero, low1 = zero, high0 = zero, high1 = zero;
  AddPairs(low0, low1, hn::InterleaveLower(d, a, b), weights);
  AddPairs(high0, high1, hn::InterleaveUpper(d, a, b), weights);
  const auto low = quotient(hn::BitCast(ULongs(), hn::RearrangeToOddPlusEven(low0, low1)));
  const auto high = quotient(hn::BitCast(ULongs(), hn::RearrangeToOddPlusEven(high0, high1)));
  // narrows block by block, as the interleaving widened
  return hn::BitCast(d, hn::ReorderDemote2To(Shorts(), hn::BitCast(Longs(), low), hn::BitCast(Longs(), high)));
}

template <class Quotient>
void BlendBy(unsigned char *out, const unsigned char *a, const unsigned char *b, std::uint32_t weights, long n,
             const Quotient &quotient) {
  const Bytes d;
  const long step = static_cast<long>(hn::Lanes(d));
  const auto w = hn::Set(ULongs(), weights);
  const auto even = hn::Set(Words(), 0xFF);
  const auto BlendVector = [&](unsigned char *to, const unsigned char *from1, const unsigned char *from2) HWY_ATTR {
    const auto x = hn::BitCast(Words(), hn::LoadU(d, from1)), y = hn::BitCast(Words(), hn::LoadU(d, from2));
    const auto evens = BlendWords(hn::And(x, even), hn::And(y, even), w, quotient);
    const auto odds = BlendWords(hn::ShiftRight<8>(x), hn::ShiftRight<8>(y), w, quotient);
    hn::StoreU(hn::BitCast(d, hn::Or(evens, hn::ShiftLeft<8>(odds))), d, to);
  };
  long i = 0;
  for (; i + step <= n; i += step) BlendVector(out + i, a + i, b + i);
  if (i == n) return;
  unsigned char rest[3][64] = {};
  std::memcpy(rest[1], a + i, static_cast<std::size_t>(n - i));
  std::memcpy(rest[2], b + i, static_cast<std::size_t>(n - i));
  BlendVector(rest[0], rest[1], rest[2]);
  std::memcpy(out + i, rest[0], static_cast<std::size_t>(n - i));
}

/// Weights from 0 to kMaxWeight, their sum at most the divisor.
void Blend(unsigned char *out, const unsigned char *a, const unsigned char *b, std::int32_t divisor,
           std::int32_t weight1, std::int32_t weight2, long n) {
  const auto d = static_cast<std::uint32_t>(divisor);
  const std::uint32_t weights = static_cast<std::uint32_t>(weight1) | static_cast<std::uint32_t>(weight2) << 16;
  if (d <= kMaxFloat) return BlendBy(out, a, b, weights, n, ByFloat(d));
  BlendBy(out, a, b, weights, n, ByInteger(d));
}

#endif  // HWY_TARGET

}  // namespace qel::lines::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace qel::lines {

HWY_EXPORT(Accumulate);
HWY_EXPORT(Blend);
HWY_EXPORT(Divide);
HWY_EXPORT(SumRuns24);
HWY_EXPORT(SumRuns8);
HWY_EXPORT(SumSpans);

void SumRuns24(unsigned char *dst, const unsigned char *src, const Runs &runs) {
  HWY_DYNAMIC_DISPATCH(SumRuns24)(dst, src, runs);
}
void SumRuns8(unsigned char *dst, const unsigned char *src, const Runs &runs) {
  HWY_DYNAMIC_DISPATCH(SumRuns8)(dst, src, runs);
}
void SumSpans(unsigned char *dst, const unsigned char *src, const Spans &spans) {
  HWY_DYNAMIC_DISPATCH(SumSpans)(dst, src, spans);
}

}  // namespace qel::lines

void AccumulateLine(std::uint32_t *pdwAcc, const unsigned char *pLine, long lCount, std::int32_t lWeight) {
  using namespace qel::lines;
  if (pdwAcc == nullptr || pLine == nullptr) return;
  HWY_DYNAMIC_DISPATCH(Accumulate)(pdwAcc, pLine, lCount, static_cast<std::uint32_t>(lWeight));
}

void DivideLine(unsigned char *pOut, const std::uint32_t *pdwAcc, long lCount, std::uint32_t dwDivisor) {
  using namespace qel::lines;
  if (pOut == nullptr || pdwAcc == nullptr || dwDivisor == 0) return;
  HWY_DYNAMIC_DISPATCH(Divide)(pOut, pdwAcc, lCount, dwDivisor);
}

void BlendLines(unsigned char *pOut, const unsigned char *pA, const unsigned char *pB, std::int32_t lDivisor,
                std::int32_t lWeight1, std::int32_t lWeight2, long lCount) {
  using namespace qel::lines;
  if (pOut == nullptr || pA == nullptr || pB == nullptr || lDivisor == 0 || lCount < 1) return;
  const bool bShares = lDivisor > 0 && lDivisor <= kMaxWeight && lWeight1 >= 0 && lWeight2 >= 0 &&
                       lWeight1 <= lDivisor && lWeight2 <= lDivisor - lWeight1;
  if (bShares && lWeight1 == lDivisor)
    std::memmove(pOut, pA, static_cast<std::size_t>(lCount));
  else if (bShares)
    HWY_DYNAMIC_DISPATCH(Blend)(pOut, pA, pB, lDivisor, lWeight1, lWeight2, lCount);
  else
    plain::Blend(pOut, pA, pB, lDivisor, lWeight1, lWeight2, lCount);
}

#endif  // HWY_ONCE

// The quick filters of smoothing: one source for every vector width, chosen at run time (Highway).
//
// A vector of 32-bit sums grows by two taps a step: 16-bit pixels in pairs times 16-bit weights in pairs. The quotient
// is taken in single precision, where all sums (below 2^20) are exact and a product by the kernel's reciprocal, which
// is a little too large, truncates to the exact quotient.

#include <algorithm>
#include <cstring>

#include "qel/lines/gaussian.h"
#include "qel/lines/gaussian_plain.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "qel/lines/gaussian_simd.cpp"
#include <hwy/foreach_target.h>  // must come before highway.h
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace qel::lines::HWY_NAMESPACE {

#if HWY_TARGET == HWY_SCALAR || HWY_HAVE_SCALABLE  // vectors of unknown length cannot stand in arrays

using plain::SmoothRow;
using plain::ZipRows;

void SmoothColumns(unsigned char *const *out, const unsigned char *const *pairs, long count,
                   const SmoothKernel &kernel) {
  plain::SmoothColumns(out, pairs, 0, count, kernel);
}

#else

namespace hn = hwy::HWY_NAMESPACE;

using Sums = hn::CappedTag<std::int32_t, 16>;
using Halves = hn::Repartition<std::int16_t, Sums>;
using Sum = hn::Vec<Sums>;
using Half = hn::Vec<Halves>;

/// Two weights for every pair of pixels.
HWY_INLINE Half Weights(std::int32_t pair) {
  return hn::BitCast(Halves(), hn::Set(Sums(), pair));
}

/// Sums in the making. Processors that cannot add neighbours at once keep a second half of them.
struct Growing {
  Sum sum;
  Sum rest;
  HWY_INLINE void Clear() { sum = rest = hn::Zero(Sums()); }
  HWY_INLINE void Add(Half pixels, Half weights) {
    sum = hn::ReorderWidenMulAccumulate(Sums(), pixels, weights, sum, rest);
  }

  /// Writes a vector of quotients, one byte each.
  HWY_INLINE void Store(hn::Vec<hn::Rebind<float, Sums>> reciprocal, unsigned char *out) const {
    const Sum total = hn::RearrangeToOddPlusEven(sum, rest);
    const auto quotient = hn::Mul(hn::ConvertTo(hn::Rebind<float, Sums>(), total), reciprocal);
    const hn::Rebind<std::uint8_t, Sums> d8;
    hn::StoreU(hn::DemoteTo(d8, hn::ConvertTo(Sums(), quotient)), d8, out);
  }
};

// Rows ---------------------------------------------------------------------------------------------------------------

/// pairs[i] = in[i] | in[i + stride] << 16.
void PairPixels(std::uint32_t *pairs, const unsigned char *in, long count, long stride) {
  const hn::Repartition<std::uint32_t, Sums> d;
  const hn::Rebind<std::uint8_t, decltype(d)> d8;
  const long step = static_cast<long>(hn::Lanes(d));
  long i = 0;
  for (; i + step <= count; i += step) {
    const auto low = hn::PromoteTo(d, hn::LoadU(d8, in + i));
    const auto high = hn::PromoteTo(d, hn::LoadU(d8, in + i + stride));
    hn::StoreU(hn::Or(low, hn::ShiftLeft<16>(high)), d, pairs + i);
  }
  for (; i < count; ++i) pairs[i] = in[i] | static_cast<std::uint32_t>(in[i + stride]) << 16;
}

/// kVectors vectors of results from paired pixels.
template <int kVectors>
HWY_INLINE void SmoothPairs(unsigned char *out, const std::uint32_t *pairs, long stride, const SmoothKernel &kernel) {
  const hn::Repartition<std::uint32_t, Sums> d;
  const long step = static_cast<long>(hn::Lanes(d));
  Growing sums[kVectors];
  for (auto &s : sums) s.Clear();
  const std::uint32_t *from = pairs;
  for (int p = 0; p <= kernel.Half(); ++p, from += 2 * stride) {
    const Half weights = Weights(kernel.pairs[p][0]);
    for (int v = 0; v < kVectors; ++v) sums[v].Add(hn::BitCast(Halves(), hn::LoadU(d, from + v * step)), weights);
  }
  const auto reciprocal = hn::Set(hn::Rebind<float, Sums>(), kernel.reciprocal);
  for (int v = 0; v < kVectors; ++v) sums[v].Store(reciprocal, out + v * step);
}

void SmoothRow(unsigned char *out, const unsigned char *in, long count, long stride, const SmoothKernel &kernel) {
  constexpr long kMostPairs = 2048, kSlack = 64;
  const long step = static_cast<long>(hn::Lanes(Sums())), reach = (kernel.n - 1) * stride;
  const long atOnce = (kMostPairs - reach) / (4 * step) * (4 * step);
  if (atOnce <= 0) return plain::SmoothRow(out, in, count, stride, kernel);
  HWY_ALIGN std::uint32_t pairs[kMostPairs + kSlack];
  for (; count > 0; count -= atOnce, in += atOnce, out += atOnce) {
    const long n = std::min(count, atOnce);
    // The last pixel's pair has no second half: the kernel's last pair has no second weight.
    const long whole = n + reach - stride;
    if (whole > 0) PairPixels(pairs, in, whole, stride);
    for (long i = std::max(whole, 0L); i < n + reach; ++i) pairs[i] = in[i];
    std::fill_n(pairs + n + reach, kSlack, 0U);
    long i = 0;
    for (; i + 4 * step <= n; i += 4 * step) SmoothPairs<4>(out + i, pairs + i, stride, kernel);
    for (; i + step <= n; i += step) SmoothPairs<1>(out + i, pairs + i, stride, kernel);
    if (i < n) {
      unsigned char last[16];
      SmoothPairs<1>(last, pairs + i, stride, kernel);
      std::memcpy(out + i, last, static_cast<std::size_t>(n - i));
    }
  }
}

// Columns ------------------------------------------------------------------------------------------------------------

void ZipRows(unsigned char *pairs, const unsigned char *a, const unsigned char *b, long count) {
  const hn::ScalableTag<std::uint8_t> d;
  const long step = static_cast<long>(hn::Lanes(d));
  long i = 0;
  for (; i + step <= count; i += step)
    hn::StoreInterleaved2(hn::LoadU(d, a + i), hn::LoadU(d, b + i), d, pairs + 2 * i);
  plain::ZipRows(pairs + 2 * i, a + i, b + i, count - i);
}

/// kVectors vectors of results in each of four rows.
template <int kVectors>
HWY_INLINE void SmoothZipped(unsigned char *const *out, const unsigned char *const *pairs, long i,
                             const SmoothKernel &kernel) {
  const hn::Rebind<std::uint8_t, Halves> d8;
  const long step = static_cast<long>(hn::Lanes(Sums()));
  Growing sums[kRowsAtOnce][kVectors];
  for (auto &row : sums)
    for (auto &s : row) s.Clear();
  for (int p = 0; p < kernel.PairsAtOnce(); ++p) {
    Half pixels[kVectors];
    for (int v = 0; v < kVectors; ++v)
      pixels[v] = hn::PromoteTo(Halves(), hn::LoadU(d8, pairs[p] + 2 * (i + v * step)));
    for (int r = 0; r < kRowsAtOnce; ++r) {
      const Half weights = Weights(kernel.pairs[p][r]);
      for (int v = 0; v < kVectors; ++v) sums[r][v].Add(pixels[v], weights);
    }
  }
  const auto reciprocal = hn::Set(hn::Rebind<float, Sums>(), kernel.reciprocal);
  for (int r = 0; r < kRowsAtOnce; ++r)
    for (int v = 0; v < kVectors; ++v) sums[r][v].Store(reciprocal, out[r] + i + v * step);
}

void SmoothColumns(unsigned char *const *out, const unsigned char *const *pairs, long count,
                   const SmoothKernel &kernel) {
  const long step = static_cast<long>(hn::Lanes(Sums()));
  long i = 0;
  for (; i + 2 * step <= count; i += 2 * step) SmoothZipped<2>(out, pairs, i, kernel);
  for (; i + step <= count; i += step) SmoothZipped<1>(out, pairs, i, kernel);
  if (i < count && count >= step) return SmoothZipped<1>(out, pairs, count - step, kernel);  // some of them once more
  plain::SmoothColumns(out, pairs, i, count, kernel);
}

#endif  // HWY_TARGET == HWY_SCALAR || HWY_HAVE_SCALABLE

}  // namespace qel::lines::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace qel::lines {

HWY_EXPORT(SmoothRow);
HWY_EXPORT(ZipRows);
HWY_EXPORT(SmoothColumns);

void SmoothRow(unsigned char *out, const unsigned char *in, long count, long stride, const SmoothKernel &kernel) {
  HWY_DYNAMIC_DISPATCH(SmoothRow)(out, in, count, stride, kernel);
}

void ZipRows(unsigned char *pairs, const unsigned char *a, const unsigned char *b, long count) {
  HWY_DYNAMIC_DISPATCH(ZipRows)(pairs, a, b, count);
}

void SmoothColumns(unsigned char *const *out, const unsigned char *const *pairs, long count,
                   const SmoothKernel &kernel) {
  HWY_DYNAMIC_DISPATCH(SmoothColumns)(out, pairs, count, kernel);
}

}  // namespace qel::lines

#endif  // HWY_ONCE

// The search for samples, eight walks in the lanes of vectors, and averages of colours: one source for every vector
// width, chosen at run time (Highway). Every lane of the search does what the plain loop does, in its order, so that
// the last bits are the same.

#include <cstring>

#include "qel/lines/sample.h"
#include "qel/lines/sample_plain.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "qel/lines/sample_simd.cpp"
#include <hwy/foreach_target.h>  // must come before highway.h
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace qel::lines::HWY_NAMESPACE {

#if HWY_TARGET == HWY_SCALAR || HWY_HAVE_SCALABLE  // vectors of unknown length cannot stand in arrays

using plain::AverageSamples;
using plain::FindSamples;

#else

namespace hn = hwy::HWY_NAMESPACE;

using Points = hn::CappedTag<double, kWalks>;
using Numbers = hn::Rebind<std::int32_t, Points>;
using Point = hn::Vec<Points>;
using Number = hn::Vec<Numbers>;

// Search -------------------------------------------------------------------------------------------------------------

/// The columns or rows of points.
HWY_INLINE Number PixelOf(Point v) {
  const Points d;
  const Point moved = hn::Sub(v, hn::IfThenElseZero(hn::Lt(v, hn::Zero(d)), hn::Set(d, 0.999)));
  return hn::DemoteTo(Numbers(), moved);
}

template <bool kClamp>
bool Find(std::int32_t *places, SampleWalks &walks, const SampleGrid &grid, long count) {
  const Points d;
  const Numbers d32;
  constexpr int kLanes = static_cast<int>(hn::MaxLanes(Points())), kVectors = kWalks / kLanes;
  const Number left = hn::Set(d32, static_cast<std::int32_t>(grid.left));
  const Number right = hn::Set(d32, static_cast<std::int32_t>(grid.right));
  const Number top = hn::Set(d32, static_cast<std::int32_t>(grid.top));
  const Number bottom = hn::Set(d32, static_cast<std::int32_t>(grid.bottom));
  const Number rowBytes = hn::Set(d32, static_cast<std::int32_t>(grid.rowBytes));
  const Number pixelBytes = hn::Set(d32, static_cast<std::int32_t>(grid.pixelBytes));
  const Number outside = hn::Set(d32, kOutside<std::int32_t>);
  const Point stepX = hn::Set(d, walks.stepX), stepY = hn::Set(d, walks.stepY);
  Number all = hn::Set(d32, -1);
  Point x[kVectors], y[kVectors];
  for (int v = 0; v < kVectors; ++v) {
    x[v] = hn::LoadU(d, walks.x + v * kLanes);
    y[v] = hn::LoadU(d, walks.y + v * kLanes);
  }
  for (long i = 0; i < count; ++i, places += kWalks) {
    for (int v = 0; v < kVectors; ++v) {
      const Number column = PixelOf(x[v]), row = PixelOf(y[v]);
      const Number nearColumn = hn::Min(hn::Max(column, left), right), nearRow = hn::Min(hn::Max(row, top), bottom);
      Number place = hn::Add(hn::Mul(nearRow, rowBytes), hn::Mul(nearColumn, pixelBytes));
      if (!kClamp) {
        const auto isInside = hn::And(hn::Eq(column, nearColumn), hn::Eq(row, nearRow));
        place = hn::IfThenElse(isInside, place, outside);
        all = hn::IfThenElseZero(isInside, all);
      }
      hn::StoreU(place, d32, places + v * kLanes);
      x[v] = hn::Add(x[v], stepX);
      y[v] = hn::Add(y[v], stepY);
    }
  }
  for (int v = 0; v < kVectors; ++v) {
    hn::StoreU(x[v], d, walks.x + v * kLanes);
    hn::StoreU(y[v], d, walks.y + v * kLanes);
  }
  return hn::AllTrue(d32, hn::Lt(all, hn::Zero(d32)));
}

bool FindSamples(std::int32_t *places, SampleWalks &walks, const SampleGrid &grid, long count) {
  return grid.clamp ? Find<true>(places, walks, grid, count) : Find<false>(places, walks, grid, count);
}

// Averages -----------------------------------------------------------------------------------------------------------

using ColorBytes = hn::FixedTag<std::uint8_t, 4>;
using ColorSums = hn::FixedTag<std::uint16_t, 4>;

/// Sums of 16 bits hold 64 samples. Divisors d up to 64: with m = 2^(16 + k) / d, rounded up, the high half of sum x m
/// shifted by k is the quotient, since the sum is at most 255 d and 255 d^2 < 2^(16 + k) for 2^k from d / 2 on.
struct Divisor {
  std::uint16_t factor;
  int shift;
  explicit Divisor(long d) : shift(0) {
    while (2L << shift < d) ++shift;
    factor = static_cast<std::uint16_t>(((65536L << shift) + d - 1) / d);
  }
};

/// kPoints: the points when they are known beforehand, which frees the pixel of its loops; else 0.
template <bool kAll, long kPoints>
void Average(unsigned char *dst, const SamplePixels &pixels, const std::int32_t *places, long count, long points) {
  const ColorBytes d8;
  const ColorSums d16;
  if (kPoints != 0) points = kPoints;
  const Divisor divisor(points * points);
  const auto factor = hn::Set(d16, divisor.factor);
  const std::uint32_t before = pixels.background << 8;  // as in memory, behind the byte before it
  const auto *const background = reinterpret_cast<const unsigned char *>(&before);
  for (long i = 0; i < count; ++i) {
    auto sum = hn::Zero(d16);
    for (long j = 0; j < points; ++j, places += kWalks) {
      for (long k = 0; k < points; ++k) {
        const unsigned char *const at =
            !kAll && places[k] == kOutside<std::int32_t> ? background : pixels.centre + places[k] - 1;
        sum = hn::Add(sum, hn::PromoteTo(d16, hn::LoadU(d8, at)));
      }
    }
    const auto quotient = hn::ShiftRightSame(hn::MulHigh(sum, factor), divisor.shift);
    unsigned char color[4];
    hn::StoreU(hn::DemoteTo(d8, hn::BitCast(hn::RebindToSigned<ColorSums>(), quotient)), d8, color);
    std::uint32_t v;
    std::memcpy(&v, color, sizeof v);
    v >>= 8;
    std::memcpy(dst + 3 * i, &v, sizeof v);  // the fourth byte goes where the next pixel comes
  }
}

void AverageSamples(unsigned char *dst, const SamplePixels &pixels, const std::int32_t *places, long count, long points,
                    bool all) {
  if (pixels.channels == 1) return plain::AverageSamples(dst, pixels, places, count, points, all);
  const auto average =
      points == 2 ? (all ? Average<true, 2> : Average<false, 2>) : (all ? Average<true, 0> : Average<false, 0>);
  average(dst, pixels, places, count, points);
}

#endif  // HWY_TARGET == HWY_SCALAR || HWY_HAVE_SCALABLE

}  // namespace qel::lines::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace qel::lines {

HWY_EXPORT(FindSamples);
HWY_EXPORT(AverageSamples);

void AverageSamples(unsigned char *dst, const SamplePixels &pixels, const std::int32_t *places, long count, long points,
                    bool all) {
  HWY_DYNAMIC_DISPATCH(AverageSamples)(dst, pixels, places, count, points, all);
}

bool FindSamples(std::int32_t *places, SampleWalks &walks, const SampleGrid &grid, long count) {
  return HWY_DYNAMIC_DISPATCH(FindSamples)(places, walks, grid, count);
}

}  // namespace qel::lines

#endif  // HWY_ONCE

// The search for samples, eight walks in the lanes of vectors: one source for every vector width, chosen at run time
// (Highway). Every lane does what the plain loop does, in its order, so that the last bits are the same.

#include "qel/lines/sample.h"
#include "qel/lines/sample_plain.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "qel/lines/sample_simd.cpp"
#include <hwy/foreach_target.h>  // must come before highway.h
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace qel::lines::HWY_NAMESPACE {

#if HWY_TARGET == HWY_SCALAR || HWY_HAVE_SCALABLE  // vectors of unknown length cannot stand in arrays

using plain::FindSamples;

#else

namespace hn = hwy::HWY_NAMESPACE;

using Points = hn::CappedTag<double, kWalks>;
using Numbers = hn::Rebind<std::int32_t, Points>;
using Point = hn::Vec<Points>;
using Number = hn::Vec<Numbers>;

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

#endif  // HWY_TARGET == HWY_SCALAR || HWY_HAVE_SCALABLE

}  // namespace qel::lines::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace qel::lines {

HWY_EXPORT(FindSamples);

bool FindSamples(std::int32_t *places, SampleWalks &walks, const SampleGrid &grid, long count) {
  return HWY_DYNAMIC_DISPATCH(FindSamples)(places, walks, grid, count);
}

}  // namespace qel::lines

#endif  // HWY_ONCE

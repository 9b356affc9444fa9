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
HWY_INLINE Number PixelOf(Point v, Number first, Number last) {
  const Points d;
  const Point moved = hn::Sub(v, hn::IfThenElseZero(hn::Lt(v, hn::Zero(d)), hn::Set(d, 0.999)));
  return hn::Min(hn::Max(hn::DemoteTo(Numbers(), moved), first), last);
}

void FindSamples(std::int32_t *numbers, SampleWalks &walks, const SampleGrid &grid, long count) {
  const Points d;
  const Numbers d32;
  constexpr int kLanes = static_cast<int>(hn::MaxLanes(Points())), kVectors = kWalks / kLanes;
  const auto whole = [d32](long v) HWY_ATTR { return hn::Set(d32, static_cast<std::int32_t>(v)); };
  const Number left = whole(grid.left), right = whole(grid.right), top = whole(grid.top), bottom = whole(grid.bottom),
               stride = whole(grid.stride);
  const Point stepX = hn::Set(d, walks.stepX), stepY = hn::Set(d, walks.stepY);
  Point x[kVectors], y[kVectors];
  for (int v = 0; v < kVectors; ++v) {
    x[v] = hn::LoadU(d, walks.x + v * kLanes);
    y[v] = hn::LoadU(d, walks.y + v * kLanes);
  }
  for (long i = 0; i < count; ++i, numbers += kWalks) {
    for (int v = 0; v < kVectors; ++v) {
      const Number row = hn::Mul(PixelOf(y[v], top, bottom), stride);
      hn::StoreU(hn::Add(row, PixelOf(x[v], left, right)), d32, numbers + v * kLanes);
      x[v] = hn::Add(x[v], stepX);
      y[v] = hn::Add(y[v], stepY);
    }
  }
  for (int v = 0; v < kVectors; ++v) {
    hn::StoreU(x[v], d, walks.x + v * kLanes);
    hn::StoreU(y[v], d, walks.y + v * kLanes);
  }
}

#endif  // HWY_TARGET == HWY_SCALAR || HWY_HAVE_SCALABLE

}  // namespace qel::lines::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace qel::lines {

HWY_EXPORT(FindSamples);

void FindSamples(std::int32_t *numbers, SampleWalks &walks, const SampleGrid &grid, long count) {
  HWY_DYNAMIC_DISPATCH(FindSamples)(numbers, walks, grid, count);
}

}  // namespace qel::lines

#endif  // HWY_ONCE

// Pixels of a colour box as bits: one source for every vector width, chosen at run time (Highway). A compiler compares
// pixel by pixel.

#include <cstring>

#include "qel/lines/flood.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "qel/lines/flood_simd.cpp"
#include <hwy/foreach_target.h>  // must come before highway.h
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace qel::lines::HWY_NAMESPACE {

#if HWY_TARGET == HWY_SCALAR

using plain::BoxMask;

#else

namespace hn = hwy::HWY_NAMESPACE;

std::uint64_t BoxMask(const unsigned char *line, long n, const ColorBox &box) {
  const hn::CappedTag<std::uint8_t, 64> d;
  const long step = static_cast<long>(hn::Lanes(d));
  const auto isInside = [&](hn::Vec<decltype(d)> v, int c) {
    return hn::Eq(hn::Min(hn::Max(v, hn::Set(d, box.low[c])), hn::Set(d, box.high[c])), v);
  };
  std::uint64_t mask = 0;
  long i = 0;
  for (; i + step <= n; i += step) {
    hn::Vec<decltype(d)> blue, green, red;
    hn::LoadInterleaved3(d, line + 3 * i, blue, green, red);
    const auto inside = hn::And(isInside(blue, 0), hn::And(isInside(green, 1), isInside(red, 2)));
    std::uint8_t bytes[8] = {};
    hn::StoreMaskBits(d, inside, bytes);
    std::uint64_t bits;
    std::memcpy(&bits, bytes, sizeof bits);
    mask |= bits << i;
  }
  return i < n ? mask | plain::BoxMask(line + 3 * i, n - i, box) << i : mask;
}

#endif  // HWY_TARGET == HWY_SCALAR

}  // namespace qel::lines::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace qel::lines {

HWY_EXPORT(BoxMask);

std::uint64_t BoxMask(const unsigned char *line, long n, const ColorBox &box) {
  return HWY_DYNAMIC_DISPATCH(BoxMask)(line, n, box);
}

}  // namespace qel::lines

#endif  // HWY_ONCE

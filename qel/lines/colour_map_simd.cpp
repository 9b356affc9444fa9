// The keys of 24-bit pixels for every vector width (Highway): the bytes of a key, green above blue and red alone, are
// made apart and stored side by side. Look-ups stay plain: a gather would be slower than one load a pixel.
#include "qel/lines/colour_map.h"

#include <bit>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "qel/lines/colour_map_simd.cpp"
#include <hwy/foreach_target.h>  // must come before highway.h
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace qel::lines::HWY_NAMESPACE {

#if HWY_TARGET == HWY_SCALAR

using plain::Rgb24ToKeys;

#else

namespace hn = hwy::HWY_NAMESPACE;

void Rgb24ToKeys(std::uint16_t *keys, const unsigned char *src, long n) {
  static_assert(std::endian::native == std::endian::little);
  const hn::ScalableTag<std::uint8_t> d;
  const long step = static_cast<long>(hn::Lanes(d));
  const auto high = hn::Set(d, 0xF0);
  long i = 0;
  for (; i + step <= n; i += step) {
    hn::Vec<decltype(d)> b, g, r;
    hn::LoadInterleaved3(d, src + 3 * i, b, g, r);
    const auto low = hn::Or(hn::And(g, high), hn::ShiftRight<4>(b));
    hn::StoreInterleaved2(low, hn::ShiftRight<4>(r), d, reinterpret_cast<unsigned char *>(keys + i));
  }
  plain::Rgb24ToKeys(keys + i, src + 3 * i, n - i);
}

#endif  // HWY_TARGET == HWY_SCALAR

}  // namespace qel::lines::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace qel::lines {

HWY_EXPORT(Rgb24ToKeys);

void Rgb24ToKeys(std::uint16_t *keys, const unsigned char *src, long n) {
  HWY_DYNAMIC_DISPATCH(Rgb24ToKeys)(keys, src, n);
}

}  // namespace qel::lines

#endif  // HWY_ONCE

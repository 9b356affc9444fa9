// The nearest-colour search: every entry is compared, as palettes are small. The vector form compares several entries
// at once and takes the least of numbers that hold a distance above an index, which is the nearest entry and the lowest
// of equals. Palettes of more than 256 colours, whose indices do not fit, are left to the plain loop.

#include "qel/lines/nearest_color.h"

#include <algorithm>
#include <cstdint>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "qel/lines/nearest_color.cpp"
#include <hwy/foreach_target.h>  // must come before highway.h
#include <hwy/highway.h>

#ifndef QEL_LINES_NEAREST_COLOR_ONCE
#define QEL_LINES_NEAREST_COLOR_ONCE
namespace qel::lines {

constexpr std::int32_t kFarthest = 3 * 255 * 255;  // black to white
constexpr long kMostEntries = 256;

}  // namespace qel::lines
#endif

HWY_BEFORE_NAMESPACE();
namespace qel::lines::HWY_NAMESPACE {

#if HWY_TARGET == HWY_SCALAR

using plain::FindNearestColors;

#else

namespace hn = hwy::HWY_NAMESPACE;

using Ints = hn::CappedTag<std::int32_t, 16>;

void FindNearestColors(unsigned char *map, const unsigned char *colors, long count, const unsigned char *palette,
                       long paletteCount) {
  const Ints d;
  const long step = static_cast<long>(hn::Lanes(d));
  alignas(64) std::int32_t channels[3][kMostEntries];
  const long padded = (paletteCount + step - 1) / step * step;
  for (long j = 0; j < padded; ++j)  // entries beyond the last are the first again, which goes before them
    for (int c = 0; c < 3; ++c) channels[c][j] = palette[3 * (j < paletteCount ? j : 0) + c];

  unsigned char found = 0;
  for (long i = 0; i < count; ++i, colors += 3) {
    const auto c0 = hn::Set(d, colors[0]), c1 = hn::Set(d, colors[1]), c2 = hn::Set(d, colors[2]);
    auto least = hn::Set(d, kFarthest * kMostEntries);
    auto index = hn::Iota(d, 0);
    for (long j = 0; j < padded; j += step) {
      const auto d0 = hn::Sub(hn::Load(d, channels[0] + j), c0);
      const auto d1 = hn::Sub(hn::Load(d, channels[1] + j), c1);
      const auto d2 = hn::Sub(hn::Load(d, channels[2] + j), c2);
      const auto distance = hn::Add(hn::Add(hn::Mul(d0, d0), hn::Mul(d1, d1)), hn::Mul(d2, d2));
      least = hn::Min(least, hn::Or(hn::ShiftLeft<8>(distance), index));
      index = hn::Add(index, hn::Set(d, static_cast<std::int32_t>(step)));
    }
    const std::int32_t nearest = hn::GetLane(hn::MinOfLanes(d, least));
    if (nearest < kFarthest * kMostEntries) found = static_cast<unsigned char>(nearest);
    map[i] = found;
  }
}

#endif  // HWY_TARGET == HWY_SCALAR

}  // namespace qel::lines::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace qel::lines {

namespace {

int Square(int v) {
  return v * v;
}

}  // namespace

void plain::FindNearestColors(unsigned char *map, const unsigned char *colors, long count, const unsigned char *palette,
                              long paletteCount) {
  unsigned char found = 0;
  for (long i = 0; i < count; ++i, colors += 3) {
    int best = kFarthest;
    const unsigned char *entry = palette;
    for (long j = 0; j < paletteCount && best > 0; ++j, entry += 3) {
      const int distance = Square(colors[0] - entry[0]) + Square(colors[1] - entry[1]) + Square(colors[2] - entry[2]);
      if (distance >= best) continue;
      best = distance;
      found = static_cast<unsigned char>(j);
    }
    map[i] = found;
  }
}

HWY_EXPORT(FindNearestColors);

void FindNearestColors(unsigned char *map, const unsigned char *colors, long count, const unsigned char *palette,
                       long paletteCount) {
  constexpr long kFewEntries = 8;  // take no longer one by one
  if (paletteCount < kFewEntries || paletteCount > kMostEntries)
    plain::FindNearestColors(map, colors, count, palette, paletteCount);
  else
    HWY_DYNAMIC_DISPATCH(FindNearestColors)(map, colors, count, palette, paletteCount);
}

}  // namespace qel::lines

#endif  // HWY_ONCE

// Runs of bytes within the bounds of a colour box: one source for every vector width, chosen at run time (Highway). A
// compiler compares pixel by pixel.

#include <algorithm>
#include <bit>
#include <cstring>

#include "qel/lines/flood.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "qel/lines/flood_simd.cpp"
#include <hwy/foreach_target.h>  // must come before highway.h
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace qel::lines::HWY_NAMESPACE {

#if HWY_TARGET == HWY_SCALAR

using plain::LeadingInBox;
using plain::NextInBox;
using plain::TrailingInBox;

#else

namespace hn = hwy::HWY_NAMESPACE;

using D = hn::CappedTag<std::uint8_t, 64>;
using V = hn::Vec<D>;

/// Tests bytes by the bounds of their channels, the first of which is that of place i.
auto IsInside(const unsigned char *bytes, long i, const BoxTest &box) {
  const D d;
  const auto v = hn::LoadU(d, bytes);
  return hn::Eq(hn::Min(hn::Max(v, hn::LoadU(d, box.low + i % 3)), hn::LoadU(d, box.high + i % 3)), v);
}

/// The same as one bit a byte; what it gives when all bytes pass.
std::uint64_t InBoxBits(const unsigned char *line, long i, const BoxTest &box) {
  std::uint8_t bytes[8] = {};
  hn::StoreMaskBits(D(), IsInside(line + i, i, box), bytes);
  std::uint64_t bits;
  std::memcpy(&bits, bytes, sizeof bits);
  return bits;
}
std::uint64_t AllInBox() {
  return ~std::uint64_t{0} >> (64 - hn::Lanes(D()));
}

/// Three vectors from a place that begins with blue on, whose bounds do not change from one such place to the next.
bool AreThreeInside(const unsigned char *bytes, long step, const BoxTest &box) {
  const auto first = IsInside(bytes, 0, box), second = IsInside(bytes + step, step, box);
  return hn::AllTrue(D(), hn::And(hn::And(first, second), IsInside(bytes + 2 * step, 2 * step, box)));
}

long LeadingInBox(const unsigned char *line, long bytes, const BoxTest &box) {
  const long step = static_cast<long>(hn::Lanes(D()));
  if (bytes < step) return plain::LeadingInBox(line, bytes, box);
  const std::uint64_t all = AllInBox();
  long i = 0;
  while (i + 3 * step <= bytes && AreThreeInside(line + i, step, box)) i += 3 * step;
  for (i = std::min(i, bytes - step);; i = std::min(i + step, bytes - step)) {  // the last vector overlaps
    const std::uint64_t inside = InBoxBits(line, i, box);
    if (inside != all) return i + std::countr_one(inside);
    if (i == bytes - step) return bytes;
  }
}

long TrailingInBox(const unsigned char *line, long bytes, const BoxTest &box) {
  const long step = static_cast<long>(hn::Lanes(D()));
  if (bytes < step) return plain::TrailingInBox(line, bytes, box);
  const std::uint64_t all = AllInBox();
  long i = bytes - bytes % 3;  // three vectors at a time have to begin with blue
  if (i == bytes)
    while (i >= 3 * step && AreThreeInside(line + i - 3 * step, step, box)) i -= 3 * step;
  for (i = std::max(i - step, 0L);; i = std::max(i - step, 0L)) {
    const std::uint64_t inside = InBoxBits(line, i, box);
    if (inside != all) return bytes - i - step + std::countl_one(inside << (64 - step));
    if (i == 0) return bytes;
  }
}

long NextInBox(const unsigned char *line, long x, long end, const BoxTest &box) {
  constexpr std::uint64_t kEveryThird = 0x9249249249249249;
  const long step = static_cast<long>(hn::Lanes(D())), pixels = step / 3;
  for (; 3 * (end - x) >= step; x += pixels) {
    const std::uint64_t inside = InBoxBits(line + 3 * x, 0, box);
    const std::uint64_t whole = inside & inside >> 1 & inside >> 2 & kEveryThird;
    if (whole != 0) return x + std::countr_zero(whole) / 3;
  }
  return plain::NextInBox(line, x, end, box);
}

#endif  // HWY_TARGET == HWY_SCALAR

}  // namespace qel::lines::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace qel::lines {

HWY_EXPORT(LeadingInBox);
HWY_EXPORT(TrailingInBox);
HWY_EXPORT(NextInBox);

long LeadingInBox(const unsigned char *line, long bytes, const BoxTest &box) {
  return HWY_DYNAMIC_DISPATCH(LeadingInBox)(line, bytes, box);
}

long TrailingInBox(const unsigned char *line, long bytes, const BoxTest &box) {
  return HWY_DYNAMIC_DISPATCH(TrailingInBox)(line, bytes, box);
}

long NextInBox(const unsigned char *line, long x, long end, const BoxTest &box) {
  return HWY_DYNAMIC_DISPATCH(NextInBox)(line, x, end, box);
}

}  // namespace qel::lines

#endif  // HWY_ONCE

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
using plain::TrailingInBox;

#else

namespace hn = hwy::HWY_NAMESPACE;

using D = hn::CappedTag<std::uint8_t, 64>;
using V = hn::Vec<D>;

/// True for bytes between two others, both included.
auto IsBetween(V v, V low, V high) {
  return hn::Eq(hn::Min(hn::Max(v, low), high), v);
}

/// Bytes from place i on, tested by the bounds of their channels; one bit a byte.
std::uint64_t InBoxBits(const unsigned char *line, long i, const BoxTest &box) {
  const D d;
  const auto isInside =
      IsBetween(hn::LoadU(d, line + i), hn::LoadU(d, box.low + i % 3), hn::LoadU(d, box.high + i % 3));
  std::uint8_t bytes[8] = {};
  hn::StoreMaskBits(d, isInside, bytes);
  std::uint64_t bits;
  std::memcpy(&bits, bytes, sizeof bits);
  return bits;
}

/// What InBoxBits gives when all bytes pass.
std::uint64_t AllInBox() {
  return ~std::uint64_t{0} >> (64 - hn::Lanes(D()));
}

long LeadingInBox(const unsigned char *line, long bytes, const BoxTest &box) {
  const long step = static_cast<long>(hn::Lanes(D()));
  if (bytes < step) return plain::LeadingInBox(line, bytes, box);
  const std::uint64_t all = AllInBox();
  for (long i = 0;; i = std::min(i + step, bytes - step)) {  // the last vector overlaps the one before
    const std::uint64_t inside = InBoxBits(line, i, box);
    if (inside != all) return i + std::countr_one(inside);
    if (i == bytes - step) return bytes;
  }
}

long TrailingInBox(const unsigned char *line, long bytes, const BoxTest &box) {
  const long step = static_cast<long>(hn::Lanes(D()));
  if (bytes < step) return plain::TrailingInBox(line, bytes, box);
  const std::uint64_t all = AllInBox();
  for (long i = bytes - step;; i = std::max(i - step, 0L)) {
    const std::uint64_t inside = InBoxBits(line, i, box);
    if (inside != all) return bytes - i - step + std::countl_one(inside << (64 - step));
    if (i == 0) return bytes;
  }
}

#endif  // HWY_TARGET == HWY_SCALAR

}  // namespace qel::lines::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace qel::lines {

HWY_EXPORT(LeadingInBox);
HWY_EXPORT(TrailingInBox);

long LeadingInBox(const unsigned char *line, long bytes, const BoxTest &box) {
  return HWY_DYNAMIC_DISPATCH(LeadingInBox)(line, bytes, box);
}

long TrailingInBox(const unsigned char *line, long bytes, const BoxTest &box) {
  return HWY_DYNAMIC_DISPATCH(TrailingInBox)(line, bytes, box);
}

}  // namespace qel::lines

#endif  // HWY_ONCE

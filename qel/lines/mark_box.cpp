// Pixels of a colour box as bits: one source for every vector width, chosen at run time (Highway). A compiler compares
// pixel by pixel.

#include "qel/lines/hsl.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "qel/lines/mark_box.cpp"
#include <hwy/foreach_target.h>  // must come before highway.h
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace qel::lines::HWY_NAMESPACE {

#if HWY_TARGET == HWY_SCALAR

using plain::MarkBox;

#else

namespace hn = hwy::HWY_NAMESPACE;

using D = hn::CappedTag<std::uint8_t, 64>;
using V = hn::Vec<D>;

/// 255 where a channel lies within its bounds.
V Within(V v, std::uint8_t low, std::uint8_t high) {
  const D d;
  return hn::VecFromMask(d, hn::Eq(hn::Min(hn::Max(v, hn::Set(d, low)), hn::Set(d, high)), v));
}

void MarkBox(unsigned char *bits, const unsigned char *line, long n, const ColorBox &box) {
  // Masks are stored with their first lane in the lowest bit, so each eight lanes are turned around before.
  alignas(16) static constexpr std::uint8_t kTurn[16] = {7, 6, 5, 4, 3, 2, 1, 0, 15, 14, 13, 12, 11, 10, 9, 8};
  const D d;
  const long step = static_cast<long>(hn::Lanes(d));
  const V turn = hn::LoadDup128(d, kTurn);
  for (; step >= 16 && n >= step; n -= step, line += 3 * step, bits += step / 8) {
    V blue, green, red;
    hn::LoadInterleaved3(d, line, blue, green, red);
    const V inside = hn::And(hn::And(Within(blue, box.low[0], box.high[0]), Within(green, box.low[1], box.high[1])),
                             Within(red, box.low[2], box.high[2]));
    std::uint8_t marked[8];
    hn::StoreMaskBits(d, hn::MaskFromVec(hn::TableLookupBytes(inside, turn)), marked);
    for (long k = 0; k < step / 8; ++k) bits[k] = static_cast<unsigned char>(bits[k] | marked[k]);
  }
  plain::MarkBox(bits, line, n, box);
}

#endif  // HWY_TARGET == HWY_SCALAR

}  // namespace qel::lines::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace qel::lines {

HWY_EXPORT(MarkBox);

void MarkBox(unsigned char *bits, const unsigned char *line, long n, const ColorBox &box) {
  HWY_DYNAMIC_DISPATCH(MarkBox)(bits, line, n, box);
}

}  // namespace qel::lines

#endif  // HWY_ONCE

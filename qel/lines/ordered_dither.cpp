// Ordered dither of whole lines: one source for every vector width, chosen at run time (Highway). Each function takes
// as many whole vectors as fit without touching a byte behind the line and leaves the rest to the plain loop.
//
// A vector's number of pixels is a multiple of 8, so that one vector of thresholds serves the whole line.

#include "qel/lines/ordered_dither.h"

#include <cstdint>

#include "qel/lines/ordered_dither_plain.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "qel/lines/ordered_dither.cpp"
#include <hwy/foreach_target.h>  // must come before highway.h
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace qel::lines::HWY_NAMESPACE {

#if HWY_TARGET == HWY_SCALAR

using plain::DitherTo16;
using plain::DitherTo2;
using plain::DitherTo216;

#else

namespace hn = hwy::HWY_NAMESPACE;

using Bytes = hn::ScalableTag<std::uint8_t>;
using Words = hn::Repartition<std::uint16_t, Bytes>;
using Ints = hn::RebindToSigned<Words>;

/// The even or odd bytes of a vector as 16-bit lanes, and both put together again (each lane below 256).
template <class V>
auto EvenBytes(V v) {
  return hn::And(hn::BitCast(Words(), v), hn::Set(Words(), 0xFF));
}
template <class V>
auto OddBytes(V v) {
  return hn::ShiftRight<8>(hn::BitCast(Words(), v));
}
template <class V>
auto JoinBytes(V even, V odd) {
  return hn::BitCast(Bytes(), hn::Or(even, hn::ShiftLeft<8>(odd)));
}

/// The eight thresholds again and again.
hn::Vec<Bytes> Thresholds(const unsigned char *thresholds) {
  alignas(16) std::uint8_t twice[16];
  for (int k = 0; k < 16; ++k) twice[k] = thresholds[k % 8];
  return hn::LoadDup128(Bytes(), twice);
}

// 2 colours ----------------------------------------------------------------------------------------------------------

/// No division: the truncated hundredth of a sum reaches a threshold when the sum reaches a hundred times the
/// threshold.
void DitherTo2(unsigned char *dst, const unsigned char *src, long n, const unsigned char *thresholds) {
  const Bytes d;
  const Words d16;
  alignas(16) static constexpr std::uint8_t kTurn[16] = {7, 6, 5, 4, 3, 2, 1, 0, 15, 14, 13, 12, 11, 10, 9, 8};
  const auto turn = hn::LoadDup128(d, kTurn);  // mask bits come most significant first
  const auto limits = Thresholds(thresholds);
  // what a sum must be above, in signed lanes: sums are 25500 at most
  const auto below = [](auto limit) {
    return hn::BitCast(Ints(), hn::Sub(hn::Mul(limit, hn::Set(Words(), 100)), hn::Set(Words(), 1)));
  };
  const auto evenLimit = below(EvenBytes(limits)), oddLimit = below(OddBytes(limits));
  const auto reaches = [d16](auto blue, auto green, auto red, auto limit) {
    const auto sum = hn::Add(hn::Mul(red, hn::Set(d16, 30)), hn::Mul(green, hn::Set(d16, 59)));
    const auto whole = hn::BitCast(Ints(), hn::Add(sum, hn::Mul(blue, hn::Set(d16, 11))));
    return hn::BitCast(d16, hn::VecFromMask(Ints(), hn::Gt(whole, limit)));
  };
  const long step = static_cast<long>(hn::Lanes(d));
  long i = 0;
  for (; i + step <= n; i += step) {
    hn::Vec<Bytes> b, g, r;
    hn::LoadInterleaved3(d, src + 3 * i, b, g, r);
    const auto even = reaches(EvenBytes(b), EvenBytes(g), EvenBytes(r), evenLimit);
    const auto odd = reaches(OddBytes(b), OddBytes(g), OddBytes(r), oddLimit);
    const auto bytes = JoinBytes(hn::And(even, hn::Set(d16, 0xFF)), odd);
    hn::StoreMaskBits(d, hn::MaskFromVec(hn::TableLookupBytes(bytes, turn)), dst + i / 8);
  }
  plain::DitherTo2(dst + i / 8, src + 3 * i, n - i, thresholds);
}

// 16 colours ---------------------------------------------------------------------------------------------------------

void DitherTo16(unsigned char *dst, const unsigned char *src, long n, const unsigned char *thresholds) {
  const Bytes d;
  const auto limits = Thresholds(thresholds);
  const auto bit = [d, limits](auto channel, std::uint8_t value) {
    return hn::IfThenElseZero(hn::Eq(hn::Max(channel, limits), channel), hn::Set(d, value));  // channel >= limit
  };
  const long step = static_cast<long>(hn::Lanes(d));
  long i = 0;
  for (; i + step <= n; i += step) {
    hn::Vec<Bytes> b, g, r;
    hn::LoadInterleaved3(d, src + 3 * i, b, g, r);
    const auto codes = hn::Or(bit(r, 12), hn::Or(bit(g, 10), bit(b, 9)));  // 8 and the channel's own bit
    const auto nibbles = hn::Or(hn::ShiftLeft<4>(EvenBytes(codes)), OddBytes(codes));
    const hn::Rebind<std::uint8_t, Words> half;
    hn::StoreU(hn::DemoteTo(half, hn::BitCast(Ints(), nibbles)), half, dst + i / 2);
  }
  plain::DitherTo16(dst + i / 2, src + 3 * i, n - i, thresholds);
}

// 216 colours --------------------------------------------------------------------------------------------------------

/// c / 51, one more where the remainder is above t, is (c + 50 - t) / 51 for t up to 50, which no remainder is above;
/// x / 51 is x times 1286 / 65536, exact for every x up to 305.
void DitherTo216(unsigned char *dst, const unsigned char *src, long n, const unsigned char *thresholds) {
  const Bytes d;
  const Words d16;
  const auto most = hn::Set(d, 50);
  const auto lift = hn::Sub(most, hn::Min(Thresholds(thresholds), most));
  const auto evenLift = EvenBytes(lift), oddLift = OddBytes(lift);
  const auto color = [d16](auto blue, auto green, auto red, auto lift16) {
    const auto level = [&](auto c) { return hn::MulHigh(hn::Add(c, lift16), hn::Set(d16, 1286)); };
    const auto cube = hn::Add(hn::Mul(level(red), hn::Set(d16, 36)), hn::Mul(level(green), hn::Set(d16, 6)));
    return hn::Add(hn::Add(cube, level(blue)), hn::Set(d16, 16));
  };
  const long step = static_cast<long>(hn::Lanes(d));
  long i = 0;
  for (; i + step <= n; i += step) {
    hn::Vec<Bytes> b, g, r;
    hn::LoadInterleaved3(d, src + 3 * i, b, g, r);
    const auto even = color(EvenBytes(b), EvenBytes(g), EvenBytes(r), evenLift);
    const auto odd = color(OddBytes(b), OddBytes(g), OddBytes(r), oddLift);
    hn::StoreU(JoinBytes(even, odd), d, dst + i);
  }
  plain::DitherTo216(dst + i, src + 3 * i, n - i, thresholds);
}

#endif  // HWY_TARGET == HWY_SCALAR

}  // namespace qel::lines::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

// Entry points: each chooses its vector width on its first call ------------------------------------------------------

namespace qel::lines {

HWY_EXPORT(DitherTo2);
HWY_EXPORT(DitherTo16);
HWY_EXPORT(DitherTo216);

void DitherTo2(unsigned char *dst, const unsigned char *src, long n, const unsigned char *thresholds) {
  HWY_DYNAMIC_DISPATCH(DitherTo2)(dst, src, n, thresholds);
}
void DitherTo16(unsigned char *dst, const unsigned char *src, long n, const unsigned char *thresholds) {
  HWY_DYNAMIC_DISPATCH(DitherTo16)(dst, src, n, thresholds);
}
void DitherTo216(unsigned char *dst, const unsigned char *src, long n, const unsigned char *thresholds) {
  HWY_DYNAMIC_DISPATCH(DitherTo216)(dst, src, n, thresholds);
}

}  // namespace qel::lines

#endif  // HWY_ONCE

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

#include "qel/lines/byte_lanes-inl.h"

HWY_BEFORE_NAMESPACE();
namespace qel::lines::HWY_NAMESPACE {

#if HWY_TARGET == HWY_SCALAR

using plain::DitherTo16;
using plain::DitherTo2;
using plain::DitherTo216;

#else

using Ints = hn::RebindToSigned<Words>;

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
  alignas(16) static constexpr std::uint8_t kTurn[16] = {7, 6, 5, 4, 3, 2, 1, 0, 15, 14, 13, 12, 11, 10, 9, 8};
  const auto turn = hn::LoadDup128(d, kTurn);  // mask bits come most significant first
  const auto limits = Thresholds(thresholds);
  // what a sum must be above, in signed lanes: sums are 25500 at most
  const auto below = [](auto limit) {
    return hn::BitCast(Ints(), hn::Sub(hn::Mul(limit, hn::Set(Words(), 100)), hn::Set(Words(), 1)));
  };
  const auto evenLimit = below(EvenBytes(limits)), oddLimit = below(OddBytes(limits));
  const auto isAbove = [](auto blue, auto green, auto red, auto limit) {
    const auto sum = hn::Add(hn::Add(Times<30>(red), Times<59>(green)), Times<11>(blue));
    return hn::BitCast(Words(), hn::VecFromMask(Ints(), hn::Gt(hn::BitCast(Ints(), sum), limit)));
  };
  const long step = static_cast<long>(hn::Lanes(d));
  long i = 0;
  for (; i + step <= n; i += step) {
    hn::Vec<Bytes> b, g, r;
    hn::LoadInterleaved3(d, src + 3 * i, b, g, r);
    const auto even = isAbove(EvenRaised(b), EvenRaised(g), EvenRaised(r), evenLimit);
    const auto odd = isAbove(OddRaised(b), OddRaised(g), OddRaised(r), oddLimit);
    const auto bytes = JoinBytes(hn::And(even, hn::Set(Words(), 0xFF)), odd);
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
/// x / 51 is x times 1286 / 65536, exact for every x up to 305. Levels find their share of an entry in tables.
void DitherTo216(unsigned char *dst, const unsigned char *src, long n, const unsigned char *thresholds) {
  const Bytes d;
  const auto most = hn::Set(d, 50);
  const auto lift = hn::Sub(most, hn::Min(Thresholds(thresholds), most));
  const auto evenLift = EvenBytes(lift), oddLift = OddBytes(lift);
  const auto level = [evenLift, oddLift](auto channel) {
    const auto fifth = hn::Set(Words(), 1286);
    return JoinBytes(hn::MulHigh(hn::Add(EvenBytes(channel), evenLift), fifth),
                     hn::MulHigh(hn::Add(OddBytes(channel), oddLift), fifth));
  };
  alignas(16) static constexpr std::uint8_t kRed[16] = {16, 52, 88, 124, 160, 196}, kGreen[16] = {0, 6, 12, 18, 24, 30};
  const auto red = hn::LoadDup128(d, kRed), green = hn::LoadDup128(d, kGreen);
  const long step = static_cast<long>(hn::Lanes(d));
  long i = 0;
  for (; i + step <= n; i += step) {
    hn::Vec<Bytes> b, g, r;
    hn::LoadInterleaved3(d, src + 3 * i, b, g, r);
    const auto cube = hn::Add(hn::TableLookupBytes(red, level(r)), hn::TableLookupBytes(green, level(g)));
    hn::StoreU(hn::Add(cube, level(b)), d, dst + i);
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

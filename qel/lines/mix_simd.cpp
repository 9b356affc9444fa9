// The mixes that the memory would allow to run faster than a compiler makes them: one source for every vector width,
// chosen at run time (Highway). Each takes as many whole vectors of pixels as there are and leaves the rest to the
// plain loop. Masks are mostly 0 and 255: vectors of pixels that all stay or are all taken are not computed.

#include <cstring>

#include "qel/lines/mix.h"
#include "qel/lines/mix_plain.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "qel/lines/mix_simd.cpp"
#include <hwy/foreach_target.h>  // must come before highway.h
#include <hwy/highway.h>

#include "qel/lines/byte_lanes-inl.h"

HWY_BEFORE_NAMESPACE();
namespace qel::lines::HWY_NAMESPACE {

#if HWY_TARGET == HWY_SCALAR

using plain::CompositeLayers24;
using plain::Mix24;
using plain::MixGray;

#else

using ByteVector = hn::Vec<Bytes>;

/// x / 255 for every x up to 255 x 255, as (x + 1) times 257 / 2^16; `next` is x + 1.
template <class V>
V DivideBy255(V next) {
  return hn::MulHigh(next, hn::Set(Words(), 257));
}

/// (old x level + fresh x (255 - level)) / 255 in 16-bit lanes, as 255 x fresh + (old - fresh) x level.
template <class V>
V MixWords(V old, V fresh, V level) {
  const V raised = hn::Sub(hn::ShiftLeft<8>(fresh), fresh);
  const V sum = hn::Add(raised, hn::Mul(hn::Sub(old, fresh), level));
  return DivideBy255(hn::Add(sum, hn::Set(Words(), 1)));
}

ByteVector MixVector(ByteVector old, ByteVector fresh, ByteVector level) {
  return JoinBytes(MixWords(EvenBytes(old), EvenBytes(fresh), EvenBytes(level)),
                   MixWords(OddBytes(old), OddBytes(fresh), OddBytes(level)));
}

// Through a mask -----------------------------------------------------------------------------------------------------

void MixGray(unsigned char *line, const unsigned char *fresh, const unsigned char *mask, long n) {
  const Bytes d;
  const long step = static_cast<long>(hn::Lanes(d));
  long i = 0;
  for (; i + step <= n; i += step)
    hn::StoreU(MixVector(hn::LoadU(d, line + i), hn::LoadU(d, fresh + i), hn::LoadU(d, mask + i)), d, line + i);
  plain::MixGray(line + i, fresh + i, mask + i, n - i);
}

/// A vector of 24-bit pixels through their levels.
void MixPixels(unsigned char *line, const unsigned char *fresh, ByteVector level) {
  const Bytes d;
  const std::size_t step = hn::Lanes(d);
  if (hn::AllTrue(d, hn::Eq(level, hn::Set(d, 255)))) return;
  if (hn::AllTrue(d, hn::Eq(level, hn::Zero(d)))) {
    for (std::size_t k = 0; k < 3 * step; k += step) hn::StoreU(hn::LoadU(d, fresh + k), d, line + k);
    return;
  }
  HWY_ALIGN unsigned char thrice[3 * hn::MaxLanes(d)];  // the level of each byte
  hn::StoreInterleaved3(level, level, level, d, thrice);
  for (std::size_t k = 0; k < 3 * step; k += step)
    hn::StoreU(MixVector(hn::LoadU(d, line + k), hn::LoadU(d, fresh + k), hn::Load(d, thrice + k)), d, line + k);
}

void Mix24(unsigned char *line, const unsigned char *fresh, const unsigned char *mask, long n) {
  const Bytes d;
  const long step = static_cast<long>(hn::Lanes(d));
  long i = 0;
  for (; i + step <= n; i += step) MixPixels(line + 3 * i, fresh + 3 * i, hn::LoadU(d, mask + i));
  plain::Mix24(line + 3 * i, fresh + 3 * i, mask + i, n - i);
}

// Layers -------------------------------------------------------------------------------------------------------------

using Floats = hn::Repartition<float, Bytes>;

/// Bytes as floats, as many as there are lanes of 32 bits.
hn::Vec<Floats> ToFloats(const unsigned char *p) {
  const hn::Repartition<std::int32_t, Bytes> d32;
  return hn::ConvertTo(Floats(), hn::PromoteTo(d32, hn::LoadU(hn::Rebind<std::uint8_t, decltype(d32)>(), p)));
}

/// Lanes of 0 to 255 as bytes.
void ToBytes(hn::Vec<Floats> v, unsigned char *p) {
  const hn::Repartition<std::int32_t, Bytes> d32;
  const hn::Rebind<std::uint8_t, decltype(d32)> d8;
  hn::StoreU(hn::DemoteTo(d8, hn::ConvertTo(d32, v)), d8, p);
}

/// A vector of pixels by the general rule, which holds for all levels but two of 255 (there the divisor would be 0: the
/// weights are made 0, 1 and the divisor 1). Everything before the division is a whole number below 2^24, so exact in
/// float; a quotient that is not whole lies further below the next whole number, by 1 / d > 2^-16, than rounding can
/// lift it at values below 256, so cutting it off gives the truncated quotient.
void CompositeVector(unsigned char *upper, const unsigned char *a, const unsigned char *layer, const unsigned char *b) {
  const Bytes d;
  const Floats df;
  const std::size_t step = hn::Lanes(d), part = hn::Lanes(df);
  HWY_ALIGN unsigned char channels[2][3 * hn::MaxLanes(d)];
  ByteVector c0, c1, c2;
  hn::LoadInterleaved3(d, upper, c0, c1, c2);
  hn::Store(c0, d, channels[0]), hn::Store(c1, d, channels[0] + step), hn::Store(c2, d, channels[0] + 2 * step);
  hn::LoadInterleaved3(d, layer, c0, c1, c2);
  hn::Store(c0, d, channels[1]), hn::Store(c1, d, channels[1] + step), hn::Store(c2, d, channels[1] + 2 * step);
  const auto full = hn::Set(df, 255.0f), one = hn::Set(df, 1.0f);
  for (std::size_t i = 0; i < step; i += part) {
    const auto level = ToFloats(a + i), below = ToFloats(b + i);
    const auto layerWeight = hn::Mul(level, hn::Sub(full, below));
    const auto product = hn::Sub(hn::Set(df, 65025.0f), hn::Mul(level, below));
    const auto divisor = hn::Max(product, one);
    const auto upperWeight = hn::Max(hn::Mul(full, hn::Sub(full, level)), hn::Sub(divisor, product));
    for (std::size_t c = i; c < 3 * step; c += step) {
      const auto sum =
          hn::Add(hn::Mul(ToFloats(channels[1] + c), layerWeight), hn::Mul(ToFloats(channels[0] + c), upperWeight));
      ToBytes(hn::Div(sum, divisor), channels[0] + c);
    }
  }
  hn::StoreInterleaved3(hn::Load(d, channels[0]), hn::Load(d, channels[0] + step), hn::Load(d, channels[0] + 2 * step),
                        d, upper);
}

/// The transparency of both together: a x b / 255.
ByteVector BothLevels(ByteVector a, ByteVector b) {
  const auto one = hn::Set(Words(), 1);
  return JoinBytes(DivideBy255(hn::Add(hn::Mul(EvenBytes(a), EvenBytes(b)), one)),
                   DivideBy255(hn::Add(hn::Mul(OddBytes(a), OddBytes(b)), one)));
}

void CompositeLayers24(unsigned char *upper, unsigned char *a, const unsigned char *layer, const unsigned char *b,
                       long n) {
  const Bytes d;
  const long step = static_cast<long>(hn::Lanes(d));
  const auto zero = hn::Zero(d), full = hn::Set(d, 255);
  long i = 0;
  for (; i + step <= n; i += step) {
    const auto level = hn::LoadU(d, a + i), below = hn::LoadU(d, b + i);
    const auto kept = hn::Or(hn::Eq(level, zero), hn::Eq(below, full));
    if (hn::AllTrue(d, kept)) continue;
    const auto isMix = hn::Or(kept, hn::Or(hn::Eq(level, full), hn::Eq(below, zero)));
    if (hn::AllTrue(d, isMix))
      MixPixels(upper + 3 * i, layer + 3 * i, hn::IfThenElse(kept, full, hn::Sub(full, level)));
    else
      CompositeVector(upper + 3 * i, a + i, layer + 3 * i, b + i);
    hn::StoreU(BothLevels(level, below), d, a + i);
  }
  plain::CompositeLayers24(upper + 3 * i, a + i, layer + 3 * i, b + i, n - i);
}

#endif  // HWY_TARGET == HWY_SCALAR

}  // namespace qel::lines::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

// Entry points: each chooses its vector width on its first call ------------------------------------------------------

namespace qel::lines {

HWY_EXPORT(MixGray);
HWY_EXPORT(Mix24);
HWY_EXPORT(CompositeLayers24);

void MixGray(unsigned char *line, const unsigned char *fresh, const unsigned char *mask, long n) {
  HWY_DYNAMIC_DISPATCH(MixGray)(line, fresh, mask, n);
}
void Mix24(unsigned char *line, const unsigned char *fresh, const unsigned char *mask, long n) {
  HWY_DYNAMIC_DISPATCH(Mix24)(line, fresh, mask, n);
}
void CompositeLayers24(unsigned char *upper, unsigned char *a, const unsigned char *layer, const unsigned char *b,
                       long n) {
  HWY_DYNAMIC_DISPATCH(CompositeLayers24)(upper, a, layer, b, n);
}

}  // namespace qel::lines

#endif  // HWY_ONCE

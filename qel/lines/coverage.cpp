// Coverage blends of one weight, in vectors (Highway).

#include "qel/lines/coverage.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "qel/lines/coverage.cpp"
#include <hwy/foreach_target.h>  // must come before highway.h
#include <hwy/highway.h>

#include "qel/lines/coverage-inl.h"

HWY_BEFORE_NAMESPACE();
namespace qel::lines::HWY_NAMESPACE {

#if HWY_TARGET == HWY_SCALAR

long Blend(unsigned char *, const unsigned char *, const LineColor &, int, long) {
  return 0;
}

#else

/// A half of a vector's bytes.
inline W BlendHalf(W v, W o, W c, W weight) {
  const W amount = hn::ShiftRight<8>(hn::Add(hn::Mul(hn::Sub(c, o), weight), hn::Set(SignedWords(), 127)));
  return hn::Min(hn::Max(hn::Add(v, amount), hn::Min(o, c)), hn::Max(o, c));
}

/// The whole vectors of a line, with a weight of magnitude 64 and below; returns the bytes done.
long Blend(unsigned char *line, const unsigned char *base, const LineColor &color, int weight, long bytes) {
  const Bytes d;
  const long lanes = static_cast<long>(hn::Lanes(d));
  const W w = hn::Set(SignedWords(), static_cast<std::int16_t>(weight));
  const auto one = [=](long i, V c) {
    const V v = hn::LoadU(d, line + i), o = hn::LoadU(d, base + i);
    const W even = BlendHalf(Signed(EvenBytes(v)), Signed(EvenBytes(o)), Signed(EvenBytes(c)), w);
    const W odd = BlendHalf(Signed(OddBytes(v)), Signed(OddBytes(o)), Signed(OddBytes(c)), w);
    hn::StoreU(Join(even, odd), d, line + i);
  };
  const auto three = [=](long i, V c0, V c1, V c2) { one(i, c0), one(i + lanes, c1), one(i + 2 * lanes, c2); };
  return ForVectors(ColorPattern(color).From(0), bytes, three, one);
}

#endif

}  // namespace qel::lines::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace qel::lines {

HWY_EXPORT(Blend);

namespace {

constexpr long kWorthVectors = 48;  // bytes; single pixels of a run's ends are done before a vector is set up

void BlendLine(unsigned char *line, const unsigned char *base, const LineColor &color, int weight, long bytes) {
  const bool fits = weight >= -64 && weight <= 64;  // 16-bit lanes hold the products
  long i = 0;
  if (fits && bytes >= kWorthVectors) i = HWY_DYNAMIC_DISPATCH(Blend)(line, base, color, weight, bytes);
  for (; i < bytes; ++i) line[i] = plain::Blend(line[i], base[i], color.bytes[i % 3], weight);
}

}  // namespace
}  // namespace qel::lines

void BlendGrayCoverage(unsigned char *pLine, const unsigned char *pBase, long long llColor, int nWeight, long lCount) {
  if (pLine != nullptr && pBase != nullptr)
    qel::lines::BlendLine(pLine, pBase, qel::lines::LineColor(llColor, 1), nWeight, lCount);
}

void Blend24bitCoverage(unsigned char *pLine, const unsigned char *pBase, long long llColor, int nWeight, long lCount) {
  if (pLine != nullptr && pBase != nullptr)
    qel::lines::BlendLine(pLine, pBase, qel::lines::LineColor(llColor, 3), nWeight, 3 * lCount);
}

#endif  // HWY_ONCE

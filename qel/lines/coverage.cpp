// Coverage blends in vectors (Highway): the bytes of a line against a colour that repeats every three vectors.
//
// A row of full weight over a base that is the line itself is v' = floor((7 v + c + 3) / 8), three nested averages of
// bytes, each with v: no step leaves 8 bits. Averages of vectors round up, so they are taken of complements. Over a
// base of its own every full row adds the same amount, so that several are one addition after the first.

#include "qel/lines/coverage.h"

#include <algorithm>
#include <cstdint>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "qel/lines/coverage.cpp"
#include <hwy/foreach_target.h>  // must come before highway.h
#include <hwy/highway.h>

#ifndef QEL_LINES_COVERAGE_PLAIN
#define QEL_LINES_COVERAGE_PLAIN

namespace qel::lines {

/// The colour of a line's pixels byte by byte.
struct LineColor {
  unsigned char bytes[3];
  LineColor(long long color, int channels) {
    for (int k = 0; k < 3; ++k) bytes[k] = static_cast<unsigned char>(color >> (channels == 1 ? 0 : 8 * k));
  }
};

namespace plain {

inline unsigned char Blend(unsigned char v, unsigned char o, unsigned char c, int weight) {
  const int moved = v + (((c - o) * weight + 127) >> 8);
  return static_cast<unsigned char>(
      std::clamp(moved, static_cast<int>(std::min(o, c)), static_cast<int>(std::max(o, c))));
}

/// Bytes from `first` on, `rows` times; each row finds its base in `base`, or in the line when that is the same.
inline void Cover(unsigned char *line, const unsigned char *base, const LineColor &color, int weight, int rows,
                  long first, long bytes) {
  for (long i = first; i < bytes; ++i)
    for (int r = 0; r < rows; ++r) line[i] = Blend(line[i], base[i], color.bytes[i % 3], weight);
}

}  // namespace plain
}  // namespace qel::lines

#endif  // QEL_LINES_COVERAGE_PLAIN

HWY_BEFORE_NAMESPACE();
namespace qel::lines::HWY_NAMESPACE {

#if HWY_TARGET == HWY_SCALAR

template <class Step>
long ForVectors(unsigned char *, const unsigned char *, const LineColor &, long, Step) {
  return 0;
}
struct BlendStep {
  explicit BlendStep(int) {}
};
struct RowsStep {
  explicit RowsStep(int) {}
};
struct MovingRowsStep {
  explicit MovingRowsStep(int) {}
};

#else

namespace hn = hwy::HWY_NAMESPACE;

using Bytes = hn::ScalableTag<std::uint8_t>;
using Words = hn::Repartition<std::uint16_t, Bytes>;
using SignedWords = hn::Repartition<std::int16_t, Bytes>;

/// Takes as many whole groups of three vectors as there are through the rounds of `step`; Turn brings them into its
/// form and back. Returns the bytes done.
template <class Step>
long ForVectors(unsigned char *line, const unsigned char *base, const LineColor &color, long bytes, Step step) {
  const Bytes d;
  const long lanes = static_cast<long>(hn::Lanes(d));
  HWY_ALIGN unsigned char pattern[3 * HWY_MAX_BYTES];
  for (long i = 0; i < 3 * lanes; ++i) pattern[i] = color.bytes[i % 3];
  const auto c0 = step.Prepare(hn::Load(d, pattern)), c1 = step.Prepare(hn::Load(d, pattern + lanes)),
             c2 = step.Prepare(hn::Load(d, pattern + 2 * lanes));
  long i = 0;
  for (; i + 3 * lanes <= bytes; i += 3 * lanes) {
    auto v0 = hn::LoadU(d, line + i), v1 = hn::LoadU(d, line + i + lanes), v2 = hn::LoadU(d, line + i + 2 * lanes);
    const auto o0 = hn::LoadU(d, base + i), o1 = hn::LoadU(d, base + i + lanes),
               o2 = hn::LoadU(d, base + i + 2 * lanes);
    step.Turn(v0, v1, v2);
    for (int r = 0; r < step.rounds; ++r) {  // side by side: each is a chain of dependent operations
      v0 = step(v0, o0, c0);
      v1 = step(v1, o1, c1);
      v2 = step(v2, o2, c2);
    }
    step.Turn(v0, v1, v2);
    hn::StoreU(v0, d, line + i);
    hn::StoreU(v1, d, line + i + lanes);
    hn::StoreU(v2, d, line + i + 2 * lanes);
  }
  return i;
}

using V = hn::Vec<Bytes>;
using W = hn::Vec<SignedWords>;

inline W Even(V v) {
  return hn::BitCast(SignedWords(), hn::And(hn::BitCast(Words(), v), hn::Set(Words(), 0xFF)));
}
inline W Odd(V v) {
  return hn::BitCast(SignedWords(), hn::ShiftRight<8>(hn::BitCast(Words(), v)));
}
inline V Merge(W even, W odd) {
  return hn::BitCast(Bytes(), hn::Or(hn::BitCast(Words(), even), hn::ShiftLeft<8>(hn::BitCast(Words(), odd))));
}

/// One row of any weight of magnitude 64 and below.
struct BlendStep {
  static constexpr int rounds = 1;
  W weight;
  explicit BlendStep(int w) : weight(hn::Set(SignedWords(), static_cast<std::int16_t>(w))) {}
  V Prepare(V c) const { return c; }
  void Turn(V &, V &, V &) const {}
  W Half(W v, W o, W c) const {
    const W amount = hn::ShiftRight<8>(hn::Add(hn::Mul(hn::Sub(c, o), weight), hn::Set(SignedWords(), 127)));
    return hn::Min(hn::Max(hn::Add(v, amount), hn::Min(o, c)), hn::Max(o, c));
  }
  V operator()(V v, V o, V c) const { return Merge(Half(Even(v), Even(o), Even(c)), Half(Odd(v), Odd(o), Odd(c))); }
};

/// Full rows over a base of its own.
struct RowsStep {
  static constexpr int rounds = 1;
  W more;  // rows after the first
  explicit RowsStep(int rows) : more(hn::Set(SignedWords(), static_cast<std::int16_t>(rows - 1))) {}
  V Prepare(V c) const { return c; }
  void Turn(V &, V &, V &) const {}
  W Half(W v, W o, W c) const {
    const W amount = hn::ShiftRight<3>(hn::Add(hn::Sub(c, o), hn::Set(SignedWords(), 3)));
    const W low = hn::Min(o, c), high = hn::Max(o, c);
    const W first = hn::Min(hn::Max(hn::Add(v, amount), low), high);
    return hn::Min(hn::Max(hn::Add(first, hn::Mul(amount, more)), low), high);
  }
  V operator()(V v, V o, V c) const { return Merge(Half(Even(v), Even(o), Even(c)), Half(Odd(v), Odd(o), Odd(c))); }
};

/// Full rows over the line itself. c + 3 may pass a byte, so that the innermost average takes c + 1 (or 254) and adds
/// 1 (or 2) afterwards.
struct MovingRowsStep {
  struct Color {
    V other, add;
  };
  int rounds;
  explicit MovingRowsStep(int rows) : rounds(rows) {}
  void Turn(V &v0, V &v1, V &v2) const {
    const auto all = hn::Set(Bytes(), 0xFF);
    v0 = hn::Xor(v0, all), v1 = hn::Xor(v1, all), v2 = hn::Xor(v2, all);
  }
  Color Prepare(V c) const {
    const Bytes d;
    const auto isTop = hn::Eq(c, hn::Set(d, 255));
    const auto other = hn::IfThenElse(isTop, hn::Set(d, 254), hn::Add(c, hn::Set(d, 1)));
    return {hn::Xor(other, hn::Set(d, 0xFF)), hn::IfThenElse(isTop, hn::Set(d, 2), hn::Set(d, 1))};
  }
  V operator()(V u, V, const Color &c) const {
    const V inner = hn::SaturatedSub(hn::AverageRound(u, c.other), c.add);
    return hn::AverageRound(u, hn::AverageRound(u, inner));
  }
};

#endif

void Blend(unsigned char *line, const unsigned char *base, const LineColor &color, int weight, long bytes) {
  const bool fits = weight >= -64 && weight <= 64;  // 16-bit lanes hold the products
  const long done = fits ? ForVectors(line, base, color, bytes, BlendStep(weight)) : 0;
  plain::Cover(line, base, color, weight, 1, done, bytes);
}

void CoverRows(unsigned char *line, const unsigned char *base, const LineColor &color, int rows, long bytes) {
  const long done = base == line ? ForVectors(line, base, color, bytes, MovingRowsStep(rows))
                    : rows <= 64 ? ForVectors(line, base, color, bytes, RowsStep(rows))
                                 : 0;
  plain::Cover(line, base, color, 32, rows, done, bytes);
}

}  // namespace qel::lines::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace qel::lines {

HWY_EXPORT(Blend);
HWY_EXPORT(CoverRows);

namespace {

constexpr long kWorthVectors = 48;  // bytes; single pixels of a run's ends are done before a vector is set up

void BlendLine(unsigned char *line, const unsigned char *base, const LineColor &color, int weight, long bytes) {
  if (bytes < kWorthVectors)
    plain::Cover(line, base, color, weight, 1, 0, bytes);
  else
    HWY_DYNAMIC_DISPATCH(Blend)(line, base, color, weight, bytes);
}

}  // namespace

void CoverFully(unsigned char *line, const unsigned char *base, long long color, int rows, long count, int channels) {
  if (rows >= 1) HWY_DYNAMIC_DISPATCH(CoverRows)(line, base, LineColor(color, channels), rows, count * channels);
}

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

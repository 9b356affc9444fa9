// Several sub-pixel runs over one line of pixels, in vectors (Highway).
//
// Pixels that all runs cover in full take as many steps of the same weight. Over a base that is the line itself a step
// is v' = v + floor((c + 3 - v) / 8): what is left of the way, w = c + 3 - v, goes down by floor(w / 8), whatever the
// colour, a shift and a difference in 16-bit lanes. Over a base of its own every step adds the same amount, so that
// several are one addition after the first. The pixels at the ends are taken a vector of 16-bit lanes at a time through
// all the runs: each lane finds the weight of a run from its place, with nothing to branch on.

#include "qel/lines/coverage.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "qel/lines/cover_runs.cpp"
#include <hwy/foreach_target.h>  // must come before highway.h
#include <hwy/highway.h>

#include "qel/lines/coverage-inl.h"

#ifndef QEL_LINES_COVER_RUNS_PLAIN
#define QEL_LINES_COVER_RUNS_PLAIN

namespace qel::lines {

constexpr int kLevels = 4;                         // of weight for each sub-pixel
constexpr int kFullWeight = kLevels * kSubPixels;  // of a pixel that a run covers in full

/// A line of pixels and what covers it.
struct CoveredLine {
  unsigned char *line;
  const unsigned char *base;  // may be the line
  LineColor color;
  const SubPixelRun *runs;
  int count;
  long pixels;
  int channels;
};

namespace plain {

inline void CoverRuns(const CoveredLine &l) {
  for (int r = 0; r < l.count; ++r) {
    const SubPixelRun run = l.runs[r];
    for (long p = run.first / kSubPixels; p <= run.last / kSubPixels; ++p) {
      const long covered = std::min(run.last + 1, kSubPixels * (p + 1)) - std::max(run.first, kSubPixels * p);
      for (long i = p * l.channels; i < (p + 1) * l.channels; ++i)
        l.line[i] = Blend(l.line[i], l.base[i], l.color.bytes[i % 3], static_cast<int>(kLevels * covered));
    }
  }
}

}  // namespace plain
}  // namespace qel::lines

#endif  // QEL_LINES_COVER_RUNS_PLAIN

HWY_BEFORE_NAMESPACE();
namespace qel::lines::HWY_NAMESPACE {

#if HWY_TARGET == HWY_SCALAR

using plain::CoverRuns;

#else

constexpr int kMostRows = 64;  // 16-bit lanes hold what they add

inline W Number(long n) {
  return hn::Set(SignedWords(), static_cast<std::int16_t>(n));
}

// Full rows ----------------------------------------------------------------------------------------------------------

/// What is left of the way of a vector's bytes, and 3.
struct Ways {
  W even, odd;
  Ways(V v, V end)
      : even(hn::Sub(hn::Add(Signed(EvenBytes(end)), Number(3)), Signed(EvenBytes(v)))),
        odd(hn::Sub(hn::Add(Signed(OddBytes(end)), Number(3)), Signed(OddBytes(v)))) {}
  void Go() { even = hn::Sub(even, hn::ShiftRight<3>(even)), odd = hn::Sub(odd, hn::ShiftRight<3>(odd)); }
  V From(V end) const {
    return Join(hn::Sub(hn::Add(Signed(EvenBytes(end)), Number(3)), even),
                hn::Sub(hn::Add(Signed(OddBytes(end)), Number(3)), odd));
  }
};

/// Whether none of them goes any further: floor(w / 8) is 0 from 0 to 7.
inline bool AreShort(const Ways &a, const Ways &b, const Ways &c) {
  const W any = hn::Or(hn::Or(hn::Or(a.even, a.odd), hn::Or(b.even, b.odd)), hn::Or(c.even, c.odd));
  return hn::AllTrue(SignedWords(), hn::Eq(hn::ShiftRight<3>(any), hn::Zero(SignedWords())));
}

/// Full rows over the line itself; returns the bytes done.
long MoveRows(unsigned char *line, const unsigned char *pattern, int rows, long bytes) {
  const Bytes d;
  const long lanes = static_cast<long>(hn::Lanes(d));
  return ForVectors(
      pattern, bytes,
      [=](long i, V c0, V c1, V c2) {
        unsigned char *const p = line + i;
        Ways w0(hn::LoadU(d, p), c0), w1(hn::LoadU(d, p + lanes), c1), w2(hn::LoadU(d, p + 2 * lanes), c2);
        if (AreShort(w0, w1, w2)) return;                          // drawn over before: pixels as near as that stay
        for (int r = 0; r < rows; ++r) w0.Go(), w1.Go(), w2.Go();  // side by side: each is a chain
        hn::StoreU(w0.From(c0), d, p), hn::StoreU(w1.From(c1), d, p + lanes), hn::StoreU(w2.From(c2), d, p + 2 * lanes);
      },
      [=](long i, V c) {
        Ways ways(hn::LoadU(d, line + i), c);
        for (int r = 0; r < rows; ++r) ways.Go();
        hn::StoreU(ways.From(c), d, line + i);
      });
}

/// Full rows of a half of a vector's bytes over a base of its own.
inline W MoveOverBase(W v, W o, W c, W rowsAfterTheFirst) {
  const W amount = hn::ShiftRight<3>(hn::Add(hn::Sub(c, o), Number(3)));
  const W low = hn::Min(o, c), high = hn::Max(o, c);
  const W first = hn::Min(hn::Max(hn::Add(v, amount), low), high);
  return hn::Min(hn::Max(hn::Add(first, hn::Mul(amount, rowsAfterTheFirst)), low), high);
}

long MoveRowsOverBase(unsigned char *line, const unsigned char *base, const unsigned char *pattern, int rows,
                      long bytes) {
  const Bytes d;
  const long lanes = static_cast<long>(hn::Lanes(d));
  const W more = Number(rows - 1);
  const auto one = [=](long i, V c) {
    const V v = hn::LoadU(d, line + i), o = hn::LoadU(d, base + i);
    const W even = MoveOverBase(Signed(EvenBytes(v)), Signed(EvenBytes(o)), Signed(EvenBytes(c)), more);
    const W odd = MoveOverBase(Signed(OddBytes(v)), Signed(OddBytes(o)), Signed(OddBytes(c)), more);
    hn::StoreU(Join(even, odd), d, line + i);
  };
  return ForVectors(
      pattern, bytes, [=](long i, V c0, V c1, V c2) { one(i, c0), one(i + lanes, c1), one(i + 2 * lanes, c2); }, one);
}

// Ends ---------------------------------------------------------------------------------------------------------------

/// As many bytes as a vector has 16-bit lanes.
using HalfBytes = hn::Rebind<std::uint8_t, SignedWords>;

/// The weights of lanes whose pixels begin at `left`, of a run from `first` to `end`: all in levels of weight.
inline W Weights(W left, W first, W end) {
  const W none = hn::Zero(SignedWords());
  return hn::Max(hn::Sub(hn::Min(hn::Sub(end, left), Number(kFullWeight)), hn::Max(hn::Sub(first, left), none)), none);
}

/// One vector of lanes from byte `at` of the line on, through all runs.
void CoverLanes(const CoveredLine &l, const ColorPattern &pattern, long at, unsigned char *line,
                const unsigned char *base) {
  const SignedWords d;
  const HalfBytes half;
  constexpr long beyond = 1L << 14;  // the pixels of a vector
  const long pixel = at / l.channels;
  const W place = hn::Add(hn::Iota(d, 0), Number(at % l.channels));
  // j / 3 is exact for the lanes of a vector.
  const W left = hn::ShiftLeft<5>(
      l.channels == 1 ? place : hn::BitCast(d, hn::MulHigh(hn::BitCast(Words(), place), hn::Set(Words(), 21846))));
  const W c = hn::PromoteTo(d, hn::LoadU(half, pattern.From(at)));
  const W o = hn::PromoteTo(d, hn::LoadU(half, base));
  W v = hn::PromoteTo(d, hn::LoadU(half, line));
  const auto from = [=](long n) { return Number(std::clamp(kLevels * (n - kSubPixels * pixel), 0L, beyond)); };
  if (line == base) {
    for (int r = 0; r < l.count; ++r) {
      const W weight = Weights(left, from(l.runs[r].first), from(l.runs[r].last + 1));
      v = hn::Add(v, hn::ShiftRight<8>(hn::Add(hn::Mul(hn::Sub(c, v), weight), Number(127))));
    }
  } else {
    const W low = hn::Min(o, c), high = hn::Max(o, c);
    for (int r = 0; r < l.count; ++r) {
      const W weight = Weights(left, from(l.runs[r].first), from(l.runs[r].last + 1));
      const W amount = hn::ShiftRight<8>(hn::Add(hn::Mul(hn::Sub(c, o), weight), Number(127)));
      const W moved = hn::Min(hn::Max(hn::Add(v, amount), low), high);
      v = hn::IfThenElse(hn::Gt(weight, hn::Zero(d)), moved, v);
    }
  }
  hn::StoreU(hn::DemoteTo(half, v), half, line);
}

/// The bytes first to end of a line, through all runs.
void CoverPart(const CoveredLine &l, const ColorPattern &pattern, long first, long end) {
  const long lanes = static_cast<long>(hn::Lanes(SignedWords()));
  long i = first;
  for (; i + lanes <= end; i += lanes) CoverLanes(l, pattern, i, l.line + i, l.base + i);
  if (i >= end) return;
  unsigned char line[HWY_MAX_BYTES] = {}, base[HWY_MAX_BYTES] = {};
  const auto rest = static_cast<std::size_t>(end - i);
  std::memcpy(line, l.line + i, rest);
  if (l.base != l.line) std::memcpy(base, l.base + i, rest);
  CoverLanes(l, pattern, i, line, l.base != l.line ? base : line);
  std::memcpy(l.line + i, line, rest);
}

void CoverRuns(const CoveredLine &l) {
  long first = 0, end = l.pixels * kSubPixels;
  for (int r = 0; r < l.count; ++r) first = std::max(first, l.runs[r].first), end = std::min(end, l.runs[r].last + 1);
  first = (first + kSubPixels - 1) / kSubPixels * l.channels, end = end / kSubPixels * l.channels;

  const ColorPattern pattern(l.color);
  const long bytes = l.pixels * l.channels;
  if (first >= end || l.count > kMostRows) return CoverPart(l, pattern, 0, bytes);
  CoverPart(l, pattern, 0, first);
  const long done = l.line == l.base
                        ? MoveRows(l.line + first, pattern.From(first), l.count, end - first)
                        : MoveRowsOverBase(l.line + first, l.base + first, pattern.From(first), l.count, end - first);
  CoverPart(l, pattern, first + done, bytes);
}

#endif

}  // namespace qel::lines::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace qel::lines {

HWY_EXPORT(CoverRuns);

void CoverRuns(unsigned char *line, const unsigned char *base, long long color, const SubPixelRun *runs, int count,
               long pixels, int channels) {
  if (count >= 1)
    HWY_DYNAMIC_DISPATCH(CoverRuns)({line, base, LineColor(color, channels), runs, count, pixels, channels});
}

}  // namespace qel::lines

#endif  // HWY_ONCE

// Coverage blends in vectors (Highway): the bytes of a line against a colour that repeats every three vectors.
//
// A row of full weight over a base that is the line itself is v' = v + floor((c + 3 - v) / 8). What is left of the way,
// w = c + 3 - v, so goes down by floor(w / 8) a row, whatever the colour: a shift and a difference in 16-bit lanes.
// Over a base of its own every full row adds the same amount, so that several are one addition after the first.

#include "qel/lines/coverage.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

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

  /// The same from a later byte of the line on.
  LineColor From(long first) const {
    LineColor later = *this;
    for (long k = 0; k < 3; ++k) later.bytes[k] = bytes[(k + first) % 3];
    return later;
  }
};

namespace plain {

inline unsigned char Blend(unsigned char v, unsigned char o, unsigned char c, int weight) {
  const int moved = v + (((c - o) * weight + 127) >> 8);
  return static_cast<unsigned char>(
      std::clamp(moved, static_cast<int>(std::min(o, c)), static_cast<int>(std::max(o, c))));
}

/// `rows` times; each row finds its base in `base`, or in the line when that is the same.
inline void Cover(unsigned char *line, const unsigned char *base, const LineColor &color, int weight, int rows,
                  long bytes) {
  for (long i = 0; i < bytes; ++i)
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
long MoveRows(unsigned char *, const LineColor &, int, long) {
  return 0;
}

#else

namespace hn = hwy::HWY_NAMESPACE;

using Bytes = hn::ScalableTag<std::uint8_t>;
using Words = hn::Repartition<std::uint16_t, Bytes>;
using SignedWords = hn::Repartition<std::int16_t, Bytes>;

/// The colour of the pixels of three vectors.
struct ColorVectors {
  hn::Vec<Bytes> c0, c1, c2;
  explicit ColorVectors(const LineColor &color) {
    const Bytes d;
    const long lanes = static_cast<long>(hn::Lanes(d));
    HWY_ALIGN unsigned char pattern[3 * HWY_MAX_BYTES];
    for (long i = 0; i < 3 * lanes; ++i) pattern[i] = color.bytes[i % 3];
    c0 = hn::Load(d, pattern), c1 = hn::Load(d, pattern + lanes), c2 = hn::Load(d, pattern + 2 * lanes);
  }
};

/// Takes as many whole groups of three vectors as there are through `step`; returns the bytes done.
template <class Step>
long ForVectors(unsigned char *line, const unsigned char *base, const LineColor &color, long bytes, Step step) {
  const Bytes d;
  const long lanes = static_cast<long>(hn::Lanes(d));
  const ColorVectors colors(color);
  long i = 0;
  for (; i + 3 * lanes <= bytes; i += 3 * lanes) {
    const auto move = [&](long at, hn::Vec<Bytes> c) {
      hn::StoreU(step(hn::LoadU(d, line + at), hn::LoadU(d, base + at), c), d, line + at);
    };
    move(i, colors.c0), move(i + lanes, colors.c1), move(i + 2 * lanes, colors.c2);
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
  W weight;
  explicit BlendStep(int w) : weight(hn::Set(SignedWords(), static_cast<std::int16_t>(w))) {}
  W Half(W v, W o, W c) const {
    const W amount = hn::ShiftRight<8>(hn::Add(hn::Mul(hn::Sub(c, o), weight), hn::Set(SignedWords(), 127)));
    return hn::Min(hn::Max(hn::Add(v, amount), hn::Min(o, c)), hn::Max(o, c));
  }
  V operator()(V v, V o, V c) const { return Merge(Half(Even(v), Even(o), Even(c)), Half(Odd(v), Odd(o), Odd(c))); }
};

/// Full rows over a base of its own.
struct RowsStep {
  W more;  // rows after the first
  explicit RowsStep(int rows) : more(hn::Set(SignedWords(), static_cast<std::int16_t>(rows - 1))) {}
  W Half(W v, W o, W c) const {
    const W amount = hn::ShiftRight<3>(hn::Add(hn::Sub(c, o), hn::Set(SignedWords(), 3)));
    const W low = hn::Min(o, c), high = hn::Max(o, c);
    const W first = hn::Min(hn::Max(hn::Add(v, amount), low), high);
    return hn::Min(hn::Max(hn::Add(first, hn::Mul(amount, more)), low), high);
  }
  V operator()(V v, V o, V c) const { return Merge(Half(Even(v), Even(o), Even(c)), Half(Odd(v), Odd(o), Odd(c))); }
};

/// What is left of the way of a vector's bytes.
struct Ways {
  W even, odd;
  Ways(V v, V end) : even(hn::Sub(Even(end), Even(v))), odd(hn::Sub(Odd(end), Odd(v))) {}
  void Go() { even = hn::Sub(even, hn::ShiftRight<3>(even)), odd = hn::Sub(odd, hn::ShiftRight<3>(odd)); }
  /// Whether none of them goes any further: floor(w / 8) is 0 from 0 to 7.
  static bool AreShort(const Ways &a, const Ways &b, const Ways &c) {
    const W any = hn::Or(hn::Or(hn::Or(a.even, a.odd), hn::Or(b.even, b.odd)), hn::Or(c.even, c.odd));
    return hn::AllTrue(SignedWords(), hn::Eq(hn::ShiftRight<3>(any), hn::Zero(SignedWords())));
  }
  V From(V end) const { return Merge(hn::Sub(Even(end), even), hn::Sub(Odd(end), odd)); }
};

/// Full rows over the line itself, for whole groups of three vectors; returns the bytes done.
long MoveRows(unsigned char *line, const LineColor &color, int rows, long bytes) {
  const Bytes d;
  const long lanes = static_cast<long>(hn::Lanes(d));
  const ColorVectors c(color);
  const auto three = hn::Set(SignedWords(), 3);
  const auto start = [&](long at, V end) {
    Ways ways(hn::LoadU(d, line + at), end);
    ways.even = hn::Add(ways.even, three), ways.odd = hn::Add(ways.odd, three);
    return ways;
  };
  const auto finish = [&](long at, Ways ways, V end) {
    ways.even = hn::Sub(ways.even, three), ways.odd = hn::Sub(ways.odd, three);
    hn::StoreU(ways.From(end), d, line + at);
  };
  long i = 0;
  for (; i + 3 * lanes <= bytes; i += 3 * lanes) {
    Ways w0 = start(i, c.c0), w1 = start(i + lanes, c.c1), w2 = start(i + 2 * lanes, c.c2);
    if (Ways::AreShort(w0, w1, w2)) continue;                  // drawn over before: pixels as near as that stay
    for (int r = 0; r < rows; ++r) w0.Go(), w1.Go(), w2.Go();  // side by side: each is a chain
    finish(i, w0, c.c0), finish(i + lanes, w1, c.c1), finish(i + 2 * lanes, w2, c.c2);
  }
  return i;
}

#endif

/// What `move` leaves of a line, fewer bytes than three vectors: through a buffer of that length, since byte by byte
/// the rows of a pixel would wait for each other.
template <class Move>
void MoveRest(unsigned char *line, const unsigned char *base, const LineColor &color, long bytes, Move move) {
  unsigned char pixels[3 * HWY_MAX_BYTES], other[3 * HWY_MAX_BYTES] = {};
  std::memcpy(pixels, line, static_cast<std::size_t>(bytes));
  if (base != line) std::memcpy(other, base, static_cast<std::size_t>(bytes));
  std::memset(pixels + bytes, 0, sizeof pixels - static_cast<std::size_t>(bytes));
  move(pixels, base != line ? other : pixels, color, static_cast<long>(sizeof pixels));
  std::memcpy(line, pixels, static_cast<std::size_t>(bytes));
}

/// All bytes through `move`, which takes whole groups of three vectors and returns how many bytes these were. The first
/// bytes go apart, so that the vectors lie on their own boundaries: one that crosses a cache line costs twice.
template <class Move>
bool MoveAll(unsigned char *line, const unsigned char *base, const LineColor &color, long bytes, Move move) {
  if (HWY_TARGET == HWY_SCALAR) return false;
  const auto alignment = static_cast<std::uintptr_t>(HWY_MIN(HWY_MAX_BYTES, 64));
  const long head = std::min(static_cast<long>(-reinterpret_cast<std::uintptr_t>(line) % alignment), bytes);
  if (head > 0) MoveRest(line, base, color, head, move);
  const LineColor rest = color.From(head);
  const long done = head + move(line + head, base + head, rest, bytes - head);
  if (done < bytes) MoveRest(line + done, base + done, rest, bytes - done, move);
  return true;
}

void Blend(unsigned char *line, const unsigned char *base, const LineColor &color, int weight, long bytes) {
  const bool fits = weight >= -64 && weight <= 64;  // 16-bit lanes hold the products
  if (!fits ||
      !MoveAll(line, base, color, bytes, [&](unsigned char *to, const unsigned char *from, const LineColor &c, long n) {
        return ForVectors(to, from, c, n, BlendStep(weight));
      }))
    plain::Cover(line, base, color, weight, 1, bytes);
}

void CoverRows(unsigned char *line, const unsigned char *base, const LineColor &color, int rows, long bytes) {
  const bool fits = rows <= 64;
  if (!fits ||
      !MoveAll(line, base, color, bytes, [&](unsigned char *to, const unsigned char *from, const LineColor &c, long n) {
        return from == to ? MoveRows(to, c, rows, n) : ForVectors(to, from, c, n, RowsStep(rows));
      }))
    plain::Cover(line, base, color, 32, rows, bytes);
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
    plain::Cover(line, base, color, weight, 1, bytes);
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

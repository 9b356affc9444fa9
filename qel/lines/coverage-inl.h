// What the coverage blends share: the rule for one byte, a line's colour byte by byte, and walks over a line in
// vectors, in which the colour repeats every three.

#include <cstdint>
#include <cstring>

#include "qel/lines/byte_lanes-inl.h"

#ifndef QEL_LINES_COVERAGE_RULE
#define QEL_LINES_COVERAGE_RULE

#include <algorithm>

namespace qel::lines {

/// The colour of a line's pixels byte by byte.
struct LineColor {
  unsigned char bytes[3];

  LineColor(long long color, int channels) {
    for (int k = 0; k < 3; ++k) bytes[k] = static_cast<unsigned char>(color >> (channels == 1 ? 0 : 8 * k));
  }

  /// Fills a pattern whose length is a multiple of 24 bytes.
  void Repeat(unsigned char *pattern, std::size_t length) const {
    unsigned char pixels[24];
    for (std::size_t i = 0; i < sizeof pixels; ++i) pixels[i] = bytes[i % 3];
    for (std::size_t i = 0; i < length; i += sizeof pixels) std::memcpy(pattern + i, pixels, sizeof pixels);
  }
};

namespace plain {

inline unsigned char Blend(unsigned char v, unsigned char o, unsigned char c, int weight) {
  const int moved = v + (((c - o) * weight + 127) >> 8);
  return static_cast<unsigned char>(
      std::clamp(moved, static_cast<int>(std::min(o, c)), static_cast<int>(std::max(o, c))));
}

}  // namespace plain
}  // namespace qel::lines

#endif  // QEL_LINES_COVERAGE_RULE

#if defined(QEL_LINES_COVERAGE_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef QEL_LINES_COVERAGE_INL_H_
#undef QEL_LINES_COVERAGE_INL_H_
#else
#define QEL_LINES_COVERAGE_INL_H_
#endif

HWY_BEFORE_NAMESPACE();
namespace qel::lines::HWY_NAMESPACE {

#if HWY_TARGET != HWY_SCALAR

using SignedWords = hn::Repartition<std::int16_t, Bytes>;
using V = hn::Vec<Bytes>;
using W = hn::Vec<SignedWords>;

inline W Signed(hn::Vec<Words> v) {
  return hn::BitCast(SignedWords(), v);
}
inline V Join(W even, W odd) {
  return JoinBytes(hn::BitCast(Words(), even), hn::BitCast(Words(), odd));
}

/// The colour of three vectors of a line, wherever in a pixel they begin.
class ColorPattern {
 public:
  explicit ColorPattern(const LineColor &color) { color.Repeat(m_bytes, sizeof m_bytes); }

  /// Three vectors' bytes from a byte of the line on.
  const unsigned char *From(long byte) const { return m_bytes + byte % 3; }

 private:
  HWY_ALIGN unsigned char m_bytes[3 * HWY_MAX_BYTES + 24];
};

/// Takes the whole vectors of a line through `step`, three at a time and then the rest one by one; `step` gets the
/// places of the vectors in the line and their colours. Returns the bytes done.
template <class Three, class One>
long ForVectors(const unsigned char *pattern, long bytes, Three three, One one) {
  const Bytes d;
  const long lanes = static_cast<long>(hn::Lanes(d));
  const V c0 = hn::LoadU(d, pattern), c1 = hn::LoadU(d, pattern + lanes), c2 = hn::LoadU(d, pattern + 2 * lanes);
  long i = 0;
  for (; i + 3 * lanes <= bytes; i += 3 * lanes) three(i, c0, c1, c2);
  if (i + lanes <= bytes) one(i, c0), i += lanes;
  if (i + lanes <= bytes) one(i, c1), i += lanes;
  return i;
}

#endif  // HWY_TARGET != HWY_SCALAR

}  // namespace qel::lines::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif  // QEL_LINES_COVERAGE_INL_H_

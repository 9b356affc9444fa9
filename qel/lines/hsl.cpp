// HSL lines and the tests of shields, pixel by pixel.

#include "qel/lines/hsl.h"

#include <algorithm>

namespace {

constexpr int kNoHue = 360, kCircle = 360;

/// Hue of a pixel of ConvertLineToHsl.
int HueOf(const unsigned char *p) {
  return (p[0] & 1) << 8 | p[1];
}

/// Sets the bits of n pixels of three bytes that pass a test.
template <class Test>
void Mark(unsigned char *bits, const unsigned char *line, long n, Test test) {
  for (long i = 0; i < n; i += 8, ++bits) {
    const long count = std::min(n - i, 8L);
    unsigned marked = 0;
    for (long k = 0; k < count; ++k, line += 3) marked |= (test(line) ? 0x80U : 0U) >> k;
    *bits = static_cast<unsigned char>(*bits | marked);
  }
}

}  // namespace

void ConvertLineToHsl(unsigned char *pLine, long lCount) {
  for (long i = 0; i < lCount; ++i, pLine += 3) {
    const int B = pLine[0], G = pLine[1], R = pLine[2];
    const int mx = std::max({R, G, B}), mn = std::min({R, G, B}), d = mx - mn;
    if (d == 0) {
      pLine[0] = kNoHue >> 8, pLine[1] = kNoHue & 0xFF, pLine[2] = static_cast<unsigned char>(mx);
      continue;
    }
    const int sum = mx + mn, L = sum / 2, S = 255 * d / (L > 128 ? 510 - sum : sum);
    const int h = mx == R ? G - B : mx == G ? B - R + 2 * d : R - G + 4 * d;
    const int degrees = h * 60 / d, H = degrees < 0 ? degrees + kCircle : degrees;
    pLine[0] = static_cast<unsigned char>((S & 0xFE) | H >> 8);
    pLine[1] = static_cast<unsigned char>(H);
    pLine[2] = static_cast<unsigned char>(L);
  }
}

namespace qel::lines {

void MarkBox(unsigned char *bits, const unsigned char *line, long n, const ColorBox &box) {
  Mark(bits, line, n, [&box](const unsigned char *p) {
    bool inside = true;
    for (int c = 0; c < 3; ++c) inside &= p[c] >= box.low[c] && p[c] <= box.high[c];
    return inside;
  });
}

void MarkHue(unsigned char *bits, const unsigned char *line, long n, int hue, int tolerance) {
  Mark(bits, line, n, [=](const unsigned char *p) {
    if (HueOf(p) == kNoHue) return false;
    int d = HueOf(p) - hue + tolerance;
    if (d < 0)
      d += kCircle;
    else if (d > 2 * tolerance)
      d -= kCircle;
    return d >= 0 && d <= 2 * tolerance;
  });
}

void MarkGrays(unsigned char *bits, const unsigned char *line, long n) {
  Mark(bits, line, n, [](const unsigned char *p) { return HueOf(p) == kNoHue; });
}

void MarkLightness(unsigned char *bits, const unsigned char *line, long n, int low, int high) {
  Mark(bits, line, n, [=](const unsigned char *p) { return p[2] >= low && p[2] <= high; });
}

}  // namespace qel::lines

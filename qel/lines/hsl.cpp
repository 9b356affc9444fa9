// HSL lines and the tests of shields, pixel by pixel.

#include "qel/lines/hsl.h"

#include <algorithm>

namespace {

constexpr int kNoHue = 360, kCircle = 360;

/// Hue of a pixel of ConvertLineToHsl.
int HueOf(const unsigned char *p) {
  return (p[0] & 1) << 8 | p[1];
}

constexpr long kChunk = 64;

/// Channels of some pixels; in place their hues, saturations and lightnesses.
struct Planes {
  int blueOrHue[kChunk], greenOrSaturation[kChunk], redOrLightness[kChunk];
};

/// n / d, truncated, in floats, which compilers divide in vectors: of dividends below 2^23 a rounded quotient never
/// reaches the next integer.
inline int Quotient(int n, int d) {
  return static_cast<int>(static_cast<float>(n) / static_cast<float>(d));
}

void PlanesToHsl(Planes &planes) {
  for (long i = 0; i < kChunk; ++i) {  // without branches, so that compilers do it in vectors
    const int B = planes.blueOrHue[i], G = planes.greenOrSaturation[i], R = planes.redOrLightness[i];
    const int mx = std::max(std::max(R, G), B), mn = std::min(std::min(R, G), B), d = mx - mn;
    const int sum = mx + mn, L = sum >> 1;
    const int range = sum + ((510 - 2 * sum) & -(L > 128));
    const int S = Quotient(255 * d, range | (d == 0));  // grays divide by 1 or more
    const int isRed = -(mx == R), isGreen = -(mx == G) & ~isRed, isBlue = ~(isRed | isGreen);
    const int h = ((G - B) & isRed) + ((B - R + 2 * d) & isGreen) + ((R - G + 4 * d) & isBlue);
    const int degrees = Quotient(h * 60, d | (d == 0));
    planes.blueOrHue[i] = degrees + (kCircle & -(degrees < 0)) + (kNoHue & -(d == 0));  // degrees of grays are 0
    planes.greenOrSaturation[i] = S;
    planes.redOrLightness[i] = L;
  }
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
  Planes planes = {};
  for (; lCount > 0; lCount -= kChunk, pLine += 3 * kChunk) {
    const long n = std::min(lCount, kChunk);
    const unsigned char *pFrom = pLine;
    for (long i = 0; i < n; ++i, pFrom += 3)
      planes.blueOrHue[i] = pFrom[0], planes.greenOrSaturation[i] = pFrom[1], planes.redOrLightness[i] = pFrom[2];
    PlanesToHsl(planes);
    unsigned char *pTo = pLine;
    for (long i = 0; i < n; ++i, pTo += 3) {
      const int H = planes.blueOrHue[i];
      pTo[0] = static_cast<unsigned char>((planes.greenOrSaturation[i] & 0xFE) | H >> 8);
      pTo[1] = static_cast<unsigned char>(H);
      pTo[2] = static_cast<unsigned char>(planes.redOrLightness[i]);
    }
  }
}

namespace qel::lines {

void plain::MarkBox(unsigned char *bits, const unsigned char *line, long n, const ColorBox &box) {
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

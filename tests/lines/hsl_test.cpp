// Hue, saturation and lightness against the formula in plain words, and marks against single pixels.
#include "qel/lines/hsl.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>
#include <vector>

#include "support/targets.h"

namespace {

using Line = std::vector<unsigned char>;

struct Hsl {
  int hue, saturation, lightness;  // hue 360: none
};

Hsl SlowHsl(int B, int G, int R) {
  const int mx = std::max({R, G, B}), mn = std::min({R, G, B}), L = (mx + mn) / 2;
  if (mx == mn) return {360, 0, mx};
  const int d = mx - mn, sector = mx == R ? 0 : mx == G ? 2 : 4, far = mx == R ? G - B : mx == G ? B - R : R - G;
  const int H = static_cast<int>(std::trunc(60.0 * (far + sector * d) / d));
  const int S = static_cast<int>(255.0 * d / (L > 128 ? 510 - mx - mn : mx + mn));
  return {H < 0 ? H + 360 : H, S, L};
}

TEST(Hsl, FollowsTheFormulaAllOverTheCube) {
  for (int B = 0; B < 256; ++B) {
    Line line;
    for (int G = 0; G < 256; ++G)
      for (int R = B % 3; R < 256; R += 3)
        for (const int c : {B, G, R}) line.push_back(static_cast<unsigned char>(c));
    Line hsl = line;
    ConvertLineToHsl(hsl.data(), static_cast<long>(line.size() / 3));
    for (std::size_t i = 0; i < line.size(); i += 3) {
      const Hsl slow = SlowHsl(line[i], line[i + 1], line[i + 2]);
      ASSERT_EQ((hsl[i] & 1) << 8 | hsl[i + 1], slow.hue) << B << " at " << i;
      ASSERT_EQ(hsl[i] & 0xFE, slow.saturation & 0xFE) << B << " at " << i;
      ASSERT_EQ(hsl[i + 2], slow.lightness) << B << " at " << i;
    }
  }
}

TEST(Hsl, MarksHuesAroundTheCircleAndKeepsOtherBits) {
  Line line;  // hues 0 .. 359, and a gray
  for (int hue = 0; hue <= 360; ++hue)
    for (const int c : {0xFE | hue >> 8, hue & 255, 100}) line.push_back(static_cast<unsigned char>(c));
  std::mt19937 random(5);
  for (int round = 0; round < 400; ++round) {
    const int hue = static_cast<int>(random() % 360), tolerance = static_cast<int>(random() % 181);
    const long n = 1 + static_cast<long>(random() % 361);
    Line bits(46), before;
    for (auto &b : bits) b = static_cast<unsigned char>(random() & random());
    before = bits;
    qel::lines::MarkHue(bits.data(), line.data(), n, hue, tolerance);
    for (int i = 0; i < 8 * 46; ++i) {
      const int apart = std::min((i - hue + 360) % 360, (hue - i + 360) % 360);
      const bool old = before[static_cast<std::size_t>(i / 8)] & 0x80 >> i % 8;
      ASSERT_EQ((bits[static_cast<std::size_t>(i / 8)] & 0x80 >> i % 8) != 0,
                old || (i < n && i < 360 && apart <= tolerance))
          << i << " of " << n << ", hue " << hue << ", tolerance " << tolerance;
    }
  }
}

TEST(Hsl, MarksBoxesOnEveryTarget) {
  std::mt19937 random(6);
  const qel::lines::ColorBox box = {{40, 0, 100}, {140, 200, 255}};
  test::ForEachTarget([&] {
    for (long n = 0; n < 400; n += 1 + static_cast<long>(random() % 5)) {
      Line line(static_cast<std::size_t>(3 * n)), bits(static_cast<std::size_t>((n + 7) / 8));
      for (auto &b : line) b = static_cast<unsigned char>(random() % 7 == 0 ? 140 : random());
      for (auto &b : bits) b = static_cast<unsigned char>(random() & random());
      Line expected = bits;
      for (std::size_t i = 0; i < line.size() / 3; ++i) {
        bool inside = true;
        for (std::size_t c = 0; c < 3; ++c) inside &= line[3 * i + c] >= box.low[c] && line[3 * i + c] <= box.high[c];
        if (inside) expected[i / 8] = static_cast<unsigned char>(expected[i / 8] | 0x80 >> i % 8);
      }
      qel::lines::MarkBox(bits.data(), line.data(), n, box);
      ASSERT_EQ(bits, expected) << n;
    }
  });
}

}  // namespace

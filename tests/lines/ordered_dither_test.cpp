// Dithered lines against their rules: every vector width that the processor has, every remainder length, every level
// against every threshold.

#include "qel/lines/ordered_dither.h"

#include <gtest/gtest.h>

#include <random>
#include <vector>

#include "support/pixels.h"
#include "support/targets.h"

namespace {

using Line = std::vector<unsigned char>;

int Luma(const unsigned char *bgr) {
  return (30 * bgr[2] + 59 * bgr[1] + 11 * bgr[0]) / 100;
}

std::uint64_t To2(const unsigned char *bgr, int t) {
  return Luma(bgr) >= t;
}

std::uint64_t To16(const unsigned char *bgr, int t) {
  const unsigned code = 8 + 4 * (bgr[2] >= t) + 2 * (bgr[1] >= t) + (bgr[0] >= t);
  return code == 8 ? 0 : code;
}

std::uint64_t To216(const unsigned char *bgr, int t) {
  int level[3];
  for (int c = 0; c < 3; ++c) {
    level[c] = bgr[c] / 51;
    if (bgr[c] - 51 * level[c] > t) ++level[c];
  }
  return static_cast<std::uint64_t>(16 + 36 * level[2] + 6 * level[1] + level[0]);
}

struct Kind {
  void (*dither)(unsigned char *, const unsigned char *, long, const unsigned char *);
  int bits;
  std::uint64_t (*naive)(const unsigned char *bgr, int t);
};
constexpr Kind kKinds[] = {
    {qel::lines::DitherTo2, 1, To2}, {qel::lines::DitherTo16, 4, To16}, {qel::lines::DitherTo216, 8, To216}};

/// One line through one routine; the bits behind the last pixel are 0.
void Check(const Kind &kind, const Line &pixels, const Line &thresholds) {
  const long n = static_cast<long>(pixels.size() / 3);
  Line out(static_cast<std::size_t>(test::PackedBytes(kind.bits, n)), 0xA5);
  kind.dither(out.data(), pixels.data(), n, thresholds.data());
  for (long i = 0; i < static_cast<long>(out.size()) * 8 / kind.bits; ++i)
    ASSERT_EQ(
        test::GetPacked(out.data(), kind.bits, i),
        i < n ? kind.naive(&pixels[static_cast<std::size_t>(3 * i)], thresholds[static_cast<std::size_t>(i % 8)]) : 0)
        << "to " << kind.bits << " bits, pixel " << i << " of " << n;
}

TEST(OrderedDitherLines, EveryLength) {
  std::mt19937 random(5);
  test::ForEachTarget([&] {
    for (const Kind &kind : kKinds) {
      for (long n = 0; n <= 200; ++n) {
        Line pixels(static_cast<std::size_t>(3 * n)), thresholds(8);
        for (auto &b : pixels) b = static_cast<unsigned char>(random());
        for (auto &t : thresholds) t = static_cast<unsigned char>(random() % (kind.bits == 8 ? 52 : 256));
        Check(kind, pixels, thresholds);
      }
    }
  });
}

// Grays stand just on the sums that a division by 100 has to tell apart; the darker blue beside each stands below.
TEST(OrderedDitherLines, EveryLevelAgainstEveryThreshold) {
  Line pixels;
  for (unsigned v = 0; v < 256; ++v)
    for (const unsigned blue : {v, v > 0 ? v - 1 : v, 255 - v})
      for (const unsigned c : {blue, v, v}) pixels.insert(pixels.end(), static_cast<unsigned char>(c));
  test::ForEachTarget([&] {
    for (const Kind &kind : kKinds)
      for (int t = 0; t < 256; ++t) Check(kind, pixels, Line(8, static_cast<unsigned char>(t)));
  });
}

}  // namespace

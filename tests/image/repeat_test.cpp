// Repeat access against the plane's definition, pixel by pixel: random spans in both directions, periods of all kinds,
// every depth and keeping, with the bits around the span in exactly sized buffers.

#include <gtest/gtest.h>

#include <array>
#include <limits>

#include "support/pixels.h"
#include "support/probe.h"

namespace {

using test::Keeping;
using test::NaiveImage;
using test::Probe;

struct Periods {
  long x;
  long y;
};

__int128 FloorOf(__int128 a, __int128 b) {
  return a / b - (a % b < 0);
}
long Wrapped(__int128 a, long m) {
  return static_cast<long>((a % m + m) % m);
}

/// The source pixel of a plane pixel, from the definition and in numbers that cannot overflow.
std::uint64_t &PlanePixel(NaiveImage &image, const Periods &p, long x, long y) {
  return image.At(Wrapped(x - FloorOf(y, p.y) * p.x, image.width), Wrapped(y - FloorOf(x, p.x) * p.y, image.height));
}

/// Calls `visit(k, source x, source y)` for each pixel k of a line: the line runs until its coordinate wraps at the
/// image's edge, and the other coordinate stays that of the run's first pixel.
template <class Visit>
void WalkLine(NaiveImage &image, const Periods &p, bool vertical, long across, long first, long last, Visit visit) {
  for (long along = first; along <= last;) {
    const long x = vertical ? across : along, y = vertical ? along : across;
    const std::size_t at = static_cast<std::size_t>(&PlanePixel(image, p, x, y) - image.pixels.data());
    const long sx = static_cast<long>(at) % image.width, sy = static_cast<long>(at) / image.width;
    const long run = std::min(last - along + 1, vertical ? image.height - sy : image.width - sx);
    for (long i = 0; i < run; ++i) visit(along - first + i, vertical ? sx : sx + i, vertical ? sy + i : sy);
    along += run;
  }
}

struct Case {
  int type;
  int bits;
};

class RepeatTest : public testing::TestWithParam<Case> {
 protected:
  std::mt19937 random{20240611};
  long Between(long lo, long hi) { return lo + static_cast<long>(random() % static_cast<unsigned long>(hi - lo + 1)); }
};

TEST_P(RepeatTest, ReadsAndWritesThePlane) {
  const auto [type, bits] = GetParam();
  const int depth = bits;
  for (const Keeping &keeping : test::AllKeepings()) {
    for (const auto &[w, h] : {std::pair{1L, 1L}, {5L, 3L}, {21L, 13L}, {64L, 40L}}) {
      Probe image;
      image.EnableBlock(0, 8);
      ASSERT_TRUE(test::Create(image, type, w, h, keeping));
      NaiveImage naive(w, h, bits);
      naive.Randomise(random);
      naive.Store(image);
      for (int round = 0; round < 40; ++round) {
        const Periods p = round == 0 ? Periods{w, h} : Periods{Between(1, 2 * w), Between(1, 2 * h)};
        image.SetRepeat(p.x, p.y);
        const bool vertical = random() % 2, write = random() % 2;
        const long centre = round % 5 == 4 ? Between(-2000000000, 2000000000) : 0;
        const long first = centre + Between(-3 * w, 3 * w), last = first + Between(0, 4 * std::max(w, h));
        const long across = centre / 3 + Between(-50, 50), n = last - first + 1;
        std::vector<unsigned char> line(static_cast<std::size_t>(test::PackedBytes(bits, n)));
        for (auto &b : line) b = static_cast<unsigned char>(random());
        std::vector<unsigned char> expected = line;
        if (write)
          WalkLine(naive, p, vertical, across, first, last,
                   [&](long k, long x, long y) { naive.At(x, y) = test::GetPacked(line.data(), depth, k); });
        else
          WalkLine(naive, p, vertical, across, first, last,
                   [&](long k, long x, long y) { test::SetPacked(expected.data(), depth, k, naive.At(x, y)); });
        const int done = write      ? vertical ? image.PutVerLine(across, first, last, line.data())
                                               : image.PutHorLine(first, last, across, line.data())
                              : vertical ? image.GetVerLine(across, first, last, line.data())
                                    : image.GetHorLine(first, last, across, line.data());
        ASSERT_EQ(done, 1);
        ASSERT_EQ(line, expected) << "bits " << bits << " vertical " << vertical << " round " << round;
        if (write) {
          image.EnableRepeat(0);
          NaiveImage stored(w, h, bits);
          stored.Load(image);
          ASSERT_EQ(stored, naive);
        }
      }
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Depths, RepeatTest,
                         testing::Values(Case{0, 1}, Case{2, 4}, Case{3, 8}, Case{6, 16}, Case{1, 24}, Case{8, 32},
                                         Case{9, 48}),
                         [](const auto &info) { return std::to_string(info.param.bits) + "bits"; });

TEST(Repeat, SettingsAndEdges) {
  Probe image, other;
  ASSERT_TRUE(test::Create(image, 3, 100, 50, {1, 0, false}));
  image.SetRepeat(0, 0);
  EXPECT_EQ(image.GetXRepeat(), 100);
  EXPECT_EQ(image.GetYRepeat(), 50);
  image.EnableRepeat(0);
  EXPECT_FALSE(image.IsEnableRepeat());
  image.EnableRepeat(7);  // counts as on, keeps the periods
  EXPECT_EQ(image.IsEnableRepeat(), 7);
  ASSERT_TRUE(test::Create(other, 3, 10, 10, {1, 0, false}));
  other.SetSameRepeat(&image);
  EXPECT_EQ(other.GetXRepeat(), 100);
  other.SetSameRepeat(nullptr);
  EXPECT_TRUE(other.IsEnableRepeat());

  unsigned char line[200] = {};
  EXPECT_EQ(image.GetHorLine(5, 4, 0, line), 1);
  EXPECT_EQ(image.GetHorLine(0, 4, 0, nullptr), 0);
  image.SetRepeat(-1, 3);  // no period to count with: plain access
  unsigned char pixel = 9;
  ASSERT_TRUE(image.PutHorLine(3, 3, 2, &pixel));
  EXPECT_EQ(image.GetHorLine(3, 3, 2, line), 1);
  EXPECT_EQ(line[0], 9);

  Probe empty;
  empty.SetRepeat(3, 3);
  EXPECT_EQ(empty.GetHorLine(0, 4, 0, line), 0);
  EXPECT_EQ(empty.GetWarpedVerLine(0, 0, 4, line), 0);
  image.SetRepeat(0, 0);
  EXPECT_EQ(image.GetWarpedHorLine(std::numeric_limits<long>::min(), std::numeric_limits<long>::max(), 0, line), 0);
  image.DeleteImage(1);
  EXPECT_FALSE(image.IsEnableRepeat());
}

TEST(Repeat, TellsTheHookOnceWithTheCallersCoordinates) {
  static std::vector<std::array<long, 5>> log;
  log.clear();
  Probe image;
  ASSERT_TRUE(test::Create(image, 0, 20, 10, {1, 0, false}));
  image.SetRepeat(0, 0);
  image.SetHookProc([](PQel *, int event, long a, long b, long c, long d, unsigned char *) {
    log.push_back({event, a, b, c, d});
  });
  unsigned char line[64] = {};
  image.GetHorLine(-30, 40, -3, line);
  image.PutVerLine(-7, -20, 35, line);
  image.GetHorLine(5, 3, 1, line);
  const std::vector<std::array<long, 5>> expected = {{3, -30, -3, 40, -3}, {4, -7, -20, -7, 35}, {3, 5, 1, 3, 1}};
  EXPECT_EQ(log, expected);
}

TEST(Repeat, TheScratchLineMayBeTheBuffer) {
  std::mt19937 random(5);
  for (const auto &[type, bits] : {std::pair{0, 1}, {2, 4}, {3, 8}}) {
    const int depth = bits;
    Probe image;
    ASSERT_TRUE(test::Create(image, type, 37, 11, {1, 0, false}));
    NaiveImage naive(37, 11, bits);
    naive.Randomise(random);
    naive.Store(image);
    image.SetRepeat(9, 5);
    std::vector<unsigned char> line(static_cast<std::size_t>(test::PackedBytes(bits, 120)));
    for (auto &b : line) b = static_cast<unsigned char>(random());
    std::memcpy(image.m_pbyLineBuf, line.data(), line.size());
    ASSERT_TRUE(image.PutHorLine(-11, 108, 4, image.m_pbyLineBuf));
    WalkLine(naive, {9, 5}, false, 4, -11, 108,
             [&](long k, long x, long y) { naive.At(x, y) = test::GetPacked(line.data(), depth, k); });
    image.EnableRepeat(0);
    NaiveImage stored(37, 11, bits);
    stored.Load(image);
    EXPECT_EQ(stored, naive) << bits;
  }
}

TEST(Repeat, SpansAtTheEndOfTheNumbers) {
  constexpr long kMost = std::numeric_limits<long>::max(), kLeast = std::numeric_limits<long>::min();
  for (const auto &[type, bits] : {std::pair{0, 1}, {2, 4}, {3, 8}, {1, 24}}) {
    Probe image;
    ASSERT_TRUE(test::Create(image, type, 7, 5, {1, 0, false}));
    NaiveImage naive(7, 5, bits);
    std::mt19937 random(6);
    naive.Randomise(random);
    naive.Store(image);
    const Periods p = {3, 4};
    image.SetRepeat(p.x, p.y);
    for (const bool vertical : {false, true}) {
      for (const auto &[first, last] : {std::pair{kMost - 20, kMost}, {kLeast, kLeast + 20}}) {
        for (const long across : {kLeast, 0L, kMost}) {
          std::vector<unsigned char> line(static_cast<std::size_t>(test::PackedBytes(bits, 21)), 0x5A);
          std::vector<unsigned char> expected = line;
          long along = first;
          for (long k = 0; k < 21;) {
            const long x = vertical ? across : along, y = vertical ? along : across;
            const std::size_t at = static_cast<std::size_t>(&PlanePixel(naive, p, x, y) - naive.pixels.data());
            const long sx = static_cast<long>(at) % 7, sy = static_cast<long>(at) / 7;
            const long run = std::min(21 - k, vertical ? 5 - sy : 7 - sx);
            for (long i = 0; i < run; ++i)
              test::SetPacked(expected.data(), bits, k + i, vertical ? naive.At(sx, sy + i) : naive.At(sx + i, sy));
            k += run;
            if (k < 21) along += run;
          }
          ASSERT_EQ(vertical ? image.GetVerLine(across, first, last, line.data())
                             : image.GetHorLine(first, last, across, line.data()),
                    1);
          ASSERT_EQ(line, expected) << bits << " bits, from " << first;
        }
      }
    }
    unsigned char by = 7;
    EXPECT_EQ(image.PutHorLine(kLeast, kMost, 0, &by), 0);
    EXPECT_EQ(image.PutVerLine(0, 0, kMost, &by), 0);
  }
}

TEST(Repeat, AHookMayDeleteTheImage) {
  for (const int type : {0, 2, 1}) {
    Probe image;
    ASSERT_TRUE(test::Create(image, type, 9, 5, {1, 0, false}));
    image.SetHookProc([](PQel *p, int event, long, long, long, long, unsigned char *) {
      if (event == 4) p->DeleteImage(1);
    });
    unsigned char line[64] = {};
    image.SetRepeat(0, 0);
    EXPECT_EQ(image.PutHorLine(-3, 12, 1, line), 0);
    EXPECT_TRUE(image.IsEmpty());
    ASSERT_TRUE(test::Create(image, type, 9, 5, {1, 0, false}));
    EXPECT_EQ(image.SetPixel(3, 2, 1), 0);
    EXPECT_TRUE(image.IsEmpty());
  }
}

}  // namespace

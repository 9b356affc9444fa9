// Whole-image operations against naive pictures: copies with every clipping and overlap, fills, inversions,
// combinations.

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>

#include "support/pixels.h"
#include "support/probe.h"

namespace {

using test::Keeping;
using test::NaiveImage;
using test::Probe;

constexpr std::pair<int, int> kDepths[] = {{0, 1}, {2, 4}, {3, 8}, {6, 16}, {7, 16}, {1, 24}, {8, 32}, {9, 48}};

std::uint64_t Ones(int bits) {
  return (std::uint64_t{1} << bits) - 1;
}

class WholeImage : public testing::Test {
 protected:
  std::mt19937 random{4242};
  long Between(long lo, long hi) { return lo + static_cast<long>(random() % static_cast<unsigned long>(hi - lo + 1)); }

  /// An image in a keeping with random pixels, and its naive twin.
  NaiveImage Fill(Probe &image, int type, int bits, long w, long h, const Keeping &keeping) {
    image.EnableBlock(0, 8);
    EXPECT_TRUE(test::Create(image, type, w, h, keeping));
    NaiveImage naive(w, h, bits);
    naive.Randomise(random);
    naive.Store(image);
    return naive;
  }

  static NaiveImage Stored(Probe &image, int bits) {
    NaiveImage naive(image.GetImageWidth(), image.GetImageHeight(), bits);
    naive.Load(image);
    return naive;
  }
};

// Copies -------------------------------------------------------------------------------------------------------------

TEST_F(WholeImage, CopyRectClipsAndOverlaps) {
  for (const auto &[type, bits] : kDepths) {
    for (const Keeping &keeping : test::AllKeepings()) {
      Probe source, target;
      const NaiveImage from = Fill(source, type, bits, 23, 14, {1, 0, false});
      NaiveImage to = Fill(target, type, bits, 19, 17, keeping);
      for (int round = 0; round < 60; ++round) {
        const bool self = round % 2;
        NaiveImage before = self ? to : from;
        POINT at = {static_cast<LONG>(Between(-25, 25)), static_cast<LONG>(Between(-20, 20))};
        RECT rect = {static_cast<LONG>(Between(-10, 25)), static_cast<LONG>(Between(-10, 20)), 0, 0};
        rect.right = rect.left + static_cast<LONG>(Between(-2, 30));
        rect.bottom = rect.top + static_cast<LONG>(Between(-2, 25));
        if (round % 7 == 0) rect = {0, 0, static_cast<LONG>(before.width), static_cast<LONG>(before.height)};
        for (long y = rect.top; y < rect.bottom; ++y)
          for (long x = rect.left; x < rect.right; ++x) {
            const long dx = at.x + x - rect.left, dy = at.y + y - rect.top;
            if (x < 0 || y < 0 || x >= before.width || y >= before.height) continue;
            if (dx < 0 || dy < 0 || dx >= to.width || dy >= to.height) continue;
            to.At(dx, dy) = before.At(x, y);
          }
        ASSERT_EQ(target.CopyRect(self ? &target : &source, &at, &rect), 1);
        ASSERT_EQ(Stored(target, bits), to) << bits << " round " << round << (self ? " within" : "");
      }
    }
  }
}

TEST_F(WholeImage, CopyRectAtTheLimits) {
  Probe image, other, empty;
  NaiveImage naive = Fill(image, 3, 8, 10, 10, {1, 0, false});
  Fill(other, 1, 24, 10, 10, {1, 0, false});
  EXPECT_EQ(image.CopyRect(nullptr, nullptr, nullptr), 0);
  EXPECT_EQ(image.CopyRect(&other, nullptr, nullptr), 0);
  EXPECT_EQ(image.CopyRect(&empty, nullptr, nullptr), 0);
  RECT huge = {INT_MIN, INT_MIN, INT_MAX, INT_MAX}, inverted = {5, 5, 2, 9};
  POINT far = {INT_MAX, INT_MIN};
  EXPECT_EQ(image.CopyRect(&image, &far, &huge), 1);
  EXPECT_EQ(image.CopyRect(&image, nullptr, &inverted), 1);
  EXPECT_EQ(Stored(image, 8), naive);
  // a repeating source tiles what it is asked for
  Probe tile;
  NaiveImage small = Fill(tile, 3, 8, 3, 2, {1, 0, false});
  tile.SetRepeat(0, 0);
  RECT all = {-4, -1, 6, 9};
  EXPECT_EQ(image.CopyRect(&tile, nullptr, &all), 1);
  for (long y = 0; y < 10; ++y)
    for (long x = 0; x < 10; ++x) naive.At(x, y) = small.At((x + 2) % 3, (y + 1) % 2);
  EXPECT_EQ(Stored(image, 8), naive);
}

TEST_F(WholeImage, CopyImageTakesPixelsAndPalette) {
  for (const auto &[type, bits] : kDepths) {
    for (const Keeping &keeping : test::AllKeepings()) {
      Probe source, target, smaller;
      const NaiveImage from = Fill(source, type, bits, 21, 9, {4, 1, true});
      Fill(target, type, bits, 21, 9, keeping);
      if (bits <= 8) source.m_pRGBQuad[1] = {9, 8, 7, 0};
      ASSERT_EQ(target.CopyImage(&source), 1);
      EXPECT_EQ(Stored(target, bits), from);
      if (bits <= 8) EXPECT_EQ(target.m_pRGBQuad[1].rgbGreen, 8);
      Fill(smaller, type, bits, 21, 8, {1, 0, false});
      EXPECT_EQ(target.CopyImage(&smaller), 0);
      EXPECT_EQ(Stored(target, bits), from);
    }
  }
  Probe empty;
  EXPECT_EQ(empty.CopyImage(&empty), 0);
  EXPECT_EQ(empty.CopyImage(nullptr), 0);
}

// Fills --------------------------------------------------------------------------------------------------------------

TEST_F(WholeImage, ClearWritesTheColourEverywhereAndCanBeUndone) {
  for (const auto &[type, bits] : kDepths) {
    for (const Keeping &keeping : test::AllKeepings()) {
      for (const long long color : {0LL, 1LL, 0x0000FFLL, 0x1F3A5CLL, 0x123456789ABCLL}) {
        Probe image;
        const NaiveImage before = Fill(image, type, bits, 37, 11, keeping);
        ASSERT_TRUE(image.EnableUndo(1));
        image.Validate();
        ASSERT_EQ(image.Clear(color), 1);
        EXPECT_EQ(image.m_rcInvalid, CRect(0, 0, 37, 11));
        std::uint64_t pixel = static_cast<std::uint64_t>(color) & Ones(bits);
        if (bits == 1) pixel = color != 0;
        if (bits == 24 || bits == 32) pixel = (color & 0xFF) << 16 | (color & 0xFF00) | (color >> 16 & 0xFF);
        NaiveImage expected(37, 11, bits);
        std::fill(expected.pixels.begin(), expected.pixels.end(), pixel);
        // the fill byte of 4-bit pixels is made of the whole low byte: its bits 4 to 7 overlay the high nibble
        for (long x = 0; bits == 4 && x < 37; ++x)
          for (long y = 0; y < 11; ++y) expected.At(x, y) = x % 2 ? color & 0xF : (color | color >> 4) & 0xF;
        ASSERT_EQ(Stored(image, bits), expected) << bits << " color " << color;
        image.SetHookProc([](PQel *, int, long, long, long, long, unsigned char *) {});
        ASSERT_EQ(image.Clear(~color), 1);
        ASSERT_EQ(image.Clear(color), 1);
        image.SetHookProc(nullptr);
        ASSERT_EQ(Stored(image, bits), expected) << bits << " watched, color " << color;
        ASSERT_EQ(image.DoUndo(), 1);
        ASSERT_EQ(Stored(image, bits), before);
      }
    }
  }
  Probe empty;
  EXPECT_EQ(empty.Clear(0), 0);
}

TEST_F(WholeImage, InvertTurnsPixelsOrPalette) {
  for (const auto &[type, bits] : kDepths) {
    for (const Keeping &keeping : test::AllKeepings()) {
      Probe image;
      NaiveImage naive = Fill(image, type, bits, 29, 6, keeping);
      if (bits <= 8) {
        const unsigned char green = image.m_pRGBQuad[1].rgbGreen;
        ASSERT_EQ(image.Invert(0), 1);
        EXPECT_EQ(image.m_pRGBQuad[1].rgbGreen, 255 - green);
        ASSERT_EQ(Stored(image, bits), naive);
      }
      ASSERT_EQ(image.Invert(1), 1);
      for (auto &p : naive.pixels) p ^= bits == 32 ? 0xFFFFFF : Ones(bits);
      ASSERT_EQ(Stored(image, bits), naive);
    }
  }
  Probe empty;
  EXPECT_EQ(empty.Invert(0), 0);
}

TEST_F(WholeImage, InvertIsTheSameWithAHookAndCanBeUndone) {
  static long told[5];
  for (const auto &[type, bits] : kDepths) {
    for (const Keeping &keeping : test::AllKeepings()) {
      Probe quiet, watched;
      const NaiveImage before = Fill(quiet, type, bits, 30, 21, keeping);
      Fill(watched, type, bits, 30, 21, keeping);
      ASSERT_EQ(watched.CopyImage(&quiet), 1);
      ASSERT_TRUE(quiet.EnableUndo(1));
      quiet.Validate();
      watched.Validate();
      std::fill(std::begin(told), std::end(told), 0);
      watched.SetHookProc([](PQel *, int event, long, long, long, long, unsigned char *) { ++told[event]; });
      ASSERT_EQ(quiet.Invert(1), 1);
      ASSERT_EQ(watched.Invert(1), 1);
      watched.SetHookProc(nullptr);
      EXPECT_EQ(told[3], 21);
      EXPECT_EQ(told[4], 21);
      EXPECT_EQ(quiet.m_rcInvalid, CRect(0, 0, 30, 21));
      EXPECT_EQ(watched.m_rcInvalid, CRect(0, 0, 30, 21));
      // padding of the rows included
      std::vector<unsigned char> a(static_cast<std::size_t>(quiet.m_lLineBytes)), b(a.size());
      for (long y = 0; y < 21; ++y) {
        quiet.GetHorLine(y, a.data());
        watched.GetHorLine(y, b.data());
        ASSERT_EQ(a, b) << bits << " row " << y;
      }
      ASSERT_EQ(quiet.DoUndo(), 1);
      ASSERT_EQ(Stored(quiet, bits), before);
    }
  }
}

// Combination --------------------------------------------------------------------------------------------------------

TEST_F(WholeImage, CompositeCombinesBits) {
  for (const auto &[type, bits] : kDepths) {
    for (const Keeping &keeping : test::AllKeepings()) {
      for (unsigned op = 0; op < 4; ++op) {
        Probe image, other;
        NaiveImage naive = Fill(image, type, bits, 26, 7, keeping), with = Fill(other, type, bits, 26, 7, {1, 0, true});
        ASSERT_EQ(image.Composite(&other, op), 1);
        for (std::size_t i = 0; i < naive.pixels.size(); ++i) {
          const std::uint64_t a = naive.pixels[i], b = with.pixels[i];
          naive.pixels[i] = op == 0 ? a & b : op == 1 ? a | b : op == 2 ? a ^ b : a;
        }
        ASSERT_EQ(Stored(image, bits), naive) << bits << " op " << op;
      }
    }
  }
}

TEST_F(WholeImage, CompositeOfUnequalSizesNeedsRepeatMode) {
  Probe image, tile, deep;
  NaiveImage naive = Fill(image, 3, 8, 11, 9, {1, 0, false}), small = Fill(tile, 3, 8, 4, 3, {1, 0, false});
  Fill(deep, 1, 24, 11, 9, {1, 0, false});
  EXPECT_EQ(image.Composite(&tile, 2), 0);
  EXPECT_EQ(image.Composite(&deep, 2), 0);
  EXPECT_EQ(image.Composite(nullptr, 2), 0);
  EXPECT_EQ(image.IsSameSize(&tile), 0);
  EXPECT_EQ(image.IsSameSize(nullptr), 0);
  tile.SetRepeat(0, 0);
  EXPECT_EQ(image.IsSameSize(&tile), 1);
  EXPECT_EQ(image.Composite(&tile, 2), 1);
  for (long y = 0; y < 9; ++y)
    for (long x = 0; x < 11; ++x) naive.At(x, y) ^= small.At(x % 4, y % 3);
  EXPECT_EQ(Stored(image, 8), naive);
  // a smaller image that does not repeat takes what it has room for
  NaiveImage tiled = small;
  tile.EnableRepeat(0);
  image.SetRepeat(0, 0);
  EXPECT_EQ(tile.Composite(&image, 1), 1);
  for (long y = 0; y < 3; ++y)
    for (long x = 0; x < 4; ++x) tiled.At(x, y) |= naive.At(x, y);
  EXPECT_EQ(Stored(tile, 8), tiled);
}

}  // namespace

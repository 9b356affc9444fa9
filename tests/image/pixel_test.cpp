// Single pixels and zoomed lines against naive readings, in every depth, keeping and repeat mode.

#include <gtest/gtest.h>

#include <array>
#include <climits>

#include "support/pixels.h"
#include "support/probe.h"

namespace {

using test::Keeping;
using test::NaiveImage;
using test::Probe;

constexpr std::pair<int, int> kDepths[] = {{0, 1}, {2, 4}, {3, 8}, {6, 16}, {7, 16}, {1, 24}, {8, 32}, {9, 48}};

// Pixels -------------------------------------------------------------------------------------------------------------

/// The value that GetPixel tells of a stored pixel.
std::uint64_t Told(std::uint64_t stored, int bits) {
  return bits == 32 ? stored & 0xFFFFFF : stored;
}

std::uint64_t ReadPixel(Probe &image, int bits, long x, long y) {
  long long deep = 0;
  const unsigned long value = image.GetPixel(x, y, &deep);
  return bits == 48 ? static_cast<std::uint64_t>(deep) : value;
}

TEST(Pixel, ReadsAndWritesLikeLines) {
  std::mt19937 random(77);
  for (const auto &[type, bits] : kDepths) {
    for (const Keeping &keeping : test::AllKeepings()) {
      Probe image;
      image.EnableBlock(0, 8);
      ASSERT_TRUE(test::Create(image, type, 19, 17, keeping));
      NaiveImage naive(19, 17, bits);
      naive.Randomise(random);
      naive.Store(image);
      for (int i = 0; i < 200; ++i) {
        const long x = random() % 19, y = random() % 17;
        ASSERT_EQ(ReadPixel(image, bits, x, y), Told(naive.At(x, y), bits));
        const std::uint64_t value = std::uint64_t{random()} << 32 | random();
        image.Validate();
        ASSERT_EQ(image.SetPixel(x, y, static_cast<long long>(value)), 1);
        std::uint64_t &pixel = naive.At(x, y);
        if (bits == 1)
          pixel = value != 0;
        else if (bits == 32)
          pixel = (pixel & 0xFF000000) | (value & 0xFFFFFF);
        else
          pixel = value & ((std::uint64_t{1} << bits) - 1);
        const CRect changed(static_cast<int>(x), static_cast<int>(y), static_cast<int>(x + 1), static_cast<int>(y + 1));
        ASSERT_EQ(image.m_rcInvalid, changed);
      }
      NaiveImage stored(19, 17, bits);
      stored.Load(image);
      ASSERT_EQ(stored, naive) << bits;
    }
  }
}

TEST(Pixel, OutsideReadsNothingAndWritesNothing) {
  static int calls = 0;
  for (const auto &[type, bits] : kDepths) {
    Probe image;
    ASSERT_TRUE(test::Create(image, type, 9, 5, {1, 0, false}));
    image.Clear(-1);
    image.Validate();
    calls = 0;
    image.SetHookProc([](PQel *, int, long, long, long, long, unsigned char *) { ++calls; });
    for (const auto &[x, y] : {std::pair{-1L, 0L}, {9L, 0L}, {0L, -1L}, {0L, 5L}, {LONG_MAX, LONG_MIN}}) {
      long long deep = 5;
      EXPECT_EQ(image.GetPixel(x, y, &deep), 0u);
      EXPECT_EQ(image.GetPixelRGB(x, y, &deep), 0u);
      EXPECT_EQ(image.GetPixelBGR(x, y), 0u);
      EXPECT_EQ(image.SetPixel(x, y, 0), 0);
      EXPECT_EQ(image.SetPixelRGB(x, y, 0), 0);
      EXPECT_EQ(deep, 5);
    }
    EXPECT_EQ(calls, 0);
    EXPECT_EQ(image.m_rcInvalid.left, INT_MAX);
  }
  Probe empty;
  EXPECT_EQ(empty.GetPixel(0, 0, nullptr), 0u);
  EXPECT_EQ(empty.SetPixel(0, 0, 1), 0);
}

TEST(Pixel, RepeatModeMapsAndTellsTheHook) {
  static std::vector<std::array<long, 3>> log;
  log.clear();
  Probe image;
  ASSERT_TRUE(test::Create(image, 3, 10, 6, {1, 0, false}));
  image.SetPixel(9, 5, 42);
  image.SetRepeat(0, 0);
  image.SetHookProc([](PQel *, int event, long x, long y, long, long, unsigned char *) {
    log.push_back({event, x, y});
  });
  EXPECT_EQ(image.GetPixel(-1, -1, nullptr), 42u);
  EXPECT_EQ(image.SetPixel(-1, -1, 43), 1);
  EXPECT_EQ(image.GetPixel(9, 5, nullptr), 43u);
  const std::vector<std::array<long, 3>> expected = {{3, 9, 5}, {4, -1, -1}, {3, 9, 5}};
  EXPECT_EQ(log, expected);
}

TEST(Pixel, ColourReferences) {
  Probe image;
  ASSERT_TRUE(test::Create(image, 7, 4, 4, {1, 0, false}));
  EXPECT_EQ(image.SetPixelRGB(1, 1, 0x0000FF), 1);
  EXPECT_EQ(image.GetPixel(1, 1, nullptr), 0xF800u);
  EXPECT_EQ(image.GetPixelRGB(1, 1, nullptr), 0x0000FFu);
  EXPECT_EQ(image.GetPixelBGR(1, 1), 0xFF0000u);
  for (const int type : {6, 7}) {
    ASSERT_TRUE(test::Create(image, type, 4, 4, {1, 0, false}));
    for (unsigned v = 0; v < 0x10000; v += 7) {
      image.SetPixel(0, 0, v);
      const unsigned green = type == 7 ? (v >> 5 & 63) * 255 / 63 : (v >> 5 & 31) * 255 / 31;
      const unsigned red = (v >> (type == 7 ? 11 : 10) & 31) * 255 / 31, blue = (v & 31) * 255 / 31;
      ASSERT_EQ(image.GetPixelRGB(0, 0, nullptr), red | green << 8 | blue << 16);
    }
    for (unsigned c = 0; c < 256; ++c) {
      image.SetPixelRGB(0, 0, c | (255 - c) << 8 | (c ^ 0x55) << 16);
      const unsigned five = c * 31 / 255, other = (c ^ 0x55) * 31 / 255;
      const unsigned word = type == 7 ? five << 11 | ((255 - c) * 63 / 255) << 5 | other
                                      : five << 10 | ((255 - c) * 31 / 255) << 5 | other;
      ASSERT_EQ(image.GetPixel(0, 0, nullptr), word);
    }
  }
  for (const int type : {1, 8}) {
    ASSERT_TRUE(test::Create(image, type, 4, 4, {1, 0, false}));
    image.SetPixelRGB(2, 3, 0x123456);
    EXPECT_EQ(image.GetPixel(2, 3, nullptr), 0x563412u);
    EXPECT_EQ(image.GetPixelRGB(2, 3, nullptr), 0x123456u);
  }
  ASSERT_TRUE(test::Create(image, 9, 4, 4, {1, 0, false}));
  long long deep = 0x7777000000000000;
  image.SetPixelRGB(0, 0, 0x0000AAAABBBBCCCC);
  image.GetPixel(0, 0, &deep);
  EXPECT_EQ(deep, 0x7777CCCCBBBBAAAA);
  EXPECT_EQ(image.GetPixelRGB(0, 0, &deep), 0u);
  EXPECT_EQ(deep, 0x7777AAAABBBBCCCC);
  EXPECT_EQ(image.GetPixelBGR(0, 0), 0xCCBBAAu);
  ASSERT_TRUE(test::Create(image, 3, 4, 4, {1, 0, false}));
  image.m_pRGBQuad[200] = {1, 2, 3, 0};
  image.SetPixelRGB(0, 0, 200);  // an index
  EXPECT_EQ(image.GetPixelRGB(0, 0, nullptr), 0x010203u);
  EXPECT_EQ(image.GetPixelBGR(0, 0), 0x030201u);
}

// Zooms --------------------------------------------------------------------------------------------------------------

TEST(Zoom, RepeatsAndSkipsPixelsInExactBuffers) {
  std::mt19937 random(3);
  PQel any;
  for (const int bits : {1, 4, 8, 16, 24, 32, 48}) {
    for (long count = 0; count <= 35; ++count) {
      for (const int zoom : {2, 3, 4, 5, 8, 11}) {
        const auto bytes = [bits](long n) { return static_cast<std::size_t>(test::PackedBytes(bits, n)); };
        std::vector<unsigned char> narrow(bytes(count)), wide(bytes(count * zoom)), narrower(bytes(count));
        for (auto &b : narrow) b = static_cast<unsigned char>(random());
        any.ZoomInLine(wide.data(), narrow.data(), count, zoom, bits);
        for (long i = 0; i < count * zoom; ++i)
          ASSERT_EQ(test::GetPacked(wide.data(), bits, i), test::GetPacked(narrow.data(), bits, i / zoom));
        // every zoom-th pixel of count * zoom - (zoom - 1) random ones
        const long source = count > 0 ? (count - 1) * zoom + 1 : 0;
        std::vector<unsigned char> from(bytes(source));
        for (auto &b : from) b = static_cast<unsigned char>(random());
        any.ZoomOutLine(narrower.data(), from.data(), count, -zoom, bits);
        for (long i = 0; i < count; ++i)
          ASSERT_EQ(test::GetPacked(narrower.data(), bits, i), test::GetPacked(from.data(), bits, i * zoom));
      }
    }
  }
  unsigned char nibbles[] = {0x3A}, out[4] = {9, 9, 9, 9};
  any.ZoomInLine(out, nibbles, 2, 3, 4);
  EXPECT_EQ(out[0], 0x33);
  EXPECT_EQ(out[1], 0x3A);
  EXPECT_EQ(out[2], 0xAA);
  EXPECT_EQ(out[3], 9);
  for (const auto &[count, zoom, bits] : {std::array{-1, 2, 8}, {1, 1, 8}, {1, -1, 8}, {1, 2, 7}, {1, 2, 0}}) {
    any.ZoomInLine(out, nibbles, count, zoom, bits);
    any.ZoomOutLine(out, nibbles, count, -zoom, bits);
  }
  EXPECT_EQ(out[0], 0x33);
}

TEST(Zoom, ReducesSpansOfTheImage) {
  std::mt19937 random(8);
  for (const auto &[type, bits] : kDepths) {
    Probe image;
    ASSERT_TRUE(test::Create(image, type, 50, 3, {1, 0, false}));
    NaiveImage naive(50, 3, bits);
    naive.Randomise(random);
    naive.Store(image);
    std::vector<unsigned char> line(200), full(200), sparse(200);
    for (const int zoom : {-1, -2, -3, -7, -60}) {
      for (const auto &[x1, x2] : {std::pair{0L, 49L}, {3L, 12L}, {7L, 7L}}) {
        const long n = (x2 - x1 + 1) / -zoom;
        std::fill(line.begin(), line.end(), 0xEE);
        ASSERT_EQ(image.GetZoomOutHorLine(x1, x2, 1, line.data(), zoom), 1);
        for (long i = 0; i < n && zoom != -1; ++i)
          ASSERT_EQ(test::GetPacked(line.data(), bits, i), naive.At(x1 + i * -zoom, 1)) << bits;
        if (zoom == -1) EXPECT_EQ(line[0], 0xEE);
        ASSERT_EQ(image.GetZoomOut24BitHorLine(x1, x2, 1, sparse.data(), zoom, nullptr), 1);
        ASSERT_EQ(image.Get24bitHorLine(x1, x2, 1, full.data(), nullptr), 1);
        for (long i = 0; i < n; ++i)
          ASSERT_EQ(test::GetPacked(sparse.data(), 24, i), test::GetPacked(full.data(), 24, i * -zoom));
        const int gray = image.GetGrayHorLine(x1, x2, 1, full.data(), nullptr);
        ASSERT_EQ(image.GetZoomOutGrayHorLine(x1, x2, 1, sparse.data(), zoom, nullptr), gray);
        for (long i = 0; i < n && gray; ++i)
          ASSERT_EQ(sparse[static_cast<std::size_t>(i)], full[static_cast<std::size_t>(i * -zoom)]);
      }
    }
    for (const int zoom : {0, 3, INT_MAX}) {
      EXPECT_EQ(image.GetZoomOutHorLine(0, 9, 0, line.data(), zoom), 0);
      EXPECT_EQ(image.GetZoomOut24BitHorLine(0, 9, 0, line.data(), zoom, nullptr), 0);
      EXPECT_EQ(image.GetZoomOutGrayHorLine(0, 9, 0, line.data(), zoom, nullptr), 0);
    }
    EXPECT_EQ(image.GetZoomOutHorLine(0, 9, 0, nullptr, -2), 0);
    EXPECT_EQ(image.GetZoomOutHorLine(0, 9, 0, line.data(), INT_MIN), 1);
  }
}

}  // namespace

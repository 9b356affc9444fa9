// Ordered dither: the matrices, the thresholds, dithered lines of every kind and length against a pixel-by-pixel oracle
// on every vector width of the processor, every level against every threshold, and whole images.

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <random>
#include <vector>

#include "qel/convert/itc.h"
#include "support/pixels.h"
#include "support/targets.h"

namespace {

using Line = std::vector<unsigned char>;

struct Dither : PItc {
  using PItc::m_pbyPattern, PItc::m_pMethodLo, PItc::m_pMethodMd, PItc::m_pMethodHi, PItc::m_pbyBayer2;

  static int Matrix(int kind, int size, long x, long y) {
    const auto mod = [size](long v) { return ((v % size) + size) % size; };
    return (size == 4 ? m_pMethodLo : m_pMethodHi)[kind][size * mod(y) + mod(x)];
  }

  /// What the matrix asks of a pixel on its way to so many colours.
  static int Threshold(int kind, int size, int colors, long x, long y) {
    const int v = Matrix(kind, size, x, y);
    if (colors == 256) return size == 4 ? 3 * v : 51 * (v + 1) / 65;
    return size == 4 ? 16 * v - 8 : 4 * v + 2;
  }

  int Choose(int srcBits, int srcColors, int dstColors, int kind, int size) {
    m_nSrcBits = srcBits;
    m_nSrcColors = srcColors;
    m_nDstColors = dstColors;
    m_cvtMethod = {3, static_cast<unsigned short>(kind), static_cast<unsigned short>(size)};
    return xSetDitherFunc();
  }

  /// Dithers a line of n pixels for the colours chosen into an exactly sized destination of another width.
  Line Run(Line &source, Line &palette, long n, long dstWidth, int dstBits, long x0, long y0) {
    Line out(static_cast<std::size_t>(test::PackedBytes(dstBits, std::max(n, dstWidth))), 0xA5);
    m_lSrcWidth = n;
    m_lDstWidth = dstWidth;
    m_nDstBits = dstBits;
    m_pbySrcLine = source.data();
    m_pbySrcRGB = palette.data();
    m_pbyDstLine = out.data();
    if (m_nDstColors == 2) xDitherTo2(x0, y0);
    if (m_nDstColors == 16) xDitherTo16(x0, y0);
    if (m_nDstColors == 256) xDitherTo256(x0, y0);
    return out;
  }
};

/// What becomes of one pixel, a colour 0xRRGGBB.
std::uint64_t Naive(std::uint64_t color, int colors, int t) {
  const int blue = color & 0xFF, green = color >> 8 & 0xFF, red = color >> 16 & 0xFF;
  if (colors == 2) return (30 * red + 59 * green + 11 * blue) / 100 >= t;
  if (colors == 16) {
    const unsigned code = 8 + 4 * (red >= t) + 2 * (green >= t) + (blue >= t);
    return code == 8 ? 0 : code;
  }
  const auto level = [t](int c) { return c / 51 + (c % 51 > t); };
  return static_cast<std::uint64_t>(16 + 36 * level(red) + 6 * level(green) + level(blue));
}

TEST(OrderedDither, Matrices) {
  for (int kind = 0; kind < 6; ++kind) {
    SCOPED_TRACE(kind);
    std::vector<int> ranks(64), values(Dither::m_pMethodHi[kind], Dither::m_pMethodHi[kind] + 64);
    for (int i = 0; i < 64; ++i) ranks[static_cast<std::size_t>(i)] = i;
    EXPECT_TRUE(std::is_permutation(values.begin(), values.end(), ranks.begin()));
    for (auto &rank : ranks) ++rank;
    values.assign(Dither::m_pMethodLo[kind], Dither::m_pMethodLo[kind] + 16);
    EXPECT_TRUE(std::is_permutation(values.begin(), values.end(), ranks.begin()));
    // Opposite corners of the halves complete each other bit by bit, but the mesh climbs along rows and columns.
    const auto hi = [kind](long x, long y) { return Dither::Matrix(kind, 8, x, y); };
    for (long y = 0; y < 8; ++y) {
      for (long x = 0; x < 8; ++x) {
        if (kind == 1)
          EXPECT_TRUE((x == 7 || hi(x, y) < hi(x + 1, y)) && (y == 7 || hi(x, y) < hi(x, y + 1))) << x << ", " << y;
        else
          EXPECT_EQ(hi(x, y) ^ hi(x + 4, y + 4), hi(0, 0) ^ hi(4, 4)) << x << ", " << y;
      }
    }
    const auto *const md = Dither::m_pMethodMd[kind], *const bayer = Dither::m_pMethodMd[0];
    EXPECT_EQ(std::equal(md, md + 40, bayer), kind != 3);
    EXPECT_EQ(std::count(md, md + 40, 0), 5);  // the four behind the matrix and its darkest pixel
    for (int i = 0; i < 36 && kind != 3; ++i)
      EXPECT_TRUE((i % 6 == 5 || md[i] < md[i + 1]) && (i > 29 || md[i] < md[i + 6])) << i;
  }
  EXPECT_TRUE(std::ranges::equal(Dither::m_pbyBayer2, std::vector{0, 128, 64, 192, 0, 0, 0, 0}));
}

TEST(OrderedDither, RefusalsKeepTheThresholds) {
  Dither agent;
  EXPECT_EQ(agent.Choose(24, 0, 2, 2, 8), 1);
  const Line before(std::begin(Dither::m_pbyPattern), std::end(Dither::m_pbyPattern));
  // no more source colours than the destination has, no routine for the count, no matrix for the record
  for (const auto &[bits, srcColors, dstColors, kind, size] :
       {std::tuple{8, 16, 16, 0, 8}, {8, 256, 256, 0, 8}, {24, 0, 20, 0, 8}, {24, 0, 2, 6, 8}, {24, 0, 2, 0, 6}})
    EXPECT_EQ(agent.Choose(bits, srcColors, dstColors, kind, size), 0);
  EXPECT_TRUE(std::ranges::equal(before, Dither::m_pbyPattern));
}

/// Every kind in both sizes to every destination, true colour and palettes; the palette has a few colours less than the
/// indices could name, and those behind it are black.
TEST(OrderedDither, LinesOfEveryKind) {
  std::mt19937 random(3);
  constexpr long kPhases[][2] = {{0, 0}, {3, 6}, {-1, -9}, {1234567890123, 7}};
  Dither agent;
  test::ForEachTarget([&] {
    for (const auto &[srcBits, srcColors, dstColors, dstBits] :
         {std::tuple{24, 0, 2, 1},
          {24, 0, 16, 4},
          {24, 0, 256, 8},
          {8, 251, 2, 1},
          {8, 251, 16, 4},
          {4, 13, 2, 1},
          {24, 0, 16, 8},
          {8, 251, 2, 8},
          {24, 0, 2, 4}}) {  // then short palettes of deeper destinations
      Line palette(static_cast<std::size_t>(3 * srcColors));
      for (auto &b : palette) b = static_cast<unsigned char>(random());
      for (int k = 0; k < 12; ++k) {
        const int kind = k / 2, size = k % 2 ? 4 : 8;
        ASSERT_EQ(agent.Choose(srcBits, srcColors, dstColors, kind, size), 1);
        for (long n = k + 1; n < 2400; n += n < 200 ? 12 : 2000) {
          const auto &[x0, y0] = kPhases[random() % 4];
          Line source(static_cast<std::size_t>(test::PackedBytes(srcBits, n)));
          for (auto &b : source) b = static_cast<unsigned char>(random());
          const long dstWidth = dstColors == 256 ? n : n + random() % 20;
          const Line out = agent.Run(source, palette, n, dstWidth, dstBits, x0, y0);
          for (long i = 0; i < n; ++i) {
            std::uint64_t color = test::GetPacked(source.data(), srcBits, i);
            if (srcBits != 24) {
              const auto *const entry = &palette[3 * color];
              color = static_cast<int>(color) < srcColors ? entry[2] | entry[1] << 8 | entry[0] << 16 : 0;
            }
            ASSERT_EQ(test::GetPacked(out.data(), dstBits, i),
                      Naive(color, dstColors, Dither::Threshold(kind, size, dstColors, x0 + i, y0)))
                << srcBits << " bits to " << dstColors << " colours, kind " << kind << " size " << size << " at " << i;
          }
          if (dstBits == (dstColors == 2 ? 1 : 4))  // cleared up to the destination's width
            for (long i = n; i < static_cast<long>(out.size()) * 8 / dstBits; ++i)
              ASSERT_EQ(test::GetPacked(out.data(), dstBits, i), 0u);
        }
      }
    }
  });
}

// Grays stand just on the sums that a division by 100 has to tell apart; the darker blue beside each stands below.
TEST(OrderedDither, EveryLevelAgainstEveryThreshold) {
  Line pixels, palette;
  for (int v = 0; v < 256; ++v)
    for (const int blue : {v, std::max(v - 1, 0), 255 - v})
      for (const int c : {blue, v, v}) pixels.push_back(static_cast<unsigned char>(c));
  Dither agent;
  test::ForEachTarget([&] {
    for (const auto &[colors, bits] : {std::pair{2, 1}, {16, 4}, {256, 8}}) {
      ASSERT_EQ(agent.Choose(24, 0, colors, 0, 8), 1);
      for (int t = 0; t < 256; ++t) {
        std::ranges::fill(Dither::m_pbyPattern, static_cast<unsigned char>(t));
        const Line out = agent.Run(pixels, palette, 768, 768, bits, 0, 0);
        for (long i = 0; i < 768; ++i)
          ASSERT_EQ(test::GetPacked(out.data(), bits, i), Naive(test::GetPacked(pixels.data(), 24, i), colors, t)) << i;
      }
    }
  });
}

std::vector<long> g_rows;  // that hooks have seen read

/// A picture through a built agent, in part and line by line; with a hook, lines come from the top.
TEST(OrderedDither, WholeImages) {
  std::mt19937 random(8);
  const long width = 77, height = 21;
  for (const auto &[dstType, colors] : {std::pair{0, 2}, {2, 16}, {3, 256}}) {
    for (const int size : {4, 8}) {
      PQel src, dst;
      ASSERT_TRUE(test::Create(src, 1, width, height, {1, 0, colors == 16}));
      ASSERT_TRUE(test::Create(dst, dstType, width, height, {1, 0, false}));
      test::NaiveImage from(width, height, 24), to(width, height, dst.GetBitCount());
      from.Randomise(random);
      from.Store(src);
      PItc agent;
      ASSERT_EQ(agent.BuildAgent(&dst, &src, {3, 2, static_cast<unsigned short>(size)}), 1);
      RECT rc = {0, 4, width - 1, height - 1};
      POINT pt = {0, 1};
      g_rows.clear();
      if (size == 4)
        src.SetHookProc([](PQel *, int nEvent, long, long y, long, long, unsigned char *) {
          if (nEvent == 3) g_rows.push_back(y);
        });
      ASSERT_EQ(agent.ConvertImg(&rc, &pt), 1);
      EXPECT_EQ(g_rows.size(), size == 4 ? 17u : 0u);
      EXPECT_TRUE(std::ranges::is_sorted(g_rows));
      EXPECT_EQ(src.SetHookProc(nullptr) != nullptr, size == 4);
      to.Load(dst);
      for (long y = 4; y < height; ++y)
        for (long x = 0; x < width; ++x)
          ASSERT_EQ(to.At(x, y - 3), Naive(from.At(x, y), colors, Dither::Threshold(2, size, colors, x, y - 3)));
      Line row = from.Row(13), out(static_cast<std::size_t>(test::PackedBytes(to.bits, width)));
      ASSERT_EQ(agent.ConvertLineImg(13, row.data(), out.data()), 1);
      for (long x = 0; x < width; ++x)
        ASSERT_EQ(test::GetPacked(out.data(), to.bits, x),
                  Naive(from.At(x, 13), colors, Dither::Threshold(2, size, colors, x, 13)));
    }
  }
}

}  // namespace

// Gaussian blur against a naive one that moves single pixels: kernels, all depths and layouts, areas at every edge, in
// place and between images, repeat mode, hooks, undo; line filters and the shift of a gray line.

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <climits>
#include <cmath>
#include <functional>
#include <numeric>

#include "qel/lines/gaussian_plain.h"
#include "support/pixels.h"
#include "support/probe.h"
#include "support/targets.h"

namespace {

using test::Keeping;
using test::NaiveImage;

struct Blurred : test::Probe {
  using PQel::xDo24bitGaussianFilter, PQel::xDoGrayGaussianFilter, PQel::xGetGaussianFilterMatrix;
};

std::vector<int> Weights(double sigma) {
  std::vector<int> weights(256);
  weights.resize(static_cast<std::size_t>(Blurred::xGetGaussianFilterMatrix(weights.data(), sigma)));
  return weights;
}

/// A pixel as the blur sees it: a gray level, or blue, green, red.
using Color = std::array<int, 3>;

Color ReadColor(PQel &image, bool gray, long x, long y) {
  unsigned char c[3] = {};
  if (gray)
    image.GetGrayHorLine(x, x, y, c, nullptr);
  else
    image.Get24bitHorLine(x, x, y, c, nullptr);
  return {c[0], c[1], c[2]};
}

void WriteColor(PQel &image, long x, long y, const Color &color) {
  unsigned char c[3];
  for (int k = 0; k < 3; ++k) c[k] = static_cast<unsigned char>(color[static_cast<std::size_t>(k)]);
  image.GetBitCount() <= 8 ? image.PutGrayHorLine(x, x, y, c) : image.Put24bitHorLine(x, x, y, c);
}

/// Two passes over an area, pixel by pixel; in repeat mode lines wrap round.
void NaiveBlur(PQel &source, PQel &target, double sigma, const RECT &area) {
  const bool gray = target.GetBitCount() <= 8;
  const std::vector<int> weights = Weights(sigma);
  const int h = static_cast<int>(weights.size() / 2), divisor = std::accumulate(weights.begin(), weights.end(), 0);
  const auto inside = [&](long i, long size) {
    return target.IsEnableRepeat() ? (i % size + size) % size : std::clamp(i, 0L, size - 1);
  };
  const auto filtered = [&](const std::function<Color(long)> &at) {
    Color sum{};
    for (int k = -h; k <= h; ++k)
      for (std::size_t c = 0; c < 3; ++c) sum[c] += weights[static_cast<std::size_t>(k + h)] * at(k)[c];
    for (int &v : sum) v /= divisor;
    return sum;
  };
  for (long y = area.bottom - 1; y >= area.top; --y) {
    std::vector<Color> row;
    for (long x = area.left; x < area.right; ++x)
      row.push_back(
          filtered([&](long k) { return ReadColor(source, gray, inside(x + k, source.GetImageWidth()), y); }));
    for (long x = area.left; x < area.right; ++x)
      WriteColor(target, x, y, row[static_cast<std::size_t>(x - area.left)]);
  }
  for (long x = area.left; x < area.right; ++x) {
    std::vector<Color> column;
    for (long y = area.top; y < area.bottom; ++y)
      column.push_back(
          filtered([&](long k) { return ReadColor(target, gray, x, inside(y + k, target.GetImageHeight())); }));
    for (long y = area.top; y < area.bottom; ++y)
      WriteColor(target, x, y, column[static_cast<std::size_t>(y - area.top)]);
  }
}

class Blur : public testing::Test {
 protected:
  std::mt19937 random{63};

  NaiveImage Fill(PQel &image, int type, long w, long h, const Keeping &keeping) {
    image.EnableBlock(0, 8);
    EXPECT_TRUE(test::Create(image, type, w, h, keeping));
    NaiveImage naive(w, h, image.GetBitCount());
    naive.Randomise(random);
    naive.Store(image);
    return naive;
  }

  static NaiveImage Stored(PQel &image) {
    NaiveImage naive(image.GetImageWidth(), image.GetImageHeight(), image.GetBitCount());
    naive.Load(image);
    return naive;
  }
};

TEST_F(Blur, Kernels) {
  EXPECT_EQ(Weights(0.05), std::vector<int>{1});
  EXPECT_EQ(Weights(-3), std::vector<int>{1});
  EXPECT_EQ(Weights(0.1), std::vector<int>{1024});
  EXPECT_EQ(Weights(0.5), (std::vector<int>{109, 805, 109}));
  EXPECT_EQ(Weights(1), (std::vector<int>{5, 55, 248, 409, 248, 55, 5}));
  PQel image;
  for (const auto &[sigma, width] : {std::pair{0.05, 1},
                                     {0.1, 1},
                                     {1.0, 7},
                                     {2.0, 13},
                                     {10.0, 47},
                                     {40.0, 121},
                                     {1e300, 121},
                                     {HUGE_VAL, 0},
                                     {std::nan(""), 0}})
    EXPECT_EQ(image.GetGaussianFilterWidth(sigma), width) << sigma;
}

TEST_F(Blur, EveryDepthLayoutAndArea) {
  const RECT areas[] = {{0, 0, 23, 19},  {0, 3, 5, 19},   {7, 2, 20, 17},
                        {22, 0, 23, 19}, {4, 18, 23, 19}, {9, 9, 10, 10}};
  const double sigmas[] = {0.05, 0.1, 0.5, 1, 2.3, 5, 10, 40};
  int round = 0;
  for (const int type : {0, 1, 4, 5, 6, 7, 8, 9}) {
    for (const Keeping &keeping : test::AllKeepings()) {
      for (RECT area : areas) {
        const bool inPlace = round % 3 == 0, watched = round % 5 == 0;
        const double sigma = sigmas[round++ % std::size(sigmas)];
        Blurred source, target, expected;
        const int sourceType = type == 0 || type == 4 || type == 5 ? std::array{0, 2, 3, 4, 5}[round % 5U] : round % 10;
        Fill(source, sourceType, 25, 21, {1, 0, false});
        const NaiveImage before = Fill(target, type, 23, 19, keeping);
        ASSERT_TRUE(expected.GenerateImage(&target, 1, 0, 0));
        NaiveBlur(inPlace ? expected : source, expected, sigma, area);
        ASSERT_TRUE(target.EnableUndo(1));
        target.Validate();
        if (watched) target.SetHookProc([](PQel *, int, long, long, long, long, unsigned char *) {});
        ASSERT_EQ(target.GaussianBlur(inPlace ? nullptr : &source, sigma, &area), 1);
        target.SetHookProc(nullptr);
        ASSERT_EQ(Stored(target), Stored(expected)) << "type " << type << " sigma " << sigma << " round " << round;
        EXPECT_EQ(target.m_rcInvalid, CRect(area));
        ASSERT_EQ(target.DoUndo(), 1);
        ASSERT_EQ(Stored(target), before);
      }
    }
  }
}

TEST_F(Blur, RepeatingImagesWrapRound) {
  for (const int type : {1, 5}) {
    for (const double sigma : {1.0, 10.0}) {
      Blurred image, expected;
      Fill(image, type, 13, 11, {1, 0, false});
      ASSERT_TRUE(expected.GenerateImage(&image, 1, 0, 0));
      RECT area = {2, 0, 13, 9};
      image.SetRepeat(0, 0);
      expected.SetRepeat(0, 0);
      NaiveBlur(expected, expected, sigma, area);
      ASSERT_EQ(image.GaussianBlur(nullptr, sigma, &area), 1);
      ASSERT_EQ(Stored(image), Stored(expected));
    }
  }
}

TEST_F(Blur, TheHookHearsOfEveryLine) {
  static std::vector<std::array<long, 5>> calls;
  calls.clear();
  Blurred image;
  Fill(image, 5, 5, 4, {1, 0, false});
  image.SetHookProc([](PQel *, int event, long x0, long y0, long x1, long y1, unsigned char *) {
    calls.push_back({event, x0, y0, x1, y1});
  });
  RECT area = {1, 1, 3, 3};
  ASSERT_EQ(image.GaussianBlur(nullptr, 0.5, &area), 1);
  image.SetHookProc(nullptr);
  const std::vector<std::array<long, 5>> expected = {{3, 0, 2, 3, 2}, {4, 1, 2, 2, 2}, {3, 0, 1, 3, 1},
                                                     {4, 1, 1, 2, 1}, {3, 1, 0, 1, 3}, {4, 1, 1, 1, 2},
                                                     {3, 2, 0, 2, 3}, {4, 2, 1, 2, 2}};
  EXPECT_EQ(calls, expected);
}

TEST_F(Blur, KnownPictures) {
  Blurred image;
  ASSERT_TRUE(test::Create(image, 5, 9, 9, {1, 0, false}));
  image.Clear(0);
  image.SetPixel(4, 4, 255);
  ASSERT_EQ(image.GaussianBlur(nullptr, 1, nullptr), 1);
  NaiveImage spot = Stored(image);
  EXPECT_EQ(spot.At(4, 4), 40U);
  EXPECT_EQ(spot.At(4, 5), 24U);
  EXPECT_EQ(spot.At(3, 3), 14U);
  EXPECT_EQ(spot.At(2, 4), 5U);
  EXPECT_EQ(spot.At(6, 5), 3U);
  for (const int level : {0, 1, 77, 254, 255}) {
    image.Clear(level);
    for (const double sigma : {0.3, 1.0, 3.0, 11.0}) ASSERT_EQ(image.GaussianBlur(nullptr, sigma, nullptr), 1);
    const NaiveImage even = Stored(image);
    for (const auto p : even.pixels) ASSERT_EQ(p, static_cast<std::uint64_t>(level));
  }
}

TEST_F(Blur, RefusesWhatIsNotThere) {
  Blurred image, smaller, deep, palette, empty;
  const NaiveImage before = Fill(image, 5, 20, 10, {1, 0, false});
  Fill(smaller, 5, 19, 10, {1, 0, false});
  Fill(deep, 1, 20, 10, {1, 0, false});
  for (const double sigma : {0.0, -1.0, std::nan(""), HUGE_VAL})
    EXPECT_EQ(image.GaussianBlur(nullptr, sigma, nullptr), 0);
  for (RECT area : {RECT{0, 0, 21, 10}, RECT{-1, 0, 5, 5}, RECT{3, 3, 3, 8}, RECT{5, 5, 4, 8}, RECT{0, 0, 20, INT_MAX},
                    RECT{INT_MIN, INT_MIN, INT_MAX, INT_MAX}})
    EXPECT_EQ(image.GaussianBlur(nullptr, 1, &area), 0);
  EXPECT_EQ(image.GaussianBlur(&smaller, 1, nullptr), 0);
  EXPECT_EQ(image.GaussianBlur(&deep, 1, nullptr), 0);
  EXPECT_EQ(image.GaussianBlur(&empty, 1, nullptr), 0);
  EXPECT_EQ(empty.GaussianBlur(&image, 1, nullptr), 0);
  EXPECT_EQ(Stored(image), before);
  // a palette takes no gray levels: the image stays as it is
  const NaiveImage indices = Fill(palette, 3, 20, 10, {1, 0, false});
  EXPECT_EQ(palette.GaussianBlur(&image, 2, nullptr), 1);
  EXPECT_EQ(Stored(palette), indices);
}

TEST_F(Blur, LineFiltersWithEdges) {
  for (const int channels : {1, 3}) {
    for (const long n : {1L, 3L, 6L, 13L}) {
      std::vector<int> table(static_cast<std::size_t>(n) * 256);
      for (int &v : table) v = static_cast<int>(random() % 100000);
      for (long count = 1; count < 30; ++count) {
        std::vector<BYTE> in(static_cast<std::size_t>(count * channels)), out(in.size());
        for (auto &v : in) v = static_cast<BYTE>(random());
        const auto filter = channels == 1 ? Blurred::xDoGrayGaussianFilter : Blurred::xDo24bitGaussianFilter;
        filter(out.data(), in.data(), count, table.data(), 5003, n);
        for (long i = 0; i < count; ++i) {
          for (long c = 0; c < channels; ++c) {
            long sum = 0;
            for (long k = 0; k < n; ++k) {
              const long at = std::clamp(i - n / 2 + k, 0L, count - 1);
              sum += table[static_cast<std::size_t>(256 * k + in[static_cast<std::size_t>(at * channels + c)])];
            }
            ASSERT_EQ(out[static_cast<std::size_t>(i * channels + c)], static_cast<BYTE>(sum / 5003));
          }
        }
      }
    }
  }
}

// Quick filters on every vector width --------------------------------------------------------------------------------

using Line = std::vector<unsigned char>;

TEST_F(Blur, QuickFiltersLikePlainOnes) {
  namespace lines = qel::lines;
  const auto noise = [this](long n) {
    Line line(static_cast<std::size_t>(n));
    for (auto &v : line) v = static_cast<unsigned char>(random() % 4 ? random() : 255);
    return line;
  };
  test::ForEachTarget([&] {
    for (long count = 0; count < 3000; count += count < 150 ? 1 : 1201) {
      const int n = count % 5 ? 2 * static_cast<int>(random() % 61) + 1 : 121;
      const long stride = count % 2 ? 3 : 1;
      std::vector<int> weights(static_cast<std::size_t>(n));
      for (int &w : weights) w = static_cast<int>(random() % static_cast<unsigned>(4096 / n + 1));
      weights[0] += std::accumulate(weights.begin(), weights.end(), 0) == 0;
      lines::SmoothKernel kernel;
      lines::MakeKernel(kernel, weights.data(), n);

      const Line in = noise(count + (n - 1) * stride);
      Line out(static_cast<std::size_t>(count)), expected = out;
      lines::SmoothRow(out.data(), in.data(), count, stride, kernel);
      lines::plain::SmoothRow(expected.data(), in.data(), count, stride, kernel);
      ASSERT_EQ(out, expected) << "row of " << count << ", " << n << " taps";

      std::vector<Line> pairs, rows(4, out), expectedRows = rows;
      std::vector<unsigned char *> pairPointers, rowPointers, expectedPointers;
      for (int p = 0; p < kernel.PairsAtOnce(); ++p) {
        const Line a = noise(count), b = noise(count);
        pairs.emplace_back(static_cast<std::size_t>(2 * count));
        lines::ZipRows(pairs.back().data(), a.data(), b.data(), count);
        for (std::size_t i = 0; i < a.size(); ++i)
          ASSERT_TRUE(pairs.back()[2 * i] == a[i] && pairs.back()[2 * i + 1] == b[i]);
      }
      for (auto &pair : pairs) pairPointers.push_back(pair.data());
      for (auto &row : rows) rowPointers.push_back(row.data());
      for (auto &row : expectedRows) expectedPointers.push_back(row.data());
      lines::SmoothColumns(rowPointers.data(), pairPointers.data(), count, kernel);
      lines::plain::SmoothColumns(expectedPointers.data(), pairPointers.data(), 0, count, kernel);
      ASSERT_EQ(rows, expectedRows) << "columns of " << count << ", " << n << " taps";
    }
  });
}

TEST_F(Blur, QuotientsAreExactForEveryDivisor) {
  Line in, expected;
  for (int q = 1; q < 256; ++q) {  // sums of q d - 1 and q d
    const auto v = static_cast<unsigned char>(q), less = static_cast<unsigned char>(q - 1);
    in.insert(in.end(), {less, v, v, v});
    expected.insert(expected.end(), {less, v});
  }
  test::ForEachTarget([&] {
    for (int d = 3; d <= 4096; ++d) {
      const int weights[] = {1, d - 2, 1};
      qel::lines::SmoothKernel kernel;
      qel::lines::MakeKernel(kernel, weights, 3);
      Line out(in.size() - 2);
      qel::lines::SmoothRow(out.data(), in.data(), static_cast<long>(out.size()), 1, kernel);
      for (std::size_t i = 0; i < expected.size(); ++i) ASSERT_EQ(out[i / 2 * 4 + i % 2], expected[i]) << d;
    }
  });
}

TEST_F(Blur, SlantMovesByAPartOfAPixel) {
  std::vector<BYTE> line = {10, 250, 0, 7}, same = line, moved = line;
  for (const int shift : {0, 257, INT_MIN}) PQel::SlantGrayLine(shift, same.data(), 4);
  EXPECT_EQ(same, line);
  PQel::SlantGrayLine(-256, same.data(), 4);
  EXPECT_EQ(same, line);
  PQel::SlantGrayLine(64, moved.data(), 4);
  // (64 x 250 + 192 x 10 + 128) / 256 = 70, remainder 0; (64 x 0 + 192 x 250 + 128) / 256 = 188, and so on
  EXPECT_EQ(moved, (std::vector<BYTE>{10, 70, 188, 1}));
  PQel::SlantGrayLine(100, line.data(), 0);
  EXPECT_EQ(line[0], 10);
}

}  // namespace

// Rescaling against sums over positions: destination pixel i of m covers i n to (i + 1) n of a source whose pixels are
// m long, or lies between two source pixels at (i - m / 2n) n / m. All pairs of types, both layouts, every vector
// width.

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <functional>

#include "qel/lines/rescale.h"
#include "support/pixels.h"
#include "support/targets.h"

namespace {

using Line = std::vector<unsigned char>;
using test::ForEachTarget;
using test::GetPacked;
using test::Keeping;
using test::NaiveImage;

class Opened : public PQel {
 public:
  using PQel::m_bRepeat, PQel::xBuildZoomInTable, PQel::xBuildZoomOutTable, PQel::xBuildZoomTable;
};

/// A picture of working pixels: gray levels or 24-bit pixels.
struct Plane {
  long width, height, channels;
  Line bytes;
  Plane(long w, long h, long c) : width(w), height(h), channels(c), bytes(static_cast<std::size_t>(w * h * c)) {}
  unsigned char &At(long x, long y, long c) { return bytes[static_cast<std::size_t>((y * width + x) * channels + c)]; }
};

/// Value i of m out of n values; `half` 1 rounds to nearest, 0 truncates.
int Resample(const std::function<int(long)> &value, long n, long m, long i, long half) {
  if (n == m) return value(i);
  if (n > m) {
    long sum = half * (n / 2);
    for (long k = i * n / m; k < n && k * m < (i + 1) * n; ++k)
      sum += value(k) * (std::min((k + 1) * m, (i + 1) * n) - std::max(k * m, i * n));
    return static_cast<int>(sum / n);
  }
  const long at = std::clamp((i - m / (2 * n)) * n, 0L, (n - 1) * m), k = at / m;
  long w2 = at % m;
  if (m > 6 * n) w2 = std::clamp((8 * w2 - m) / 6, 0L, m);
  return static_cast<int>((value(k) * (m - w2) + (w2 > 0 ? value(k + 1) * w2 : 0) + half * (m / 2)) / m);
}

Plane Resample(Plane from, long width, long height) {
  Plane rows(width, from.height, from.channels), to(width, height, from.channels);
  for (long c = 0; c < from.channels; ++c) {
    for (long y = 0; y < from.height; ++y)
      for (long x = 0; x < width; ++x)
        rows.At(x, y, c) =
            static_cast<unsigned char>(Resample([&](long k) { return from.At(k, y, c); }, from.width, width, x, 1));
    for (long x = 0; x < width; ++x)
      for (long y = 0; y < height; ++y)
        to.At(x, y, c) =
            static_cast<unsigned char>(Resample([&](long k) { return rows.At(x, k, c); }, from.height, height, y, 0));
  }
  return to;
}

class Rescale : public testing::Test {
 protected:
  std::mt19937 random{77};
  long Between(long lo, long hi) { return lo + static_cast<long>(random() % static_cast<unsigned long>(hi - lo + 1)); }

  /// A number of any magnitude below 2^32.
  std::uint32_t SomeWord() { return static_cast<std::uint32_t>(random() >> random() % 32); }

  void Fill(PQel &image, int type, long w, long h, const Keeping &keeping) {
    ASSERT_TRUE(test::Create(image, type, w, h, keeping));
    NaiveImage naive(w, h, PQel::GetBitCount(type));
    naive.Randomise(random);
    naive.Store(image);
  }

  static NaiveImage Stored(PQel &image) {
    NaiveImage naive(image.GetImageWidth(), image.GetImageHeight(), image.GetBitCount());
    naive.Load(image);
    return naive;
  }

  static Plane Read(PQel &image, long channels) {
    Plane plane(image.GetImageWidth(), image.GetImageHeight(), channels);
    for (long y = 0; y < plane.height; ++y) {
      unsigned char *const row = &plane.At(0, y, 0);
      EXPECT_TRUE(channels == 3 ? image.Get24bitHorLine(0, plane.width - 1, y, row, nullptr)
                                : image.GetGrayHorLine(0, plane.width - 1, y, row, nullptr));
    }
    return plane;
  }

  /// What a type makes of working pixels.
  static NaiveImage Written(Plane plane, int type) {
    PQel image;
    EXPECT_TRUE(test::Create(image, type, plane.width, plane.height, {1, 0, false}));
    for (long y = 0; y < plane.height; ++y) {
      unsigned char *const row = &plane.At(0, y, 0);
      EXPECT_TRUE(plane.channels == 3 ? image.Put24bitHorLine(0, plane.width - 1, y, row)
                                      : image.PutGrayHorLine(0, plane.width - 1, y, row));
    }
    return Stored(image);
  }

  void Check(int from, int to, long w, long h, long width, long height, const Keeping &keeping) {
    PQel source, target;
    Fill(source, from, w, h, keeping);
    const NaiveImage before = Stored(source);
    ASSERT_TRUE(test::Create(target, to, width, height, keeping));
    ASSERT_EQ(target.RescaleImage(&source), 1);
    const Plane expected = Resample(Read(source, PQel::GetBitCount(to) > 8 ? 3 : 1), width, height);
    ASSERT_EQ(Stored(target), Written(expected, to))
        << "types " << from << " to " << to << ", " << w << " x " << h << " to " << width << " x " << height;
    ASSERT_EQ(Stored(source), before);
  }
};

constexpr Keeping kKeepings[] = {{1, 0, false}, {4, 1, true}};

// Interpolation and area averages ------------------------------------------------------------------------------------

TEST_F(Rescale, EveryAdmittedPair) {
  std::vector<std::pair<int, int>> pairs = {{0, 0}, {4, 4}, {5, 5}, {6, 6}, {7, 7}, {8, 8}, {9, 9}, {0, 5}};
  for (int from = 0; from <= 9; ++from) pairs.push_back({from, 1});
  for (const auto &[from, to] : pairs)
    for (const Keeping &keeping : kKeepings)
      for (int round = 0; round < 12; ++round) {
        const long w = Between(1, 40), h = Between(1, 20), width = Between(1, 40), height = Between(1, 20);
        if (from == to && w == width && h == height) continue;
        Check(from, to, w, h, width, height, keeping);
        if (HasFatalFailure()) return;
      }
}

TEST_F(Rescale, EveryShapeOnEveryTarget) {
  constexpr long kSides[][2] = {{1, 1},    {1, 9},   {9, 1},     {2, 13},    {3, 19},   {100, 37},
                                {37, 100}, {64, 32}, {63, 21},   {120, 30},  {119, 25}, {90, 18},
                                {91, 7},   {200, 3}, {130, 129}, {129, 130}, {33, 33}};
  ForEachTarget([&] {
    for (const int type : {5, 1})
      for (const auto &x : kSides)
        for (int round = 0; round < 4; ++round) {
          const auto &y = kSides[Between(0, std::size(kSides) - 1)];
          if (x[0] == x[1] && y[0] == y[1]) continue;
          Check(type, type, x[0], y[0], x[1], y[1], kKeepings[0]);
          if (HasFatalFailure()) return;
        }
  });
}

TEST_F(Rescale, LongLines) {
  // beyond 16-bit weights, beyond exact quotients in single precision, and next to both limits
  constexpr long kLengths[][2] = {{40000, 33000}, {32767, 40},    {32800, 32767}, {16385, 5000},
                                  {16384, 5000},  {3, 16385},     {20000, 32768}, {300000, 2},
                                  {2, 70000},     {70000, 70001}, {16384, 16383}};
  for (const auto &[n, m] : kLengths)
    for (const int type : {5, 1}) {
      Check(type, type, n, 2, m, 2, kKeepings[0]);
      Check(type, type, 2, n, 2, m, kKeepings[0]);
      Check(type, type, n, 3, m, 5, kKeepings[0]);
      if (HasFatalFailure()) return;
    }
}

TEST_F(Rescale, SumsUpToTheLastOf32Bits) {
  PQel source, target;
  ASSERT_TRUE(test::Create(target, 5, 3, 1, kKeepings[0]));
  for (const long n : {qel::lines::kMaxAveraged, qel::lines::kMaxAveraged + 1}) {
    ASSERT_TRUE(test::Create(source, 0, n, 1, kKeepings[0]));
    source.Clear(1);
    target.Clear(7);
    const bool fits = n == qel::lines::kMaxAveraged;
    EXPECT_EQ(target.RescaleImage(&source), fits ? 1 : 0);
    for (long x = 0; x < 3; ++x) EXPECT_EQ(target.GetPixel(x, 0, nullptr), fits ? 255u : 7u);
  }
}

TEST_F(Rescale, EqualSizesConvertOrCopy) {
  for (int from = 0; from <= 9; ++from) Check(from, 1, 17, 5, 17, 5, kKeepings[1]);
  PQel source, target;
  Fill(source, 3, 9, 4, kKeepings[0]);
  source.InversePalette();
  ASSERT_TRUE(test::Create(target, 3, 9, 4, kKeepings[1]));
  EXPECT_EQ(target.RescaleImage(&source), 1);
  EXPECT_EQ(Stored(target), Stored(source));
  EXPECT_EQ(source.RescaleImage(&source), 1);
  EXPECT_EQ(target.GetPixelBGR(3, 2), source.GetPixelBGR(3, 2));
}

TEST_F(Rescale, RefusesOtherPairs) {
  PQel empty, source, target;
  for (int from = 0; from <= 9; ++from)
    for (int to = 0; to <= 9; ++to) {
      if (from == to || to == 1 || (to == 5 && from == 0)) continue;
      Fill(source, from, 6, 5, kKeepings[0]);
      Fill(target, to, 6, 5, kKeepings[0]);
      const NaiveImage before = Stored(target);
      EXPECT_EQ(target.RescaleImage(&source), 0) << from << " to " << to;
      EXPECT_EQ(Stored(target), before);
    }
  EXPECT_EQ(target.RescaleImage(nullptr), 0);
  EXPECT_EQ(target.RescaleImage(&empty), 0);
  EXPECT_EQ(empty.RescaleImage(&target), 0);
  EXPECT_EQ(empty.RescaleImage(&empty), 0);
}

std::vector<std::pair<int, long>> g_events;

TEST_F(Rescale, ReadsEachRowOnceAndInOrder) {
  using Events = std::vector<std::pair<int, long>>;  // 3 read, 4 written; the row
  const std::pair<long, Events> kRows[] = {{2, {{3, 0}, {3, 1}, {4, 0}, {3, 2}, {4, 1}}},
                                           {3, {{3, 2}, {4, 2}, {3, 1}, {4, 1}, {3, 0}, {4, 0}}},
                                           {5, {{3, 0}, {3, 1}, {4, 0}, {4, 1}, {3, 2}, {4, 2}, {4, 3}, {4, 4}}}};
  const auto Note = [](PQel *, int event, long, long y0, long, long, unsigned char *) {
    g_events.push_back({event, y0});
  };
  for (const long width : {3L, 8L, 13L})
    for (const auto &[height, events] : kRows) {
      if (width == 8 && height == 3) continue;
      PQel source, target;
      Fill(source, 5, 8, 3, kKeepings[0]);
      source.SetRepeat(3, 2);  // rows are read as the plane shows them
      ASSERT_TRUE(test::Create(target, 5, width, height, kKeepings[0]));
      const Plane expected = Resample(Read(source, 1), width, height);
      g_events.clear();
      target.SetHookProc(Note);
      ASSERT_EQ(target.RescaleImage(&source), 1);
      EXPECT_EQ(Stored(target), Written(expected, 5));
      source.EnableRepeat(0);
      source.SetHookProc(Note);
      g_events.clear();
      ASSERT_EQ(target.RescaleImage(&source), 1);
      EXPECT_EQ(g_events, events) << width << " x " << height;
      source.SetHookProc(nullptr);
      target.SetHookProc(nullptr);
    }
}

// Nearest neighbour --------------------------------------------------------------------------------------------------

TEST_F(Rescale, PalettesTakeTheNearestPixel) {
  const auto nearest = [](long n, long m, long i) { return m == 1 ? 0 : ((m - 1) / 2 + i * (n - 1)) / (m - 1); };
  for (const int type : {2, 3})
    for (const Keeping &keeping : kKeepings)
      for (int round = 0; round < 60; ++round) {
        PQel source, target;
        const long w = Between(1, 30), h = Between(1, 9), width = Between(1, 30), height = Between(1, 9);
        Fill(source, type, w, h, keeping);
        ASSERT_TRUE(test::Create(target, type, width, height, keeping));
        ASSERT_EQ(target.RescaleImage(&source), 1);
        NaiveImage from = Stored(source), to(width, height, PQel::GetBitCount(type));
        for (long y = 0; y < height; ++y)
          for (long x = 0; x < width; ++x) to.At(x, y) = from.At(nearest(w, width, x), nearest(h, height, y));
        ASSERT_EQ(Stored(target), to) << w << " x " << h << " to " << width << " x " << height;
      }
}

// Tables and single lines --------------------------------------------------------------------------------------------

TEST_F(Rescale, ZoomTables) {
  Opened image;
  using Ints = std::vector<int>;
  const auto Tables = [&](long n, long m, std::size_t entries) {
    std::vector<Ints> t(3, Ints(entries + 1, -7));
    image.xBuildZoomTable(n, m, t[0].data(), t[1].data(), t[2].data());
    for (auto &column : t) {
      EXPECT_EQ(column.back(), -7);  // nothing behind the table
      column.pop_back();
    }
    return t;
  };
  EXPECT_EQ(Tables(3, 2, 4), (std::vector<Ints>{{0, 1, 0, 1}, {2, 1, 1, 2}, Ints(4, -7)}));
  EXPECT_EQ(Tables(4, 2, 5), (std::vector<Ints>{{0, 1, 0, 0, 1}, {2, 2, 0, 2, 2}, Ints(5, -7)}));
  EXPECT_EQ(Tables(2, 5, 5), (std::vector<Ints>{{0, 0, 0, 1, 0}, {5, 5, 3, 1, 5}, {0, 0, 2, 4, 0}}));
  EXPECT_EQ(Tables(1, 3, 3), (std::vector<Ints>{{0, 0, 0}, {3, 3, 3}, {0, 0, 0}}));
  const auto steep = Tables(2, 20, 20);
  for (const auto &[i, w2] : {std::pair{5, 0}, {6, 0}, {7, 2}, {10, 10}, {13, 18}, {14, 20}, {15, 0}})
    EXPECT_EQ(steep[2][static_cast<std::size_t>(i)], w2) << i;
  EXPECT_EQ(steep[0][14], 1);
  for (const auto &[n, m] : {std::pair{5L, 5L}, {0L, 5L}, {5L, 0L}, {-1L, 3L}, {3L, LONG_MAX}})
    EXPECT_EQ(Tables(n, m, 1)[0][0], -7);
  image.xBuildZoomTable(3, 2, nullptr, nullptr, nullptr);
  image.xBuildZoomTable(2, 3, nullptr, nullptr, nullptr);
}

TEST_F(Rescale, SingleLines) {
  Opened image;
  for (const int type : {0, 1, 2, 3, 4, 5, 6})
    for (const int bits : {8, 24})
      for (const long m : {1L, 5L, 23L, 24L, 80L, 200L}) {
        Fill(image, type, 23, 3, kKeepings[0]);
        std::vector<int> map(400), w1(400), w2(400);
        image.xBuildZoomTable(23, m, map.data(), w1.data(), w2.data());
        const bool rgb = PQel::GetBitCount(type) > 8 || bits == 24, indices = !rgb && (type == 2 || type == 3);
        const long channels = rgb ? 3 : 1;
        Line line(static_cast<std::size_t>(indices ? test::PackedBytes(PQel::GetBitCount(type), m) : m * channels));
        ASSERT_EQ(image.GetRescaleLine(m, 1, line.data(), map.data(), w1.data(), w2.data(), bits), 1);
        if (indices) {
          for (long i = 0; i < m; ++i)
            ASSERT_EQ(GetPacked(line.data(), PQel::GetBitCount(type), i),
                      Stored(image).At(m == 1 ? 0 : ((m - 1) / 2 + i * 22) / (m - 1), 1));
        } else {
          Plane rows = Resample(Read(image, channels), m, 3);
          ASSERT_TRUE(std::equal(line.begin(), line.end(), &rows.At(0, 1, 0)));
        }
        const Line before = line;
        EXPECT_EQ(image.GetRescaleLine(m, 3, line.data(), map.data(), w1.data(), w2.data(), bits), 0);
        EXPECT_EQ(image.GetRescaleLine(m, -1, line.data(), map.data(), w1.data(), w2.data(), bits), 0);
        EXPECT_EQ(image.GetRescaleLine(0, 0, line.data(), map.data(), w1.data(), w2.data(), bits), 0);
        if (m != 23 && !indices) EXPECT_EQ(image.GetRescaleLine(m, 0, line.data(), nullptr, nullptr, nullptr, bits), 0);
        EXPECT_EQ(line, before);
        EXPECT_EQ(image.GetRescaleLine(m, 0, nullptr, map.data(), w1.data(), w2.data(), bits), 0);
      }
}

// Public lines --------------------------------------------------------------------------------------------------------

TEST_F(Rescale, AveragedLines) {
  Opened image;
  std::vector<int> map(60), weights(60);
  image.xBuildZoomOutTable(3, 2, map.data(), weights.data());
  const Line gray = {30, 60, 90}, colours = {30, 0, 255, 60, 1, 255, 90, 2, 255};
  Line out(2), out24(6);
  ZoomOutGrayLine(gray.data(), out.data(), map.data(), weights.data(), 3, 0);
  EXPECT_EQ(out, (Line{40, 80}));
  ZoomOut24bitLine(colours.data(), out24.data(), map.data(), weights.data(), 3, 1);
  EXPECT_EQ(out24, (Line{40, 0, 255, 80, 2, 255}));
  ZoomOutGrayLine(nullptr, out.data(), map.data(), weights.data(), 3, 0);
  ZoomOutGrayLine(gray.data(), out.data(), nullptr, weights.data(), 3, 0);
  ZoomOutGrayLine(gray.data(), out.data(), map.data(), weights.data(), 0, 0);
  EXPECT_EQ(out, (Line{40, 80}));
}

TEST_F(Rescale, SumsQuotientsAndBlends) {
  ForEachTarget([&] {
    for (long n = 0; n <= 140; ++n) {
      Line a(static_cast<std::size_t>(n)), b(a.size()), out(a.size());
      std::vector<std::uint32_t> sums(a.size());
      for (auto *line : {&a, &b})
        for (auto &v : *line) v = static_cast<unsigned char>(random());
      for (auto &v : sums) v = SomeWord();
      const auto before = sums;
      const auto w = static_cast<std::int32_t>(random());
      AccumulateLine(sums.data(), a.data(), n, w);
      for (std::size_t i = 0; i < a.size(); ++i) ASSERT_EQ(sums[i], before[i] + a[i] * static_cast<std::uint32_t>(w));
      for (const std::uint32_t d : {1u, 2u, 3u, 4u, 255u, 1u << 31, UINT_MAX, SomeWord() | 1}) {
        DivideLine(out.data(), sums.data(), n, d);
        for (std::size_t i = 0; i < a.size(); ++i) ASSERT_EQ(out[i], sums[i] / d % 256) << sums[i] << " / " << d;
      }
      for (const long d : {1L, 7L, 16384L, 16385L, 32767L, 32768L, 1L << 30, Between(1, 40000)}) {
        for (const long w2 : {0L, d, d / 2, d > 1 ? 1L : 0L, Between(0, d)}) {
          BlendLines(out.data(), a.data(), b.data(), static_cast<std::int32_t>(d), static_cast<std::int32_t>(d - w2),
                     static_cast<std::int32_t>(w2), n);
          for (std::size_t i = 0; i < a.size(); ++i)
            ASSERT_EQ(out[i], (a[i] * (d - w2) + b[i] * w2) / d) << d << ", " << w2;
        }
      }
      BlendLines(out.data(), a.data(), b.data(), -3, 5, -9, n);  // weights that are no shares
      for (std::size_t i = 0; i < a.size(); ++i) ASSERT_EQ(out[i], (a[i] * 5 - b[i] * 9) / -3 & 255);
    }
  });
  unsigned char byte = 9;
  std::uint32_t sum = 8;
  AccumulateLine(nullptr, &byte, 1, 1);
  AccumulateLine(&sum, nullptr, 1, 1);
  AccumulateLine(&sum, &byte, -1, 1);
  DivideLine(&byte, &sum, 1, 0);
  DivideLine(nullptr, &sum, 1, 1);
  DivideLine(&byte, nullptr, 1, 1);
  BlendLines(&byte, &byte, &byte, 0, 1, 1, 1);
  BlendLines(&byte, nullptr, &byte, 1, 1, 1, 1);
  EXPECT_EQ(byte, 9);
  EXPECT_EQ(sum, 8u);
}

/// Next to every multiple of every divisor: where a quotient from single precision or a rounded reciprocal would first
/// go wrong.
TEST_F(Rescale, QuotientsAtTheirEdges) {
  ForEachTarget([&] {
    Line a(256), b(256), out(256);
    for (unsigned i = 0; i < 256; ++i)
      a[i] = static_cast<unsigned char>(i), b[i] = static_cast<unsigned char>(random());
    std::vector<std::uint32_t> sums(512);
    Line quotients(512);
    for (std::uint32_t d = 1; d <= 40000; d += d < 300 ? 1 : 37) {
      for (std::uint32_t q = 0; q < 256; ++q) sums[2 * q] = q * d, sums[2 * q + 1] = q * d + d - 1;
      DivideLine(quotients.data(), sums.data(), 512, d);
      for (std::uint32_t i = 0; i < 512; ++i) ASSERT_EQ(quotients[i], i / 2) << d;
      // a x (d - 1) + b spans the remainders
      BlendLines(out.data(), a.data(), b.data(), static_cast<std::int32_t>(d), static_cast<std::int32_t>(d - 1), 1,
                 256);
      for (std::uint32_t i = 0; i < 256; ++i) ASSERT_EQ(out[i], (a[i] * (d - 1) + b[i]) / d) << d;
    }
  });
}

// Masks --------------------------------------------------------------------------------------------------------------

TEST_F(Rescale, MaskedPixelsDoNotBleed) {
  for (const int type : {1, 3, 5, 8})
    for (const int maskType : {5, 0})
      for (int round = 0; round < 12; ++round) {
        PQel source, mask, target;
        const long w = Between(1, 30), h = Between(1, 12), width = Between(1, 30), height = Between(1, 12);
        if (w == width && h == height) continue;
        Fill(source, type, w, h, kKeepings[round % 2]);
        Fill(mask, maskType, w, h, kKeepings[0]);
        if (maskType == 5)
          for (int i = 0; i < 60; ++i) mask.SetPixel(Between(0, w - 1), Between(0, h - 1), 255);
        const NaiveImage before = Stored(source);
        Plane colours = Read(source, 3), levels = Read(mask, 1);
        for (long y = 0; y < h; ++y)
          for (long x = 0; x < w; ++x) {
            unsigned char &level = levels.At(x, y, 0);
            level = level == 255 ? 255 : 0;
            if (level == 255) std::fill_n(&colours.At(x, y, 0), 3, static_cast<unsigned char>(0));
          }
        ASSERT_EQ(target.Rescale24bit(&source, &mask, static_cast<int>(width), static_cast<int>(height)), 1);
        if (type == 1)
          ASSERT_EQ(Read(source, 3).bytes, colours.bytes);  // a 24-bit source is worked on itself
        else
          ASSERT_EQ(Stored(source), before);
        Plane expected = Resample(colours, width, height), shares = Resample(levels, width, height);
        for (long y = 0; y < height; ++y)
          for (long x = 0; x < width; ++x)
            for (long c = 0; c < 3; ++c) {
              const int v = shares.At(x, y, 0);
              unsigned char &colour = expected.At(x, y, c);
              if (v > 0 && v < 255) colour = static_cast<unsigned char>(std::min(255, colour * 255 / (255 - v)));
            }
        ASSERT_EQ(target.GetImageType(), 1);
        ASSERT_EQ(Stored(target), Written(expected, 1));
      }
}

TEST_F(Rescale, MaskedRescaleWithoutNeedAndRefused) {
  PQel source, mask, target, empty;
  Fill(source, 2, 8, 6, kKeepings[0]);
  Fill(mask, 5, 8, 6, kKeepings[0]);
  ASSERT_EQ(target.Rescale24bit(&source, nullptr, 13, 3), 1);
  EXPECT_EQ(Stored(target), Written(Resample(Read(source, 3), 13, 3), 1));
  ASSERT_EQ(target.Rescale24bit(&source, &mask, 8, 6), 1);
  EXPECT_EQ(Stored(target), Written(Read(source, 3), 1));

  const NaiveImage before = Stored(target);
  EXPECT_EQ(target.Rescale24bit(nullptr, nullptr, 4, 4), 0);
  EXPECT_EQ(target.Rescale24bit(&empty, nullptr, 4, 4), 0);
  EXPECT_EQ(target.Rescale24bit(&source, nullptr, 0, 4), 0);
  EXPECT_EQ(target.Rescale24bit(&source, nullptr, 4, -1), 0);
  EXPECT_EQ(target.Rescale24bit(&target, nullptr, 4, 4), 0);
  EXPECT_EQ(target.Rescale24bit(&source, &target, 4, 4), 0);
  EXPECT_EQ(target.Rescale24bit(&source, &empty, 4, 4), 0);
  EXPECT_EQ(target.Rescale24bit(&target, &source, 4, 4), 0);
  Fill(mask, 5, 8, 5, kKeepings[0]);
  EXPECT_EQ(target.Rescale24bit(&source, &mask, 4, 4), 0);
  EXPECT_EQ(Stored(target), before);
}

}  // namespace

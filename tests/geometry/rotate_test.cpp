// Free rotation against the same steps in plain numbers: angles, sample counts, all source depths and layouts, the
// three forms, repeating and watched sources.

#include <gtest/gtest.h>

#include <array>
#include <climits>
#include <cmath>
#include <cstring>

#include "qel/lines/sample_plain.h"
#include "support/pixels.h"
#include "support/probe.h"
#include "support/targets.h"

namespace {

using test::Keeping;
using test::NaiveImage;
using test::Probe;

enum Form { kBackground, kEdges, kGray };

constexpr unsigned long kColor = 0xAA3C5A96;  // a colour reference with bits above its colour

int Rotate(PQel &target, PQel &source, int angle, int samples, Form form) {
  if (form == kGray) return target.RotateGrayImage(&source, angle, samples, kColor);
  return form == kEdges ? target.Rotate24bitImage(&source, angle, samples)
                        : target.Rotate24bitImage(&source, angle, samples, kColor);
}

/// The turned image, point by point.
NaiveImage Naive(PQel &source, int angle, int samples, Form form) {
  const double theta = angle * 0.017453292519944444, cs = std::cos(theta), sn = std::sin(theta);
  const long W = source.GetImageWidth(), H = source.GetImageHeight(), hx = (W + 1) / 2, hy = (H + 1) / 2;
  long x0 = 0, x1 = 0, y0 = 0, y1 = 0;
  for (const auto &[cx, cy] : {std::array{-hx, -hy}, {W - hx, -hy}, {W - hx, H - hy}, {-hx, H - hy}}) {
    const double x = static_cast<double>(cx), y = static_cast<double>(cy);
    const double X = std::round(x * cs + y * sn), Y = std::round(x * sn + y * cs);
    x0 = std::min(x0, static_cast<long>(X)), x1 = std::max(x1, static_cast<long>(X));
    y0 = std::min(y0, static_cast<long>(Y)), y1 = std::max(y1, static_cast<long>(Y));
  }
  NaiveImage out(x1 - x0, y1 - y0, form == kGray ? 8 : 24);
  const auto f = [](double v) { return static_cast<long>(v >= 0 ? std::trunc(v) : std::trunc(v - 0.999)); };
  const std::size_t channels = form == kGray ? 1 : 3;
  for (long r = 0; r < out.height; ++r) {
    std::vector<std::array<std::uint32_t, 3>> sums(static_cast<std::size_t>(out.width));
    for (int s = 0; s < samples; ++s) {
      const double Y = static_cast<double>(y0 + r) + (s + 0.5) / samples, X = static_cast<double>(x0) + 0.5 / samples;
      double sx = X * cs - Y * sn, sy = X * sn + Y * cs;
      for (long c = 0; c < out.width; ++c) {
        for (int j = 0; j < samples; ++j, sx += cs / samples, sy += sn / samples) {
          long column = f(sx) + hx, row = f(sy) + hy;
          if (form == kEdges) column = std::clamp(column, 0L, W - 1), row = std::clamp(row, 0L, H - 1);
          long long deep = 0;
          unsigned long v;
          if (column < 0 || column >= W || row < 0 || row >= H)
            v = form == kGray ? kColor & 255 : (kColor & 255) << 16 | (kColor & 0xFF00) | (kColor >> 16 & 255);
          else
            v = form == kGray ? source.GetPixel(column, row, &deep) : source.GetPixelBGR(column, row);
          for (std::size_t k = 0; k < channels; ++k)
            sums[static_cast<std::size_t>(c)][k] += static_cast<std::uint32_t>(form == kGray ? v : v >> 8 * k & 255);
        }
      }
    }
    for (long c = 0; c < out.width; ++c)
      for (std::size_t k = 0; k < channels; ++k)
        out.At(c, r) |= static_cast<std::uint64_t>(
                            sums[static_cast<std::size_t>(c)][k] / static_cast<std::uint32_t>(samples * samples) & 255)
                        << 8 * k;
  }
  return out;
}

class Rotation : public testing::Test {
 protected:
  std::mt19937 random{53};

  void Fill(PQel &image, int type, long w, long h, const Keeping &keeping) {
    image.EnableBlock(0, 8);
    ASSERT_TRUE(test::Create(image, type, w, h, keeping));
    NaiveImage naive(w, h, image.GetBitCount());
    naive.Randomise(random);
    naive.Store(image);
  }

  void Check(PQel &source, int angle, int samples, Form form) {
    const NaiveImage expected = Naive(source, angle, samples, form);
    PQel target;
    ASSERT_EQ(Rotate(target, source, angle, samples, form), 1);
    ASSERT_EQ(target.GetImageType(), form == kGray ? 5 : 1);
    ASSERT_EQ(target.GetImageWidth(), expected.width);
    ASSERT_EQ(target.GetImageHeight(), expected.height);
    NaiveImage stored(expected.width, expected.height, expected.bits);
    stored.Load(target);
    ASSERT_EQ(stored, expected) << angle << " degrees, " << samples << " samples, form " << form;
  }
};

TEST_F(Rotation, EveryAngle) {
  for (const auto &[w, h] : {std::pair{1L, 1L}, {3, 2}, {1, 40}, {37, 21}, {90, 64}}) {
    PQel source;
    Fill(source, 1, w, h, {1, 0, false});
    for (int angle = 1; angle<360; angle += w> 50 ? 37 : 7)
      for (const Form form : {kBackground, kEdges}) Check(source, angle, 1 + angle % 3, form);
    for (const int angle : {-1, 45, 90, 180, 270, -450, 361, INT_MIN, INT_MAX})
      for (const Form form : {kBackground, kEdges}) Check(source, angle, 1, form);
  }
}

TEST_F(Rotation, EverySourceAndSampleCount) {
  for (int type = 0; type < 10; ++type) {
    for (const Keeping &keeping : test::AllKeepings()) {
      Probe source;
      Fill(source, type, 29, 17, keeping);
      if (source.GetBitCount() <= 8)  // a table of colours, whatever the type
        for (int i = 0; i < 1 << source.GetBitCount(); ++i)
          source.m_pRGBQuad[i] = {static_cast<BYTE>(random()), static_cast<BYTE>(random()), static_cast<BYTE>(i), 9};
      const int angle = static_cast<int>(random() % 359) + 1;
      for (const Form form : {kBackground, kEdges, kGray})
        for (const int samples : {1, 2, 3, 5, 9}) Check(source, angle, samples, form);
    }
  }
}

TEST_F(Rotation, SamplesLikePlainOnesOnEveryVectorWidth) {
  namespace lines = qel::lines;
  constexpr long kWidth = 31, kHeight = 17, kPixels = 40;
  std::vector<unsigned char> picture(1 + 3 * kWidth * kHeight);  // the first byte is read with the first pixel
  for (auto &b : picture) b = static_cast<unsigned char>(random() % 3 ? random() : 255);
  test::ForEachTarget([&] {
    for (int round = 0; round < 400; ++round) {
      const bool clamp = round % 2, flipped = round % 3 == 0;
      const long points = 2 + round % 7, row = 3 * kWidth, left = -static_cast<long>(random() % kWidth);
      const long top = -static_cast<long>(random() % kHeight);
      const lines::SampleGrid grid = {left, left + kWidth - 1, top, top + kHeight - 1, flipped ? -row : row, 3, clamp};
      const lines::SamplePixels pixels = {
          picture.data() + 1 - (flipped ? top + kHeight - 1 : top) * grid.rowBytes - 3 * left, 3, 0xFF00FFU};
      lines::SampleWalks walks;
      const auto place = [&] { return static_cast<double>(static_cast<int>(random() % 4001) - 2000) / 100; };
      for (int k = 0; k < lines::kWalks; ++k) walks.x[k] = place(), walks.y[k] = place();
      walks.stepX = place() / 100, walks.stepY = round % 5 ? place() / 100 : 0;
      lines::SampleWalks plainWalks = walks;

      std::vector<std::int32_t> places(lines::kWalks * kPixels * points), expected = places;
      const bool all = lines::FindSamples(places.data(), walks, grid, kPixels * points);
      ASSERT_EQ(all, lines::plain::FindSamples(expected.data(), plainWalks, grid, kPixels * points));
      ASSERT_EQ(places, expected);
      ASSERT_EQ(std::memcmp(&walks, &plainWalks, sizeof walks), 0);
      std::vector<unsigned char> average(3 * kPixels + 1), plainAverage(3 * kPixels + 1);
      lines::AverageSamples(average.data(), pixels, places.data(), kPixels, points, all);
      lines::plain::AverageSamples(plainAverage.data(), pixels, places.data(), kPixels, points, all);
      average.back() = 0;
      ASSERT_EQ(average, plainAverage) << points << " points each way";
    }
  });
}

TEST_F(Rotation, RepeatingAndWatchedSources) {
  for (const int type : {1, 3, 9}) {
    Probe source;
    Fill(source, type, 30, 20, {1, 0, false});
    source.SetRepeat(7, 5);  // shifts what its pixels show
    for (const Form form : {kBackground, kEdges, kGray}) Check(source, 33, 2, form);
    source.EnableRepeat(0);
    source.SetHookProc([](PQel *, int, long, long, long, long, unsigned char *) {});
    for (const Form form : {kBackground, kEdges, kGray}) Check(source, 33, 2, form);
  }
  static long reads;
  reads = 0;
  Probe source, target;
  Fill(source, 1, 4, 4, {1, 0, false});
  source.SetHookProc([](PQel *, int event, long, long, long, long, unsigned char *) { reads += event == 3; });
  ASSERT_EQ(target.Rotate24bitImage(&source, 90, 16, 0), 1);
  EXPECT_EQ(reads,
            1 + 4 * 16 * 4);  // one a source pixel and sub-row, after the first pixel: the last one is remembered
}

TEST_F(Rotation, FullTurnsCopy) {
  for (const int angle : {0, 360, -720}) {
    Probe source, target;
    Fill(source, 2, 15, 9, {1, 0, false});
    ASSERT_EQ(target.RotateGrayImage(&source, angle, 3, 0), 1);
    NaiveImage from(15, 9, 4), to(15, 9, 4);
    from.Load(source);
    to.Load(target);
    EXPECT_EQ(target.GetImageType(), 2);
    EXPECT_EQ(from, to);
  }
}

TEST_F(Rotation, Limits) {
  Probe source, target, empty;
  Fill(source, 1, 100, 100, {1, 0, false});
  ASSERT_EQ(target.Rotate24bitImage(&source, 45, 0), 1);  // counts as one sample
  EXPECT_EQ(target.GetImageWidth(), 142);
  EXPECT_EQ(target.GetImageHeight(), 142);
  EXPECT_EQ(target.Rotate24bitImage(nullptr, 45, 1), 0);
  EXPECT_EQ(target.Rotate24bitImage(&target, 45, 1), 0);
  EXPECT_EQ(target.GetImageWidth(), 142);
  EXPECT_EQ(target.Rotate24bitImage(&empty, 45, 1, 0), 0);
  EXPECT_TRUE(target.IsEmpty());
  Fill(source, 5, 2, 2, {1, 0, false});
  Check(source, 30, 256, kGray);
  Check(source, 30, 256, kEdges);
  ASSERT_EQ(target.Rotate24bitImage(&source, 30, 1000, 7), 1);
}

}  // namespace

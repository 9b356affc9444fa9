// Converted and reversed lines, and lines of the undo image, against the rules pixel by pixel: all types, keepings,
// rows and columns, maps, in exactly sized buffers.

#include <gtest/gtest.h>

#include <array>
#include <climits>

#include "qel/lines/convert.h"
#include "support/pixels.h"
#include "support/probe.h"

namespace {

using test::Keeping;
using test::NaiveImage;
using test::Probe;
using Bgr = std::array<unsigned, 3>;
using Line = std::vector<unsigned char>;

constexpr std::array<int, 10> kBits = {1, 24, 4, 8, 4, 8, 16, 16, 32, 48};  // by type code

Bgr Split(Probe &image, int type, std::uint64_t v) {
  const auto byte = [v](int shift) { return static_cast<unsigned>(v >> shift & 0xFF); };
  const auto scale = [v](int shift, unsigned most) { return static_cast<unsigned>(v >> shift & most) * 255 / most; };
  switch (type) {
    case 5:
      return {byte(0), byte(0), byte(0)};
    case 6:
      return {scale(0, 31), scale(5, 31), scale(10, 31)};
    case 7:
      return {scale(0, 31), scale(5, 63), scale(11, 31)};
    case 1:
    case 8:
      return {byte(0), byte(8), byte(16)};
    case 9:
      return {byte(0), byte(16), byte(32)};
    default:
      return {image.m_pRGBQuad[v].rgbBlue, image.m_pRGBQuad[v].rgbGreen, image.m_pRGBQuad[v].rgbRed};
  }
}

std::uint64_t Join(int type, const Bgr &p) {
  const std::uint64_t b = p[0], g = p[1], r = p[2];
  switch (type) {
    case 1:
    case 8:
      return b | g << 8 | r << 16;
    case 5:
      return (77 * r + 150 * g + 28 * b) / 255;
    case 6:
      return b * 31 / 255 | (g * 31 / 255) << 5 | (r * 31 / 255) << 10;
    case 7:
      return b * 31 / 255 | (g * 63 / 255) << 5 | (r * 31 / 255) << 11;
    default:
      return b * 257 | g * 257 << 16 | r * 257 << 32;
  }
}

/// The level of a pixel of 8 bits or fewer.
unsigned Level(Probe &image, int bits, std::uint64_t v) {
  if (bits == 1) return (v != 0) != (image.m_pRGBQuad[0].rgbRed != 0) ? 255 : 0;
  return static_cast<unsigned>(bits == 4 ? v * 17 : v);
}

class ConvertedLines : public testing::TestWithParam<int> {
 protected:
  static constexpr long kWidth = 45, kHeight = 38;
  std::mt19937 random{99};
  int type = GetParam();
  int bits = kBits[static_cast<std::size_t>(type)];
  Line map24 = Noise(768), map8 = Noise(256);

  Line Noise(long n) {
    Line line(static_cast<std::size_t>(n));
    for (auto &b : line) b = static_cast<unsigned char>(random());
    return line;
  }

  /// A random span: vertical or not, its fixed coordinate, first and last pixel.
  struct Span {
    bool vertical;
    long across, first, last;
    long Count() const { return last - first + 1; }
    std::uint64_t &Of(NaiveImage &image, long i) const {
      return vertical ? image.At(across, first + i) : image.At(first + i, across);
    }
  };
  Span RandomSpan() {
    Span s{random() % 2 == 0, 0, 0, 0};
    s.across = static_cast<long>(random() % (s.vertical ? kWidth : kHeight));
    const long most = s.vertical ? kHeight : kWidth;
    s.first = static_cast<long>(random() % most);
    s.last = s.first + static_cast<long>(random() % (most - s.first));
    return s;
  }

  NaiveImage Fill(Probe &image, const Keeping &keeping) {
    image.EnableBlock(0, 8);
    EXPECT_TRUE(test::Create(image, type, kWidth, kHeight, keeping));
    if (type == 0 && random() % 2) std::swap(image.m_pRGBQuad[0], image.m_pRGBQuad[1]);
    if (type == 2 || type == 3)
      for (int i = 0; i < 1 << bits; ++i) image.m_pRGBQuad[i] = {Any(), Any(), Any(), 0};
    NaiveImage naive(kWidth, kHeight, bits);
    naive.Randomise(random);
    naive.Store(image);
    return naive;
  }
  unsigned char Any() { return static_cast<unsigned char>(random()); }
};

TEST_P(ConvertedLines, ReadAs24Bit) {
  for (const Keeping &keeping : test::AllKeepings()) {
    Probe image;
    NaiveImage naive = Fill(image, keeping);
    for (int round = 0; round < 50; ++round) {
      const Span s = RandomSpan();
      unsigned char *const map = round % 3 == 0 ? map24.data() : nullptr;
      Line line(static_cast<std::size_t>(3 * s.Count()));
      ASSERT_EQ(s.vertical ? image.Get24bitVerLine(s.across, s.first, s.last, line.data(), map)
                           : image.Get24bitHorLine(s.first, s.last, s.across, line.data(), map),
                1);
      for (long i = 0; i < s.Count(); ++i) {
        Bgr p = Split(image, type, s.Of(naive, i));
        if (map) p = {map24[512 + p[0]], map24[256 + p[1]], map24[p[2]]};
        for (std::size_t k = 0; k < 3; ++k) ASSERT_EQ(line[static_cast<std::size_t>(3 * i) + k], p[k]);
      }
    }
  }
}

TEST_P(ConvertedLines, WriteAs24Bit) {
  const bool served = type == 1 || type >= 5;
  for (const Keeping &keeping : test::AllKeepings()) {
    Probe image;
    NaiveImage naive = Fill(image, keeping);
    for (int round = 0; round < 30; ++round) {
      const Span s = RandomSpan();
      Line line = Noise(3 * s.Count());
      ASSERT_EQ(s.vertical ? image.Put24bitVerLine(s.across, s.first, s.last, line.data())
                           : image.Put24bitHorLine(s.first, s.last, s.across, line.data()),
                served);
      for (long i = 0; served && i < s.Count(); ++i) {
        const auto at = static_cast<std::size_t>(3 * i);
        s.Of(naive, i) = Join(type, {line[at], line[at + 1], line[at + 2]});
      }
    }
    NaiveImage stored(kWidth, kHeight, bits);
    stored.Load(image);
    ASSERT_EQ(stored, naive);
  }
}

TEST_P(ConvertedLines, GrayBothWays) {
  for (const Keeping &keeping : test::AllKeepings()) {
    Probe image;
    NaiveImage naive = Fill(image, keeping);
    for (int round = 0; round < 40; ++round) {
      const Span s = RandomSpan();
      unsigned char *const map = round % 3 == 0 ? map8.data() : nullptr;
      Line line = Noise(s.Count());
      ASSERT_EQ(s.vertical ? image.GetGrayVerLine(s.across, s.first, s.last, line.data(), map)
                           : image.GetGrayHorLine(s.first, s.last, s.across, line.data(), map),
                bits <= 8);
      for (long i = 0; bits <= 8 && i < s.Count(); ++i) {
        const unsigned level = Level(image, bits, s.Of(naive, i));
        ASSERT_EQ(line[static_cast<std::size_t>(i)], map ? map8[level] : level);
      }
      Line levels = Noise(s.Count());
      const bool served = type == 0 || type == 4 || type == 5;
      ASSERT_EQ(s.vertical ? image.PutGrayVerLine(s.across, s.first, s.last, levels.data())
                           : image.PutGrayHorLine(s.first, s.last, s.across, levels.data()),
                served);
      for (long i = 0; served && i < s.Count(); ++i) {
        const unsigned g = levels[static_cast<std::size_t>(i)];
        const bool whiteFirst = image.m_pRGBQuad[0].rgbRed != 0;
        s.Of(naive, i) = type == 0 ? (g >= 128) != whiteFirst : type == 4 ? g / 17 : g;
      }
    }
    NaiveImage stored(kWidth, kHeight, bits);
    stored.Load(image);
    ASSERT_EQ(stored, naive);
  }
}

TEST_P(ConvertedLines, RightToLeft) {
  Probe image;
  NaiveImage naive = Fill(image, {1, 0, false});
  for (long first = 0; first < kWidth; ++first) {
    for (long last = first; last < kWidth; ++last) {
      const auto bytes = static_cast<std::size_t>(test::PackedBytes(bits, last - first + 1));
      Line line(bytes), work((bytes + 3) / 4 * 4);
      ASSERT_EQ(image.GetRevHorLine(first, last, 3, line.data(), first % 2 ? work.data() : nullptr), 1);
      for (long i = 0; i <= last - first; ++i)
        ASSERT_EQ(test::GetPacked(line.data(), bits, i), naive.At(last - i, 3)) << first << ".." << last;
    }
  }
}

TEST_P(ConvertedLines, UndoImageShowsTheSnapshot) {
  for (const Keeping &keeping : test::AllKeepings()) {
    Probe image;
    NaiveImage before = Fill(image, keeping);
    ASSERT_TRUE(image.EnableUndo(1));
    Line noise = Noise(4096);
    for (long y = 3; y < kHeight; y += 5) ASSERT_TRUE(image.PutHorLine(2, kWidth - 3, y, noise.data()));
    NaiveImage after(kWidth, kHeight, bits);
    after.Load(image);
    for (int round = 0; round < 30; ++round) {
      const Span s = RandomSpan();
      const auto n = static_cast<std::size_t>(s.Count());
      Line raw(static_cast<std::size_t>(test::PackedBytes(bits, s.Count()))), gray(n), colour(3 * n);
      ASSERT_EQ(s.vertical ? image.xGetUndoVerLine(s.across, s.first, s.last, raw.data())
                           : image.xGetUndoHorLine(s.first, s.last, s.across, raw.data()),
                1);
      ASSERT_EQ(s.vertical ? image.xGetUndoGrayVerLine(s.across, s.first, s.last, gray.data())
                           : image.xGetUndoGrayHorLine(s.first, s.last, s.across, gray.data()),
                bits <= 8);
      ASSERT_EQ(s.vertical ? image.xGetUndo24bitVerLine(s.across, s.first, s.last, colour.data())
                           : image.xGetUndo24bitHorLine(s.first, s.last, s.across, colour.data()),
                1);
      for (long i = 0; i < s.Count(); ++i) {
        const std::uint64_t v = s.Of(before, i);
        const auto at = static_cast<std::size_t>(i);
        ASSERT_EQ(test::GetPacked(raw.data(), bits, i), v);
        if (bits <= 8) ASSERT_EQ(gray[at], bits == 1 ? (v ? 255u : 0u) : Level(image, bits, v));
        const Bgr p = Split(image, type, v);
        for (std::size_t k = 0; k < 3; ++k) ASSERT_EQ(colour[3 * at + k], p[k]);
      }
    }
    NaiveImage now(kWidth, kHeight, bits);
    ASSERT_TRUE(image.DoUndo());
    now.Load(image);
    ASSERT_EQ(now, before);
    ASSERT_TRUE(image.DoRedo());
    now.Load(image);
    ASSERT_EQ(now, after);
  }
}

TEST_P(ConvertedLines, RefuseNothingToWorkOn) {
  Probe image, empty;
  Fill(image, {1, 0, false});
  Line line(4096, 7);
  for (Probe *const p : {&image, &empty}) {
    unsigned char *const to = p == &empty ? line.data() : nullptr;
    EXPECT_EQ(p->GetGrayHorLine(0, 5, 0, to, nullptr), 0);
    EXPECT_EQ(p->PutGrayVerLine(0, 0, 5, to), 0);
    EXPECT_EQ(p->Get24bitVerLine(0, 0, 5, to, nullptr), 0);
    EXPECT_EQ(p->Put24bitHorLine(0, 5, 0, to), 0);
    EXPECT_EQ(p->GetRevHorLine(0, 5, 0, to, line.data()), 0);
  }
  EXPECT_EQ(empty.xGetUndoHorLine(0, 5, 0, line.data()), 0);
  EXPECT_EQ(image.Get24bitHorLine(LONG_MIN, LONG_MAX, 0, line.data(), nullptr), 0);
  EXPECT_EQ(line, Line(4096, 7));
}

TEST_P(ConvertedLines, SpansThatMoveNothingOrTooMuch) {
  Probe image;
  NaiveImage naive = Fill(image, {1, 0, false});
  const bool gray = bits <= 8, putGray = type == 0 || type == 4 || type == 5, put24 = type == 1 || type >= 5;
  Line one(1, 7), work(400, 5);
  image.Validate();
  // a row outside the image and a reversed span are no error, and no byte of the caller's line is touched
  for (const auto &[first, last, y] : {std::array{0L, 44L, -1L}, {0L, 44L, kHeight}, {9L, 5L, 3L}}) {
    EXPECT_EQ(image.GetGrayHorLine(first, last, y, one.data(), map8.data()), gray);
    EXPECT_EQ(image.Get24bitHorLine(first, last, y, one.data(), map24.data()), 1);
    EXPECT_EQ(image.xGetUndo24bitHorLine(first, last, y, one.data()), 1);
    EXPECT_EQ(image.GetRevHorLine(first, last, y, one.data(), work.data()), 1);
    EXPECT_EQ(image.GetRevHorLine(first, last, y, one.data(), nullptr), 1);
    EXPECT_EQ(image.PutGrayHorLine(first, last, y, one.data()), putGray);
    EXPECT_EQ(image.Put24bitHorLine(first, last, y, one.data()), put24);
    EXPECT_EQ(image.GetZoomOutHorLine(first, last, y, one.data(), -2), first <= last);
    EXPECT_EQ(image.GetZoomOut24BitHorLine(first, last, y, one.data(), -2, map24.data()), first <= last);
  }
  // a span that leaves the image is refused before the caller's line is read or written
  for (const auto &[first, last] : {std::pair{0L, 1L << 30}, {-1L, 20L}, {LONG_MIN, 0L}, {LONG_MIN, LONG_MAX}}) {
    EXPECT_EQ(image.GetGrayHorLine(first, last, 0, one.data(), map8.data()), 0);
    EXPECT_EQ(image.Get24bitVerLine(0, first, last, one.data(), map24.data()), 0);
    EXPECT_EQ(image.GetRevHorLine(first, last, 0, one.data(), nullptr), 0);
    EXPECT_EQ(image.PutGrayVerLine(0, first, last, one.data()), 0);
    EXPECT_EQ(image.Put24bitHorLine(first, last, 0, one.data()), 0);
    EXPECT_EQ(image.GetZoomOutHorLine(first, last, 0, one.data(), -2), 0);
    EXPECT_EQ(image.GetZoomOutGrayHorLine(first, last, 0, one.data(), -2, nullptr), 0);
  }
  EXPECT_EQ(image.Get24bitVerLine(kWidth, 0, 5, one.data(), nullptr), 0);
  EXPECT_EQ(one[0], 7);
  EXPECT_EQ(work, Line(400, 5));
  EXPECT_EQ(image.m_rcInvalid.left, INT_MAX);
  NaiveImage stored(kWidth, kHeight, bits);
  stored.Load(image);
  EXPECT_EQ(stored, naive);
}

INSTANTIATE_TEST_SUITE_P(Types, ConvertedLines, testing::Range(0, 10));

}  // namespace

// Layers against naive pictures: mixes of spans and rectangles through masks, lines of masks, composites of layers of
// other sizes, maps and factors; watched by a hook (line by line) and unwatched (in the store).

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>

#include "support/pixels.h"
#include "support/probe.h"

namespace {

using test::Keeping;
using test::NaiveImage;
using test::Probe;
using Line = std::vector<unsigned char>;

constexpr int kBits[] = {1, 24, 4, 8, 4, 8, 16, 16, 32, 48};  // by type
constexpr Keeping kPlain = {1, 0, false};

/// The mask rule of one pixel, field by field.
std::uint64_t Mixed(int type, std::uint64_t old, std::uint64_t fresh, unsigned level) {
  if (type == 0 || (type >= 2 && type <= 4)) return level <= 128 ? fresh : old;
  if (level == 0 || level == 255) return level ? old : fresh;
  std::vector<int> fields(type == 5 ? 1 : 3, type == 9 ? 16 : type == 6 || type == 7 ? 5 : 8);
  if (type == 7) fields[1] = 6;
  std::uint64_t mixed = 0;
  int shift = 0;
  for (const int bits : fields) {
    const std::uint64_t ones = (std::uint64_t{1} << bits) - 1;
    mixed |= ((old >> shift & ones) * level + (fresh >> shift & ones) * (255 - level)) / 255 << shift;
    shift += bits;
  }
  return mixed;
}

class Layers : public testing::Test {
 protected:
  std::mt19937 random{62};
  long Between(long lo, long hi) { return lo + static_cast<long>(random() % static_cast<unsigned long>(hi - lo + 1)); }

  /// A level as masks have them: often one of the ends or the middle.
  unsigned char Level() {
    constexpr unsigned char kUsual[] = {0, 255, 128, 129};
    return random() % 2 ? kUsual[random() % 4] : static_cast<unsigned char>(random());
  }

  NaiveImage Fill(Probe &image, int type, long w, long h, const Keeping &keeping = kPlain) {
    image.EnableBlock(0, 8);
    EXPECT_TRUE(test::Create(image, type, w, h, keeping));
    NaiveImage naive(w, h, kBits[type]);
    naive.Randomise(random);
    if (kBits[type] == 8)
      for (auto &p : naive.pixels) p = Level();
    naive.Store(image);
    return naive;
  }

  static NaiveImage Stored(Probe &image) {
    NaiveImage naive(image.GetImageWidth(), image.GetImageHeight(), image.GetBitCount());
    naive.Load(image);
    return naive;
  }

  static void Watch(Probe &image) {
    image.SetHookProc([](PQel *, int, long, long, long, long, unsigned char *) {});
  }
};

// Spans --------------------------------------------------------------------------------------------------------------

TEST_F(Layers, SpansAreMixedByTheirTypesRule) {
  for (int type = 0; type < 10; ++type) {
    for (const Keeping &keeping : test::AllKeepings()) {
      const int bits = kBits[type];
      Probe image;
      NaiveImage naive = Fill(image, type, 47, 5, keeping);
      for (int round = 0; round < 40; ++round) {
        const long x0 = Between(0, 46), x1 = Between(x0, 46), y = Between(0, 4), n = x1 - x0 + 1;
        NaiveImage fresh(n, 1, bits);
        fresh.Randomise(random);
        Line mask(static_cast<std::size_t>(n)), line = fresh.Row(0), old(line.size() + 4, 0xA5);
        for (auto &m : mask) m = Level();
        for (long i = 0; i < n; ++i) {
          std::uint64_t &pixel = naive.At(x0 + i, y);
          pixel = Mixed(type, pixel, fresh.At(i, 0), mask[static_cast<std::size_t>(i)]);
        }
        if (round % 2) {
          ASSERT_EQ(image.MixHorLineWithGrayMask(x0, x1, y, line.data(), mask.data()), 1);
        } else {
          ASSERT_EQ(image.GetHorLine(x0, x1, y, old.data()), 1);
          ASSERT_EQ(image.MixHorLineWithGrayMask(x0, x1, y, line.data(), old.data(), mask.data()), 1);
          for (long i = 0; i < n; ++i) ASSERT_EQ(test::GetPacked(old.data(), bits, i), naive.At(x0 + i, y));
        }
        ASSERT_EQ(Stored(image), naive) << "type " << type << " round " << round;
      }
    }
  }
}

TEST_F(Layers, MasksAndChannelsOfSpans) {
  for (const Keeping &keeping : test::AllKeepings()) {
    for (const int type : {0, 5, 3}) {
      Probe image;
      NaiveImage naive = Fill(image, type, 601, 3, keeping);
      for (int round = 0; round < 20; ++round) {
        const long x0 = Between(0, 600), x1 = Between(x0, 600), y = Between(0, 2);
        Line mask(static_cast<std::size_t>(x1 - x0 + 1)), combined(mask.size()), filtered(mask.size());
        for (std::size_t i = 0; i < mask.size(); ++i) {
          mask[i] = Level();
          const unsigned level = static_cast<unsigned>(naive.At(x0 + static_cast<long>(i), y));
          const unsigned own = type == 0 ? 255 * level : level;
          combined[i] = static_cast<unsigned char>(255 - (255 - mask[i]) * (255 - own) / 255);
          filtered[i] = level ? 0 : mask[i];
        }
        Line line = mask;
        ASSERT_EQ(image.CombineMaskLine(x0, x1, y, line.data()), 1);
        ASSERT_EQ(line, combined);
        ASSERT_EQ(image.FilterHorLine(x0, x1, y, mask.data()), type == 0);
        if (type == 0) ASSERT_EQ(mask, filtered);
      }
    }
    for (const int type : {1, 7, 9}) {
      Probe image, expected;
      Fill(image, type, 23, 1, keeping);
      ASSERT_TRUE(expected.GenerateImage(&image, 1, 0, 0));
      Line plane(9), line(27);
      for (long channel = 0; channel < 3; ++channel) {
        for (auto &p : plane) p = static_cast<unsigned char>(random());
        ASSERT_TRUE(expected.Get24bitHorLine(5, 13, 0, line.data(), nullptr));
        for (std::size_t i = 0; i < 9; ++i) line[3 * i + static_cast<std::size_t>(channel)] = plane[i];
        ASSERT_TRUE(expected.Put24bitHorLine(5, 13, 0, line.data()));
        ASSERT_EQ(image.PutRGBPlanarLine(5, 13, 0, plane.data(), channel), 1);
        ASSERT_EQ(Stored(image), Stored(expected));
      }
      EXPECT_EQ(image.PutRGBPlanarLine(5, 13, 0, plane.data(), 3), 0);
    }
  }
}

TEST_F(Layers, BadSpansChangeNothing) {
  unsigned char line[64] = {}, old[64] = {}, mask[64] = {};
  for (const int type : {0, 1, 5}) {
    Probe image;
    const NaiveImage naive = Fill(image, type, 10, 4);
    constexpr long kBad[][2] = {{-1, 3}, {4, 10}, {5, 4}, {9, LONG_MIN}, {LONG_MIN, LONG_MAX}, {LONG_MAX, LONG_MIN}};
    for (const auto &[x0, x1] : kBad) {
      EXPECT_EQ(image.MixHorLineWithGrayMask(x0, x1, 1, line, mask), 0);
      EXPECT_EQ(image.MixHorLineWithGrayMask(x0, x1, 1, line, old, mask), 0);
      EXPECT_EQ(image.CombineMaskLine(x0, x1, 1, mask), 0);
      EXPECT_EQ(image.FilterHorLine(x0, x1, 1, mask), 0);
      EXPECT_EQ(image.PutRGBPlanarLine(x0, x1, 1, mask, 0), 0);
    }
    EXPECT_EQ(image.MixHorLineWithGrayMask(0, 3, 1, nullptr, mask), 0);
    EXPECT_EQ(image.MixHorLineWithGrayMask(0, 3, 1, line, nullptr, mask), 0);
    EXPECT_EQ(image.MixHorLineWithGrayMask(0, 3, 1, line, nullptr), 0);
    EXPECT_EQ(image.MixHorLineWithGrayMask(0, 3, 4, line, mask), 1);  // outside rows are no error
    EXPECT_EQ(image.MulHorLine(0, 3, -1, 0), type != 0);
    EXPECT_EQ(image.MulHorLine(LONG_MIN, LONG_MAX, 4, 0), type != 0);
    EXPECT_EQ(image.MulVerLine(10, LONG_MIN, LONG_MAX, 0), type != 0);
    EXPECT_EQ(image.CombineImage(nullptr, &image, nullptr, nullptr), 0);
    EXPECT_EQ(image.CombineLayer(nullptr, &image, &image), 0);
    EXPECT_EQ(image.DoMap(nullptr), 0);
    EXPECT_EQ(Stored(image), naive);
  }
}

// Rectangles ---------------------------------------------------------------------------------------------------------

TEST_F(Layers, RectanglesAreCopiedThroughTheirMask) {
  constexpr std::pair<long, long> kMaskSizes[] = {{23, 14}, {9, 30}, {40, 5}};
  for (int round = 0; round < 600; ++round) {
    const int type = round % 10, maskType = round % 7 == 0 ? 0 : round % 7 == 1 ? 4 : 5;
    const std::vector<Keeping> keepings = test::AllKeepings();
    Probe source, target, mask;
    NaiveImage from = Fill(source, type, 23, 14, keepings[random() % keepings.size()]);
    NaiveImage to = Fill(target, type, 19, 17, keepings[random() % keepings.size()]);
    const auto [w, h] = kMaskSizes[round % 3];
    NaiveImage levels = Fill(mask, maskType, w, h, keepings[random() % keepings.size()]);
    const bool self = round % 4 == 1, undo = round % 5 == 0;
    if (round % 3 == 0) Watch(round % 2 ? target : mask);
    if (undo) target.EnableUndo(1);
    const NaiveImage untouched = to;
    POINT at = {static_cast<LONG>(Between(-8, 12)), static_cast<LONG>(Between(-8, 12))};
    RECT rect = {static_cast<LONG>(Between(-5, 15)), static_cast<LONG>(Between(-5, 10)), 0, 0};
    rect.right = rect.left + static_cast<LONG>(Between(0, 25));
    rect.bottom = rect.top + static_cast<LONG>(Between(0, 20));
    if (self && random() % 2) at.y = rect.top;  // rows that are moved within themselves
    for (long y = rect.bottom - 1; y >= rect.top; --y) {
      NaiveImage row = self ? to : from;  // as it is before this row is written
      for (long x = rect.left; x < rect.right; ++x) {
        const long dx = at.x + x - rect.left, dy = at.y + y - rect.top;
        if (x < 0 || y < 0 || x >= row.width || y >= row.height) continue;
        if (dx < 0 || dy < 0 || dx >= to.width || dy >= to.height) continue;
        std::uint64_t level = x < w && y < h ? levels.At(x, y) : maskType == 0 ? 1 : maskType == 4 ? 15 : 255;
        level *= maskType == 0 ? 255 : maskType == 4 ? 17 : 1;
        to.At(dx, dy) = Mixed(type, to.At(dx, dy), row.At(x, y), static_cast<unsigned>(level));
      }
    }
    target.Validate();
    ASSERT_EQ(target.CombineImage(self ? &target : &source, &mask, &at, &rect), 1);
    ASSERT_EQ(Stored(target), to) << "type " << type << " round " << round;
    if (to != untouched) ASSERT_FALSE(target.m_rcInvalid.IsRectEmpty());
    if (undo) {
      ASSERT_TRUE(target.DoUndo());
      ASSERT_EQ(Stored(target), untouched);
    }
  }
}

TEST_F(Layers, RepeatingSourcesAndMasksTile) {
  for (const bool tiledMask : {false, true}) {
    Probe target, tile, mask, deep;
    NaiveImage to = Fill(target, 1, 12, 9), from = Fill(tile, 1, 5, 4),
               levels = Fill(mask, 5, tiledMask ? 3 : 30, tiledMask ? 2 : 20);
    Fill(deep, 1, 12, 9);
    tile.SetRepeat(0, 0);
    if (tiledMask) mask.SetRepeat(0, 0);
    RECT all = {-2, -1, 10, 8};
    for (long y = 0; y < 9; ++y)
      for (long x = 0; x < 12; ++x) {
        const std::uint64_t level = tiledMask          ? levels.At((x + 1) % 3, (y + 1) % 2)
                                    : x >= 2 && y >= 1 ? levels.At(x - 2, y - 1)
                                                       : 255;
        to.At(x, y) = Mixed(1, to.At(x, y), from.At((x + 3) % 5, (y + 3) % 4), static_cast<unsigned>(level));
      }
    ASSERT_EQ(target.CombineImage(&tile, &mask, nullptr, &all), 1);
    EXPECT_EQ(Stored(target), to);
    mask.EnableRepeat(0);  // covers the pixels of the source from its own corner on, and nothing before it
    for (long y = 0; y < 2; ++y)
      for (long x = 0; x < 3; ++x)
        to.At(x + 4, y + 2) = Mixed(1, to.At(x + 4, y + 2), from.At(x, y), static_cast<unsigned>(levels.At(x, y)));
    POINT at = {2, 1};
    all = {-2, -1, 3, 2};
    ASSERT_EQ(target.CombineImage(&tile, &mask, &at, &all), 1);
    ASSERT_EQ(Stored(target), to);
    EXPECT_EQ(target.CombineImage(&mask, &mask, nullptr, nullptr), 0);
    EXPECT_EQ(target.CombineImage(&deep, &deep, nullptr, nullptr), 0);
    EXPECT_EQ(Stored(target), to);
    ASSERT_EQ(target.CombineImage(&deep, nullptr, nullptr, nullptr), 1);
    EXPECT_EQ(Stored(target), Stored(deep));
  }
}

// Layers -------------------------------------------------------------------------------------------------------------

TEST_F(Layers, LayersAreCompositedWhateverTheirSizes) {
  constexpr std::pair<long, long> kSizes[] = {{31, 12}, {31, 12}, {40, 20}, {17, 30}, {50, 5}, {8, 6}};
  for (int round = 0; round < 400; ++round) {
    const int types[] = {1, 1, 1, 7, 8, 9, 5, 3, 2, 0};
    const int type = types[random() % 10], layerType = random() % 3 ? 1 : types[random() % 10];
    const std::vector<Keeping> keepings = test::AllKeepings();
    const auto make = [&](Probe &image, int imageType) {
      const auto [w, h] = kSizes[random() % 6];
      Fill(image, imageType, w, h, keepings[random() % keepings.size()]);
      if (random() % 4 == 0) Watch(image);
    };
    Probe upper, mask, layer, below, expected;
    const NaiveImage untouched = Fill(upper, type, 31, 12, keepings[random() % keepings.size()]);
    make(mask, 5);
    const NaiveImage untouchedMask = Stored(mask);
    make(layer, layerType);
    make(below, random() % 4 ? 5 : 0);
    if (random() % 3 == 0) layer.SetRepeat(0, 0);
    const bool undo = kBits[type] > 8 && random() % 3 == 0 && upper.EnableUndo(1);
    const bool undoMask = random() % 4 == 0 && mask.EnableUndo(1);
    PQel *const pLayer = random() % 8 ? &layer : nullptr, *const pBelow = random() % 8 ? &below : nullptr;

    ASSERT_TRUE(expected.GenerateImage(&upper, 1, 0, 0));
    if (kBits[type] <= 8) ASSERT_TRUE(expected.ConvertTo24bit());
    NaiveImage levels = Stored(mask);
    Line line(93), layerLine(93 + 60), belowLine(60);
    for (long y = 0; y < 12; ++y) {
      ASSERT_TRUE(expected.Get24bitHorLine(0, 30, y, line.data(), nullptr));
      std::fill(layerLine.begin(), layerLine.end(), 0);
      std::fill(belowLine.begin(), belowLine.end(), 255);
      if (pLayer && (layer.m_bRepeat || y < layer.m_lHeight))
        layer.Get24bitHorLine(0, layer.m_bRepeat ? 30 : layer.GetImageWidth() - 1, y, layerLine.data(), nullptr);
      if (pBelow && y < below.m_lHeight)
        below.GetGrayHorLine(0, below.GetImageWidth() - 1, y, belowLine.data(), nullptr);
      for (long x = 0; x < 31; ++x) {
        const bool masked = x < levels.width && y < levels.height;
        const unsigned a = masked ? static_cast<unsigned>(levels.At(x, y)) : 255;
        const unsigned b = belowLine[static_cast<std::size_t>(x)];
        if (a == 0 || b == 255) continue;
        for (int c = 0; c < 3; ++c) {
          unsigned char &v = line[static_cast<std::size_t>(3 * x + c)];
          const unsigned under = layerLine[static_cast<std::size_t>(3 * x + c)];
          if (a == 255)
            v = static_cast<unsigned char>(under);
          else if (b == 0)
            v = static_cast<unsigned char>((under * a + v * (255 - a)) / 255);
          else
            v = static_cast<unsigned char>((under * a * (255 - b) + v * 255 * (255 - a)) / (65025 - a * b));
        }
        if (masked) levels.At(x, y) = a * b / 255;
      }
      ASSERT_TRUE(expected.Put24bitHorLine(0, 30, y, line.data()));
    }
    ASSERT_EQ(upper.CombineLayer(&mask, pLayer, pBelow), 1);
    ASSERT_EQ(Stored(upper), Stored(expected)) << "type " << type << " round " << round;
    ASSERT_EQ(Stored(mask), levels) << "type " << type << " round " << round;
    if (undo && upper.DoUndo()) ASSERT_EQ(Stored(upper), untouched);
    if (undoMask && mask.DoUndo()) ASSERT_EQ(Stored(mask), untouchedMask);
  }
}

// Maps and factors ---------------------------------------------------------------------------------------------------

TEST_F(Layers, MapsChangeEveryPixel) {
  for (int type = 0; type < 10; ++type) {
    for (const Keeping &keeping : test::AllKeepings()) {
      Probe image, expected;
      const NaiveImage untouched = Fill(image, type, 29, 7, keeping);
      ASSERT_TRUE(expected.GenerateImage(&image, 1, 0, 0));
      if (random() % 3 == 0) Watch(image);
      const bool undo = random() % 2 && image.EnableUndo(1);
      Line map(1024), line(87);
      for (auto &m : map) m = static_cast<unsigned char>(random());
      Line through = map;
      for (std::size_t i = 0; i < 768 && kBits[type] > 8; ++i) through[i] = map[768 + map[i]];
      for (long y = 0; y < 7; ++y) {
        if (kBits[type] > 8) {
          ASSERT_TRUE(expected.Get24bitHorLine(0, 28, y, line.data(), through.data()));
          ASSERT_TRUE(expected.Put24bitHorLine(0, 28, y, line.data()));
        } else {
          ASSERT_TRUE(expected.GetGrayHorLine(0, 28, y, line.data(), through.data() + 768));
          ASSERT_EQ(expected.PutGrayHorLine(0, 28, y, line.data()), type == 0 || type >= 4);
        }
      }
      ASSERT_EQ(image.DoMap(map.data()), 1);
      ASSERT_EQ(map, through);
      ASSERT_EQ(Stored(image), Stored(expected)) << "type " << type;
      if (undo) ASSERT_EQ(image.DoUndo(), 1);
      if (undo) ASSERT_EQ(Stored(image), untouched) << "type " << type;
    }
  }
}

TEST_F(Layers, FactorsScaleSpans) {
  for (const auto &[type, channels] : {std::pair{1, 3}, {5, 1}, {3, 0}, {8, 0}}) {
    for (const Keeping &keeping : test::AllKeepings()) {
      Probe image;
      NaiveImage naive = Fill(image, type, 21, 13, keeping);
      for (int round = 0; round < 30; ++round) {
        const bool vertical = round % 2;
        const long at = Between(-2, 22), first = Between(-4, 20), last = Between(-4, 24), factor = Between(-10, 600);
        for (long i = std::max(first, 0L); i <= last && channels; ++i) {
          const long x = vertical ? at : i, y = vertical ? i : at;
          if (x < 0 || y < 0 || x >= 21 || y >= 13) continue;
          std::uint64_t scaled = 0;
          for (int c = 0; c < channels; ++c)
            scaled |= (naive.At(x, y) >> 8 * c & 255) * static_cast<unsigned long>(factor & 255) / 255 << 8 * c;
          naive.At(x, y) = scaled;
        }
        ASSERT_EQ(vertical ? image.MulVerLine(at, first, last, static_cast<int>(factor))
                           : image.MulHorLine(first, last, at, static_cast<int>(factor)),
                  channels != 0);
        ASSERT_EQ(Stored(image), naive) << "type " << type << " round " << round;
      }
    }
  }
}

}  // namespace

// Custom palettes: pictures with few, exactly enough and too many cells, and the steps between.

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <vector>

#include "qel/convert/itc.h"
#include "support/pixels.h"

namespace {

struct Probe : PItc {
  using PItc::xCanCombineColors, PItc::xCheckNearPixel, PItc::xCheckRGB, PItc::xCntMax, PItc::xGetMostUsedColor,
      PItc::xRemoveStandardColor;
};

/// A colour as 0xRRGGBB, and palettes of them.
using Color = std::uint64_t;
using Colors = std::vector<Color>;

constexpr Color kWhite = 0xFFFFFF;
constexpr int kCentres[8] = {0, 36, 73, 109, 146, 182, 219, 255};

Color Centre(int cell) {
  return Color(kCentres[cell / 64] << 16 | kCentres[cell / 8 % 8] << 8 | kCentres[cell % 8]);
}

Colors Take(HPALETTE palette) {
  unsigned char rgb[768];
  EXPECT_EQ(PQel::GetColorNum(palette), 256);
  EXPECT_TRUE(PQel::GetPaletteRGB(palette, rgb));
  DeleteObject(palette);
  Colors colors;
  for (int i = 0; i < 256; ++i) colors.push_back(Color(rgb[3 * i] << 16 | rgb[3 * i + 1] << 8 | rgb[3 * i + 2]));
  return colors;
}

/// The palette made for a picture of these pixels, `width` of them a row.
Colors Make(const Colors &pixels, long width) {
  PQel image;
  test::NaiveImage naive(width, static_cast<long>(pixels.size()) / width, 24);
  naive.pixels = pixels;
  EXPECT_TRUE(image.CreateImage(1, naive.width, naive.height, 0, nullptr, 0, 0, 1, 0, 0));
  naive.Store(image);
  return Take(PItc::CreateCustomPalette(&image));
}

/// The standard colours, those given, and white.
Colors Palette(const Colors &own) {
  Colors all = {0x000000, 0x000080, 0x008000, 0x008080, 0x800000, 0x800080, 0x808000, 0xC0C0C0,
                0x808080, 0x0000FF, 0x00FF00, 0x00FFFF, 0xFF0000, 0xFF00FF, 0xFFFF00, 0xFFFFFF};
  all.insert(all.end(), own.begin(), own.end());
  all.resize(256, kWhite);
  return all;
}

/// Cells from 2 on that no standard colour is near.
std::vector<int> OwnCells(std::size_t count) {
  std::vector<int> cells;
  const auto isIn = [](int level, int lo, int hi) { return level >= lo && level <= hi; };
  for (int cell = 1; cells.size() < count; ++cell) {
    const int r = cell / 64, g = cell / 8 % 8, b = cell % 8;
    const auto all = [&](auto test) { return test(r) && test(g) && test(b); };
    const bool standard = all([&](int q) { return q == 0 || q == 7; }) ||
                          all([&](int q) { return q == 0 || isIn(q, 3, 4); }) ||
                          all([&](int q) { return isIn(q, 3, 4); }) || all([&](int q) { return isIn(q, 5, 6); });
    if (!standard) cells.push_back(cell);
  }
  return cells;
}

// Palettes -----------------------------------------------------------------------------------------------------------

TEST(CustomPalette, OneColourGetsShadesOfItsCell) {
  // All of 239 + 1 shades are its own: step 36/240 from 18 below the centre, cut at 0 and 255.
  for (Color color : {Color{0x4B6A92}, Color{0x0004FD}, kWhite}) {
    const int channels[3] = {static_cast<int>(color >> 16), static_cast<int>(color >> 8 & 255),
                             static_cast<int>(color & 255)};
    Colors own;
    float step[3], value[3];
    Color previous = 0;
    for (int c = 0; c < 3; ++c) {
      int centre = 0;
      for (int q : kCentres) centre = std::abs(q - channels[c]) < std::abs(centre - channels[c]) ? q : centre;
      const int lo = std::max(centre - 18, 0);
      step[c] = static_cast<float>(std::min(centre + 18, 255) - lo) / 240.0F;
      value[c] = static_cast<float>(lo) + step[c];
      previous = previous << 8 | Color(lo);
    }
    for (int i = 0; i < 239; ++i) {
      Color shade = 0;
      for (int c = 0; c < 3; ++c) shade = shade << 8 | Color(value[c] - 0.5F), value[c] += step[c];
      if (shade != previous) own.push_back(shade);
      previous = shade;
    }
    if (color != kWhite) own.push_back(color);  // white counts as no colour
    EXPECT_EQ(Make(Colors(100, color), 10), Palette(own)) << std::hex << color;
  }
}

TEST(CustomPalette, ShadesGoToTheMostUsedCellsFirst) {
  // 238 spare entries: 30 of 40 pixels give 179 steps through 36 levels about the first cell's centre, so that every
  // level occurs; 10 give 60 about the second's, the first of which is the lowest level and counts as written.
  Colors pixels(30, 0x929292), own;
  pixels.resize(40, 0x494949);
  for (Color level = 127; level <= 163; ++level) own.push_back(level * 0x010101);
  for (Color level = 56; level <= 89; ++level) own.push_back(level * 0x010101);
  own.insert(own.end(), {0x494949, 0x929292});
  EXPECT_EQ(Make(pixels, 8), Palette(own));
}

TEST(CustomPalette, ExactlyEnoughCellsAreTakenAsTheyAre) {
  Colors pixels, own;
  for (int cell : OwnCells(240)) {
    const Color centre = Centre(cell), inside = centre - 0x010101 * (cell / 64 && cell / 8 % 8 && cell % 8 ? 3 : 0);
    pixels.insert(pixels.end(), {centre, inside, centre, inside, inside});
    own.push_back((2 * (centre >> 16) + 3 * (inside >> 16)) / 5 << 16 |
                  (2 * (centre >> 8 & 255) + 3 * (inside >> 8 & 255)) / 5 << 8 |
                  (2 * (centre & 255) + 3 * (inside & 255)) / 5);
  }
  EXPECT_EQ(Make(pixels, 16), Palette(own));
}

TEST(CustomPalette, RareCellsJoinTheirFirstNeighbourUntilThereAreFewEnough) {
  // The empty white cell counts as removed: 243 cells need two merges. The rarest cell, then the next, each into the
  // first neighbour that is there.
  const std::vector<int> cells = OwnCells(243);
  Colors pixels, own;
  for (std::size_t i = 0; i < cells.size(); ++i) pixels.insert(pixels.end(), i < 2 ? 1 + i : 200, Centre(cells[i]));
  ASSERT_EQ(cells[0], 1);
  ASSERT_EQ(cells[1], 2);
  const auto join = [](Color near, Color nearCount, Color rare, Color count) {
    Color joined = 0;
    for (int shift : {16, 8, 0})
      joined |= ((near >> shift & 255) * nearCount + (rare >> shift & 255) * count) / (nearCount + count) << shift;
    return joined;
  };
  for (std::size_t i = 2; i < cells.size(); ++i)
    own.push_back(cells[i] == 65   ? join(Centre(65), 200, Centre(1), 1)
                  : cells[i] == 66 ? join(Centre(66), 200, Centre(2), 2)
                                   : Centre(cells[i]));
  while (pixels.size() % 7) pixels.push_back(Centre(cells.back()));
  EXPECT_EQ(Make(pixels, 7), Palette(Colors(own.begin(), own.begin() + 240)));
}

TEST(CustomPalette, CellsThatAreAllTooDifferentStayInCellOrder) {
  Colors pixels, own;
  for (int cell = 0; cell < 512; ++cell) pixels.insert(pixels.end(), 300, Centre(cell));
  for (int cell = 0; cell < 512 && own.size() < 240; ++cell) {
    const auto isNear = [cell](std::initializer_list<Color> colors) {
      return std::any_of(colors.begin(), colors.end(), [cell](Color standard) {
        bool near = true;
        for (int shift : {16, 8, 0})
          near &=
              std::abs(static_cast<int>(Centre(cell) >> shift & 255) - static_cast<int>(standard >> shift & 255)) < 8;
        return near;
      });
    };
    // 128 and 192 lie no nearer than 18 and 10 to a level's centre: only the corners of the cube go.
    if (!isNear({0, 0xFF, 0xFF00, 0xFFFF, 0xFF0000, 0xFF00FF, 0xFFFF00, 0xFFFFFF})) own.push_back(Centre(cell));
  }
  EXPECT_EQ(Make(pixels, 512), Palette(own));
}

TEST(CustomPalette, ComesFromAnyDeepImageAndNoOther) {
  std::mt19937 random(8);
  for (int type = 0; type < 10; ++type) {
    PQel image, deep;
    image.EnableBlock(0, 16);
    ASSERT_TRUE(test::Create(image, type, 61, 40, {4, 1, true}));
    test::NaiveImage naive(61, 40, image.GetBitCount());
    naive.Randomise(random);
    naive.Store(image);
    const HPALETTE palette = PItc::CreateCustomPalette(&image);
    ASSERT_EQ(palette != nullptr, naive.bits > 8);
    if (!palette) continue;
    ASSERT_TRUE(test::Create(deep, 1, 61, 40, {1, 0, false}) && deep.ConvertImage(&image, 0, 0, 0));
    EXPECT_EQ(Take(palette), Take(PItc::CreateCustomPalette(&deep))) << type;
  }
  PQel empty;
  EXPECT_EQ(PItc::CreateCustomPalette(&empty), nullptr);
  EXPECT_EQ(PItc::CreateCustomPalette(nullptr), nullptr);
}

// Steps --------------------------------------------------------------------------------------------------------------

TEST(CustomPalette, ToleranceDependsOnHowRareACellIs) {
  const auto check = [](int first, int second, long count) {
    const short a = static_cast<short>(first), b = static_cast<short>(second);
    const int results[3] = {Probe::xCheckRGB(a, 9, 9, b, 9, 9, count), Probe::xCheckRGB(9, a, 9, 9, b, 9, count),
                            Probe::xCheckRGB(9, 9, a, 9, 9, b, count)};
    EXPECT_TRUE(results[0] == results[1] && results[1] == results[2]);
    return results[0];
  };
  EXPECT_TRUE(check(100, 164, 256) && check(100, 36, 256) && check(10, 0, 1) && check(250, 255, 300));
  EXPECT_FALSE(check(100, 165, 256) || check(100, 35, 256) || check(100, 121, 257) || check(100, 79, 257));
  EXPECT_TRUE(check(100, 120, 257) && check(100, 80, 257));
}

TEST(CustomPalette, NeighboursAreTriedInTheirOrder) {
  constexpr int kOrder[26] = {64,  -64, 8, -8, 1,  -1, 72, 56, 65, 63,  -56, -72, -63,
                              -65, 9,   7, -7, -9, 73, 71, 57, 55, -55, -57, -71, -73};
  unsigned char colors[1536];
  long counts[512];
  const int cell = 4 * 64 + 3 * 8 + 2;
  for (int first = 0; first < 26; ++first) {  // all before `first` are empty
    std::fill_n(colors, 1536, static_cast<unsigned char>(100));
    std::fill_n(counts, 512, 0);
    for (int k = first; k < 26; ++k) counts[cell + kOrder[k]] = 2;
    colors[3 * cell] = 130, counts[cell] = 1;
    ASSERT_EQ(Probe::xCanCombineColors(colors, counts, cell, 1), 1);
    const int taken = cell + kOrder[first];
    EXPECT_EQ(counts[taken], 3);
    EXPECT_EQ(colors[3 * taken], 110);
    EXPECT_EQ(colors[3 * cell] & colors[3 * cell + 1] & colors[3 * cell + 2], 255);
  }
  EXPECT_EQ(Probe::xCheckNearPixel(colors, counts, cell, 8, 0, 0, 100, 100, 100, 1), 0);
  EXPECT_EQ(Probe::xCheckNearPixel(colors, counts, cell, 0, -1, 0, 100, 100, 100, 1), 0);
  EXPECT_EQ(Probe::xRemoveStandardColor(colors, counts, 0, 0, 0, 107, 93, 108), 0);
  EXPECT_EQ(Probe::xRemoveStandardColor(colors, counts, 0, 0, 0, 107, 93, 100), 1);
  EXPECT_EQ(colors[0] & colors[1] & colors[2], 255);
}

TEST(CustomPalette, MostUsedComeFirstAndLowestFirst) {
  std::vector<long> counts(4096);
  EXPECT_EQ(Probe::xCntMax(counts.data(), 4096), -1);
  counts[7] = counts[70] = 5, counts[9] = 6, counts[11] = -8;
  EXPECT_EQ(Probe::xCntMax(counts.data(), 9), 7);
  EXPECT_EQ(Probe::xCntMax(counts.data(), 0), -1);
  std::vector<int> index(256, -7);
  EXPECT_EQ(Probe::xGetMostUsedColor(index.data(), counts.data()), 3);
  EXPECT_EQ(std::vector<int>(index.begin() + 15, index.begin() + 20), (std::vector<int>{-7, 9, 7, 70, -7}));
  EXPECT_EQ(counts[9], -1);
  std::fill(counts.begin(), counts.end(), 1);
  EXPECT_EQ(Probe::xGetMostUsedColor(index.data(), counts.data()), 239);
  EXPECT_EQ(index[254], 238);
  EXPECT_EQ(index[255], -7);
}

}  // namespace

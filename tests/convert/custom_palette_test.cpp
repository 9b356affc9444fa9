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

/// The first cells that no standard colour is near: those with a level of 1 or 2.
std::vector<int> OwnCells(std::size_t count) {
  std::vector<int> cells;
  const auto isOwn = [](int level) { return level == 1 || level == 2; };
  for (int cell = 0; cells.size() < count; ++cell)
    if (isOwn(cell / 64) || isOwn(cell / 8 % 8) || isOwn(cell % 8)) cells.push_back(cell);
  return cells;
}

// Palettes -----------------------------------------------------------------------------------------------------------

/// Grays from one level to another, then more.
Colors Grays(Color first, Color last, const Colors &more) {
  Colors grays;
  for (Color level = first; level <= last; ++level) grays.push_back(level * 0x010101);
  grays.insert(grays.end(), more.begin(), more.end());
  return grays;
}

TEST(CustomPalette, OneColourGetsShadesOfItsCell) {
  // 239 steps through what lies within 18 of the cell's centre; the lowest level counts as written; a step below it is
  // none for black, and white counts as no colour.
  EXPECT_EQ(Make(Colors(100, 0), 10), Palette(Grays(1, 17, {0})));
  EXPECT_EQ(Make(Colors(100, 0x848484), 10), Palette(Grays(127, 163, {0x848484})));
  EXPECT_EQ(Make(Colors(100, kWhite), 10), Palette(Grays(236, 254, {})));
}

TEST(CustomPalette, ShadesGoToTheMostUsedCellsFirst) {
  // 238 spare entries: 30 of 40 pixels give 179 steps through 36 levels about the first cell's centre, so that every
  // level occurs; 10 give 60 about the second's, the first of which is the lowest level and counts as written.
  Colors pixels(30, 0x929292);
  pixels.resize(40, 0x494949);
  const Colors own = Grays(127, 163, Grays(56, 89, {0x494949, 0x929292}));
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
  // No level's centre is near 128 or 192, so that only the corners of the cube go.
  Colors pixels, own;
  const auto isEnd = [](int level) { return level == 0 || level == 7; };
  for (int cell = 0; cell < 512; ++cell) {
    pixels.insert(pixels.end(), 300, Centre(cell));
    const bool corner = isEnd(cell / 64) && isEnd(cell / 8 % 8) && isEnd(cell % 8);
    if (!corner && own.size() < 240) own.push_back(Centre(cell));
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
  const auto check = [](short first, short second, long count) {
    return Probe::xCheckRGB(9, first, 9, 9, second, 9, count);
  };
  EXPECT_TRUE(check(100, 164, 256) && check(100, 36, 256) && check(100, 120, 257) && check(250, 255, 300));
  EXPECT_FALSE(check(100, 165, 256) || check(100, 35, 256) || check(100, 121, 257) || check(100, 79, 257));
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
  EXPECT_FALSE(Probe::xRemoveStandardColor(colors, counts, 0, 0, 0, 107, 93, 108));
  EXPECT_TRUE(Probe::xRemoveStandardColor(colors, counts, 0, 0, 0, 107, 93, 100));
}

TEST(CustomPalette, MostUsedComeFirstAndLowestFirst) {
  std::vector<long> counts(4096);
  EXPECT_EQ(Probe::xCntMax(counts.data(), 4096), -1);
  counts[7] = counts[70] = 5, counts[9] = 6, counts[11] = -8;
  std::vector<int> index(256, -7);
  EXPECT_EQ(Probe::xGetMostUsedColor(index.data(), counts.data()), 3);
  EXPECT_EQ(std::vector<int>(index.begin() + 15, index.begin() + 20), (std::vector<int>{-7, 9, 7, 70, -7}));
  std::fill(counts.begin(), counts.end(), 1);
  EXPECT_EQ(Probe::xGetMostUsedColor(index.data(), counts.data()), 239);
  EXPECT_EQ(index[254], 238);
}

}  // namespace

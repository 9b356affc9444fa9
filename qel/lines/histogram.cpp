// The colour histogram.
//
// Pixel by pixel a picture's flat parts add to one cell over and over, each time waiting for the sum before. Long lines
// are counted otherwise: neighbours go to four tables in turn, and a table's cell packs its three sums and its count
// into one word, so that a pixel costs one addition. The sums are of what the channels exceed their cell's least values
// by, which is little enough for 16 bits a sum over a block of pixels. After each block the tables go into wider sums,
// and these into the cells at the end. Only a cell that would pass its limit there has the pixels looked at again.

#include "qel/lines/histogram.h"

#include <algorithm>
#include <array>

namespace qel::lines {

namespace {

int CellOf(const unsigned char *pixel) {
  return ColorLevel(pixel[2]) * 64 + ColorLevel(pixel[1]) * 8 + ColorLevel(pixel[0]);
}

void AddPixel(ColorCell &cell, const unsigned char *pixel) {
  if (cell.count >= kMostCellPixels) return;
  cell.blue += pixel[0];
  cell.green += pixel[1];
  cell.red += pixel[2];
  ++cell.count;
}

// Words --------------------------------------------------------------------------------------------------------------

constexpr int kTables = 4;
constexpr long kMostInTable = 65535 / 36;  // pixels of one table: a channel exceeds its level's least value by up to 36
constexpr long kBlockPixels = kTables * kMostInTable;
constexpr long kMostPixels = 1L << 20;  // of one part of a line: sums of their excesses stay below 2^31
constexpr long kFewPixels = 2048;       // too few to be worth the tables

/// The least channel value of each level.
constexpr auto kLeastOfLevel = [] {
  std::array<std::int32_t, 8> least{};
  for (int value = 255; value >= 0; --value) least[ColorLevel(value)] = value;
  return least;
}();

/// What a channel value adds to the word of a pixel: its excess in 16 bits (blue lowest), its part of the cell's number
/// in the upper 16.
using ChannelWords = std::array<std::uint64_t, 256>;

constexpr ChannelWords MakeChannelWords(int channel) {
  ChannelWords words{};
  for (int value = 0; value < 256; ++value) {
    const int level = ColorLevel(value);
    words[value] = static_cast<std::uint64_t>(value - kLeastOfLevel[level]) << (16 * channel) |
                   static_cast<std::uint64_t>(level) << (48 + 3 * channel);
  }
  return words;
}

constexpr ChannelWords kBlueWords = MakeChannelWords(0);
constexpr ChannelWords kGreenWords = MakeChannelWords(1);
constexpr ChannelWords kRedWords = MakeChannelWords(2);
constexpr int kNumberShift = 48;
constexpr std::uint64_t kOnePixel = std::uint64_t{1} << kNumberShift;  // in a table the count stands there

using Table = std::uint64_t[kColorCells];

void AddToTable(Table &table, const unsigned char *pixel) {
  const std::uint64_t word = kBlueWords[pixel[0]] + kGreenWords[pixel[1]] + kRedWords[pixel[2]];
  table[word >> kNumberShift] += (word & (kOnePixel - 1)) + kOnePixel;
}

// Parts of a line ----------------------------------------------------------------------------------------------------

/// The words of all tables and blocks, in fields of 32 bits.
struct WideSums {
  Table blueRed;  // blue low
  Table greenCount;
};

void CountBlock(WideSums &sums, const unsigned char *line, long n) {
  Table tables[kTables] = {};
  long i = 0;
  for (; i + kTables <= n; i += kTables)
    for (int k = 0; k < kTables; ++k) AddToTable(tables[k], line + 3 * (i + k));
  for (; i < n; ++i) AddToTable(tables[i % kTables], line + 3 * i);

  constexpr std::uint64_t kEvenFields = 0x0000FFFF0000FFFF;
  for (int cell = 0; cell < kColorCells; ++cell) {
    for (int k = 0; k < kTables; ++k) {
      sums.blueRed[cell] += tables[k][cell] & kEvenFields;
      sums.greenCount[cell] += tables[k][cell] >> 16 & kEvenFields;
    }
  }
}

/// What a cell has counted in a part of a line.
ColorCell TotalOf(const WideSums &sums, int cell) {
  const std::uint64_t blueRed = sums.blueRed[cell], greenCount = sums.greenCount[cell];
  const auto count = static_cast<std::int32_t>(greenCount >> 32);
  const auto total = [count](std::uint64_t excess, int level) {
    return static_cast<std::int32_t>(excess & 0xFFFFFFFF) + count * kLeastOfLevel[level];
  };
  return {total(blueRed, cell % 8), total(greenCount, cell / 8 % 8), total(blueRed >> 32, cell / 64), count};
}

void CountPart(ColorCell *cells, const unsigned char *line, long n) {
  WideSums sums = {};
  for (long i = 0; i < n; i += kBlockPixels) CountBlock(sums, line + 3 * i, std::min(n - i, kBlockPixels));
  for (int number = 0; number < kColorCells; ++number) {
    const ColorCell counted = TotalOf(sums, number);
    ColorCell &cell = cells[number];
    if (counted.count <= kMostCellPixels - cell.count) {
      cell.blue += counted.blue;
      cell.green += counted.green;
      cell.red += counted.red;
      cell.count += counted.count;
    } else if (cell.count < kMostCellPixels) {
      for (long i = 0; i < n; ++i)
        if (CellOf(line + 3 * i) == number) AddPixel(cell, line + 3 * i);
    }
  }
}

}  // namespace

void plain::CountColors(ColorCell *cells, const unsigned char *line, long n) {
  for (long i = 0; i < n; ++i, line += 3) AddPixel(cells[CellOf(line)], line);
}

void CountColors(ColorCell *cells, const unsigned char *line, long n) {
  while (n >= kFewPixels) {
    const long part = std::min(n, kMostPixels);
    CountPart(cells, line, part);
    line += 3 * part;
    n -= part;
  }
  plain::CountColors(cells, line, n);
}

}  // namespace qel::lines

// The colour histogram against pixels counted one by one, at its limit too.

#include "qel/lines/histogram.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <random>
#include <vector>

namespace {

using qel::lines::ColorCell;
using qel::lines::kMostCellPixels;
using Cells = std::vector<ColorCell>;
using Line = std::vector<unsigned char>;

constexpr long kMostPixels = 30000;

std::string Bytes(const Cells &cells) {
  return {reinterpret_cast<const char *>(cells.data()), cells.size() * sizeof(ColorCell)};
}

/// What the cells hold after a line; levels are told by the nearest seventh of 255, halves upwards.
Cells Naive(Cells cells, const Line &line, long n) {
  const auto level = [](int c) { return (14 * c + 256) / 512; };
  for (long i = 0; i < n; ++i) {
    const int b = line[static_cast<std::size_t>(3 * i)], g = line[static_cast<std::size_t>(3 * i + 1)],
              r = line[static_cast<std::size_t>(3 * i + 2)];
    ColorCell &cell = cells[static_cast<std::size_t>(level(r) * 64 + level(g) * 8 + level(b))];
    if (cell.count == kMostCellPixels) continue;
    cell = {cell.blue + b, cell.green + g, cell.red + r, cell.count + 1};
  }
  return cells;
}

/// Pixels that run on from each other by up to `step` a channel; every level's greatest values occur among them.
Line Walk(std::mt19937 &random, int step) {
  Line line(3 * kMostPixels);
  int value[3] = {54, 255, 91};
  for (std::size_t i = 0; i < line.size(); ++i) {
    int &v = value[i % 3];
    v = std::clamp(v + static_cast<int>(random() % static_cast<unsigned>(2 * step + 1)) - step, 0, 255);
    line[i] = static_cast<unsigned char>(v);
  }
  return line;
}

TEST(Histogram, CountsEveryPixelOfAnyLine) {
  std::mt19937 random(3);
  for (int step : {0, 2, 255}) {
    const Line line = Walk(random, step);
    for (long n : {0L, 1L, 2047L, 2048L, 2049L, 2050L, 2051L, 7279L, 7280L, 7281L, 14563L, kMostPixels}) {
      Cells cells(512);
      for (auto &cell : cells) cell = {9, 8, 7, static_cast<std::int32_t>(random() % 1000)};
      const Cells expected = Naive(cells, line, n);
      qel::lines::CountColors(cells.data(), line.data(), n);
      ASSERT_EQ(Bytes(cells), Bytes(expected)) << step << " " << n;
    }
  }
}

TEST(Histogram, AFullCellTakesNoMore) {
  std::mt19937 random(4);
  const Line line = Walk(random, 1);  // thousands of pixels in few cells
  for (long n : {100L, kMostPixels}) {
    for (int room : {0, 1, 2, 57, 5000}) {
      Cells cells(512, {1 << 30, 1 << 29, 1 << 28, kMostCellPixels - room});
      const Cells expected = Naive(cells, line, n);
      qel::lines::CountColors(cells.data(), line.data(), n);
      ASSERT_EQ(Bytes(cells), Bytes(expected)) << n << " " << room;
    }
  }
}

}  // namespace

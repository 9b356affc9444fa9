// A coarse histogram of 24-bit pixels: 512 cells, one for each combination of eight levels a channel. Level q of a
// channel value c is (7 c + 128) >> 8, the cell's number red level x 64 + green level x 8 + blue level.
#pragma once

#include <cstdint>

namespace qel::lines {

constexpr int kColorCells = 512;
constexpr std::int32_t kMostCellPixels = 0x7FFFFF;  // sums of so many stay below 2^31

/// What a cell has counted.
struct ColorCell {
  std::int32_t blue;  // sums of the channels
  std::int32_t green;
  std::int32_t red;
  std::int32_t count;
};

/// The level of a channel value.
constexpr int ColorLevel(int value) {
  return (7 * value + 128) >> 8;
}

/// Adds n 24-bit pixels, in their order, to the 512 cells. A cell that holds kMostCellPixels takes no more. Fastest for
/// some thousand pixels at once: each call has costs of about one cell a cycle.
void CountColors(ColorCell *cells, const unsigned char *line, long n);

namespace plain {

/// The same, pixel by pixel.
void CountColors(ColorCell *cells, const unsigned char *line, long n);

}  // namespace plain
}  // namespace qel::lines

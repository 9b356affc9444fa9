// Point samples along slanted lines, in their plain form.

#include "qel/lines/sample.h"

#include <algorithm>

namespace qel::lines {

namespace {

long PixelOf(double v, long centre) {
  return static_cast<long>(v < 0 ? v - 0.999 : v) + centre;
}

template <class Number>
void Find(Number *numbers, SampleWalks &walks, const SampleGrid &grid, long count) {
  for (int k = 0; k < kWalks; ++k) {
    double x = walks.x[k], y = walks.y[k];
    for (long i = 0; i < count; ++i) {
      long column = PixelOf(x, grid.centreX), row = PixelOf(y, grid.centreY);
      if (grid.clamp) {
        column = std::clamp(column, 0L, grid.width - 1);
        row = std::clamp(row, 0L, grid.height - 1);
      }
      const bool isInside = column >= 0 && column < grid.width && row >= 0 && row < grid.height;
      numbers[kWalks * i + k] = static_cast<Number>(isInside ? row * grid.width + column : grid.outside);
      x += walks.stepX;
      y += walks.stepY;
    }
    walks.x[k] = x;
    walks.y[k] = y;
  }
}

}  // namespace

void FindSamples(std::int32_t *numbers, SampleWalks &walks, const SampleGrid &grid, long count) {
  Find(numbers, walks, grid, count);
}

void FindSamplesWide(std::int64_t *numbers, SampleWalks &walks, const SampleGrid &grid, long count) {
  Find(numbers, walks, grid, count);
}

}  // namespace qel::lines

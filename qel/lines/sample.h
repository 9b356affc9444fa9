// Point samples of an image along slanted lines: where they lie, and the pixels found there. Eight walks go side by
// side, because each of them is a chain of additions that must not be done in another order.
#pragma once

#include <cstdint>

namespace qel::lines {

constexpr int kWalks = 8;

/// The next points of eight walks, relative to the centre of a source, and their step.
struct SampleWalks {
  double x[kWalks];
  double y[kWalks];
  double stepX;
  double stepY;
};

/// A source as the walks see it.
struct SampleGrid {
  long width;
  long height;
  long centreX;  // the pixel of point (0, 0)
  long centreY;
  long outside;  // the number that stands for every point outside, unless `clamp`
  bool clamp;    // points outside show the nearest pixel of the edge
};

/// The pixels that the next `count` points of each walk show, as numbers row x width + column, eight a point; the walks
/// stand behind them then. A coordinate v is v truncated, v - 0.999 truncated when it is below 0, plus the centre.
void FindSamples(std::int32_t *numbers, SampleWalks &walks, const SampleGrid &grid, long count);

/// The same for sources with more pixels than 31 bits count.
void FindSamplesWide(std::int64_t *numbers, SampleWalks &walks, const SampleGrid &grid, long count);

}  // namespace qel::lines

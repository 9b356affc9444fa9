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

/// The pixels that a source has, as columns and rows from its centre on; points beyond show the nearest of them.
struct SampleGrid {
  long left;
  long right;  // the last column
  long top;
  long bottom;  // the last row
  long stride;  // pixels from row to row
};

/// The pixels that the next `count` points of each walk show, eight numbers a point: row x stride + column; the walks
/// stand behind the points then. A coordinate is truncated, 0.999 being taken off first when it is below 0. For grids
/// of up to 2^28 columns and rows and less than 2^31 pixels.
void FindSamples(std::int32_t *numbers, SampleWalks &walks, const SampleGrid &grid, long count);

/// The same for the first walk alone, one number a point, and for grids of every size.
void FindSamplesOfOne(std::int64_t *numbers, SampleWalks &walks, const SampleGrid &grid, long count);

/// The values of n packed pixels of 1, 4 or 8 bits, a byte each.
void UnpackValues(unsigned char *dst, const unsigned char *src, long n, int bits);

// Pixels of `channels` bytes (1 or 3) around `centre`, pixel number 0. Numbers of the same walk lie eight apart. One
// byte behind the pixels is read, and one behind the line written.

/// One pixel a point: dst[i] is the pixel of numbers[8 i].
void CopySamples(unsigned char *dst, const unsigned char *centre, const std::int32_t *numbers, long count,
                 int channels);

/// Adds to each pixel's sums (one a channel) `points` points of `walks` walks side by side: pixel i begins with
/// numbers[8 i x points].
void AddSamples(std::uint32_t *sums, const unsigned char *centre, const std::int32_t *numbers, long count, long points,
                long walks, int channels);

}  // namespace qel::lines

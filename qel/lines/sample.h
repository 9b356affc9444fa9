// Point samples of an image along slanted lines: where they lie, and the pixels found there. Eight walks go side by
// side, because each of them is a chain of additions that must not be done in another order.
#pragma once

#include <cstdint>
#include <limits>

namespace qel::lines {

constexpr int kWalks = 8;

/// The next points of eight walks, relative to the centre of a source, and their step.
struct SampleWalks {
  double x[kWalks];
  double y[kWalks];
  double stepX;
  double stepY;
};

/// The pixels of a source: columns left .. right and rows top .. bottom, counted from its centre, and where they lie.
struct SampleGrid {
  long left;
  long right;
  long top;
  long bottom;
  long rowBytes;    // from row to row; negative for rows that lie bottom up
  long pixelBytes;  // from column to column
  bool clamp;       // points outside show the nearest pixel
};

/// Stands for a point outside.
template <class Place>
constexpr Place kOutside = std::numeric_limits<Place>::min();

/// The pixels that the next `count` points of each walk show, eight places a point: row x rowBytes + column x
/// pixelBytes or kOutside. The walks stand behind the points then. A coordinate is truncated, 0.999 being taken off
/// first when it is below 0. For sources of up to 2^28 columns and rows and less than 2^31 bytes. True when no point is
/// outside.
bool FindSamples(std::int32_t *places, SampleWalks &walks, const SampleGrid &grid, long count);

/// The same for the first walk alone, one place a point, and for sources of every size.
void FindSamplesOfOne(std::int64_t *places, SampleWalks &walks, const SampleGrid &grid, long count);

/// Moves the walks behind their next `count` points.
void SkipSamples(SampleWalks &walks, long count);

/// Pixels around `centre`, place 0, and the level or 0x00RRGGBB of what is outside. Of colours the first three bytes
/// are taken, and the byte before them is read too.
struct SamplePixels {
  const unsigned char *centre;
  int channels;  // 1 or 3
  std::uint32_t background;
};

// The places of a walk lie eight apart. `all`: no point is outside.

/// One pixel a point: pixel i is that of places[8 i]. One byte behind a line of colours is written.
void CopySamples(unsigned char *dst, const SamplePixels &pixels, const std::int32_t *places, long count, bool all);

/// Averages of points x points points, two to eight each way, walk by walk side by side: pixel i begins with
/// places[8 i x points]. One byte behind a line of colours is written.
void AverageSamples(unsigned char *dst, const SamplePixels &pixels, const std::int32_t *places, long count, long points,
                    bool all);

/// Adds to each pixel's sums (one a channel) `points` points of `walks` walks, in the same order.
void AddSamples(std::uint32_t *sums, const SamplePixels &pixels, const std::int32_t *places, long count, long points,
                long walks, bool all);

/// Adds n values to a pixel's sums, one a channel: levels, or 0x00RRGGBB.
void AddSampleValues(std::uint32_t *sums, const std::int64_t *values, long n, int channels);

/// `count` pixels of background.
void FillBackground(unsigned char *dst, const SamplePixels &pixels, long count);

}  // namespace qel::lines

// Point samples along slanted lines: where they lie, in plain form, and the pixels found there.

#include "qel/lines/sample.h"

#include <algorithm>
#include <cstring>

#include "qel/lines/run_fill.h"
#include "qel/lines/sample_plain.h"

namespace qel::lines {

// Where they lie -----------------------------------------------------------------------------------------------------

namespace {

long PixelOf(double v) {
  return static_cast<long>(v < 0 ? v - 0.999 : v);
}

/// Walk k; its places are `apart` places apart.
template <class Place>
bool FindOfWalk(Place *places, SampleWalks &walks, int k, const SampleGrid &grid, long count, int apart) {
  double x = walks.x[k], y = walks.y[k];
  bool all = true;
  for (long i = 0; i < count; ++i) {
    const long column = PixelOf(x), row = PixelOf(y);
    const long nearColumn = std::clamp(column, grid.left, grid.right), nearRow = std::clamp(row, grid.top, grid.bottom);
    const bool isShown = grid.clamp || (column == nearColumn && row == nearRow);
    places[apart * i] =
        isShown ? static_cast<Place>(nearRow * grid.rowBytes + nearColumn * grid.pixelBytes) : kOutside<Place>;
    all &= isShown;
    x += walks.stepX;
    y += walks.stepY;
  }
  walks.x[k] = x;
  walks.y[k] = y;
  return all;
}

}  // namespace

bool plain::FindSamples(std::int32_t *places, SampleWalks &walks, const SampleGrid &grid, long count) {
  bool all = true;
  for (int k = 0; k < kWalks; ++k) all &= FindOfWalk(places + k, walks, k, grid, count, kWalks);
  return all;
}

void FindSamplesOfOne(std::int64_t *places, SampleWalks &walks, const SampleGrid &grid, long count) {
  FindOfWalk(places, walks, 0, grid, count, 1);
}

void SkipSamples(SampleWalks &walks, long count) {
  for (long i = 0; i < count; ++i) {
    for (int k = 0; k < kWalks; ++k) {
      walks.x[k] += walks.stepX;
      walks.y[k] += walks.stepY;
    }
  }
}

// Pixels -------------------------------------------------------------------------------------------------------------

namespace {

/// A colour in the upper three bytes. The load begins before the colour, where there is always a byte: behind the last
/// pixel of an image there may be none.
template <bool kAll>
std::uint32_t LoadColor(const SamplePixels &pixels, std::int32_t place) {
  if (!kAll && place == kOutside<std::int32_t>) return pixels.background << 8;
  std::uint32_t v;
  std::memcpy(&v, pixels.centre + place - 1, sizeof v);
  return v;
}

template <bool kAll>
std::uint32_t LoadLevel(const SamplePixels &pixels, std::int32_t place) {
  return !kAll && place == kOutside<std::int32_t> ? pixels.background : pixels.centre[place];
}

template <bool kAll>
void Copy(unsigned char *dst, const SamplePixels &pixels, const std::int32_t *places, long count) {
  if (pixels.channels == 1) {
    for (long i = 0; i < count; ++i) dst[i] = static_cast<unsigned char>(LoadLevel<kAll>(pixels, places[kWalks * i]));
    return;
  }
  for (long i = 0; i < count; ++i) {
    const std::uint32_t v = LoadColor<kAll>(pixels, places[kWalks * i]) >> 8;
    std::memcpy(dst + 3 * i, &v, sizeof v);  // the fourth byte goes where the next pixel comes
  }
}

template <bool kAll>
void Add(std::uint32_t *sums, const SamplePixels &pixels, const std::int32_t *places, long count, long points,
         long walks) {
  for (long i = 0; i < count; ++i, sums += pixels.channels) {
    for (const std::int32_t *const end = places + kWalks * points; places < end; places += kWalks) {
      for (long k = 0; k < walks; ++k) {
        if (pixels.channels == 1) {
          sums[0] += LoadLevel<kAll>(pixels, places[k]);
        } else {
          const std::uint32_t v = LoadColor<kAll>(pixels, places[k]);
          for (int c = 0; c < 3; ++c) sums[c] += v >> (8 * c + 8) & 0xFF;
        }
      }
    }
  }
}

}  // namespace

void CopySamples(unsigned char *dst, const SamplePixels &pixels, const std::int32_t *places, long count, bool all) {
  (all ? Copy<true> : Copy<false>)(dst, pixels, places, count);
}

void AddSamples(std::uint32_t *sums, const SamplePixels &pixels, const std::int32_t *places, long count, long points,
                long walks, bool all) {
  (all ? Add<true> : Add<false>)(sums, pixels, places, count, points, walks);
}

void plain::AverageSamples(unsigned char *dst, const SamplePixels &pixels, const std::int32_t *places, long count,
                           long points, bool all) {
  const auto number = static_cast<std::uint32_t>(points * points);
  for (long i = 0; i < count; ++i, places += kWalks * points) {
    std::uint32_t sums[3] = {};
    lines::AddSamples(sums, pixels, places, 1, points, points, all);
    for (int c = 0; c < pixels.channels; ++c) *dst++ = static_cast<unsigned char>(sums[c] / number);
  }
}

void AddSampleValues(std::uint32_t *sums, const std::int64_t *values, long n, int channels) {
  for (long i = 0; i < n; ++i) {
    const auto value = static_cast<std::uint32_t>(values[i]);
    if (channels == 1) {
      *sums += value;
    } else {
      for (int c = 0; c < 3; ++c) sums[c] += value >> 8 * c & 0xFF;
    }
  }
}

void FillBackground(unsigned char *dst, const SamplePixels &pixels, long count) {
  if (pixels.channels == 1)
    std::memset(dst, static_cast<int>(pixels.background), static_cast<std::size_t>(count));
  else
    FillRunTrio(dst, pixels.background, static_cast<unsigned long>(count));
}

}  // namespace qel::lines

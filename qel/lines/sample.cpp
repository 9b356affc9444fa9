// Point samples along slanted lines: where they lie, in plain form, and the pixels found there.

#include "qel/lines/sample.h"

#include <algorithm>
#include <cstring>

#include "qel/lines/sample_plain.h"

namespace qel::lines {

// Where they lie -----------------------------------------------------------------------------------------------------

namespace {

long PixelOf(double v, long first, long last) {
  return std::clamp(static_cast<long>(v < 0 ? v - 0.999 : v), first, last);
}

/// Walk k; its numbers are `apart` numbers apart.
template <class Number>
void FindOfWalk(Number *numbers, SampleWalks &walks, int k, const SampleGrid &grid, long count, int apart) {
  double x = walks.x[k], y = walks.y[k];
  for (long i = 0; i < count; ++i) {
    const long row = PixelOf(y, grid.top, grid.bottom);
    numbers[apart * i] = static_cast<Number>(row * grid.stride + PixelOf(x, grid.left, grid.right));
    x += walks.stepX;
    y += walks.stepY;
  }
  walks.x[k] = x;
  walks.y[k] = y;
}

}  // namespace

void plain::FindSamples(std::int32_t *numbers, SampleWalks &walks, const SampleGrid &grid, long count) {
  for (int k = 0; k < kWalks; ++k) FindOfWalk(numbers + k, walks, k, grid, count, kWalks);
}

void FindSamplesOfOne(std::int64_t *numbers, SampleWalks &walks, const SampleGrid &grid, long count) {
  FindOfWalk(numbers, walks, 0, grid, count, 1);
}

// Pixels -------------------------------------------------------------------------------------------------------------

void UnpackValues(unsigned char *dst, const unsigned char *src, long n, int bits) {
  for (long i = 0; i < n; ++i) {
    const long bit = i * bits;
    dst[i] = static_cast<unsigned char>(src[bit / 8] >> (8 - bits - bit % 8) & ((1 << bits) - 1));
  }
}

namespace {

/// Blue, green, red and whatever follows them.
std::uint32_t Load24(const unsigned char *centre, long number) {
  std::uint32_t v;
  std::memcpy(&v, centre + 3 * number, sizeof v);
  return v;
}

}  // namespace

void CopySamples(unsigned char *dst, const unsigned char *centre, const std::int32_t *numbers, long count,
                 int channels) {
  if (channels == 1) {
    for (long i = 0; i < count; ++i) dst[i] = centre[numbers[kWalks * i]];
    return;
  }
  for (long i = 0; i < count; ++i) {
    const std::uint32_t v = Load24(centre, numbers[kWalks * i]);
    std::memcpy(dst + 3 * i, &v, sizeof v);  // the fourth byte goes where the next pixel comes
  }
}

namespace {

constexpr std::uint32_t kBlueAndRed = 0x00FF00FF, kGreen = 0x0000FF00;

/// Sums of blue and red, 16 bits each, and of green, shifted by 8: enough for 257 samples.
struct ShortSums {
  std::uint32_t blueAndRed = 0;
  std::uint32_t green = 0;

  template <long kPoints>
  void Add(const unsigned char *centre, const std::int32_t *numbers, long points, long walks) {
    for (long j = 0; j < (kPoints ? kPoints : points); ++j) {
      for (long k = 0; k < (kPoints ? kPoints : walks); ++k) {
        const std::uint32_t v = Load24(centre, numbers[kWalks * j + k]);
        blueAndRed += v & kBlueAndRed;
        green += v & kGreen;
      }
    }
  }

  void AddTo(std::uint32_t *sums) const {
    sums[0] += blueAndRed & 0xFFFF;
    sums[1] += green >> 8;
    sums[2] += blueAndRed >> 16;
  }
};

}  // namespace

void AddSamples(std::uint32_t *sums, const unsigned char *centre, const std::int32_t *numbers, long count, long points,
                long walks, int channels) {
  constexpr long kMostPoints = 32;  // of eight walks
  if (channels == 1) {
    for (long i = 0; i < count; ++i) {
      for (long j = 0; j < points; ++j, numbers += kWalks)
        for (long k = 0; k < walks; ++k) sums[i] += centre[numbers[k]];
    }
  } else if (points == 2 && walks == 2) {
    for (long i = 0; i < count; ++i, sums += 3, numbers += 2 * kWalks) {
      ShortSums some;
      some.Add<2>(centre, numbers, 2, 2);
      some.AddTo(sums);
    }
  } else {
    for (long i = 0; i < count; ++i, sums += 3) {
      for (long j = 0; j < points; j += kMostPoints) {
        ShortSums some;
        const long n = std::min(kMostPoints, points - j);
        some.Add<0>(centre, numbers, n, walks);
        some.AddTo(sums);
        numbers += kWalks * n;
      }
    }
  }
}

}  // namespace qel::lines

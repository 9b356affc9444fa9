// Errors of diffused lines between rows and loops: the plain loops.

#include "qel/lines/diffuse_errors.h"

#include <algorithm>

namespace qel::lines::plain {

namespace {

/// 5, 3 and 1 sixteenths.
int SharesOf(int below, int ahead, int behind) {
  return (below * 5 >> 4) + (ahead * 3 >> 4) + (behind >> 4);
}

/// Whatever the entry held, without overflow of the signed kind.
void AddTo(std::int32_t &entry, int share) {
  entry = static_cast<std::int32_t>(static_cast<std::uint32_t>(entry) + static_cast<std::uint32_t>(share));
}

}  // namespace

void GatherErrors(std::int16_t *sums, std::int16_t *least, std::int16_t *greatest, const unsigned char *colors,
                  std::int32_t *errors, long n) {
  for (long i = 0; i < n; ++i) {
    for (int c = 0; c < 3; ++c, ++sums, ++least, ++greatest, ++errors) {
      const int color = colors[3 * i + 2 - c];
      *sums = static_cast<std::int16_t>(16 * (color + std::clamp(*errors, -256, 256)));  // a share is below 128
      *least = static_cast<std::int16_t>(16 * std::max(color - 128, 0));
      *greatest = static_cast<std::int16_t>(16 * std::min(color + 128, 255));
      *errors = 0;
    }
  }
}

bool GatherGrayErrors(std::int16_t *sums, const unsigned char *levels, std::int32_t *errors, long n, int limit,
                      int offset) {
  std::uint32_t isUnequal = 0, isBeyond = 0;
  for (long i = 0; i < n; ++i) {
    const auto red = static_cast<std::uint32_t>(errors[3 * i]);
    isUnequal |=
        (red ^ static_cast<std::uint32_t>(errors[3 * i + 1])) | (red ^ static_cast<std::uint32_t>(errors[3 * i + 2]));
    isBeyond |= red + static_cast<std::uint32_t>(limit) > 2U * static_cast<std::uint32_t>(limit);
    sums[i] = static_cast<std::int16_t>(levels[i] + static_cast<std::int16_t>(red) + offset);
  }
  if ((isUnequal | isBeyond) != 0) return false;
  std::fill_n(errors, 3 * n, 0);
  return true;
}

void SpreadErrors(std::int32_t *row, const std::int16_t *errors, long n, long ahead) {
  for (long i = 0; i < n; ++i) AddTo(row[i], SharesOf(errors[i], errors[i + ahead], errors[i - ahead]));
}

void SpreadGrayErrors(std::int32_t *row, const std::int16_t *errors, long n, long ahead) {
  for (long i = 0; i < n; ++i, row += 3) {
    const int share = SharesOf(errors[i], errors[i + ahead], errors[i - ahead]);
    for (int c = 0; c < 3; ++c) AddTo(row[c], share);
  }
}

// For the screen -----------------------------------------------------------------------------------------------------

void GatherDisplayErrors(const DisplaySums &to, const unsigned char *colors, const std::int32_t *errors, long n) {
  for (long i = 0; i < 3 * n; ++i) {
    const int color = colors[i + 2 - 2 * (i % 3)];
    to.sums[i] = static_cast<std::int16_t>(16 * (color + std::clamp(errors[i], -296, 296)));  // a share is below 168
    to.least[i] = static_cast<std::int16_t>(16 * (color - 128));
    to.greatest[i] = static_cast<std::int16_t>(16 * (color + 128));
    to.leastKey[i] = static_cast<std::int16_t>(16 * std::max(color - 128, 0));
    to.greatestKey[i] = static_cast<std::int16_t>(16 * std::min(color + 128, 255));
  }
}

void SpreadDisplayErrors(std::int32_t *current, std::int32_t *next, const std::int16_t *errors, long n) {
  for (long i = 0; i < n; ++i) {
    AddTo(current[i + 3], 7 * errors[i] / 16);
    next[i + 3] = errors[i] / 16 + 5 * errors[i + 3] / 16 + 3 * errors[i + 6] / 16;
  }
}

}  // namespace qel::lines::plain

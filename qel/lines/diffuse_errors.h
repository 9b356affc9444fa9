// The errors of diffused lines on their way between the rows, which hold 32-bit triples red, green, blue, and the loops
// that go from pixel to pixel.
#pragma once

#include <cstdint>

namespace qel::lines {

/// What is carried into n 24-bit pixels, added to them, times 16: `sums`; the least and greatest sums that carrying
/// -128 .. 128 allows within 0 .. 255, times 16: `least`, `greatest`. All in the order red, green, blue. The errors
/// become 0.
void GatherErrors(std::int16_t *sums, std::int16_t *least, std::int16_t *greatest, const unsigned char *colors,
                  std::int32_t *errors, long n);

/// The same for gray levels and errors that are equal in all channels and within -limit .. limit, as level + error +
/// offset. False, with nothing changed but `sums`, when they are not.
bool GatherGrayErrors(std::int16_t *sums, const unsigned char *levels, std::int32_t *errors, long n, int limit,
                      int offset);

/// Adds to n entries of a row 5, 3 and 1 sixteenths of the errors at their places, `ahead` places further and as far
/// behind (3: lines run to the right, -3: to the left).
void SpreadErrors(std::int32_t *row, const std::int16_t *errors, long n, long ahead);

/// The same for n pixels with one error each (1, -1), which counts in all channels.
void SpreadGrayErrors(std::int32_t *row, const std::int16_t *errors, long n, long ahead);

// For the screen (display_diffuse.h): values may leave 0 .. 255, shares are truncated toward zero.

/// What a pixel can become: `sums` as above, and the limits of its value and of its key, times 16.
struct DisplaySums {
  std::int16_t *sums, *least, *greatest, *leastKey, *greatestKey;

  DisplaySums operator+(long i) const { return {sums + i, least + i, greatest + i, leastKey + i, greatestKey + i}; }
};

/// As GatherErrors; the errors stay.
void GatherDisplayErrors(const DisplaySums &to, const unsigned char *colors, const std::int32_t *errors, long n);

/// Spreads n errors of inner pixels: 7 sixteenths are added to the pixels after them in their own row. In the row below
/// the same pixels are set to what comes from those before (1 sixteenth), above (5) and after (3) them; behind the
/// errors stand six entries of 0.
void SpreadDisplayErrors(std::int32_t *current, std::int32_t *next, const std::int16_t *errors, long n);

/// The plain loops: the tails of the vector ones, and the truth that tests hold them against.
namespace plain {

void GatherErrors(std::int16_t *sums, std::int16_t *least, std::int16_t *greatest, const unsigned char *colors,
                  std::int32_t *errors, long n);
bool GatherGrayErrors(std::int16_t *sums, const unsigned char *levels, std::int32_t *errors, long n, int limit,
                      int offset);
void SpreadErrors(std::int32_t *row, const std::int16_t *errors, long n, long ahead);
void SpreadGrayErrors(std::int32_t *row, const std::int16_t *errors, long n, long ahead);
void GatherDisplayErrors(const DisplaySums &to, const unsigned char *colors, const std::int32_t *errors, long n);
void SpreadDisplayErrors(std::int32_t *current, std::int32_t *next, const std::int16_t *errors, long n);

}  // namespace plain

}  // namespace qel::lines

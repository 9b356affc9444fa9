// Lines resampled to another number of pixels, and lines added up, divided and blended: what a rescaling does with
// pixels. The geometry comes in zoom tables of one direction, for n source and m destination pixels:
//
//   zoom-in   (n < m): m entries. map: 0 keep the pair of source pixels, else move it one on after this pixel.
//             Weight 1 and weight 2 of the pair's pixels add up to m.
//   zoom-out  (n > m): n + m - 1 entries, a source pixel being m long and a destination pixel n long. map: 1 this entry
//             closes a destination pixel, 0 a source pixel. Weight: the length that both have in common.
#pragma once

#include <cstdint>

#include "qel/export.h"

// For other modules too, on their own lines. Null pointers, counts below 1 and divisors of 0 do nothing.

/// acc[i] += line[i] x w, in 32 bits.
QEL_API void AccumulateLine(std::uint32_t *pdwAcc, const unsigned char *pLine, long lCount, std::int32_t lWeight);

/// out[i] = acc[i] / d, truncated, its low byte.
QEL_API void DivideLine(unsigned char *pOut, const std::uint32_t *pdwAcc, long lCount, std::uint32_t dwDivisor);

/// out[i] = (a[i] x w1 + b[i] x w2) / m, truncated; `pOut` may be one of the two lines.
QEL_API void BlendLines(unsigned char *pOut, const unsigned char *pA, const unsigned char *pB, std::int32_t lDivisor,
                        std::int32_t lWeight1, std::int32_t lWeight2, long lCount);

/// Area averages of a gray or 24-bit line of `n` pixels by a zoom-out table; every sum begins at `nStart` (n / 2: round
/// to nearest, 0: truncate). The table's first weight tells how many pixels are written.
QEL_API void ZoomOutGrayLine(const unsigned char *pSrc, unsigned char *pOut, const int *pnMap,
                             const std::int32_t *plWeights, long n, long nStart);
QEL_API void ZoomOut24bitLine(const unsigned char *pSrc, unsigned char *pOut, const int *pnMap,
                              const std::int32_t *plWeights, long n, long nStart);

namespace qel::lines {

/// The longest line that sums of 32 bits can average: 255 n + n / 2 stays below 2^32.
inline constexpr long kMaxAveraged = 16810048;
static_assert(255 * kMaxAveraged + kMaxAveraged / 2 < 1L << 32);

/// Area averages as above: `m` pixels of `channels` bytes each (1 or 3), rounded to nearest.
void ZoomOut(unsigned char *dst, const unsigned char *src, const int *map, const std::int32_t *weights, long n, long m,
             int channels);

/// Linear interpolation of a line of n pixels by a zoom-in table, rounded to nearest.
void ZoomIn(unsigned char *dst, const unsigned char *src, const int *map, const std::int32_t *weights1,
            const std::int32_t *weights2, long n, long m, int channels);

/// What every pixel of a line is to be made of, for the fast forms of the two above: a weighted sum of a run of source
/// pixels, divided. Pixels count in groups of 16, the last of which is filled up with weights of 0.
struct Runs {
  long count;                    // pixels of the new line
  long pairs;                    // source pixels of the longest run, in pairs
  const std::uint32_t *starts;   // of each pixel: the first byte of its run
  const std::uint32_t *weights;  // of each group, of each pair: for 16 pixels the two weights, the first one's low
  const std::uint32_t *picks;    // for gray lines: what SetPicks writes
  std::uint32_t divisor;         // sums are below 256 times that
  std::uint32_t start;           // of every sum
};

inline constexpr long kGroup = 16;         // pixels
inline constexpr long kMaxWeight = 32767;  // of a run

/// Bytes that SumRuns may read behind a line and write behind the new one, whatever they hold.
constexpr long ReadSlack(long pairs) {
  return 6 * pairs + 64;
}
inline constexpr long kWriteSlack = 64;

/// Tells for four gray pixels each, which two bytes of a window of 16 are theirs. Four runs start within 14 bytes: that
/// holds while a line is not reduced to less than a quarter.
void SetPicks(std::uint32_t *picks, const std::uint32_t *starts, long count);

/// Make a line of gray or 24-bit pixels by runs.
void SumRuns8(unsigned char *dst, const unsigned char *src, const Runs &runs);
void SumRuns24(unsigned char *dst, const unsigned char *src, const Runs &runs);

/// The same for long runs of gray pixels, all of which weigh alike but the two at the ends.
struct Spans {
  long count;
  const std::uint32_t *starts;   // the first byte of each span
  const std::uint32_t *lengths;  // its bytes, 2 and up
  const std::uint32_t *cuts[2];  // what the first and the last byte weigh less than `weight`
  std::uint32_t weight;
  std::uint32_t divisor;
  std::uint32_t start;
};

/// Makes a gray line by spans. May read 16 bytes behind the source.
void SumSpans(unsigned char *dst, const unsigned char *src, const Spans &spans);

/// Nearest neighbours: pixel i of m is pixel ((m - 1) / 2 + i (n - 1)) / (m - 1) of n (pixel 0 when m is 1). Bytes, and
/// nibbles, whose line ends in a low nibble of 0.
void NearestBytes(unsigned char *dst, const unsigned char *src, long n, long m);
void NearestNibbles(unsigned char *dst, const unsigned char *src, long n, long m);

/// Pixels left out: where a level is 255 the 24-bit pixel becomes black, all other levels become 0.
void LeaveOut(unsigned char *colours, unsigned char *levels, long n);

/// Scales each 24-bit pixel that is mixed with black by its level v (1 to 254): c x 255 / (255 - v), at most 255.
void GiveBack(unsigned char *colours, unsigned char *levels, long n);

}  // namespace qel::lines

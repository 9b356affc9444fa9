// Gray lines against a threshold, in loops that compilers turn into vectors.

#include "qel/lines/threshold.h"

#include <algorithm>

namespace qel::lines {

long FirstInside(const unsigned char *line, long n, unsigned char threshold) {
  return std::find_if(line, line + n, [=](unsigned char level) { return level <= threshold; }) - line;
}

long LastInside(const unsigned char *line, long n, unsigned char threshold) {
  while (n > 0 && line[n - 1] > threshold) --n;
  return n - 1;
}

void MarkBorder(unsigned char *flags, const unsigned char *above, const unsigned char *middle,
                const unsigned char *below, long n, unsigned char threshold) {
  for (long i = 0; i < n; ++i) {
    // The brightest pixel of the 3 x 3 around the one at i + 1; were that outside, it would not be inside itself.
    const unsigned char brightest = std::max(
        {above[i], above[i + 1], above[i + 2], middle[i], middle[i + 2], below[i], below[i + 1], below[i + 2]});
    flags[i] = static_cast<unsigned char>((middle[i + 1] <= threshold) & (brightest > threshold));
  }
}

void SplitLevels(unsigned char *line, long n, unsigned char threshold, unsigned char low, unsigned char high) {
  for (long i = 0; i < n; ++i) line[i] = line[i] < threshold ? low : high;
}

}  // namespace qel::lines

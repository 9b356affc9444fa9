// Sums and averages of inverted lines, which compilers do in vectors.

#include "qel/lines/footprint.h"

namespace qel::lines {

void AddInverted(std::uint32_t *sums, const unsigned char *line, long n) {
  for (long i = 0; i < n; ++i) sums[i] += 255U - line[i];
}

void InvertedAverages(unsigned char *line, const std::uint32_t *sums, long n, std::uint32_t passes) {
  for (long i = 0; i < n; ++i) line[i] = static_cast<unsigned char>(255 - sums[i] / passes);
}

}  // namespace qel::lines

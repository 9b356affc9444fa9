// Footprints of pens: averages of several renderings of a shape.
#pragma once

#include <cstdint>

namespace qel::lines {

/// sums[i] += 255 - line[i].
void AddInverted(std::uint32_t *sums, const unsigned char *line, long n);

/// line[i] = 255 - sums[i] / passes, truncated.
void InvertedAverages(unsigned char *line, const std::uint32_t *sums, long n, std::uint32_t passes);

}  // namespace qel::lines

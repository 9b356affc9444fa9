// Coverage blends: what sub-pixel rows of an anti-aliased shape add to the pixels that they cover.
//
// One row of weight w moves a byte v of the line to v + floor(((c - o) x w + 127) / 256), kept between o and c, where o
// is the byte of the base line and c that of the colour (24-bit pixels: blue in the colour's low byte, then green,
// red). A row that covers a pixel in full has the weight 32; eight of them fill it. The base line may be the current
// line itself.
#pragma once

#include "qel/export.h"

/// One sub-pixel row over lCount gray or 24-bit pixels.
QEL_API void BlendGrayCoverage(unsigned char *pLine, const unsigned char *pBase, long long llColor, int nWeight,
                               long lCount);
QEL_API void Blend24bitCoverage(unsigned char *pLine, const unsigned char *pBase, long long llColor, int nWeight,
                                long lCount);

namespace qel::lines {

/// Sub-pixels along a pixel's side.
constexpr long kSubPixels = 8;

/// What a run covers of a line, from its first to its last sub-pixel, counted from the left edge of the line.
struct SubPixelRun {
  long first, last;
};

/// Blends `count` runs into a line of pixels of `channels` bytes (1 or 3), one after the other. The runs lie within the
/// line; a pixel takes four of weight for each of its sub-pixels that a run covers.
void CoverRuns(unsigned char *line, const unsigned char *base, long long color, const SubPixelRun *runs, int count,
               long pixels, int channels);

}  // namespace qel::lines

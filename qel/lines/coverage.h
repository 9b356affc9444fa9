// Coverage blends: what one sub-pixel row of an anti-aliased shape adds to the pixels that it covers.
#pragma once

#include "qel/export.h"

/// lCount gray pixels (24-bit pixels, the colour's low byte first): each byte v becomes
/// v + floor(((c - o) x nWeight + 127) / 256), kept between o and c, where o is the byte of the base line and c that of
/// the colour. A fully covering sub-pixel row has the weight 32. The base line may be the current line itself.
QEL_API void BlendGrayCoverage(unsigned char *pLine, const unsigned char *pBase, long long llColor, int nWeight,
                               long lCount);
QEL_API void Blend24bitCoverage(unsigned char *pLine, const unsigned char *pBase, long long llColor, int nWeight,
                                long lCount);

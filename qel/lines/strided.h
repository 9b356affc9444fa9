// Copies between a packed line and units that lie a stride apart: the columns of an image.
#pragma once

namespace qel::lines {

/// Packs `dwCount` units of `dwUnit` bytes, `lStride` bytes apart from `pSrc` on, into `pDst`. The stride may be
/// negative.
void GatherStrided(unsigned char *pDst, const unsigned char *pSrc, unsigned long dwCount, unsigned long dwUnit,
                   long lStride);

/// Spreads packed units to places `lStride` bytes apart from `pDst` on, in the order of the packed line.
void ScatterStrided(unsigned char *pDst, const unsigned char *pSrc, unsigned long dwCount, unsigned long dwUnit,
                    long lStride);

}  // namespace qel::lines

// Rows turned into columns.
#pragma once

namespace qel::lines {

/// Pixel i of destination row j becomes pixel j of source row i, for `width` columns and `height` rows of the source
/// and 1, 4, 8, 16, 24, 32 or 48 bits a pixel. Rows lie `dstStride` and `srcStride` bytes apart; negative strides turn
/// the order of rows round. The bits behind the last pixel of a 1- or 4-bit destination row are 0.
void Transpose(unsigned char *dst, long dstStride, const unsigned char *src, long srcStride, long width, long height,
               int bits);

}  // namespace qel::lines

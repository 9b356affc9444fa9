// Lines smoothed by a symmetric kernel, and gray lines shifted by a part of a pixel.
#pragma once

namespace qel::lines {

/// out[i] = (table[0][in[s]] + ... + table[n - 1][in[s + n - 1]]) / divisor, truncated, its low byte, with s = i - n /
/// 2, for each of the `channels` bytes of `count` pixels. `table` holds n rows of 256 products. Where the span leaves
/// the line, every index below 1 is read as in[0] and every index from `count` on as in[count - 1].
void FilterByTable(unsigned char *out, const unsigned char *in, long count, int channels, const int *table, int divisor,
                   long n);

/// The products of n weights with 0 .. 255, row by row.
void FillProductTable(int *table, const int *weights, long n);

/// n copies of a pixel of `bytes` bytes.
void RepeatPixel(unsigned char *out, const unsigned char *pixel, int bytes, long n);

/// Moves a gray line by (256 - s) / 256 of a pixel toward higher indices, s being 1 to 256, and carries what rounding
/// loses from pixel to pixel. Pixel 0 stays.
void SlantGray(unsigned char *line, long count, int s);

}  // namespace qel::lines

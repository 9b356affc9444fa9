// Lines smoothed by a symmetric kernel, and gray lines shifted by a part of a pixel.
//
// The quick filters take a kernel made ready and add up pairs of taps: two 16-bit pixels by two 16-bit weights give one
// 32-bit sum, an instruction of every vector processor. Rows are filtered along themselves; columns are filtered for
// four rows at a time from rows zipped in pairs, so that memory is walked in rows and each pair is loaded once for four
// results.
#pragma once

#include <cstdint>

namespace qel::lines {

// Quick filters ------------------------------------------------------------------------------------------------------

constexpr int kMaxTaps = 121;
constexpr int kRowsAtOnce = 4;

/// A symmetric kernel of an odd number of weights, none negative, whose sum is at most 4096.
struct SmoothKernel {
  int n = 0;
  int divisor = 0;  // the sum of the weights
  std::int16_t weights[kMaxTaps];
  std::int32_t pairs[kMaxTaps / 2 + 2][kRowsAtOnce];  // [p][r]: weights 2 p - r (low half) and 2 p + 1 - r
  float reciprocal = 0;                               // makes a sum the truncated quotient

  int Half() const { return n / 2; }
  int PairsAtOnce() const { return n / 2 + 2; }  // zipped rows that four results are made from
};

/// Makes a kernel of n weights ready.
void MakeKernel(SmoothKernel &kernel, const int *weights, int n);

/// out[i] = (weights[0] in[i] + weights[1] in[i + stride] + ...) / divisor, truncated, for `count` bytes.
void SmoothRow(unsigned char *out, const unsigned char *in, long count, long stride, const SmoothKernel &kernel);

/// pairs[2 i] = a[i], pairs[2 i + 1] = b[i].
void ZipRows(unsigned char *pairs, const unsigned char *a, const unsigned char *b, long count);

/// Four rows of `count` bytes from PairsAtOnce() zipped rows: row r is made from the n rows from row r on.
void SmoothColumns(unsigned char *const *out, const unsigned char *const *pairs, long count,
                   const SmoothKernel &kernel);

// By tables ----------------------------------------------------------------------------------------------------------

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

// Lines smoothed through a table of products, and the shift of a gray line: the loops whose plain form is all they
// need.

#include "qel/lines/gaussian.h"

#include "qel/lines/gaussian_plain.h"

#include <algorithm>
#include <cstring>

namespace qel::lines {

// Quick filters ------------------------------------------------------------------------------------------------------

void MakeKernel(SmoothKernel &kernel, const int *weights, int n) {
  const auto weight = [&](int k) { return k >= 0 && k < n ? weights[k] : 0; };
  kernel.n = n;
  kernel.divisor = 0;
  for (int k = 0; k < n; ++k) {
    kernel.weights[k] = static_cast<std::int16_t>(weights[k]);
    kernel.divisor += weights[k];
  }
  for (int p = 0; p < kernel.PairsAtOnce(); ++p)
    for (int r = 0; r < kRowsAtOnce; ++r) kernel.pairs[p][r] = weight(2 * p - r) | weight(2 * p + 1 - r) * 65536;
  // A little above 1 / divisor, so that no rounding of a product falls below a whole quotient; quotients of at most 255
  // by a divisor of at most 4096 lie too far below the next whole number to reach it.
  kernel.reciprocal = static_cast<float>((1 + 0x1p-21) / kernel.divisor);
}

namespace plain {

void SmoothRow(unsigned char *out, const unsigned char *in, long count, long stride, const SmoothKernel &kernel) {
  for (long i = 0; i < count; ++i) {
    int sum = 0;
    for (int k = 0; k < kernel.n; ++k) sum += kernel.weights[k] * in[i + k * stride];
    out[i] = static_cast<unsigned char>(sum / kernel.divisor);
  }
}

void ZipRows(unsigned char *pairs, const unsigned char *a, const unsigned char *b, long count) {
  for (long i = 0; i < count; ++i) {
    pairs[2 * i] = a[i];
    pairs[2 * i + 1] = b[i];
  }
}

void SmoothColumns(unsigned char *const *out, const unsigned char *const *pairs, long from, long count,
                   const SmoothKernel &kernel) {
  for (int r = 0; r < kRowsAtOnce; ++r) {
    for (long i = from; i < count; ++i) {
      int sum = 0;
      for (int k = 0; k < kernel.n; ++k) sum += kernel.weights[k] * pairs[(r + k) / 2][2 * i + (r + k) % 2];
      out[r][i] = static_cast<unsigned char>(sum / kernel.divisor);
    }
  }
}

}  // namespace plain

// By tables ----------------------------------------------------------------------------------------------------------

void FillProductTable(int *table, const int *weights, long n) {
  for (long k = 0; k < n; ++k)
    for (int v = 0; v < 256; ++v) *table++ = weights[k] * v;
}

namespace {

/// Divides and keeps the low byte.
unsigned char Quotient(long sum, int divisor) {
  return static_cast<unsigned char>(sum / divisor);
}

}  // namespace

void FilterByTable(unsigned char *out, const unsigned char *in, long count, int channels, const int *table, int divisor,
                   long n) {
  for (long i = 0; i < count; ++i) {
    const long s = i - n / 2;
    const bool isInside = s >= 0 && s <= count - n;
    for (int c = 0; c < channels; ++c) {
      long sum = 0;
      if (isInside) {
        const unsigned char *from = in + s * channels + c;
        for (long k = 0; k < n; ++k, from += channels) sum += table[256 * k + *from];
      } else {
        for (long k = 0; k < n; ++k) sum += table[256 * k + in[std::clamp(s + k, 0L, count - 1) * channels + c]];
      }
      *out++ = Quotient(sum, divisor);
    }
  }
}

void RepeatPixel(unsigned char *out, const unsigned char *pixel, int bytes, long n) {
  for (long i = 0; i < n; ++i, out += bytes) std::memcpy(out, pixel, static_cast<std::size_t>(bytes));
}

// Shift --------------------------------------------------------------------------------------------------------------

void SlantGray(unsigned char *line, long count, int s) {
  if (count < 1) return;
  int rest = (256 - s) * line[0];
  for (long i = 1; i < count; ++i) {
    const int v = line[i];
    const int moved = (s * v + rest + 128) / 256;
    rest += 256 * v - 256 * moved;
    line[i] = static_cast<unsigned char>(moved);
  }
}

}  // namespace qel::lines

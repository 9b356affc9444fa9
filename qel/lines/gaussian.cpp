// Lines smoothed through a table of products, and the shift of a gray line: the loops whose plain form is all they
// need.

#include "qel/lines/gaussian.h"

#include <algorithm>
#include <cstring>

namespace qel::lines {

// Kernel -------------------------------------------------------------------------------------------------------------

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

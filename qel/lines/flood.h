// Runs of a seed fill: pixels of a colour box in 24-bit lines, and open ones (0) in lines of visited bits, most
// significant bit first. Both are looked at 64 pixels at a time.
#pragma once

#include <algorithm>
#include <bit>
#include <cstdint>

#include "qel/lines/color_box.h"

namespace qel::lines {

constexpr long kMaskPixels = 64;

/// Bit i tells whether 24-bit pixel i of n, at most 64, lies in a box.
std::uint64_t BoxMask(const unsigned char *line, long n, const ColorBox &box);

/// Bit i is that of pixel from + i of a line of bits, for n pixels, at most 64; the others are 0. No byte behind the
/// last pixel's is read.
std::uint64_t BitsAt(const unsigned char *bits, long from, long n);

/// The ends of the run of open pixels around pixel x, which is open, in a line of `width`.
long FirstOpen(const unsigned char *bits, long x);
long LastOpen(const unsigned char *bits, long x, long width);

/// The ends of the run of pixels in a box around pixel x, which lies in it, between pixels `first` and `last`; `line`
/// begins at pixel 0.
long FirstInBox(const unsigned char *line, long x, long first, const ColorBox &box);
long LastInBox(const unsigned char *line, long x, long last, const ColorBox &box);

/// Calls `found` with the first pixel of each run of open pixels in a box, of n that begin at `line` and at bit `from`.
template <class Found>
void ForEachRunStart(const unsigned char *line, const unsigned char *bits, long from, long n, const ColorBox &box,
                     Found found) {
  std::uint64_t before = 0;  // whether the pixel before belongs to a run
  for (long i = 0; i < n; i += kMaskPixels) {
    const long count = std::min(n - i, kMaskPixels);
    const std::uint64_t runs = BoxMask(line + 3 * i, count, box) & ~BitsAt(bits, from + i, count);
    for (std::uint64_t starts = runs & ~(runs << 1 | before); starts != 0; starts &= starts - 1)
      found(i + std::countr_zero(starts));
    before = runs >> 63;
  }
}

namespace plain {

std::uint64_t BoxMask(const unsigned char *line, long n, const ColorBox &box);

}  // namespace plain

}  // namespace qel::lines

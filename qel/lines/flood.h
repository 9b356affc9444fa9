// Runs of a seed fill: pixels of a colour box in 24-bit lines, and open ones (0) in lines of visited bits, most
// significant bit first.
#pragma once

#include <cstdint>

#include "qel/lines/color_box.h"

namespace qel::lines {

/// Whether pixel x of a line lies in a box, and is open in a line of bits.
inline bool IsInBox(const unsigned char *line, long x, const BoxTest &box) {
  bool inside = true;
  for (long c = 0; c < 3; ++c) inside &= line[3 * x + c] >= box.low[c] && line[3 * x + c] <= box.high[c];
  return inside;
}
inline bool IsOpen(const unsigned char *bits, long x) {
  return (bits[x / 8] & 0x80 >> x % 8) == 0;
}

/// The ends of the run of open pixels around pixel x, which is open, within first .. last.
long FirstOpen(const unsigned char *bits, long x, long first);
long LastOpen(const unsigned char *bits, long x, long last);

/// The last of the closed pixels that begin at x, within .. last.
long LastClosed(const unsigned char *bits, long x, long last);

/// Closes pixels first .. last.
void Close(unsigned char *bits, long first, long last);

/// The ends of the run of pixels in a box around pixel x, which lies in it, within first .. last.
long FirstInBox(const unsigned char *line, long x, long first, const BoxTest &box);
long LastInBox(const unsigned char *line, long x, long last, const BoxTest &box);

/// The first pixel in a box from pixel x on; `end` when there is none before it.
long NextInBox(const unsigned char *line, long x, long end, const BoxTest &box);

/// Calls `found` with the first and the last pixel of each run of open pixels in a box, of n that begin at `line` and
/// at bit `from`.
template <class Found>
void ForEachRun(const unsigned char *line, const unsigned char *bits, long from, long n, const BoxTest &box,
                Found found) {
  for (long i = 0; i < n; ++i) {
    if (!IsOpen(bits, from + i)) {
      i = LastClosed(bits, from + i, from + n - 1) - from;
    } else if (IsInBox(line, i, box)) {
      const long first = i;
      i = LastOpen(bits, from + i, from + LastInBox(line, i, n - 1, box)) - from;
      found(first, i);
    } else {
      i = NextInBox(line, i + 1, n, box) - 1;
    }
  }
}

/// Brings bytes near that are to be read soon.
void Prefetch(const unsigned char *line, long bytes);

/// Bytes of a 24-bit line that lie within a box's bounds, counted from its first one on and back from its last one.
long LeadingInBox(const unsigned char *line, long bytes, const BoxTest &box);
long TrailingInBox(const unsigned char *line, long bytes, const BoxTest &box);

namespace plain {

long LeadingInBox(const unsigned char *line, long bytes, const BoxTest &box);
long TrailingInBox(const unsigned char *line, long bytes, const BoxTest &box);
long NextInBox(const unsigned char *line, long x, long end, const BoxTest &box);

}  // namespace plain

}  // namespace qel::lines

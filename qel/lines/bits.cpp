// Packing and spreading of columns of 1- and 4-bit pixels: whole line bytes first, the last partial one behind them.
#include "qel/lines/bits.h"

namespace qel::lines {

void PackColumn1(unsigned char *dst, const unsigned char *column, long count, int shift) {
  const auto pack = [shift](const unsigned char *bytes, long n) {
    unsigned packed = 0;
    for (long j = 0; j < n; ++j) packed |= (bytes[j] >> shift & 1u) << (7 - j);
    return static_cast<unsigned char>(packed);
  };
  for (; count >= 8; count -= 8, column += 8) *dst++ = pack(column, 8);
  if (count > 0) *dst = pack(column, count);
}

void PackColumn4(unsigned char *dst, const unsigned char *column, long count, int shift) {
  const auto nibble = [shift](unsigned char by) { return by >> shift & 0xFu; };
  for (; count >= 2; count -= 2, column += 2)
    *dst++ = static_cast<unsigned char>(nibble(column[0]) << 4 | nibble(column[1]));
  if (count > 0) *dst = MergeBits(nibble(*column) << 4, *dst, 0xF0);
}

void SpreadColumn1(unsigned char *column, const unsigned char *src, long count, int shift) {
  const unsigned mask = 1u << shift;
  for (long i = 0; i < count; ++i) column[i] = MergeBits((src[i / 8] >> (7 - i % 8) & 1u) << shift, column[i], mask);
}

void SpreadColumn4(unsigned char *column, const unsigned char *src, long count, int shift) {
  const unsigned mask = 0xFu << shift;
  for (long i = 0; i < count; ++i)
    column[i] = MergeBits((src[i / 2] >> (i % 2 ? 0 : 4) & 0xFu) << shift, column[i], mask);
}

}  // namespace qel::lines

// Runs by masks of 64 pixels: the ends of a run are counted zeros and ones.

#include "qel/lines/flood.h"

namespace qel::lines {

std::uint64_t plain::BoxMask(const unsigned char *line, long n, const ColorBox &box) {
  std::uint64_t mask = 0;
  for (long i = 0; i < n; ++i, line += 3) {
    bool inside = true;
    for (int c = 0; c < 3; ++c) inside &= line[c] >= box.low[c] && line[c] <= box.high[c];
    mask |= static_cast<std::uint64_t>(inside) << i;
  }
  return mask;
}

namespace {

/// Bit 7 of every byte becomes bit 0, and so on.
std::uint64_t ReverseBytes(std::uint64_t v) {
  v = (v >> 1 & 0x5555555555555555) | (v & 0x5555555555555555) << 1;
  v = (v >> 2 & 0x3333333333333333) | (v & 0x3333333333333333) << 2;
  return (v >> 4 & 0x0F0F0F0F0F0F0F0F) | (v & 0x0F0F0F0F0F0F0F0F) << 4;
}

}  // namespace

std::uint64_t BitsAt(const unsigned char *bits, long from, long n) {
  const long first = from / 8, last = (from + n - 1) / 8, shift = from % 8;
  std::uint64_t value = 0;
  for (long k = 0; k < std::min(last - first + 1, 8L); ++k)
    value |= static_cast<std::uint64_t>(bits[first + k]) << (8 * k);
  value = ReverseBytes(value) >> shift;
  if (last - first == 8) value |= ReverseBytes(bits[last]) << (64 - shift);
  return n == kMaskPixels ? value : value & ((std::uint64_t{1} << n) - 1);
}

long FirstOpen(const unsigned char *bits, long x) {
  while (x >= 0) {
    const long count = std::min(x + 1, kMaskPixels);
    const std::uint64_t closed = BitsAt(bits, x + 1 - count, count);
    if (closed != 0) return x + 1 - count + (64 - std::countl_zero(closed));
    x -= count;
  }
  return 0;
}

long LastOpen(const unsigned char *bits, long x, long width) {
  while (x < width) {
    const long count = std::min(width - x, kMaskPixels);
    const std::uint64_t closed = BitsAt(bits, x, count);
    if (closed != 0) return x + std::countr_zero(closed) - 1;
    x += count;
  }
  return width - 1;
}

long FirstInBox(const unsigned char *line, long x, long first, const ColorBox &box) {
  while (x >= first) {
    const long count = std::min(x - first + 1, kMaskPixels);
    const std::uint64_t inside = BoxMask(line + 3 * (x + 1 - count), count, box) << (64 - count);
    const long ones = std::countl_one(inside);
    x -= ones;
    if (ones < count) break;
  }
  return x + 1;
}

long LastInBox(const unsigned char *line, long x, long last, const ColorBox &box) {
  while (x <= last) {
    const long count = std::min(last - x + 1, kMaskPixels);
    const long ones = std::countr_one(BoxMask(line + 3 * x, count, box));
    x += ones;
    if (ones < count) break;
  }
  return x - 1;
}

}  // namespace qel::lines

// Runs of bits, whole bytes at a time, and the plain loops over colours.

#include "qel/lines/flood.h"

#include <hwy/cache_control.h>

#include <algorithm>
#include <bit>
#include <cstring>

namespace qel::lines {

namespace {

/// The last of the pixels that begin at x, within .. last, whose bits are those of `byte` (0 or 0xFF).
long LastLike(unsigned char byte, const unsigned char *bits, long x, long last) {
  const auto unlike = [=](long at) { return static_cast<unsigned char>(bits[at / 8] ^ byte); };
  if (x % 8 != 0) {
    const auto rest = static_cast<unsigned char>(unlike(x) << x % 8);
    const long end = x + (rest != 0 ? std::countl_zero(rest) : 8 - x % 8);
    if (rest != 0 || end > last) return std::min(end - 1, last);
    x = end;
  }
  const std::uint64_t all = byte * 0x0101010101010101U;
  for (std::uint64_t word; x + 64 <= last + 1; x += 64) {
    std::memcpy(&word, bits + x / 8, sizeof word);
    if (word != all) break;
  }
  for (; x <= last; x += 8)
    if (unlike(x) != 0) return std::min(x + std::countl_zero(unlike(x)) - 1, last);
  return last;
}

}  // namespace

long LastOpen(const unsigned char *bits, long x, long last) {
  return LastLike(0, bits, x, last);
}

long LastClosed(const unsigned char *bits, long x, long last) {
  return LastLike(0xFF, bits, x, last);
}

long FirstOpen(const unsigned char *bits, long x, long first) {
  const auto rest = static_cast<unsigned char>(bits[x / 8] >> (7 - x % 8));
  if (rest != 0) return std::max(x + 1 - std::countr_zero(rest), first);
  x -= x % 8;  // the first pixel of this byte is open
  for (std::uint64_t word; x - 64 >= first; x -= 64) {
    std::memcpy(&word, bits + (x - 64) / 8, sizeof word);
    if (word != 0) break;
  }
  for (; x > first; x -= 8)
    if (const unsigned char byte = bits[x / 8 - 1]; byte != 0) return std::max(x - std::countr_zero(byte), first);
  return first;
}

void Close(unsigned char *bits, long first, long last) {
  const long from = first / 8, to = last / 8;
  const int head = 0xFF >> first % 8, tail = 0xFF00 >> (last % 8 + 1) & 0xFF;
  if (from == to) {
    bits[from] = static_cast<unsigned char>(bits[from] | (head & tail));
    return;
  }
  bits[from] = static_cast<unsigned char>(bits[from] | head);
  std::fill(bits + from + 1, bits + to, static_cast<unsigned char>(0xFF));
  bits[to] = static_cast<unsigned char>(bits[to] | tail);
}

long FirstInBox(const unsigned char *line, long x, long first, const BoxTest &box) {
  return x + 1 - TrailingInBox(line + 3 * first, 3 * (x + 1 - first), box) / 3;
}

long LastInBox(const unsigned char *line, long x, long last, const BoxTest &box) {
  return x - 1 + LeadingInBox(line + 3 * x, 3 * (last + 1 - x), box) / 3;
}

namespace plain {

long LeadingInBox(const unsigned char *line, long bytes, const BoxTest &box) {
  long i = 0;
  while (i < bytes && line[i] >= box.low[i % 3] && line[i] <= box.high[i % 3]) ++i;
  return i;
}

long TrailingInBox(const unsigned char *line, long bytes, const BoxTest &box) {
  long i = bytes;
  while (i > 0 && line[i - 1] >= box.low[(i - 1) % 3] && line[i - 1] <= box.high[(i - 1) % 3]) --i;
  return bytes - i;
}

long NextInBox(const unsigned char *line, long x, long end, const BoxTest &box) {
  while (x < end && !IsInBox(line, x, box)) ++x;
  return x;
}

}  // namespace plain

void Prefetch(const unsigned char *line, long bytes) {
  constexpr long kCacheLine = 64;
  for (long i = 0; i < bytes; i += kCacheLine) hwy::Prefetch(line + i);
}

}  // namespace qel::lines

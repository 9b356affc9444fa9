// Mapped lines in two steps a stretch of pixels: the source becomes mapped bytes, which are packed for the destination.
// The stretch stays in the first-level cache, and any source meets any destination without a loop of its own.
#include "qel/lines/colour_map.h"

#include <algorithm>
#include <cstring>

#include "qel/lines/bits.h"
#include "qel/lines/convert.h"

namespace qel::lines {
namespace {

constexpr long kStretch = 1024;  // a multiple of 8, so that each stretch starts at a byte

// To mapped bytes ----------------------------------------------------------------------------------------------------

void MapBits(unsigned char *dst, const unsigned char *src, long n, const unsigned char *map) {
  BitsToGray(dst, src, n, false);
  const int zero = map[0], change = map[0] ^ map[1];
  for (long i = 0; i < n; ++i) dst[i] = static_cast<unsigned char>((dst[i] & change) ^ zero);
}

void MapNibbles(unsigned char *dst, const unsigned char *src, long n, const unsigned char *map) {
  for (long i = 0; i + 1 < n; i += 2, ++src) {
    dst[i] = map[*src >> 4];
    dst[i + 1] = map[*src & 0x0F];
  }
  if (n % 2) dst[n - 1] = map[*src >> 4];
}

template <class Index>
void Map(unsigned char *dst, const Index *src, long n, const unsigned char *map) {
  for (long i = 0; i < n; ++i) dst[i] = map[src[i]];
}

void MapToBytes(unsigned char *dst, const unsigned char *src, int srcBits, long n, const unsigned char *map) {
  if (srcBits == 1) {
    MapBits(dst, src, n, map);
  } else if (srcBits == 4) {
    MapNibbles(dst, src, n, map);
  } else if (srcBits == 8) {
    Map(dst, src, n, map);
  } else {
    std::uint16_t keys[kStretch];
    Rgb24ToKeys(keys, src, n);
    Map(dst, keys, n, map);
  }
}

// From bytes ---------------------------------------------------------------------------------------------------------

void PackBits(unsigned char *dst, const unsigned char *src, long n) {
  const long whole = n / 8 * 8;
  QelAsmConvert8to1(dst, const_cast<unsigned char *>(src), static_cast<unsigned long>(whole), 0, 1);
  if (n == whole) return;
  unsigned bits = 0;
  for (long i = whole; i < n; ++i) bits |= (src[i] != 0 ? 0x80u : 0u) >> (i - whole);
  dst[whole / 8] = MergeBits(bits, dst[whole / 8], 0xFF00u >> (n - whole) & 0xFF);
}

}  // namespace

// Lines --------------------------------------------------------------------------------------------------------------

void MapPixels(unsigned char *dst, int dstBits, const unsigned char *src, int srcBits, long n,
               const unsigned char *map) {
  unsigned char bytes[kStretch];
  while (n > 0) {
    const long count = std::min(n, kStretch);
    MapToBytes(dstBits == 8 ? dst : bytes, src, srcBits, count, map);
    if (dstBits != 8) PackIndices(dst, dstBits, bytes, count);
    src += count * srcBits / 8;
    dst += count * dstBits / 8;
    n -= count;
  }
}

void PackIndices(unsigned char *dst, int bits, const unsigned char *src, long n) {
  if (bits == 1)
    PackBits(dst, src, n);
  else if (bits == 4)
    PackColumn4(dst, src, n, 0);
  else
    std::memcpy(dst, src, static_cast<std::size_t>(n));
}

void LimitIndices(unsigned char *line, int bits, long n, int count) {
  if (n < 1 || count >= 1 << bits) return;
  if (bits == 1) {
    std::memset(line, 0, static_cast<std::size_t>((n + 7) / 8));
  } else if (bits == 4) {
    for (long i = 0; i < (n + 1) / 2; ++i) {
      const int high = line[i] >> 4 < count ? 0xF0 : 0, low = (line[i] & 0x0F) < count ? 0x0F : 0;
      line[i] = static_cast<unsigned char>(line[i] & (high | low));
    }
  } else {
    for (long i = 0; i < n; ++i) line[i] = line[i] < count ? line[i] : 0;
  }
}

void plain::Rgb24ToKeys(std::uint16_t *keys, const unsigned char *src, long n) {
  for (long i = 0; i < n; ++i, src += 3)
    keys[i] = static_cast<std::uint16_t>((src[2] & 0xF0) << 4 | (src[1] & 0xF0) | src[0] >> 4);
}

}  // namespace qel::lines

// Zooms by whole steps, one loop a pixel size.

#include "qel/lines/zoom.h"

#include <cstring>

namespace qel::lines {

namespace {

// Whole bytes --------------------------------------------------------------------------------------------------------

template <int Bytes>
void ReplicateUnits(unsigned char *dst, const unsigned char *src, long count, long times) {
  for (long i = 0; i < count; ++i, src += Bytes)
    for (long k = 0; k < times; ++k, dst += Bytes) std::memcpy(dst, src, Bytes);
}

void ReplicateBytes(unsigned char *dst, const unsigned char *src, long count, long times) {
  for (long i = 0; i < count; ++i, dst += times) std::memset(dst, src[i], static_cast<unsigned long>(times));
}

template <int Bytes>
void SkipUnits(unsigned char *dst, const unsigned char *src, long count, long step) {
  for (long i = 0; i < count; ++i, dst += Bytes, src += step * Bytes) std::memcpy(dst, src, Bytes);
}

// Nibbles ------------------------------------------------------------------------------------------------------------

void ReplicateNibbles(unsigned char *dst, const unsigned char *src, long count, long times) {
  const unsigned long whole = static_cast<unsigned long>(times / 2);
  for (; count > 0; count -= 2, ++src) {
    std::memset(dst, (*src >> 4) * 0x11, whole);
    dst += whole;
    if (times % 2) *dst++ = *src;
    if (count == 1) break;
    std::memset(dst, (*src & 0x0F) * 0x11, whole);
    dst += whole;
  }
}

int NibbleAt(const unsigned char *src, long i) {
  return i % 2 ? src[i / 2] & 0x0F : src[i / 2] >> 4;
}

void SkipNibbles(unsigned char *dst, const unsigned char *src, long count, long step) {
  for (long i = 0; i < count; i += 2) {
    const int low = i + 1 < count ? NibbleAt(src, (i + 1) * step) : 0;
    *dst++ = static_cast<unsigned char>(NibbleAt(src, i * step) << 4 | low);
  }
}

// Bits ---------------------------------------------------------------------------------------------------------------

int BitAt(const unsigned char *src, long i) {
  return src[i / 8] >> (7 - i % 8) & 1;
}

void ReplicateBits(unsigned char *dst, const unsigned char *src, long count, long times) {
  int gathered = 0, bits = 0;
  for (long i = 0; i < count; ++i) {
    const int bit = BitAt(src, i);
    for (long k = 0; k < times; ++k) {
      gathered = gathered << 1 | bit;
      if (++bits == 8) *dst++ = static_cast<unsigned char>(gathered), gathered = bits = 0;
    }
  }
  if (bits != 0) *dst = static_cast<unsigned char>(gathered << (8 - bits));
}

void SkipBits(unsigned char *dst, const unsigned char *src, long count, long step) {
  int gathered = 0;
  for (long i = 0; i < count; ++i) {
    gathered = gathered << 1 | BitAt(src, i * step);
    if (i % 8 == 7) *dst++ = static_cast<unsigned char>(gathered), gathered = 0;
  }
  if (count % 8 != 0) *dst = static_cast<unsigned char>(gathered << (8 - count % 8));
}

}  // namespace

// Entry points -------------------------------------------------------------------------------------------------------

void ReplicatePixels(unsigned char *dst, const unsigned char *src, long count, long times, int bits) {
  switch (bits) {
    case 1:
      return ReplicateBits(dst, src, count, times);
    case 4:
      return ReplicateNibbles(dst, src, count, times);
    case 8:
      return ReplicateBytes(dst, src, count, times);
    case 16:
      return ReplicateUnits<2>(dst, src, count, times);
    case 24:
      return ReplicateUnits<3>(dst, src, count, times);
    case 32:
      return ReplicateUnits<4>(dst, src, count, times);
    case 48:
      return ReplicateUnits<6>(dst, src, count, times);
    default:
      return;
  }
}

void SkipPixels(unsigned char *dst, const unsigned char *src, long count, long step, int bits) {
  switch (bits) {
    case 1:
      return SkipBits(dst, src, count, step);
    case 4:
      return SkipNibbles(dst, src, count, step);
    case 8:
      return SkipUnits<1>(dst, src, count, step);
    case 16:
      return SkipUnits<2>(dst, src, count, step);
    case 24:
      return SkipUnits<3>(dst, src, count, step);
    case 32:
      return SkipUnits<4>(dst, src, count, step);
    case 48:
      return SkipUnits<6>(dst, src, count, step);
    default:
      return;
  }
}

}  // namespace qel::lines

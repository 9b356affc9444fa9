// The plain loops behind the vector conversions.

#include "qel/lines/convert_plain.h"

#include <cstring>

namespace qel::lines::plain {

namespace {

/// x / 255 for every x up to 255 x 255.
constexpr unsigned DivideBy255(unsigned x) {
  return (x + (x >> 8) + 1) >> 8;
}

}  // namespace

// Gray levels --------------------------------------------------------------------------------------------------------

void Rgb24ToGray(unsigned char *dst, const unsigned char *src, long n) {
  for (long i = 0; i < n; ++i, src += 3)
    dst[i] = static_cast<unsigned char>(DivideBy255(77u * src[2] + 150u * src[1] + 28u * src[0]));
}

void Rgb24ToLuma(unsigned char *dst, const unsigned char *src, long n) {
  for (long i = 0; i < n; ++i, src += 3)
    dst[i] = static_cast<unsigned char>((30u * src[2] + 59u * src[1] + 11u * src[0]) / 100u);
}

void GrayToBits(unsigned char *dst, const unsigned char *src, long n, bool invert, unsigned char threshold) {
  const int flip = invert ? 0xFF : 0;
  for (; n > 0; ++dst) {
    const long count = n < 8 ? n : 8;
    int bits = 0xFF >> count;  // the bits behind the last pixel
    for (long k = 0; k < count; ++k) bits |= (*src++ >= threshold) << (7 - k);
    *dst = static_cast<unsigned char>(bits ^ flip);
    n -= count;
  }
}

void GrayTo24(unsigned char *dst, const unsigned char *src, long n) {
  for (long i = 0; i < n; ++i) dst[3 * i] = dst[3 * i + 1] = dst[3 * i + 2] = src[i];
}

// 32 bits ------------------------------------------------------------------------------------------------------------

void Rgb24To32(unsigned char *dst, const unsigned char *src, long n) {
  for (long i = 0; i < n; ++i) {
    std::memcpy(dst + 4 * i, src + 3 * i, 3);
    dst[4 * i + 3] = 0;
  }
}

void Rgb32To24(unsigned char *dst, const unsigned char *src, long n) {
  for (long i = 0; i < n; ++i) std::memcpy(dst + 3 * i, src + 4 * i, 3);
}

// High colour --------------------------------------------------------------------------------------------------------

namespace {

/// 16-bit pixels with 5 or 6 bits of green.
void Rgb24ToHigh(unsigned char *dst, const unsigned char *src, long n, int greenBits) {
  const unsigned most = greenBits == 6 ? 63 : 31;
  for (long i = 0; i < n; ++i, src += 3) {
    const unsigned v =
        DivideBy255(src[2] * 31u) << (5 + greenBits) | DivideBy255(src[1] * most) << 5 | DivideBy255(src[0] * 31u);
    dst[2 * i] = static_cast<unsigned char>(v);
    dst[2 * i + 1] = static_cast<unsigned char>(v >> 8);
  }
}

void HighTo24(unsigned char *dst, const unsigned char *src, long n, int greenBits) {
  const unsigned most = greenBits == 6 ? 63 : 31;
  for (long i = 0; i < n; ++i, dst += 3) {
    const unsigned v = src[2 * i] | static_cast<unsigned>(src[2 * i + 1]) << 8;
    dst[0] = static_cast<unsigned char>((v & 31) * 255 / 31);
    dst[1] = static_cast<unsigned char>((v >> 5 & most) * 255 / most);
    dst[2] = static_cast<unsigned char>((v >> (5 + greenBits) & 31) * 255 / 31);
  }
}

}  // namespace

void Rgb24To555(unsigned char *dst, const unsigned char *src, long n) {
  Rgb24ToHigh(dst, src, n, 5);
}
void Rgb24To565(unsigned char *dst, const unsigned char *src, long n) {
  Rgb24ToHigh(dst, src, n, 6);
}
void Rgb555To24(unsigned char *dst, const unsigned char *src, long n) {
  HighTo24(dst, src, n, 5);
}
void Rgb565To24(unsigned char *dst, const unsigned char *src, long n) {
  HighTo24(dst, src, n, 6);
}

// Reversal -----------------------------------------------------------------------------------------------------------

void Reverse24(unsigned char *dst, const unsigned char *src, long n) {
  for (long i = 0; i < n; ++i) std::memcpy(dst + 3 * i, src + 3 * (n - 1 - i), 3);
}

void Reverse8(unsigned char *dst, const unsigned char *src, long n) {
  for (long i = 0; i < n; ++i) dst[i] = src[n - 1 - i];
}

}  // namespace qel::lines::plain

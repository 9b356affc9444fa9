// Conversions of whole lines between pixel formats: the plain loops.

#include "qel/lines/convert.h"

#include <array>
#include <cstring>

namespace {

/// x / 255 for every x up to 255 x 255.
constexpr unsigned DivideBy255(unsigned x) {
  return (x + (x >> 8) + 1) >> 8;
}

}  // namespace

// Gray and 1 bit -----------------------------------------------------------------------------------------------------

void QelAsmConvert24to8G(unsigned char *pDst, unsigned char *pSrc, unsigned long n) {
  for (unsigned long i = 0; i < n; ++i, pSrc += 3)
    pDst[i] = static_cast<unsigned char>(DivideBy255(77u * pSrc[2] + 150u * pSrc[1] + 28u * pSrc[0]));
}

void QelAsmConvert8to1(unsigned char *pDst, unsigned char *pSrc, unsigned long n, unsigned char byInvert,
                       unsigned char byThreshold) {
  const int flip = byInvert ? 0xFF : 0;
  for (; n > 0; ++pDst) {
    const unsigned long count = n < 8 ? n : 8;
    int bits = 0;
    for (unsigned long k = 0; k < count; ++k) bits |= (*pSrc++ >= byThreshold) << (7 - k);
    bits |= 0xFF >> count;  // the bits behind the last pixel
    *pDst = static_cast<unsigned char>(bits ^ flip);
    n -= count;
  }
}

namespace qel::lines {

namespace {

using Pixel = std::array<unsigned char, 3>;

Pixel Pick(const RGBQUAD &entry) {
  return {entry.rgbBlue, entry.rgbGreen, entry.rgbRed};
}

void Store(unsigned char *dst, const Pixel &pixel) {
  std::memcpy(dst, pixel.data(), 3);
}

unsigned Load16(const unsigned char *src) {
  return src[0] | static_cast<unsigned>(src[1]) << 8;
}

void Store16(unsigned char *dst, unsigned value) {
  dst[0] = static_cast<unsigned char>(value);
  dst[1] = static_cast<unsigned char>(value >> 8);
}

}  // namespace

// To gray levels -----------------------------------------------------------------------------------------------------

void BitsToGray(unsigned char *dst, const unsigned char *src, long n, bool invert) {
  const int flip = invert ? 0xFF : 0;
  for (long i = 0; i < n; ++i) dst[i] = static_cast<unsigned char>(-((src[i / 8] ^ flip) >> (7 - i % 8) & 1));
}

void NibblesToGray(unsigned char *dst, const unsigned char *src, long n) {
  for (long i = 0; i + 1 < n; i += 2, ++src) {
    dst[i] = static_cast<unsigned char>((*src >> 4) * 17);
    dst[i + 1] = static_cast<unsigned char>((*src & 0x0F) * 17);
  }
  if (n % 2) dst[n - 1] = static_cast<unsigned char>((*src >> 4) * 17);
}

// From gray levels ---------------------------------------------------------------------------------------------------

void GrayToNibbles(unsigned char *dst, const unsigned char *src, long n) {
  for (long i = 0; i + 1 < n; i += 2) *dst++ = static_cast<unsigned char>((src[i] / 17) << 4 | src[i + 1] / 17);
  if (n % 2) *dst = static_cast<unsigned char>((src[n - 1] / 17) << 4);
}

// To 24 bits ---------------------------------------------------------------------------------------------------------

void BitsTo24(unsigned char *dst, const unsigned char *src, long n, const RGBQUAD *table) {
  const Pixel pixels[2] = {Pick(table[0]), Pick(table[1])};
  for (long i = 0; i < n; ++i) Store(dst + 3 * i, pixels[src[i / 8] >> (7 - i % 8) & 1]);
}

void NibblesTo24(unsigned char *dst, const unsigned char *src, long n, const RGBQUAD *table) {
  for (long i = 0; i < n; ++i) Store(dst + 3 * i, Pick(table[i % 2 ? src[i / 2] & 0x0F : src[i / 2] >> 4]));
}

void BytesTo24(unsigned char *dst, const unsigned char *src, long n, const RGBQUAD *table) {
  for (long i = 0; i < n; ++i) Store(dst + 3 * i, Pick(table[src[i]]));
}

void GrayTo24(unsigned char *dst, const unsigned char *src, long n) {
  for (long i = 0; i < n; ++i) dst[3 * i] = dst[3 * i + 1] = dst[3 * i + 2] = src[i];
}

void Rgb555To24(unsigned char *dst, const unsigned char *src, long n) {
  for (long i = 0; i < n; ++i, src += 2, dst += 3) {
    const unsigned v = Load16(src);
    dst[0] = static_cast<unsigned char>((v & 31) * 255 / 31);
    dst[1] = static_cast<unsigned char>((v >> 5 & 31) * 255 / 31);
    dst[2] = static_cast<unsigned char>((v >> 10 & 31) * 255 / 31);
  }
}

void Rgb565To24(unsigned char *dst, const unsigned char *src, long n) {
  for (long i = 0; i < n; ++i, src += 2, dst += 3) {
    const unsigned v = Load16(src);
    dst[0] = static_cast<unsigned char>((v & 31) * 255 / 31);
    dst[1] = static_cast<unsigned char>((v >> 5 & 63) * 255 / 63);
    dst[2] = static_cast<unsigned char>((v >> 11) * 255 / 31);
  }
}

void Rgb32To24(unsigned char *dst, const unsigned char *src, long n) {
  for (long i = 0; i < n; ++i) std::memcpy(dst + 3 * i, src + 4 * i, 3);
}

void Rgb48To24(unsigned char *dst, const unsigned char *src, long n) {
  for (long i = 0; i < 3 * n; ++i) dst[i] = src[2 * i];
}

// From 24 bits -------------------------------------------------------------------------------------------------------

void Rgb24To555(unsigned char *dst, const unsigned char *src, long n) {
  for (long i = 0; i < n; ++i, src += 3)
    Store16(dst + 2 * i, DivideBy255(src[2] * 31u) << 10 | DivideBy255(src[1] * 31u) << 5 | DivideBy255(src[0] * 31u));
}

void Rgb24To565(unsigned char *dst, const unsigned char *src, long n) {
  for (long i = 0; i < n; ++i, src += 3)
    Store16(dst + 2 * i, DivideBy255(src[2] * 31u) << 11 | DivideBy255(src[1] * 63u) << 5 | DivideBy255(src[0] * 31u));
}

void Rgb24To32(unsigned char *dst, const unsigned char *src, long n) {
  for (long i = 0; i < n; ++i) {
    std::memcpy(dst + 4 * i, src + 3 * i, 3);
    dst[4 * i + 3] = 0;
  }
}

void Rgb24To48(unsigned char *dst, const unsigned char *src, long n) {
  for (long i = 0; i < 3 * n; ++i) dst[2 * i] = dst[2 * i + 1] = src[i];
}

// Maps ---------------------------------------------------------------------------------------------------------------

void MapBytes(unsigned char *line, long n, const unsigned char *map) {
  for (long i = 0; i < n; ++i) line[i] = map[line[i]];
}

void Map24(unsigned char *line, long n, const unsigned char *map) {
  for (long i = 0; i < n; ++i, line += 3) {
    line[0] = map[512 + line[0]];
    line[1] = map[256 + line[1]];
    line[2] = map[line[2]];
  }
}

// Reversal -----------------------------------------------------------------------------------------------------------

namespace {

constexpr std::array<unsigned char, 256> kReversedBits = [] {
  std::array<unsigned char, 256> table{};
  for (unsigned v = 0; v < 256; ++v)
    for (unsigned bit = 0; bit < 8; ++bit)
      if (v >> bit & 1) table[v] = static_cast<unsigned char>(table[v] | 0x80 >> bit);
  return table;
}();

template <int Bytes>
void ReverseUnits(unsigned char *dst, const unsigned char *src, long n) {
  for (long i = 0; i < n; ++i) std::memcpy(dst + i * Bytes, src + (n - 1 - i) * Bytes, Bytes);
}

/// Output byte i: the input's eight pixels that end at pixel n - 1 - 8i, reversed. They start `rest` bits into a byte
/// when the line ends inside one; what lies before pixel 0 reads as 0.
void ReverseBits(unsigned char *dst, const unsigned char *src, long n) {
  const long bytes = (n + 7) / 8;
  const int rest = static_cast<int>(n % 8);
  for (long i = 0; i < bytes; ++i) {
    const long last = bytes - 1 - i;  // the source byte with the last of these pixels
    unsigned gathered = src[last];
    if (rest != 0) gathered = (src[last] >> (8 - rest)) | (last > 0 ? src[last - 1] << rest : 0);
    dst[i] = kReversedBits[gathered & 0xFF];
  }
}

void ReverseNibbles(unsigned char *dst, const unsigned char *src, long n) {
  const auto nibble = [src](long i) { return i % 2 ? src[i / 2] & 0x0F : src[i / 2] >> 4; };
  for (long i = 0; i < n; i += 2) {
    const int low = i + 1 < n ? nibble(n - 2 - i) : 0;
    *dst++ = static_cast<unsigned char>(nibble(n - 1 - i) << 4 | low);
  }
}

}  // namespace

bool ReversePixels(unsigned char *dst, const unsigned char *src, long n, int bits) {
  switch (bits) {
    case 1:
      return ReverseBits(dst, src, n), true;
    case 4:
      return ReverseNibbles(dst, src, n), true;
    case 8:
      return ReverseUnits<1>(dst, src, n), true;
    case 16:
      return ReverseUnits<2>(dst, src, n), true;
    case 24:
      return ReverseUnits<3>(dst, src, n), true;
    case 32:
      return ReverseUnits<4>(dst, src, n), true;
    case 48:
      return ReverseUnits<6>(dst, src, n), true;
    default:
      return false;
  }
}

}  // namespace qel::lines

// Plain loops, in forms that the compiler turns into vector code where it pays.
#include "codecs/common/pixel_lines.h"

namespace qel::codecs {

void CmykTo24(unsigned char *dst, const unsigned char *src, long n, bool inverted) {
  const unsigned flip = inverted ? 0 : 255;
  for (long i = 0; i < n; ++i) {
    const unsigned black = src[4 * i + 3] ^ flip;
    for (long channel = 0; channel < 3; ++channel) {
      const unsigned product = (src[4 * i + 2 - channel] ^ flip) * black + 127;
      dst[3 * i + channel] = static_cast<unsigned char>((product + (product >> 8) + 1) >> 8);
    }
  }
}

void CrumbsToNibbles(unsigned char *dst, const unsigned char *src, long n, int factor) {
  // From the end, so that a line can grow in place.
  for (long i = (n + 1) / 2 - 1; i >= 0; --i) {
    const int pair = i % 2 == 0 ? src[i / 2] >> 4 : src[i / 2] & 15;
    dst[i] = static_cast<unsigned char>(((pair >> 2) << 4 | (pair & 3)) * factor);
  }
}

void HighBytesOf48(unsigned char *dst, const unsigned char *src, long n) {
  for (long i = 0; i < 3 * n; ++i) dst[i] = src[2 * i + 1];
}

void Rgb555To565(unsigned char *line, long n) {
  for (long i = 0; i < n; ++i) {
    const unsigned pixel = line[2 * i] | line[2 * i + 1] << 8;
    const unsigned wide = (pixel & 0x7FE0) << 1 | (pixel >> 4 & 0x20) | (pixel & 0x1F);
    line[2 * i] = static_cast<unsigned char>(wide);
    line[2 * i + 1] = static_cast<unsigned char>(wide >> 8);
  }
}

void MakeOpaque(unsigned char *line, long n) {
  for (long i = 0; i < n; ++i) line[4 * i + 3] = 255;
}

bool HasAlpha(const unsigned char *line, long n) {
  unsigned char any = 0;
  for (long i = 0; i < n; ++i) any = static_cast<unsigned char>(any | line[4 * i + 3]);
  return any != 0;
}

}  // namespace qel::codecs

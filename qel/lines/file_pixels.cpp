// Plain loops, in forms that the compiler turns into vector code where it pays.
#include "qel/lines/file_pixels.h"

#include <algorithm>
#include <cstring>

namespace qel::lines {

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

void SwapRedAndBlue24(unsigned char *dst, const unsigned char *src, long n) {
  for (long i = 0; i < n; ++i)
    for (long channel = 0; channel < 3; ++channel) dst[3 * i + channel] = src[3 * i + 2 - channel];
}

void SwapRedAndBlue32(unsigned char *dst, const unsigned char *src, long n) {
  for (long i = 0; i < n; ++i) {
    std::uint32_t pixel;
    std::memcpy(&pixel, src + 4 * i, 4);
    pixel = (pixel & 0xFF00FF00) | (pixel >> 16 & 0xFF) | (pixel & 0xFF) << 16;
    std::memcpy(dst + 4 * i, &pixel, 4);
  }
}

void Gray16To48(unsigned char *dst, const unsigned char *src, long n, int samples) {
  for (long i = 0; i < n; ++i)
    for (long channel = 0; channel < 3; ++channel) std::memcpy(dst + 6 * i + 2 * channel, src + 2 * samples * i, 2);
}

void Rgb16To48(unsigned char *dst, const unsigned char *src, long n, int samples) {
  for (long i = 0; i < n; ++i)
    for (long channel = 0; channel < 3; ++channel)
      std::memcpy(dst + 6 * i + 2 * channel, src + 2 * (samples * i + 2 - channel), 2);
}

void PutChannel(unsigned char *dst, int dstStep, const unsigned char *src, int srcStep, long n) {
  for (long i = 0; i < n; ++i) dst[dstStep * i] = src[srcStep * i];
}

void PutChannel16(unsigned char *dst, const unsigned char *src, long n) {
  for (long i = 0; i < n; ++i) std::memcpy(dst + 6 * i, src + 2 * i, 2);
}

void FillAlternating(unsigned char *dst, long n, unsigned char even, unsigned char odd) {
  for (long i = 0; i < n; ++i) dst[i] = i % 2 == 0 ? even : odd;
}

void RasterToPixels(unsigned char *dst, const std::uint32_t *src, long n, long step, int bytes) {
  for (long i = 0; i < n; ++i, dst += bytes) {
    const std::uint32_t pixel = src[i * step];
    for (int channel = 0; channel < 3; ++channel)
      dst[channel] = static_cast<unsigned char>(pixel >> (16 - 8 * channel));
    if (bytes == 4) dst[3] = static_cast<unsigned char>(pixel >> 24);
  }
}

void DivideByAlpha(unsigned char *line, long n) {
  for (long i = 0; i < n; ++i, line += 4) {
    const unsigned alpha = line[3];
    if (alpha == 0) continue;
    for (long channel = 0; channel < 3; ++channel)
      line[channel] = static_cast<unsigned char>(std::min((line[channel] * 255u + alpha / 2) / alpha, 255u));
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

int LargestByte(const unsigned char *line, long n) {
  unsigned char largest = 0;
  for (long i = 0; i < n; ++i) largest = std::max(largest, line[i]);
  return largest;
}

}  // namespace qel::lines

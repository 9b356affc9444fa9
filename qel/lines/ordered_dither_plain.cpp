// The plain loops behind the vector dithers.

#include "qel/lines/ordered_dither_plain.h"

namespace qel::lines::plain {

void DitherTo2(unsigned char *dst, const unsigned char *src, long n, const unsigned char *thresholds) {
  for (; n > 0; n -= 8) {
    int bits = 0;
    for (int k = 0; k < 8 && k < n; ++k, src += 3)
      bits |= ((30 * src[2] + 59 * src[1] + 11 * src[0]) / 100 >= thresholds[k]) << (7 - k);
    *dst++ = static_cast<unsigned char>(bits);
  }
}

void DitherTo16(unsigned char *dst, const unsigned char *src, long n, const unsigned char *thresholds) {
  for (long i = 0; i < n; ++i, src += 3) {
    const int t = thresholds[i % 8];
    const int mixture = (src[2] >= t) << 2 | (src[1] >= t) << 1 | (src[0] >= t);
    const int code = mixture == 0 ? 0 : 8 | mixture;
    dst[i / 2] = static_cast<unsigned char>(i % 2 ? dst[i / 2] | code : code << 4);
  }
}

void DitherTo216(unsigned char *dst, const unsigned char *src, long n, const unsigned char *thresholds) {
  for (long i = 0; i < n; ++i, src += 3) {
    const int t = thresholds[i % 8];
    const auto level = [t](int c) { return c / 51 + (c % 51 > t); };
    dst[i] = static_cast<unsigned char>(16 + 36 * level(src[2]) + 6 * level(src[1]) + level(src[0]));
  }
}

}  // namespace qel::lines::plain

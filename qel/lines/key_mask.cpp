// Lines of masks made from pictures.

#include "qel/lines/key_mask.h"

namespace qel::lines {

void KeyOut(unsigned char *pixels, unsigned char *mask, long n, DWORD key) {
  for (long i = 0; i < n; ++i, pixels += 3) {
    const DWORD color = pixels[0] | static_cast<DWORD>(pixels[1]) << 8 | static_cast<DWORD>(pixels[2]) << 16;
    const bool isKey = color == (key & 0xFFFFFF);
    mask[i] = isKey ? 255 : 0;
    if (isKey) pixels[0] = pixels[1] = pixels[2] = 0;
  }
}

void DropShadow(unsigned char *pixels, const unsigned char *mask, unsigned char *shadow, long n) {
  for (long i = 0; i < n; ++i, pixels += 3) {
    const int m = mask[i];
    if (m == 0 || shadow[i] == 255) {
      shadow[i] = static_cast<unsigned char>(m);
      continue;
    }
    const int joint = shadow[i] * m / 255;
    const int divisor = 65025 - joint * m;
    shadow[i] = static_cast<unsigned char>(joint);
    for (int k = 0; k < 3; ++k) pixels[k] = static_cast<unsigned char>((255 - m) * 255 * pixels[k] / divisor);
  }
}

}  // namespace qel::lines

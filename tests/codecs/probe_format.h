// The pictures of the format that tests make up.
#pragma once

#include "qel/platform/types.h"

namespace test {

constexpr unsigned char PixelByte(long y, long i) {
  return static_cast<unsigned char>(y * 31 + i * 7 + (i >> 3) + 1);
}

constexpr RGBQUAD PaletteColor(int i) {
  return {static_cast<BYTE>(i * 3), static_cast<BYTE>(255 - i), static_cast<BYTE>(i * 11), 0};
}

}  // namespace test

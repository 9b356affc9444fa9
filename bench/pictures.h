// Pictures that benchmarks share.
#pragma once

#include <algorithm>
#include <cmath>
#include <vector>

namespace bench {

/// 24-bit pixels, row by row: slow waves with a little noise, like a photo.
inline std::vector<unsigned char> Waves(long width, long height) {
  std::vector<unsigned char> picture(static_cast<std::size_t>(3 * width * height));
  unsigned noise = 1;
  for (std::size_t i = 0; i < picture.size(); ++i) {
    const double x = static_cast<double>(static_cast<long>(i / 3) % width),
                 y = static_cast<double>(static_cast<long>(i / 3) / width);
    noise = noise * 1664525 + 1013904223;
    const double wave = 128 + 80 * std::sin(x / 150 + static_cast<double>(i % 3)) + 60 * std::cos(y / 90);
    picture[i] = static_cast<unsigned char>(std::clamp(wave + static_cast<double>(noise >> 28), 0.0, 255.0));
  }
  return picture;
}

}  // namespace bench

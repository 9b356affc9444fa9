// Error diffusion, pixel by pixel.

#include "qel/lines/diffuse.h"

#include <algorithm>
#include <cstdlib>

namespace qel::lines {

namespace {

struct Color {
  int channel[3];  // red, green, blue
};

/// A line that runs to the right compares with the best so far by the sum of the absolute differences too, a line that
/// runs to the left by squared distance alone. Equals go to the lower index.
unsigned char SearchPalette(const DiffusePalette &palette, const Color &value, bool toLeft) {
  int found = 0, bestSquare = 320000, bestSum = toLeft ? 3 * 256 * 256 : 768;
  for (int j = 0; j < palette.colors; ++j) {
    int square = 0, sum = 0;
    for (int c = 0; c < 3; ++c) {
      const int difference = std::abs(value.channel[c] - palette.rgb[3 * j + c]);
      square += difference * difference;
      sum += difference;
    }
    if (square >= bestSquare || (!toLeft && sum > bestSum)) continue;
    found = j;
    bestSquare = square;
    bestSum = sum;
    if (sum == 0) break;
  }
  return static_cast<unsigned char>(found);
}

int IndexOf(const DiffusePalette &palette, const Color &value, bool toLeft) {
  const int key = (value.channel[0] >> 4) << 8 | (value.channel[1] >> 4) << 4 | value.channel[2] >> 4;
  if (palette.done != nullptr && !(palette.done[key >> 3] & 0x80 >> (key & 7))) {
    palette.map[key] = SearchPalette(palette, value, toLeft);
    palette.done[key >> 3] = static_cast<unsigned char>(palette.done[key >> 3] | 0x80 >> (key & 7));
  }
  return palette.map[key];
}

/// Adds without overflow of the signed kind, whatever the row held.
void AddTo(std::int32_t &entry, int share) {
  entry = static_cast<std::int32_t>(static_cast<std::uint32_t>(entry) + static_cast<std::uint32_t>(share));
}

/// Diffuses pixel x and gives its index.
int DiffusePixel(Color value, long x, DiffuseRow &row, const DiffusePalette &palette) {
  std::int32_t *const current = row.current + 3 * x;
  for (int c = 0; c < 3; ++c) {
    const auto carried = std::clamp<std::int64_t>(std::int64_t{current[c]} + row.carry[c], -128, 128);
    value.channel[c] = std::clamp(value.channel[c] + static_cast<int>(carried), 0, 255);
    current[c] = 0;
  }
  const int index = IndexOf(palette, value, row.toLeft);
  const long ahead = row.toLeft ? -1 : 1;
  for (int c = 0; c < 3; ++c) {
    const int error = value.channel[c] - (index < palette.colors ? palette.rgb[3 * index + c] : 0);
    row.carry[c] = error * 7 >> 4;
    if (x - ahead >= 0 && x - ahead < row.width) AddTo(row.next[3 * (x - ahead) + c], error * 3 >> 4);
    AddTo(row.next[3 * x + c], error * 5 >> 4);
    if (x + ahead >= 0 && x + ahead < row.width) AddTo(row.next[3 * (x + ahead) + c], error >> 4);
  }
  return index;
}

template <class ColorAt>
void Diffuse(unsigned char *indices, long from, long to, DiffuseRow &row, const DiffusePalette &palette,
             ColorAt colorAt) {
  for (long k = 0; k < to - from; ++k) {
    const long i = row.toLeft ? to - from - 1 - k : k;
    indices[i] = static_cast<unsigned char>(DiffusePixel(colorAt(i), from + i, row, palette));
  }
}

}  // namespace

void DiffuseColors(unsigned char *indices, const unsigned char *colors, long from, long to, DiffuseRow &row,
                   const DiffusePalette &palette) {
  Diffuse(indices, from, to, row, palette, [colors](long i) {
    return Color{{colors[3 * i + 2], colors[3 * i + 1], colors[3 * i]}};
  });
}

void DiffuseLevels(unsigned char *indices, const unsigned char *levels, long from, long to, DiffuseRow &row,
                   const DiffusePalette &palette) {
  Diffuse(indices, from, to, row, palette, [levels](long i) { return Color{{levels[i], levels[i], levels[i]}}; });
}

}  // namespace qel::lines

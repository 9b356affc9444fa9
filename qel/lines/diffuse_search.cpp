// The palette search of error diffusion.

#include "qel/lines/diffuse_search.h"

#include <cstdlib>

namespace qel::lines {

namespace {

constexpr int kFarthest = 320000, kLargestSum = 768;  // farther than any colour

int Search(const DiffusePalette &palette, const int *value, bool toLeft) {
  int found = 0, bestSquare = kFarthest, bestSum = kLargestSum;
  for (int j = 0; j < palette.colors; ++j) {
    int square = 0, sum = 0;
    for (int c = 0; c < 3; ++c) {
      const int difference = std::abs(value[c] - palette.rgb[3 * j + c]);
      square += difference * difference;
      sum += difference;
    }
    if (square >= bestSquare || (!toLeft && sum > bestSum)) continue;
    found = j;
    bestSquare = square;
    bestSum = sum;
    if (sum == 0) break;
  }
  return found;
}

}  // namespace

void LearnKey(const DiffusePalette &palette, const int *value, bool toLeft) {
  const int key = DiffuseKey(value);
  palette.map[key] = static_cast<unsigned char>(Search(palette, value, toLeft));
  palette.done[key >> 3] = static_cast<unsigned char>(palette.done[key >> 3] | 0x80 >> (key & 7));
}

}  // namespace qel::lines

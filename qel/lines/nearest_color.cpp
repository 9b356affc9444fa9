// The nearest-colour search: every entry is compared, as palettes are small.

#include "qel/lines/nearest_color.h"

namespace qel::lines {

namespace {

constexpr int kFarthest = 3 * 255 * 255;  // black to white

int Square(int v) {
  return v * v;
}

}  // namespace

void FindNearestColors(unsigned char *map, const unsigned char *colors, long count, const unsigned char *palette,
                       long paletteCount) {
  unsigned char found = 0;
  for (long i = 0; i < count; ++i, colors += 3) {
    int best = kFarthest;
    const unsigned char *entry = palette;
    for (long j = 0; j < paletteCount && best > 0; ++j, entry += 3) {
      const int distance = Square(colors[0] - entry[0]) + Square(colors[1] - entry[1]) + Square(colors[2] - entry[2]);
      if (distance >= best) continue;
      best = distance;
      found = static_cast<unsigned char>(j);
    }
    map[i] = found;
  }
}

}  // namespace qel::lines

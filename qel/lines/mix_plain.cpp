// The plain loops behind the vector forms of mixes.

#include "qel/lines/mix_plain.h"

#include "qel/lines/divide_by_255.h"

namespace qel::lines::plain {

namespace {

/// Old and fresh byte mixed; the levels 0 and 255 need no case of their own.
unsigned char MixByte(unsigned old, unsigned fresh, unsigned level) {
  return static_cast<unsigned char>(DivideBy255(old * level + fresh * (255 - level)));
}

}  // namespace

void MixGray(unsigned char *line, const unsigned char *fresh, const unsigned char *mask, long n) {
  for (long i = 0; i < n; ++i) line[i] = MixByte(line[i], fresh[i], mask[i]);
}

void Mix24(unsigned char *line, const unsigned char *fresh, const unsigned char *mask, long n) {
  for (long i = 0; i < n; ++i, line += 3, fresh += 3)
    for (int c = 0; c < 3; ++c) line[c] = MixByte(line[c], fresh[c], mask[i]);
}

void CompositeLayers24(unsigned char *upper, unsigned char *a, const unsigned char *layer, const unsigned char *b,
                       long n) {
  for (long i = 0; i < n; ++i, upper += 3, layer += 3) {
    const unsigned level = a[i], below = b[i];
    if (level == 0 || below == 255) continue;
    const unsigned layerWeight = level * (255 - below), upperWeight = 255 * (255 - level);
    const unsigned divisor = 65025 - level * below;
    for (int c = 0; c < 3; ++c)
      upper[c] = static_cast<unsigned char>((layer[c] * layerWeight + upper[c] * upperWeight) / divisor);
    a[i] = static_cast<unsigned char>(DivideBy255(level * below));
  }
}

}  // namespace qel::lines::plain

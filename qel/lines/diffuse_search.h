// The palette search of error diffusion.
#pragma once

#include "qel/lines/diffuse.h"

namespace qel::lines {

inline int DiffuseKey(const int *value) {
  return (value[0] >> 4) << 8 | (value[1] >> 4) << 4 | value[2] >> 4;
}

inline bool IsKeyKnown(const DiffusePalette &palette, int key) {
  return palette.done == nullptr || (palette.done[key >> 3] & 0x80 >> (key & 7)) != 0;
}

/// Finds the index for the key of a value (red, green, blue) and marks it as known.
///
/// A line that runs to the right compares with the best so far by the sum of the absolute differences too, a line that
/// runs to the left by squared distance alone. Equals go to the lower index.
void LearnKey(const DiffusePalette &palette, const int *value, bool toLeft);

}  // namespace qel::lines

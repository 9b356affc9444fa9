// Coordinates of shapes: sub-pixels, and numbers that hold products of any two coordinates.
#pragma once

#include <algorithm>
#include <climits>

#include "qel/lines/coverage.h"
#include "qel/platform/types.h"

namespace qel::draw {

using lines::kSubPixels;

/// Products of coordinates, and of differences of them, may pass 64 bits.
__extension__ using Wide = __int128;

/// The nearest coordinate of a point.
inline LONG Saturated(long n) {
  return static_cast<LONG>(std::clamp(n, static_cast<long>(INT_MIN), static_cast<long>(INT_MAX)));
}

}  // namespace qel::draw

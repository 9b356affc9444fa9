// What a copy of a rectangle to a point moves: the rectangle and the point, cut to both images where they do not
// repeat.
#pragma once

#include "qel/image/image.h"

namespace qel::ops {

/// A rectangle with room for sums of 32-bit coordinates.
struct WideRect {
  long left;
  long top;
  long right;
  long bottom;
  long Width() const { return right - left; }
  long Height() const { return bottom - top; }
  bool IsEmpty() const { return left >= right || top >= bottom; }
  bool IsInside(const PQel &image) const {
    return left >= 0 && top >= 0 && right <= image.GetImageWidth() && bottom <= image.GetImageHeight();
  }
};

/// Rectangle `s` of the source and the point (x, y) of the destination.
struct CopyArea {
  WideRect s;
  long x;
  long y;
  bool bClipped;  // it needed cutting, and lies in both images
};

/// Cuts a rectangle of `src` (null: all of it) that goes to a point of `dst` (null: the origin). An image that repeats
/// is not cut as long as the other one needs no cutting. Rectangle `s` is empty when there is nothing to copy.
CopyArea FindCopyArea(const PQel &dst, const PQel &src, const POINT *pPoint, const RECT *pRect);

}  // namespace qel::ops

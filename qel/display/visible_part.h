// Which part of an image a window shows, and where.
#pragma once

#include "qel/image/image.h"

namespace qel::display {

/// Columns left .. right - 1 and rows top .. bottom - 1 of an image, and the rectangle of the screen that shows them.
struct VisiblePart {
  long left, top, right, bottom;
  long x, y, width, height;

  bool IsEmpty() const { return left >= right || top >= bottom || width < 1 || height < 1; }
};

/// The part of an image that a screen area shows when pixel ptScroll lies at ptCorner. nZoom above 1: every pixel so
/// many times in both directions; below -1: every |nZoom|-th pixel; else 1:1.
VisiblePart FindVisiblePart(const PQel &image, const POINT &ptScroll, const POINT &ptCorner, const RECT &area,
                            int nZoom);

}  // namespace qel::display

// The visible part, one direction like the other: the screen's extent becomes one of the image, is cut to the image,
// and goes back to the screen.

#include "qel/display/visible_part.h"

#include <algorithm>

namespace qel::display {

namespace {

constexpr long kFarthest = 32767;  // that a coordinate of the screen reaches when an image is enlarged

long FloorDivide(long n, long by) {
  return n >= 0 ? n / by : -((-n + by - 1) / by);
}

struct Extent {
  long first, end;    // of the image
  long from, length;  // on the screen
};

/// Screen coordinates first .. end - 1, counted from where pixel lScroll is shown; lSize 0: an endless image.
Extent FindExtent(long first, long end, long lScroll, long lSize, int nZoom) {
  const long lBy = nZoom > 1 ? nZoom : nZoom < -1 ? -static_cast<long>(nZoom) : 1;
  Extent e = {};
  if (nZoom < -1) {
    e.first = FloorDivide(first * lBy + lScroll, lBy) * lBy;
    e.end = end * lBy + lScroll;
  } else {
    e.first = FloorDivide(first, lBy) + lScroll;
    e.end = FloorDivide(end - 1, lBy) + 1 + lScroll;
  }
  if (lSize != 0) e.first = std::max(e.first, 0L), e.end = std::min(e.end, lSize);
  long lTo;
  if (nZoom < -1) {
    e.from = (e.first - lScroll) / lBy;
    lTo = -FloorDivide(-(e.end - lScroll), lBy);
  } else {
    e.from = std::min((e.first - lScroll) * lBy, kFarthest);
    lTo = std::min((e.end - lScroll) * lBy, kFarthest);
  }
  e.length = std::min(lTo, end) - e.from;
  return e;
}

}  // namespace

VisiblePart FindVisiblePart(const PQel &image, const POINT &ptScroll, const POINT &ptCorner, const RECT &area,
                            int nZoom) {
  const bool bEndless = image.IsTiled() != 0;
  const Extent across =
      FindExtent(static_cast<long>(area.left) - ptCorner.x, static_cast<long>(area.right) - ptCorner.x, ptScroll.x,
                 bEndless ? 0 : image.GetImageWidth(), nZoom);
  const Extent down = FindExtent(static_cast<long>(area.top) - ptCorner.y, static_cast<long>(area.bottom) - ptCorner.y,
                                 ptScroll.y, bEndless ? 0 : image.GetImageHeight(), nZoom);
  return {across.first,           down.first,    across.end, down.end, across.from + ptCorner.x,
          down.from + ptCorner.y, across.length, down.length};
}

}  // namespace qel::display

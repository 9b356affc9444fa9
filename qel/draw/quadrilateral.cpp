// Filled quadrilaterals, each row from its outermost crossings with the outline, and wide lines, which are such.

#include <algorithm>
#include <climits>
#include <cmath>

#include "qel/draw/coordinates.h"
#include "qel/draw/covered_rows.h"
#include "qel/image/image.h"

using qel::draw::kSubPixels, qel::draw::Saturated, qel::draw::Wide;

namespace {

/// n / d, rounded to the nearest number, halves away from zero.
template <class Number>
Number Rounded(Number n, Number d) {
  const Number half = (d < 0 ? -d : d) / 2;
  return (n < 0 ? n - half : n + half) / d;
}

/// Where an edge crosses a row between its ends, rounded as MulDiv rounds, for differences of any size.
long Crossing(const CPoint &a, const CPoint &b, long y) {
  const long down = static_cast<long>(b.y) - a.y, across = static_cast<long>(b.x) - a.x;
  const long most = long{1} << 31;
  if (down > -most && down < most && across > -most && across < most) return a.x + Rounded((y - a.y) * across, down);
  return a.x + static_cast<long>(Rounded(Wide{y - a.y} * across, Wide{down}));
}

/// Half the width of a band across a line, rounded half away from zero.
long HalfAcross(long lAlong, long lWidth, double dLength) {
  return std::lround(static_cast<double>(lAlong) * static_cast<double>(lWidth) / (2 * dLength));
}

}  // namespace

int PQel::xGetIntersection(CPoint pt1, CPoint pt2, CPoint pt3, CPoint pt4, long y, long &xMin, long &xMax) {
  const CPoint corners[] = {pt1, pt2, pt3, pt4};
  xMin = INT_MAX, xMax = INT_MIN;
  int nFound = 0;
  const auto add = [&](long x) {
    xMin = std::min(xMin, x), xMax = std::max(xMax, x);
    nFound = 1;
  };
  for (const CPoint &corner : corners)
    if (corner.y == y) add(corner.x);
  for (int i = 0; i < 4; ++i) {
    const CPoint &a = corners[i], &b = corners[(i + 1) % 4];
    if ((a.y < y && y < b.y) || (b.y < y && y < a.y)) add(Crossing(a, b, y));
  }
  return nFound;
}

int PQel::Fill4PixelRegion(CPoint pt1, CPoint pt2, CPoint pt3, CPoint pt4, long long llColor) {
  const auto [top, bottom] = std::minmax({pt1.y, pt2.y, pt3.y, pt4.y});
  long lFirst = bottom, lLast = top;
  if (!m_bRepeat) {  // rows outside the image draw nothing
    lFirst = std::min(lFirst, (m_bAntiAlias ? kSubPixels : 1) * m_lHeight - 1);
    lLast = std::max(lLast, 0L);
  }
  const auto forRows = [&](auto draw) {
    for (long y = lFirst; y >= lLast; --y) {
      long xMin = 0, xMax = 0;
      if (xGetIntersection(pt1, pt2, pt3, pt4, y, xMin, xMax)) draw(xMin, xMax, y);
    }
  };
  if (CoveredRows::Suits(*this)) {
    CoveredRows rows(*this, llColor, lLast, lFirst);
    if (rows.IsReady()) {
      forRows([&](long x1, long x2, long y) { rows.Add(x1, x2, y); });
      return 1;
    }
  }
  forRows([&](long x1, long x2, long y) { xDrawHorLine(x1, x2, y, llColor); });
  return 1;
}

int PQel::xDrawWideLine(long lWidth, long x1, long y1, long x2, long y2, long long llColor) {
  // Beyond the coordinates of points nothing of a line can be told apart.
  x1 = Saturated(x1), y1 = Saturated(y1), x2 = Saturated(x2), y2 = Saturated(y2), lWidth = Saturated(lWidth);
  const long dx = x2 - x1 + 1, dy = y2 - y1 + 1;
  if (dx == 0 && dy == 0) return 1;
  const double dLength =
      std::sqrt(static_cast<double>(dx) * static_cast<double>(dx) + static_cast<double>(dy) * static_cast<double>(dy));
  const long ox = -HalfAcross(dy, lWidth, dLength), oy = HalfAcross(dx, lWidth, dLength);
  const auto at = [](long x, long y) { return CPoint(Saturated(x), Saturated(y)); };
  return Fill4PixelRegion(at(x1 + ox, y1 + oy), at(x1 - ox, y1 - oy), at(x2 - ox, y2 - oy), at(x2 + ox, y2 + oy),
                          llColor);
}

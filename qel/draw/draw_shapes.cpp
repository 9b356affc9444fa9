// Ellipses and triangles filled with the brush, one run a row. Of a context that does not repeat only its own rows are
// gone through.

#include <algorithm>
#include <climits>
#include <cmath>

#include "qel/draw/coordinates.h"
#include "qel/draw/draw.h"

void PQelDraw::xKeepRows(long *pTop, long *pBottom) const {
  if (m_bRepeat) return;
  *pTop = std::max(*pTop, 0L);
  *pBottom = std::min(*pBottom, m_lHeight - 1);
}

int PQelDraw::FillEllipse(RECT *pRect) {
  if (m_poCurBrush == nullptr) return 0;
  long L = 0, T = 0, R = GetImageWidth(), B = m_lHeight;
  if (pRect != nullptr) L = pRect->left, T = pRect->top, R = pRect->right, B = pRect->bottom;
  const long w = R - L, h = B - T, S = L + R;
  long lTop = T, lBottom = B - 1;
  xKeepRows(&lTop, &lBottom);
  for (long r = lBottom; r >= lTop; --r) {
    const long double u = static_cast<long double>(2 * r - T - B), height = static_cast<long double>(h);
    const long s = static_cast<long>(std::sqrt(height * height - u * u) * static_cast<long double>(w) / height);
    const long a = (S - s - 1) / 2, b = (s + S + 1) / 2;
    FillBrushHorLine(std::min(a, b), std::max(a, b), r);
  }
  return 1;
}

int PQelDraw::FillTriangle(CPoint pt1, CPoint pt2, CPoint pt3) {
  long lTop = std::min({pt1.y, pt2.y, pt3.y}), lBottom = std::max({pt1.y, pt2.y, pt3.y});
  xKeepRows(&lTop, &lBottom);
  for (long y = lTop; y <= lBottom; ++y) {
    long xMin, xMax;
    if (xGetIntersection(pt1, pt2, pt3, y, xMin, xMax)) FillBrushHorLine(xMin, xMax, y);
  }
  return 1;
}

int PQelDraw::xGetIntersection(CPoint pt1, CPoint pt2, CPoint pt3, long y, long &xMin, long &xMax) {
  xMin = INT_MAX;
  xMax = -INT_MAX;
  const auto add = [&](long x) { xMin = std::min(xMin, x), xMax = std::max(xMax, x); };
  const CPoint corners[] = {pt1, pt2, pt3, pt1};
  for (int i = 0; i < 3; ++i) {
    const CPoint &a = corners[i], &b = corners[i + 1];
    if (a.y == y) add(a.x);
    if ((a.y < y && y < b.y) || (b.y < y && y < a.y)) {
      const qel::draw::Wide way = qel::draw::Wide{y - a.y} * (static_cast<long>(b.x) - a.x);
      add(static_cast<long>(way / (static_cast<long>(b.y) - a.y)) + a.x);
    }
  }
  return xMin <= xMax;
}

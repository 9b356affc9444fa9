// The rectangle of changed pixels. It grows with every write until Validate empties it; its neutral value is inverted
// as far as it goes, so that the first change sets all four edges.
#include <algorithm>
#include <limits>

#include "qel/image/image.h"

namespace {

using Edge = std::numeric_limits<LONG>;

/// A coordinate as an edge, cut to what an edge can hold.
LONG ToEdge(long l) {
  return static_cast<LONG>(std::clamp<long>(l, Edge::min(), Edge::max()));
}

/// The edge behind a coordinate.
LONG ToEndEdge(long l) {
  return l >= Edge::max() ? Edge::max() : ToEdge(l + 1);
}

void Grow(CRect &rc, LONG lLeft, LONG lTop, LONG lRight, LONG lBottom) {
  rc.left = std::min(rc.left, lLeft);
  rc.top = std::min(rc.top, lTop);
  rc.right = std::max(rc.right, lRight);
  rc.bottom = std::max(rc.bottom, lBottom);
}

}  // namespace

void PQel::InvalidateRect(CRect *pRect) {
  if (pRect == nullptr)
    m_rcInvalid.SetRect(0, 0, ToEdge(GetImageWidth()), ToEdge(m_lHeight));
  else if (!pRect->IsRectEmpty())
    Grow(m_rcInvalid, pRect->left, pRect->top, pRect->right, pRect->bottom);
}

void PQel::InvalidateLine(long x0, long x1, long y) {
  if (x0 <= x1) Grow(m_rcInvalid, ToEdge(x0), ToEdge(y), ToEndEdge(x1), ToEndEdge(y));
}

void PQel::InvalidateVerLine(long x, long y0, long y1) {
  if (y0 <= y1) Grow(m_rcInvalid, ToEdge(x), ToEdge(y0), ToEndEdge(x), ToEndEdge(y1));
}

void PQel::Validate() {
  m_rcInvalid.SetRect(Edge::max(), Edge::max(), Edge::min(), Edge::min());
}

void PQel::GetInvalidateRect(CRect *pRect) {
  if (pRect != nullptr) *pRect = m_rcInvalid;
}

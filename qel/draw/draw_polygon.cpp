// Polygons by the even-odd rule: row by row the crossings of the edges that reach the row, in pairs. Edges wait in the
// order of their upper ends and leave after their last row, so that a row costs only its own edges, and these step from
// row to row without a division.

#include <algorithm>
#include <cstdlib>

#include "qel/draw/draw.h"

namespace {

struct Edge {
  POINT upper, lower;
};

/// Where an edge crosses a row, rounded half away from zero: quotient and remainder of the way to there, which take a
/// step from row to row.
struct Crossing {
  LONG x, lStep;
  int nSign;
  LONG lEnd;  // the row behind the edge's last one
  DWORD dwRest, dwStepRest, dwHeight;

  /// On row y, from the upper end's (inclusive) to the lower's (exclusive). Distances fit 32 bits, products 64.
  Crossing(const POINT &ptUpper, const POINT &ptLower, long y) {
    const auto distance = [](long a, long b) { return static_cast<unsigned long>(std::abs(a - b)); };
    const unsigned long lWidth = distance(ptLower.x, ptUpper.x), lHeight = distance(ptLower.y, ptUpper.y);
    const unsigned long lWay = lWidth * distance(y, ptUpper.y) + lHeight / 2;
    const bool bLeft = ptLower.x < ptUpper.x;
    const auto signedWay = [=](unsigned long n) { return bLeft ? -static_cast<long>(n) : static_cast<long>(n); };
    x = static_cast<LONG>(ptUpper.x + signedWay(lWay / lHeight));
    lStep = static_cast<LONG>(signedWay(lHeight > 1 ? lWidth / lHeight : 0));  // a single row is never left
    nSign = bLeft ? -1 : 1;
    lEnd = ptLower.y;
    dwRest = static_cast<DWORD>(lWay % lHeight);
    dwStepRest = static_cast<DWORD>(lWidth % lHeight);
    dwHeight = static_cast<DWORD>(lHeight);
  }

  Crossing Below() const {
    Crossing below = *this;
    const unsigned long lRest = static_cast<unsigned long>(dwRest) + dwStepRest;
    const bool bCarry = lRest >= dwHeight;
    const int nCarry = nSign & -static_cast<int>(bCarry);  // without a branch, which would not be foreseen
    below.x = static_cast<LONG>(static_cast<long>(x) + lStep + nCarry);
    below.dwRest = static_cast<DWORD>(lRest - (dwHeight & -static_cast<DWORD>(bCarry)));
    return below;
  }
};

/// The edges of a polygon that are not horizontal, and room to walk them.
class Edges {
 public:
  /// False when memory is short.
  bool Alloc(long lCount) {
    m_pEdges = AllocArray<Edge>(m_memEdges, lCount);
    m_pActive = AllocArray<Crossing>(m_memActive, lCount);
    m_pColumns = AllocArray<long>(m_memColumns, lCount);
    return m_pEdges != nullptr && m_pActive != nullptr && m_pColumns != nullptr;
  }

  void Add(const POINT &p, const POINT &q) { m_pEdges[m_lCount++] = p.y > q.y ? Edge{q, p} : Edge{p, q}; }

  /// To be called before the rows, which go down.
  void Start() {
    std::sort(m_pEdges, m_pEdges + m_lCount, [](const Edge &a, const Edge &b) { return a.upper.y < b.upper.y; });
  }

  /// Finds the columns where edges cross row y, which follows the one before, in ascending order; returns how many.
  /// Column -1 is none.
  long CrossRow(long y) {
    Crossing *pEnd = m_pActive;
    for (long i = 0; i < m_lActive; ++i)
      if (m_pActive[i].lEnd > y) *pEnd++ = m_pActive[i].Below();
    for (; m_lNext < m_lCount && m_pEdges[m_lNext].upper.y <= y; ++m_lNext)
      if (m_pEdges[m_lNext].lower.y > y) *pEnd++ = Crossing(m_pEdges[m_lNext].upper, m_pEdges[m_lNext].lower, y);
    m_lActive = pEnd - m_pActive;
    Sort();
    long lColumns = 0;
    for (long i = 0; i < m_lActive; ++i)
      if (m_pActive[i].x != -1) m_pColumns[lColumns++] = m_pActive[i].x;
    return lColumns;
  }
  const long *Columns() const { return m_pColumns; }

 private:
  /// By insertion, as long as few edges change places, which is so from one row to the next.
  void Sort() {
    const auto less = [](const Crossing &a, const Crossing &b) { return a.x < b.x; };
    long lMovesLeft = 8 * m_lActive;
    for (long i = 1; i < m_lActive && lMovesLeft >= 0; ++i) {
      if (!less(m_pActive[i], m_pActive[i - 1])) continue;
      const Crossing moved = m_pActive[i];
      long k = i;
      for (; k > 0 && less(moved, m_pActive[k - 1]); --k) m_pActive[k] = m_pActive[k - 1];
      m_pActive[k] = moved;
      lMovesLeft -= i - k;
    }
    if (lMovesLeft < 0) std::sort(m_pActive, m_pActive + m_lActive, less);
  }

  template <class T>
  static T *AllocArray(PMem &memory, long lCount) {
    return reinterpret_cast<T *>(memory.AllocMemory(GMEM_MOVEABLE, static_cast<unsigned long>(lCount) * sizeof(T)));
  }

  PMem m_memEdges, m_memActive, m_memColumns;
  Edge *m_pEdges = nullptr;
  Crossing *m_pActive = nullptr;  // in the order of their columns
  long *m_pColumns = nullptr;
  long m_lCount = 0, m_lNext = 0, m_lActive = 0;
};

}  // namespace

void PQelDraw::FillPolygon(POINT *pPoints, int nCount) {
  if (pPoints == nullptr || nCount < 1) return;
  Edges edges;
  if (!edges.Alloc(nCount)) return;
  long lTop = pPoints[0].y, lBottom = pPoints[0].y;
  for (int i = 0; i < nCount; ++i) {
    POINT p = pPoints[i];
    const POINT q = pPoints[i + 1];
    lTop = std::min(lTop, static_cast<long>(p.y));
    lBottom = std::max(lBottom, static_cast<long>(p.y));
    if (p.y != q.y)
      edges.Add(p, q);
    else
      FillBrushHorLine(std::min(p.x, q.x), std::max(p.x, q.x), p.y);
    DrawPixel(&p);
  }
  edges.Start();
  xKeepRows(&lTop, &lBottom);
  const bool bInStore = xFillsRunsInStore();
  for (long y = lTop; y <= lBottom; ++y) {
    const long lPairs = edges.CrossRow(y) / 2;
    const long *const p = edges.Columns();
    if (bInStore && xFillRunsInStore(p, lPairs, y)) continue;
    for (long k = 0; k < lPairs; ++k) FillBrushHorLine(p[2 * k], p[2 * k + 1], y);
  }
}

long PQelDraw::xGetXPos(CPoint ptUpper, CPoint ptLower, long y) {
  const double dy = static_cast<double>(ptLower.y) - ptUpper.y;
  if (dy == 0) return -1;
  const double t = (static_cast<double>(y) - ptUpper.y) / dy;
  return t < 0 || t >= 1 ? -1 : Crossing(ptUpper, ptLower, y).x;
}

// Polygons by the even-odd rule: row by row the crossings of the edges that reach the row, in pairs. Edges wait in the
// order of their upper ends and leave after their last row, so that a row costs only its own edges.

#include <algorithm>
#include <cstdlib>

#include "qel/draw/coordinates.h"
#include "qel/draw/draw.h"

namespace {

struct Edge {
  POINT upper, lower;
};

/// An edge on its way down: the column where it crosses the row at hand, and what that grows by with each row. The
/// quotient of xGetXPos, rounded half away from zero, is carried on with its remainder, so that no row divides.
struct ActiveEdge {
  long x;
  long end;  // first row below it
  long quotient, quotientStep;
  long remainder, remainderStep;
  long dy;
  long from, sign;

  ActiveEdge(const Edge &edge, long y) : end(edge.lower.y), from(edge.upper.x) {
    using qel::draw::Wide;
    const long dx = static_cast<long>(edge.lower.x) - edge.upper.x, width = std::abs(dx);
    dy = static_cast<long>(edge.lower.y) - edge.upper.y;
    sign = dx < 0 ? -1 : 1;
    const Wide start = Wide{width} * (y - edge.upper.y) + dy / 2;
    quotient = static_cast<long>(start / dy), remainder = static_cast<long>(start % dy);
    quotientStep = width / dy, remainderStep = width % dy;
    x = from + sign * quotient;
  }

  void StepDown() {
    quotient += quotientStep, remainder += remainderStep;
    const bool isNext = remainder >= dy;
    quotient += isNext, remainder -= isNext ? dy : 0;
    x = from + sign * quotient;
  }
};

/// The edges of a polygon that are not horizontal, and room to walk them.
class Edges {
 public:
  /// False when memory is short.
  bool Alloc(long lCount) {
    m_pEdges = AllocArray<Edge>(m_memEdges, lCount);
    m_pActive = AllocArray<ActiveEdge>(m_memActive, lCount);
    m_pCrossings = AllocArray<long>(m_memCrossings, lCount);
    return m_pEdges != nullptr && m_pActive != nullptr && m_pCrossings != nullptr;
  }

  void Add(const POINT &p, const POINT &q) { m_pEdges[m_lCount++] = p.y > q.y ? Edge{q, p} : Edge{p, q}; }

  /// To be called before the rows, which go down.
  void Start() {
    std::sort(m_pEdges, m_pEdges + m_lCount, [](const Edge &a, const Edge &b) { return a.upper.y < b.upper.y; });
  }

  /// Finds the crossings of row y, which follows the one before, in ascending order; returns how many. A crossing at
  /// column -1 is none.
  long CrossRow(long y) {
    for (long i = 0; i < m_lActive; ++i) m_pActive[i].StepDown();
    m_lActive =
        std::remove_if(m_pActive, m_pActive + m_lActive, [y](const ActiveEdge &e) { return e.end <= y; }) - m_pActive;
    for (; m_lNext < m_lCount && m_pEdges[m_lNext].upper.y <= y; ++m_lNext)
      if (m_pEdges[m_lNext].lower.y > y) m_pActive[m_lActive++] = ActiveEdge(m_pEdges[m_lNext], y);
    Sort();
    long lCrossings = 0;
    for (long i = 0; i < m_lActive; ++i)
      if (m_pActive[i].x != -1) m_pCrossings[lCrossings++] = m_pActive[i].x;
    return lCrossings;
  }
  const long *Crossings() const { return m_pCrossings; }

 private:
  /// By insertion: from one row to the next few edges change places.
  void Sort() {
    for (long i = 1; i < m_lActive; ++i) {
      if (m_pActive[i - 1].x <= m_pActive[i].x) continue;
      const ActiveEdge edge = m_pActive[i];
      long k = i;
      for (; k > 0 && m_pActive[k - 1].x > edge.x; --k) m_pActive[k] = m_pActive[k - 1];
      m_pActive[k] = edge;
    }
  }

  template <class T>
  static T *AllocArray(PMem &memory, long lCount) {
    return reinterpret_cast<T *>(memory.AllocMemory(GMEM_MOVEABLE, static_cast<unsigned long>(lCount) * sizeof(T)));
  }

  PMem m_memEdges, m_memActive, m_memCrossings;
  Edge *m_pEdges = nullptr;
  ActiveEdge *m_pActive = nullptr;
  long *m_pCrossings = nullptr;
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
    const long *const p = edges.Crossings();
    if (bInStore && xFillRunsInStore(p, lPairs, y)) continue;
    for (long k = 0; k < lPairs; ++k) FillBrushHorLine(p[2 * k], p[2 * k + 1], y);
  }
}

long PQelDraw::xGetXPos(CPoint ptUpper, CPoint ptLower, long y) {
  const long dx = static_cast<long>(ptLower.x) - ptUpper.x, dy = static_cast<long>(ptLower.y) - ptUpper.y;
  if (dy == 0) return -1;
  const double t = static_cast<double>(y - ptUpper.y) / static_cast<double>(dy);
  if (t < 0 || t >= 1) return -1;
  using qel::draw::Wide;
  const long half = std::abs(dy) / 2;
  long n;
  if (__builtin_mul_overflow(dx, y - ptUpper.y, &n) || __builtin_add_overflow(n, n > 0 ? half : -half, &n)) {
    const Wide wide = Wide{dx} * (y - ptUpper.y);
    return ptUpper.x + static_cast<long>((wide > 0 ? wide + half : wide - half) / dy);
  }
  return ptUpper.x + n / dy;
}

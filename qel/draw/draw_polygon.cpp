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

/// The edges of a polygon that are not horizontal, and room to walk them.
class Edges {
 public:
  /// False when memory is short.
  bool Alloc(long lCount) {
    m_pEdges = AllocArray<Edge>(m_memEdges, lCount);
    m_pActive = AllocArray<const Edge *>(m_memActive, lCount);
    m_pCrossings = AllocArray<long>(m_memCrossings, lCount);
    return m_pEdges != nullptr && m_pActive != nullptr && m_pCrossings != nullptr;
  }

  void Add(const POINT &p, const POINT &q) { m_pEdges[m_lCount++] = p.y > q.y ? Edge{q, p} : Edge{p, q}; }

  /// To be called before the rows, which go down.
  void Start() {
    std::sort(m_pEdges, m_pEdges + m_lCount, [](const Edge &a, const Edge &b) { return a.upper.y < b.upper.y; });
  }

  /// Fills in the crossings of a row in ascending order and returns their end; `cross` gives one, or -1.
  template <class Cross>
  long *CrossRow(long y, Cross cross) {
    while (m_lNext < m_lCount && m_pEdges[m_lNext].upper.y <= y) m_pActive[m_lActive++] = &m_pEdges[m_lNext++];
    m_lActive =
        std::remove_if(m_pActive, m_pActive + m_lActive, [y](const Edge *p) { return p->lower.y <= y; }) - m_pActive;
    long *pEnd = m_pCrossings;
    for (long i = 0; i < m_lActive; ++i) {
      const long x = cross(*m_pActive[i]);
      if (x != -1) *pEnd++ = x;
    }
    std::sort(m_pCrossings, pEnd);
    return pEnd;
  }
  const long *Crossings() const { return m_pCrossings; }

 private:
  template <class T>
  static T *AllocArray(PMem &memory, long lCount) {
    return reinterpret_cast<T *>(memory.AllocMemory(GMEM_MOVEABLE, static_cast<unsigned long>(lCount) * sizeof(T)));
  }

  PMem m_memEdges, m_memActive, m_memCrossings;
  Edge *m_pEdges = nullptr;
  const Edge **m_pActive = nullptr;
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
  for (long y = lTop; y <= lBottom; ++y) {
    const long *const pEnd = edges.CrossRow(y, [&](const Edge &edge) { return xGetXPos(edge.upper, edge.lower, y); });
    for (const long *p = edges.Crossings(); p + 1 < pEnd; p += 2) FillBrushHorLine(p[0], p[1], y);
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

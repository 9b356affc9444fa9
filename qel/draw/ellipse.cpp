// Filled ellipses: inscribed in a rectangle, traced by a decision variable in half pixels (Van Aken 1984), and thin
// ones at 0, 45, 90 and 135 degrees, row by row from the equation.

#include <algorithm>
#include <climits>
#include <cmath>

#include "qel/draw/coordinates.h"
#include "qel/draw/covered_rows.h"
#include "qel/image/image.h"

using qel::draw::kSubPixels, qel::draw::Saturated, qel::draw::Wide;

namespace {

/// True when nothing of a rectangle can be seen.
bool IsOutside(const RECT &rc, long lWidth, long lHeight) {
  return rc.right <= 0 || rc.bottom <= 0 || rc.left >= lWidth || rc.top >= lHeight;
}

/// True when the ellipse in a rectangle holds all columns and rows from 0 on, with a few around them: then the trace,
/// which strays from the curve by less than two pixels, gives runs that cross all of them.
bool Holds(const RECT &rc, long lWidth, long lHeight) {
  constexpr long kAround = 8;
  const long W = static_cast<long>(rc.right) - rc.left, H = static_cast<long>(rc.bottom) - rc.top;
  const auto reach = [](long lFrom, long lEnd, long lSize) {  // of the farther side from the centre, doubled
    const long lCenter = lFrom + lEnd;
    return std::max(lCenter + 2 * kAround, 2 * (lSize + kAround) - lCenter);
  };
  const long x = reach(rc.left, rc.right, lWidth), y = reach(rc.top, rc.bottom, lHeight);
  if (x >= W || y >= H) return false;
  return static_cast<long double>(W - x) * static_cast<long double>(W + x) * static_cast<long double>(H) *
             static_cast<long double>(H) >
         1.0001L * static_cast<long double>(y) * static_cast<long double>(y) * static_cast<long double>(W) *
             static_cast<long double>(W);
}

/// The widest span of a row.
struct Span {
  long first, end;
};

/// The two spans of one step: X insets them from both sides, Y from top and bottom, in half pixels.
struct Spans {
  long left, right, top, bottom;
  Spans(const RECT &rc, long X, long Y)
      : left(rc.left + (X + 1) / 2),
        right(rc.right - (X + 1) / 2 - 1),
        top(rc.top + (Y + 1) / 2),
        bottom(rc.bottom - (Y + 1) / 2 - 1) {}
};

/// Walks along a quarter of an ellipse of W by H pixels and calls `step` with the insets of every pair of spans, in
/// half pixels. Decision values grow with the third power of the size, past 64 bits for the largest rectangles.
template <class Step>
void TraceEllipse(long W, long H, Step step) {
  const Wide W2 = Wide{W} * W, H2 = Wide{H} * H;
  long X = W, Y = 0;
  Wide dx = 0, dy = 2 * W2 * H, d = 2 * H2 - W2 * H + W2 / 2;
  while (dx < dy) {  // the flat part: one column a step, a row when the curve passes it
    if (d > 0) {
      step(X, Y);
      Y += 2, dy -= 4 * W2, d -= dy;
    }
    X -= 2, dx += 4 * H2, d += dx + 2 * H2;
  }
  d += (3 * (W2 - H2) - dx - dy) / 2;
  while (Y <= H) {  // the steep part: one row a step
    step(X, Y);
    if (d < 0) X -= 2, dx += 4 * H2, d += dx;
    Y += 2, dy -= 4 * W2, d += 2 * W2 - dy;
  }
}

}  // namespace

// Inscribed ellipses -------------------------------------------------------------------------------------------------

int PQel::xSet4Pixel(RECT *pRect, long lX, long lY, long long llColor) {
  if (pRect == nullptr) return 0;
  const Spans spans(*pRect, lX, lY);
  const int nResult = xDrawHorLine(spans.left, spans.right, spans.bottom, llColor);
  if (spans.top != spans.bottom) xDrawHorLine(spans.left, spans.right, spans.top, llColor);
  return nResult;
}

int PQel::FillCircle(RECT *pRect, long long llColor) {
  const long lScale = m_bAntiAlias ? kSubPixels : 1;
  const long lWidth = lScale * GetImageWidth(), lHeight = lScale * m_lHeight;
  RECT rc = pRect != nullptr ? *pRect : RECT{0, 0, Saturated(lWidth), Saturated(lHeight)};
  const long W = static_cast<long>(rc.right) - rc.left, H = static_cast<long>(rc.bottom) - rc.top;
  if (W < 1 || H < 1) return 1;
  if (H == 1) return xDrawHorLine(rc.left, rc.right - 1L, rc.top, llColor);
  if (W == 1) return xDrawVerLine(rc.left, rc.top, rc.bottom - 1L, llColor);
  if (!m_bRepeat && IsOutside(rc, lWidth, lHeight)) return 1;
  // The trace may be billions of steps long. (Sub-pixel rows in the middle count twice, which shows.)
  if (!m_bAntiAlias && !m_bRepeat && m_pfnHook == nullptr && Holds(rc, lWidth, lHeight)) {
    for (long y = lHeight - 1; y >= 0; --y) xDrawHorLine(0, lWidth - 1, y, llColor);
    return 1;
  }

  if (CoveredRows::Suits(*this)) {
    CoveredRows rows(*this, llColor, rc.top, rc.bottom - 1L);
    if (rows.IsReady()) {
      TraceEllipse(W, H, [&](long X, long Y) {
        const Spans spans(rc, X, Y);
        rows.Add(spans.left, spans.right, spans.bottom);
        if (spans.top != spans.bottom) rows.Add(spans.left, spans.right, spans.top);
      });
      return 1;
    }
  }
  if (!m_bAntiAlias && !m_bRepeat && m_pfnHook == nullptr && xFillEllipseUpwards(rc, llColor)) return 1;
  TraceEllipse(W, H, [&](long X, long Y) { xSet4Pixel(&rc, X, Y, llColor); });
  return 1;
}

/// Fills an inscribed ellipse in the order of the store, when nobody sees the runs pass: memory is written fastest
/// upwards. 0, and nothing drawn, when memory is short.
int PQel::xFillEllipseUpwards(const RECT &rc, long long llColor) {
  const long lTop = std::max(static_cast<long>(rc.top), 0L);
  const long lBottom = std::min(static_cast<long>(rc.bottom), m_lHeight) - 1;
  if (lTop > lBottom) return 1;
  PMem memory;
  const auto dwBytes = static_cast<unsigned long>(lBottom - lTop + 1) * sizeof(Span);
  auto *const pSpans = reinterpret_cast<Span *>(memory.AllocMemory(GHND, dwBytes));
  if (pSpans == nullptr) return 0;
  const auto add = [&](const Spans &spans, long y) {
    if (y < lTop || y > lBottom || spans.left > spans.right) return;
    Span &span = pSpans[y - lTop];  // of spans on one row the widest holds the others
    if (span.end - span.first <= spans.right - spans.left) span = {spans.left, spans.right + 1};
  };
  TraceEllipse(static_cast<long>(rc.right) - rc.left, static_cast<long>(rc.bottom) - rc.top, [&](long X, long Y) {
    const Spans spans(rc, X, Y);
    add(spans, spans.bottom);
    add(spans, spans.top);
  });
  for (long i = lTop; i <= lBottom; ++i) {
    const long y = m_pBIH->biHeight < 0 ? i : lTop + lBottom - i;
    const Span &span = pSpans[y - lTop];
    if (span.first < span.end) xDrawHorLine(span.first, span.end - 1, y, llColor);
  }
  return 1;
}

// Thin ellipses ------------------------------------------------------------------------------------------------------

int PQel::FillEllipse(CPoint ptCenter, long lLength, long lThickness, long lAngle, long long llColor) {
  long lPercents = 0;
  if (lLength < 1 || lLength > INT_MAX || __builtin_mul_overflow(lThickness, lLength, &lPercents)) return 0;
  const long T = std::clamp(lPercents / 100, 1L, static_cast<long>(INT_MAX));
  const long cx = ptCenter.x, cy = ptCenter.y;
  if (lAngle == 0 || lAngle == 90) {
    const long lAcross = lAngle == 0 ? lLength : T, lDown = lAngle == 0 ? T : lLength;
    const long lLeft = cx - lAcross / 2, lTop = cy - lDown / 2;
    RECT rc = {Saturated(lLeft), Saturated(lTop), Saturated(lLeft + lAcross), Saturated(lTop + lDown)};
    return FillCircle(&rc, llColor);
  }
  if (lAngle != 45 && lAngle != 135) return 1;

  const Wide S = Wide{T} * T + Wide{lLength} * lLength, D = Wide{lLength} * lLength - Wide{T} * T;
  const double dArea = static_cast<double>(T * lLength);
  long lFirst = (lLength + 1) / 2, lLast = -lFirst;
  if (!m_bRepeat) {  // rows outside the image draw nothing
    const long lHeight = (m_bAntiAlias ? kSubPixels : 1) * m_lHeight;
    lFirst = std::min(lFirst, lHeight - 1 - cy);
    lLast = std::max(lLast, -cy);
  }
  for (long u = lFirst; u >= lLast; --u) {
    const Wide under = 2 * S - 16 * Wide{u} * u;
    if (under < 0) continue;
    const auto Q = static_cast<Wide>(std::round(std::sqrt(static_cast<double>(under)) * dArea * 0.5));
    const Wide first = lAngle == 45 ? (u * D - Q) / S : -((u * D + Q) / S);
    const Wide last = lAngle == 45 ? (u * D + Q) / S : -((u * D - Q) / S);
    xDrawHorLine(cx + static_cast<long>(first), cx + static_cast<long>(last), cy + u, llColor);
  }
  return 1;
}

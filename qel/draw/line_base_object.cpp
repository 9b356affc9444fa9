// Strokes: dabs at equal distances along lines, carried on from one line to the next, and dashes that count the dabs.

#include <algorithm>
#include <cmath>

#include "qel/draw/coordinates.h"
#include "qel/draw/draw.h"
#include "qel/draw/gdi_object.h"

IMPLEMENT_DYNAMIC(PLineBaseObject, PGDIObject)

namespace {

constexpr unsigned short kPatterns[] = {0xFFFF, 0xF00F, 0xCCCC, 0xFF18, 0xFF24};
constexpr int kStyles = 5, kPatternBits = 16, kPhasesPerBit = 256, kPhases = kPatternBits * kPhasesPerBit;

POINT PointAt(long x, long y) {
  return {qel::draw::Saturated(x), qel::draw::Saturated(y)};
}

}  // namespace

PLineBaseObject::PLineBaseObject()
    : m_nSize(1), m_ptCurrent{0, 0}, m_dDistance(0), m_dSpacing(0.25), m_nLineStyle(0), m_nStylePhase(0) {}

int PLineBaseObject::OnSelect(PQelDraw *pDraw) {
  return PGDIObject::OnSelect(pDraw) && MoveTo(0, 0, nullptr);
}

int PLineBaseObject::MoveTo(long x, long y, POINT *pOld) {
  m_dDistance = 0;
  if (pOld != nullptr) *pOld = m_ptCurrent;
  m_ptCurrent = PointAt(x, y);
  return 1;
}

int PLineBaseObject::LineTo(long x, long y, POINT *pOld) {
  if (m_poOwner == nullptr || m_nSize < 1 || !(m_dSpacing > 0) || !std::isfinite(m_dSpacing)) return 0;
  const POINT from = m_ptCurrent, to = PointAt(x, y);
  // Squares of far points pass 32 bits: doubles give the lengths that 32 bits give where they hold, and true ones
  // beyond.
  const double dx = static_cast<double>(to.x) - from.x, dy = static_cast<double>(to.y) - from.y;
  const double length = std::sqrt(dx * dx + dy * dy), step = m_nSize * m_dSpacing;
  if (length + step <= length) return 0;  // dabs so close that none would ever be the last
  const int nPhaseStep = static_cast<int>(kPhasesPerBit * std::fmod(m_dSpacing, kPatternBits));  // exact, any spacing
  const unsigned nPattern = kPatterns[std::clamp(m_nLineStyle, 0, kStyles - 1)];
  double t = m_dDistance;
  for (; t <= length; t += step) {
    if (nPattern >> (kPatternBits - 1 - m_nStylePhase / kPhasesPerBit % kPatternBits) & 1) {
      POINT dab = from;
      if (length != 0 && t != 0)
        dab = PointAt(std::lround(from.x + t * dx / length), std::lround(from.y + t * dy / length));
      m_poOwner->DrawPixel(&dab);
      if (m_poOwner == nullptr) return 0;  // a context of the caller's own has deselected it
    }
    m_nStylePhase = (m_nStylePhase + nPhaseStep) % kPhases;
  }
  m_dDistance = t - length;
  if (pOld != nullptr) *pOld = from;
  m_ptCurrent = to;
  return 1;
}

int PLineBaseObject::DrawLine(long x1, long y1, long x2, long y2) {
  MoveTo(x1, y1, nullptr);
  return LineTo(x2, y2, nullptr);
}

int PLineBaseObject::DrawPolyLine(POINT *pPoints, int nCount) {
  if (pPoints == nullptr || nCount < 1) return 0;
  MoveTo(pPoints[0].x, pPoints[0].y, nullptr);
  int nResult = 1;
  for (int i = 0; i < nCount; ++i)
    if (!LineTo(pPoints[i].x, pPoints[i].y, nullptr)) nResult = 0;
  return nResult;
}

int PLineBaseObject::SetLineStyle(int nStyle) {
  const int nBefore = m_nLineStyle;
  m_nLineStyle = nStyle >= 1 && nStyle < kStyles ? nStyle : 0;
  m_nStylePhase = 0;
  return nBefore;
}

int PLineBaseObject::SetSpacing(double dSpacing) {
  if (!(dSpacing > 0) || !std::isfinite(dSpacing)) return 0;
  m_dSpacing = dSpacing;
  return 1;
}

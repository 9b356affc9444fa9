// Filled rectangles. In anti-alias mode a rectangle is split on the pixel grid: only its rim is drawn in sub-pixels.

#include <algorithm>

#include "qel/draw/coordinates.h"
#include "qel/image/image.h"

using qel::draw::kSubPixels;

namespace {

LONG RoundDown(long n) {
  return static_cast<LONG>(n & -kSubPixels);
}

LONG RoundUp(long n) {
  return RoundDown(n + kSubPixels - 1);
}

CRect Clamped(const RECT &rc, long lWidth, long lHeight) {
  const auto cut = [](LONG n, long lEnd) { return static_cast<LONG>(std::clamp(static_cast<long>(n), 0L, lEnd)); };
  return CRect(cut(rc.left, lWidth), cut(rc.top, lHeight), cut(rc.right, lWidth), cut(rc.bottom, lHeight));
}

/// Too small for whole pixels within.
bool IsNarrow(const CRect &rc) {
  return static_cast<long>(rc.right) - rc.left <= kSubPixels || static_cast<long>(rc.bottom) - rc.top <= kSubPixels;
}

}  // namespace

int PQel::xFillRect(RECT *pRect, long long llColor) {
  if (pRect == nullptr) return 0;
  const RECT rc = *pRect;
  if (IsEmpty() || rc.left >= rc.right) return 1;
  if (m_pBIH->biHeight > 0) {
    for (long y = rc.bottom - 1L; y >= rc.top; --y)
      if (!xDrawHorLine(rc.left, rc.right - 1L, y, llColor)) return 0;
  } else {
    for (long y = rc.top; y < rc.bottom; ++y)
      if (!DrawHorLine(rc.left, rc.right - 1L, y, llColor)) return 0;
  }
  return 1;
}

int PQel::FillRect(RECT *pRect, long long llColor) {
  if (pRect == nullptr) return Clear(llColor);
  const long lScale = m_bAntiAlias ? kSubPixels : 1;
  CRect rc = m_bRepeat ? CRect(pRect) : Clamped(*pRect, lScale * GetImageWidth(), lScale * m_lHeight);
  if (rc.IsRectEmpty()) return 1;
  if (!m_bAntiAlias || IsNarrow(rc)) return xFillRect(&rc, llColor);

  const CRect rcGrid(RoundUp(rc.left), RoundUp(rc.top), RoundDown(rc.right), RoundDown(rc.bottom));
  CRect strips[] = {{rc.left, rc.top, rc.right, rcGrid.top},
                    {rc.left, rcGrid.bottom, rc.right, rc.bottom},
                    {rc.left, rcGrid.top, rcGrid.left, rcGrid.bottom},
                    {rcGrid.right, rcGrid.top, rc.right, rcGrid.bottom}};
  for (CRect &strip : strips)
    if (!strip.IsRectEmpty()) xFillRect(&strip, llColor);
  CRect rcPixels(rcGrid.left / kSubPixels, rcGrid.top / kSubPixels, rcGrid.right / kSubPixels,
                 rcGrid.bottom / kSubPixels);
  if (!rcPixels.IsRectEmpty()) {
    m_bAntiAlias = 0;
    xFillRect(&rcPixels, llColor);
    m_bAntiAlias = 1;
  }
  return 1;
}

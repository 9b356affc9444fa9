// Pens in a context: stamps, strokes and frames.
//
// A stamp mixes the pen's colours into each row of its footprint through weights: the footprint's own, raised by
// shield, texture and mask. Where nobody sees the rows pass and nothing raises them, the rows are mixed in the store.

#include <algorithm>
#include <cmath>

#include "qel/draw/coordinates.h"
#include "qel/draw/draw.h"
#include "qel/draw/pen.h"
#include "qel/draw/point_array.h"
#include "qel/draw/shield.h"
#include "qel/draw/texture.h"
#include "qel/mem/store_access.h"
#include "qel/ops/mixes.h"

using qel::draw::Saturated;

// Stamps -------------------------------------------------------------------------------------------------------------

/// Columns first .. last and rows top .. bottom of a footprint, and where its first column and row lie on the image.
struct PQelDraw::Stamp {
  long first, last, top, bottom;
  long x, y;
};

int PQelDraw::xDrawPixel(POINT *pPoint) {
  PPen *const pPen = m_poCurPen;
  if (pPen == nullptr || pPoint == nullptr || IsEmpty() || pPen->m_nSize < 1) return 0;
  if (pPen->m_nBitCount != GetBitCount()) return 0;  // the image has another depth than when it was selected
  if (!pPen->xPrepareWork(GetBitCount())) return 0;
  const long lScale = m_bAntiAlias ? qel::draw::kSubPixels : 1, lSize = pPen->m_nSize;
  Stamp s = {0, lSize - 1, 0, lSize - 1, pPoint->x / lScale - lSize / 2, pPoint->y / lScale - lSize / 2};
  if (!m_bRepeat) {
    s.first = std::max(0L, -s.x);
    s.last = std::min(s.last, GetImageWidth() - 1 - s.x);
    s.top = std::max(0L, -s.y);
    s.bottom = std::min(s.bottom, m_lHeight - 1 - s.y);
    if (s.first > s.last || s.top > s.bottom) return 1;
  }
  if (xStampInStore(s)) return 1;
  const long lStep = m_pBIH->biHeight > 0 ? -1 : 1;  // in the order of the store
  const long lFrom = lStep > 0 ? s.top : s.bottom, lEnd = (lStep > 0 ? s.bottom : s.top) + lStep;
  for (long r = lFrom; r != lEnd; r += lStep) xStampRow(s, r);
  return 1;
}

bool PQelDraw::xStampInStore(const Stamp &s) {
  PPen &pen = *m_poCurPen;
  PQel *const pShape = pen.m_poShapeImage;
  if (!xIsUnweighted() || GetBitCount() < 8 || m_pMem->GetMirrorMem() != nullptr) return false;
  if (pen.m_poColorImage != nullptr || pShape == nullptr || pShape->GetBitCount() != 8) return false;
  if (s.last >= pShape->GetImageWidth() || s.bottom >= pShape->GetImageHeight()) return false;
  long lToStep, lWeightStep;
  unsigned char *const pRows = xGetStoredRows(&lToStep);
  const unsigned char *const pShapeRows = pShape->xGetStoredRows(&lWeightStep);
  if (pRows == nullptr || pShapeRows == nullptr) return false;

  const long n = s.last - s.first + 1, lX = s.x + s.first;
  for (const long r : {s.top, s.bottom}) InvalidateLine(lX, lX + n - 1, s.y + r);
  unsigned char *const pTo = pRows + s.y * lToStep + lX * (GetBitCount() / 8);
  const unsigned char *const pWeights = pShapeRows + s.first, *const pColors = pen.m_memWork.GetPointer();
  const qel::ops::Mix mix = qel::ops::kMixes[m_nImageType];
  qel::mem::StoreGroup stores = {{m_pMem}};
  qel::mem::AccessStores(stores, [=] {
    for (long r = s.top; r <= s.bottom; ++r) mix(pTo + r * lToStep, pColors, pWeights + r * lWeightStep, n);
  });
  return true;
}

void PQelDraw::xStampRow(const Stamp &s, long r) {
  PPen &pen = *m_poCurPen;
  unsigned char *const pColors = pen.m_memWork.GetPointer(), *const pImage = pColors + pen.m_lLineBytes,
                       *const pWeights = pImage + pen.m_lLineBytes;
  const long x1 = s.x + s.first, x2 = s.x + s.last, y = s.y + r;
  if (!pen.GetShapeLine(s.first, s.last, r, pWeights) || !GetHorLine(x1, x2, y, pImage)) return;
  if (pen.m_poColorImage != nullptr && !pen.GetColorLine(s.first, s.last, r, pColors)) return;
  if (m_poCurShield != nullptr) m_poCurShield->FilterLine(x1, x2, y, pWeights);
  xRaiseWeights(x1, x2, y, pWeights);
  MixHorLineWithGrayMask(x1, x2, y, pColors, pImage, pWeights);
}

bool PQelDraw::xIsUnweighted() const {
  return m_poCurShield == nullptr && m_poCurTexture == nullptr && m_poCurMask == nullptr;
}

void PQelDraw::xRaiseWeights(long x1, long x2, long y, BYTE *pWeights) {
  if (m_poCurTexture != nullptr) m_poCurTexture->GetMaskLine(x1, x2, y, pWeights);
  if (m_poCurMask != nullptr) m_poCurMask->CombineMaskLine(x1, x2, y, pWeights);
}

int PQelDraw::DrawPixel(long x, long y) {
  POINT pt = {Saturated(x), Saturated(y)};
  return xDrawPixel(&pt);
}

int PQelDraw::DrawPixel(POINT *pPoint) {
  return xDrawPixel(pPoint);
}

// Strokes ------------------------------------------------------------------------------------------------------------

int PQelDraw::SetFeather(int nFeather, int) {
  return m_poCurPen != nullptr ? m_poCurPen->SetFeather(nFeather) : 0;
}

int PQelDraw::ChangePenColor(long long llColor) {
  if (m_poCurPen == nullptr) return 0;
  m_poCurPen->ChangeColor(llColor);
  return 1;
}

int PQelDraw::SetLineStyle(int nStyle) {
  if (m_poCurPen != nullptr) m_poCurPen->SetLineStyle(nStyle);
  return 1;
}

int PQelDraw::DrawLine(long x1, long y1, long x2, long y2) {
  return m_poCurPen != nullptr && m_poCurPen->DrawLine(x1, y1, x2, y2);
}

int PQelDraw::DrawPolyLine(POINT *pPoints, int nCount) {
  return m_poCurPen != nullptr && m_poCurPen->DrawPolyLine(pPoints, nCount);
}

int PQelDraw::MoveTo(POINT *pPoint) {
  return m_poCurPen != nullptr && pPoint != nullptr && m_poCurPen->MoveTo(pPoint->x, pPoint->y, nullptr);
}

int PQelDraw::LineTo(POINT *pPoint) {
  return m_poCurPen != nullptr && pPoint != nullptr && m_poCurPen->LineTo(pPoint->x, pPoint->y, nullptr);
}

int PQelDraw::DoStroke(PPointArray *pPoints, PPen *pPen) {
  if (pPoints == nullptr || pPen == nullptr) return 0;
  pPoints->SetReadPos(0);
  PPen *const pBefore = SelectPen(pPen);
  POINT pt;
  const long lScale = m_bAntiAlias ? qel::draw::kSubPixels : 1;
  while (pPoints->GetNext(&pt)) DrawPixel(pt.x * lScale, pt.y * lScale);
  SelectPen(pBefore);
  return 1;
}

// Frames -------------------------------------------------------------------------------------------------------------

void PQelDraw::FrameRect(RECT *pRect) {
  PPen *const pPen = m_poCurPen;  // a derived class may deselect it while it draws
  if (pPen == nullptr || pRect == nullptr) return;
  const long lSize = pPen->m_nSize, a = (lSize + 1) / 2, b = lSize / 2;
  const long lLeft = pRect->left + a, lTop = pRect->top + a, lRight = pRect->right - b, lBottom = pRect->bottom - b;
  pPen->MoveTo(lLeft, lTop, nullptr);
  pPen->LineTo(lRight, lTop, nullptr);
  pPen->LineTo(lRight, lBottom, nullptr);
  pPen->LineTo(lLeft, lBottom, nullptr);
  pPen->LineTo(lLeft, lTop, nullptr);
}

int PQelDraw::FrameEllipse(RECT *pRect) {
  PPen *const pPen = m_poCurPen;
  if (pPen == nullptr || pPen->m_nSize < 1) return 0;
  const long lSize = pPen->m_nSize, a = (lSize + 1) / 2, b = lSize / 2;
  long lLeft = a, lTop = a, lRight = GetImageWidth() - b, lBottom = m_lHeight - b;
  if (pRect != nullptr)
    lLeft = pRect->left + a, lTop = pRect->top + a, lRight = pRect->right - b, lBottom = pRect->bottom - b;
  if (lLeft > lRight) std::swap(lLeft, lRight);
  if (lTop > lBottom) std::swap(lTop, lBottom);
  const double w = static_cast<double>(lRight - lLeft), h = static_cast<double>(lBottom - lTop);
  const double step = static_cast<double>(2 * a) / std::max(w, h);  // half a pen on the larger axis
  const auto away = [](double v) { return v > 0 ? v + 1 : v - 1; };
  pPen->MoveTo(lRight - 1, (lTop + lBottom) / 2, nullptr);
  double angle = 0;
  for (long k = 1; angle <= 6.283185307; angle = static_cast<double>(k++) * step) {
    const double X = away(std::cos(angle) * w), Y = away(std::sin(angle) * h);
    pPen->LineTo(static_cast<long>((X + static_cast<double>(lRight) + static_cast<double>(lLeft)) * 0.5),
                 static_cast<long>((Y + static_cast<double>(lTop) + static_cast<double>(lBottom)) * 0.5), nullptr);
  }
  return 1;
}

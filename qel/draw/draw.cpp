// The drawing context: its list, the selection of tools, repeat mode and colours.

#include "qel/draw/draw.h"

#include "qel/draw/brush.h"
#include "qel/draw/pen.h"
#include "qel/draw/shield.h"
#include "qel/draw/texture.h"
#include "qel/platform/gdi/palette.h"

IMPLEMENT_DYNAMIC(PQelDraw, PQel)

PQelDraw *PQelDraw::m_poQelDrawFirst = nullptr;
PQelDraw *PQelDraw::m_poQelDrawLast = nullptr;
long long PQelDraw::m_llFgColor = -1;
long long PQelDraw::m_llBkColor = 0;

// Life ---------------------------------------------------------------------------------------------------------------

PQelDraw::PQelDraw()
    : m_poCurMask(nullptr),
      m_poCurTexture(nullptr),
      m_poCurShield(nullptr),
      m_poCurPen(nullptr),
      m_poCurBrush(nullptr),
      m_poNext(nullptr),
      m_poPrev(m_poQelDrawLast) {
  (m_poPrev != nullptr ? m_poPrev->m_poNext : m_poQelDrawFirst) = this;
  m_poQelDrawLast = this;
}

PQelDraw::~PQelDraw() {
  (m_poPrev != nullptr ? m_poPrev->m_poNext : m_poQelDrawFirst) = m_poNext;
  (m_poNext != nullptr ? m_poNext->m_poPrev : m_poQelDrawLast) = m_poPrev;
  PQelDraw::SelectTexture(nullptr);
  PQelDraw::SelectShield(nullptr);
  PQelDraw::SelectPen(nullptr);
  PQelDraw::SelectBrush(nullptr);
  PQelDraw::SelectMask(nullptr);
}

// Selection ----------------------------------------------------------------------------------------------------------

namespace {

/// Changes a selection and returns the one before it; a tool that refuses leaves none.
template <class Tool>
Tool *Select(PQelDraw *pDraw, Tool *&pCurrent, Tool *pTool) {
  if (pTool == pCurrent) return pTool;
  Tool *const pBefore = pCurrent;
  if (pBefore != nullptr) pBefore->OnUnSelect(pDraw);
  pCurrent = pTool;
  if (pTool != nullptr && !pTool->OnSelect(pDraw)) pCurrent = nullptr;
  return pBefore;
}

}  // namespace

PTexture *PQelDraw::SelectTexture(PTexture *pTexture) {
  return Select(this, m_poCurTexture, pTexture);
}

PPen *PQelDraw::SelectPen(PPen *pPen) {
  return Select(this, m_poCurPen, pPen);
}

PBrush *PQelDraw::SelectBrush(PBrush *pBrush) {
  return Select(this, m_poCurBrush, pBrush);
}

PShield *PQelDraw::SelectShield(PShield *pShield) {
  return Select(this, m_poCurShield, pShield);
}

PQel *PQelDraw::SelectMask(PQel *pMask) {
  if (pMask != nullptr) {
    if (pMask->GetBitCount() != 1 && pMask->GetBitCount() != 8) return nullptr;
    if (!pMask->IsEnableRepeat() &&
        (pMask->GetImageWidth() != GetImageWidth() || pMask->GetImageHeight() != GetImageHeight()))
      return nullptr;
    if (m_bRepeat) pMask->SetSameRepeat(this);
  }
  PQel *const pBefore = m_poCurMask;
  m_poCurMask = pMask;
  return pBefore;
}

int PQelDraw::IsSelect(PGDIObject *pObject) {
  return pObject == nullptr || pObject == m_poCurTexture || pObject == m_poCurShield || pObject == m_poCurPen ||
         pObject == m_poCurBrush;
}

PGDIObject *PQelDraw::UnSelect(PGDIObject *pObject) {
  if (pObject == nullptr) return nullptr;
  if (pObject == m_poCurTexture) return SelectTexture(nullptr);
  if (pObject == m_poCurShield) return SelectShield(nullptr);
  if (pObject == m_poCurPen) return SelectPen(nullptr);
  if (pObject == m_poCurBrush) return SelectBrush(nullptr);
  return nullptr;
}

void PQelDraw::xUnSelectEverywhere(PGDIObject *pObject) {
  for (PQelDraw *p = m_poQelDrawFirst; p != nullptr; p = p->m_poNext) p->UnSelect(pObject);
}

// Repeat mode and refresh --------------------------------------------------------------------------------------------

void PQelDraw::xShareRepeat() {
  if (m_poCurMask != nullptr) m_poCurMask->SetSameRepeat(this);
  if (m_poCurShield != nullptr) m_poCurShield->SetSameRepeat(this);
}

void PQelDraw::EnableRepeat(int b) {
  PQel::EnableRepeat(b);
  xShareRepeat();
}

void PQelDraw::SetRepeat(long lX, long lY) {
  PQel::SetRepeat(lX, lY);
  xShareRepeat();
}

void PQelDraw::Update() {
  if (m_poCurShield != nullptr) m_poCurShield->Update(0);
  Validate();
}

// Colours ------------------------------------------------------------------------------------------------------------

long long PQelDraw::GetColorRef(long long llColor) {
  const auto rgb = static_cast<COLORREF>(llColor);
  const long long red = GetRValue(rgb), green = GetGValue(rgb), blue = GetBValue(rgb);
  switch (m_nImageType) {
    case 0:
    case 2:
    case 3:
    case 4:
    case 5: {
      const HPALETTE hPal = GetPalette(nullptr);
      if (hPal == nullptr) return 0;
      const UINT nNearest = GetNearestPaletteIndex(hPal, rgb);
      DeleteObject(hPal);
      return nNearest;
    }
    case 6:
      return red * 31 / 255 * 1024 + green * 31 / 255 * 32 + blue * 31 / 255;
    case 7:
      return red * 31 / 255 * 2048 + green * 63 / 255 * 32 + blue * 31 / 255;
    case 9:
      return blue * 257 | green * 257 << 16 | red * 257 << 32;
    default:
      return llColor;
  }
}

int PQelDraw::DrawBlandEdge(int, BYTE) {
  return 0;
}

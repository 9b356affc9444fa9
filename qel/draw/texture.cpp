// Textures: weights that tile the canvas.

#include "qel/draw/texture.h"

#include "qel/draw/draw.h"

IMPLEMENT_DYNAMIC(PTexture, PGDIObject)

PTexture::PTexture() : m_poTexture(nullptr) {}

PTexture::~PTexture() {
  xLeaveContexts();
}

int PTexture::OnSelect(PQelDraw *pDraw) {
  if (!PGDIObject::OnSelect(pDraw)) return 0;
  if (m_poTexture != nullptr) m_poTexture->SetRepeat(0, 0);
  return 1;
}

int PTexture::SetTexture(PQel *pTexture) {
  if (pTexture != nullptr && pTexture->GetBitCount() != 1 && pTexture->GetBitCount() != 8) return 0;
  m_poTexture = pTexture;
  if (m_poTexture != nullptr) m_poTexture->SetRepeat(0, 0);
  return 1;
}

int PTexture::GetMaskLine(long x1, long x2, long y, BYTE *pMask) {
  return m_poTexture != nullptr && m_poTexture->CombineMaskLine(x1, x2, y, pMask);
}

// What all tools share: the context that they are selected into.

#include "qel/draw/gdi_object.h"

#include "qel/draw/draw.h"

IMPLEMENT_DYNAMIC(PGDIObject, CObject)

PGDIObject::PGDIObject() : m_nSelectCount(0), m_nBitCount(0), m_poOwner(nullptr) {}

PGDIObject::~PGDIObject() = default;

int PGDIObject::OnSelect(PQelDraw *pDraw) {
  if (pDraw == nullptr || (m_nSelectCount > 0 && pDraw->GetBitCount() != m_nBitCount)) return 0;
  m_poOwner = pDraw;
  m_nBitCount = pDraw->GetBitCount();
  ++m_nSelectCount;
  return 1;
}

int PGDIObject::OnUnSelect(PQelDraw *pDraw) {
  if (pDraw == m_poOwner) m_poOwner = nullptr;  // it may be gone soon
  if (--m_nSelectCount <= 0) {
    m_nSelectCount = 0;
    m_poOwner = nullptr;
    m_nBitCount = 0;
  }
  return 1;
}

void PGDIObject::xLeaveContexts() {
  if (m_nSelectCount > 0) PQelDraw::xUnSelectEverywhere(this);
}

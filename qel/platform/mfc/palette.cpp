// CGdiObject and CPalette: a GDI handle whose object ends with its owner.

#include "qel/platform/mfc/palette.h"

IMPLEMENT_DYNAMIC(CGdiObject, CObject)
IMPLEMENT_DYNAMIC(CPalette, CGdiObject)

CGdiObject::~CGdiObject() {
  DeleteObject();
}

BOOL CGdiObject::Attach(HGDIOBJ hObject) {
  if (hObject == nullptr || m_hObject != nullptr) return FALSE;
  m_hObject = hObject;
  return TRUE;
}

HGDIOBJ CGdiObject::Detach() {
  const HGDIOBJ hObject = m_hObject;
  m_hObject = nullptr;
  return hObject;
}

BOOL CGdiObject::DeleteObject() {
  return m_hObject != nullptr ? ::DeleteObject(Detach()) : FALSE;
}

BOOL CPalette::CreatePalette(const LOGPALETTE *pLogPalette) {
  const HPALETTE hPal = ::CreatePalette(pLogPalette);
  if (hPal == nullptr) return FALSE;
  DeleteObject();
  return Attach(hPal);
}

UINT CPalette::GetPaletteEntries(UINT nStart, UINT nCount, PALETTEENTRY *pEntries) const {
  return ::GetPaletteEntries(*this, nStart, nCount, pEntries);
}

UINT CPalette::GetNearestPaletteIndex(COLORREF rgb) const {
  return ::GetNearestPaletteIndex(*this, rgb);
}

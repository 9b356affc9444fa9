// CFont: a font that ends with its owner.

#include "qel/platform/mfc/font.h"

IMPLEMENT_DYNAMIC(CFont, CGdiObject)

BOOL CFont::CreateFontIndirect(const LOGFONTA *pLogFont) {
  const HFONT hFont = ::CreateFontIndirectA(pLogFont);
  if (hFont == nullptr) return FALSE;
  DeleteObject();
  return Attach(hFont);
}

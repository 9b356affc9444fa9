// GDI objects of any kind: the table of handles, stock objects, description and deletion.

#include "qel/platform/gdi/object.h"

#include <cstring>

#include "qel/platform/gdi/brush_object.h"
#include "qel/platform/gdi/font_object.h"
#include "qel/platform/gdi/object_table.h"
#include "qel/platform/gdi/palette_object.h"

namespace qel::gdi {

ObjectTable &Objects() {
  static ObjectTable &table = *new ObjectTable(HandleKind::kGdiObject);
  return table;
}

HGDIOBJ AddStockObject(std::shared_ptr<Object> object) {
  object->m_bStock = true;
  return Objects().Add(std::move(object));
}

int CopyDescription(const void *pDescription, int nNeeded, int nBytes, void *pBuf) {
  if (pBuf == nullptr) return nNeeded;
  if (nBytes < nNeeded) return 0;
  std::memcpy(pBuf, pDescription, static_cast<size_t>(nNeeded));
  return nNeeded;
}

}  // namespace qel::gdi

HGDIOBJ GetStockObject(int nIndex) {
  using namespace qel::gdi;
  switch (nIndex) {
    case WHITE_BRUSH: {
      static const HGDIOBJ hWhite = AddStockObject(std::make_shared<Brush>(RGB(255, 255, 255)));
      return hWhite;
    }
    case BLACK_BRUSH: {
      static const HGDIOBJ hBlack = AddStockObject(std::make_shared<Brush>(RGB(0, 0, 0)));
      return hBlack;
    }
    case SYSTEM_FONT: {
      static const HGDIOBJ hFont = AddStockObject(std::make_shared<Font>(LOGFONTA{}));
      return hFont;
    }
    case DEFAULT_PALETTE: {
      static const HGDIOBJ hPal = AddStockObject(MakeDefaultPalette());
      return hPal;
    }
    default:
      return nullptr;
  }
}

BOOL DeleteObject(HGDIOBJ hObject) {
  const auto object = qel::gdi::Objects().Find(hObject);
  if (object == nullptr) return FALSE;
  if (object->m_bStock) return TRUE;
  return object->m_nSelections == 0 && qel::gdi::Objects().Remove(hObject) != nullptr;
}

int GetObjectA(HGDIOBJ hObject, int nBytes, void *pBuf) {
  const auto object = qel::gdi::Objects().Find(hObject);
  return object != nullptr ? object->Describe(nBytes, pBuf) : 0;
}

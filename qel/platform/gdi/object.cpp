// GDI objects of any kind: the table of handles, description and deletion.

#include "qel/platform/gdi/object.h"

#include <cstring>

#include "qel/platform/gdi/object_table.h"

namespace qel::gdi {

ObjectTable &Objects() {
  static ObjectTable &table = *new ObjectTable(HandleKind::kGdiObject);
  return table;
}

int CopyDescription(const void *pDescription, int nNeeded, int nBytes, void *pBuf) {
  if (pBuf == nullptr) return nNeeded;
  if (nBytes < nNeeded) return 0;
  std::memcpy(pBuf, pDescription, static_cast<size_t>(nNeeded));
  return nNeeded;
}

}  // namespace qel::gdi

BOOL DeleteObject(HGDIOBJ hObject) {
  return qel::gdi::Objects().Remove(hObject) != nullptr;
}

int GetObjectA(HGDIOBJ hObject, int nBytes, void *pBuf) {
  const auto object = qel::gdi::Objects().Find(hObject);
  return object != nullptr ? object->Describe(nBytes, pBuf) : 0;
}

// What stands behind a GDI handle, and the table of all of them. Internal.
#pragma once

#include "qel/platform/handle_table.h"
#include "qel/platform/types.h"

namespace qel::gdi {

/// A palette, bitmap, font or brush.
class Object {
 public:
  virtual ~Object() = default;

  /// GetObjectA for this kind of object.
  virtual int Describe(int nBytes, void *pBuf) const = 0;
};

using ObjectTable = HandleTable<HGDIOBJ, Object>;
ObjectTable &Objects();

/// The object behind a handle when it is a T, else null.
template <class T>
std::shared_ptr<T> FindObject(HGDIOBJ hObject) {
  return std::dynamic_pointer_cast<T>(Objects().Find(hObject));
}

/// Copies a description of `nNeeded` bytes under the rules of GetObjectA.
int CopyDescription(const void *pDescription, int nNeeded, int nBytes, void *pBuf);

}  // namespace qel::gdi

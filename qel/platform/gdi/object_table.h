// What stands behind a GDI handle, and the table of all of them. Internal.
#pragma once

#include <atomic>
#include <utility>

#include "qel/platform/handle_table.h"
#include "qel/platform/types.h"

namespace qel::gdi {

/// A palette, bitmap, font or brush.
class Object {
 public:
  virtual ~Object() = default;

  /// GetObjectA for this kind of object.
  virtual int Describe(int nBytes, void *pBuf) const = 0;

  std::atomic<int> m_nSelections = 0;  // device contexts that have it selected
  bool m_bStock = false;
};

using ObjectTable = HandleTable<HGDIOBJ, Object>;
ObjectTable &Objects();

/// The object behind a handle when it is a T, else null.
template <class T>
std::shared_ptr<T> FindObject(HGDIOBJ hObject) {
  return std::dynamic_pointer_cast<T>(Objects().Find(hObject));
}

/// Registers an object that is never deleted.
HGDIOBJ AddStockObject(std::shared_ptr<Object> object);

/// Copies a description of `nNeeded` bytes under the rules of GetObjectA.
int CopyDescription(const void *pDescription, int nNeeded, int nBytes, void *pBuf);

/// An object in the hands of a device context: kept alive, and counted so that it is not deleted meanwhile.
template <class T>
class Selected {
 public:
  Selected() = default;
  explicit Selected(HGDIOBJ hObject) : m_hObject(hObject), m_object(FindObject<T>(hObject)) {
    if (m_object != nullptr) ++m_object->m_nSelections;
  }
  Selected(Selected &&other) noexcept { Swap(other); }
  Selected &operator=(Selected &&other) noexcept {
    Swap(other);
    return *this;
  }
  ~Selected() {
    if (m_object != nullptr) --m_object->m_nSelections;
  }

  /// Takes another object; the handle of the one before it, null (and nothing changed) when `hObject` is no T.
  HGDIOBJ Replace(HGDIOBJ hObject) {
    Selected next(hObject);
    if (next.m_object == nullptr) return nullptr;
    Swap(next);
    return next.m_hObject;
  }

  HGDIOBJ Handle() const { return m_hObject; }
  T *operator->() const { return m_object.get(); }
  T &operator*() const { return *m_object; }
  explicit operator bool() const { return m_object != nullptr; }

 private:
  void Swap(Selected &other) {
    std::swap(m_hObject, other.m_hObject);
    std::swap(m_object, other.m_object);
  }

  HGDIOBJ m_hObject = nullptr;
  std::shared_ptr<T> m_object;
};

}  // namespace qel::gdi

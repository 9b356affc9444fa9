// CObject and run-time classes: the root of the engine's classes and the record that names each of them.
//
// The macros below are the only ones that the engine's headers define.
#pragma once

#include "qel/export.h"
#include "qel/platform/types.h"

class CArchive;      // no operation of the engine serialises
class CDumpContext;  // no operation of the engine dumps
class CObject;

/// Names a class and its base, and makes objects of it where the class allows that.
struct CRuntimeClass {
  const char *m_lpszClassName;
  int m_nObjectSize;
  UINT m_wSchema;
  CObject *(*m_pfnCreateObject)();  // null: no dynamic creation
  const CRuntimeClass *m_pBaseClass;

  /// A new object of the class, or null when the class has no dynamic creation.
  QEL_API CObject *CreateObject() const;

  /// True when the class is `pBaseClass` or derives from it.
  QEL_API BOOL IsDerivedFrom(const CRuntimeClass *pBaseClass) const;
};

/// Root of the class tree. Objects are not copied.
class QEL_API CObject {
 public:
  virtual CRuntimeClass *GetRuntimeClass() const;
  virtual ~CObject();
  virtual void Serialize(CArchive &ar);
  virtual void AssertValid() const;
  virtual void Dump(CDumpContext &dc) const;

  /// True when the object's class is `pClass` or derives from it.
  BOOL IsKindOf(const CRuntimeClass *pClass) const;

  static const CRuntimeClass classCObject;

 protected:
  CObject() = default;
  CObject(const CObject &) = delete;
  CObject &operator=(const CObject &) = delete;
};

#define RUNTIME_CLASS(class_name) (const_cast<CRuntimeClass *>(&class_name::class##class_name))

#define DECLARE_DYNAMIC(class_name)             \
 public:                                        \
  static const CRuntimeClass class##class_name; \
  CRuntimeClass *GetRuntimeClass() const override;

/// For classes whose objects are also made by CRuntimeClass::CreateObject.
#define DECLARE_DYNCREATE(class_name) \
  DECLARE_DYNAMIC(class_name)         \
  static CObject *CreateObject();

#define IMPLEMENT_RUNTIME_CLASS(class_name, base_class_name, pfn_create)                                          \
  const CRuntimeClass class_name::class##class_name = {#class_name, static_cast<int>(sizeof(class_name)), 0xFFFF, \
                                                       pfn_create, RUNTIME_CLASS(base_class_name)};               \
  CRuntimeClass *class_name::GetRuntimeClass() const {                                                            \
    return RUNTIME_CLASS(class_name);                                                                             \
  }

#define IMPLEMENT_DYNAMIC(class_name, base_class_name) IMPLEMENT_RUNTIME_CLASS(class_name, base_class_name, nullptr)

#define IMPLEMENT_DYNCREATE(class_name, base_class_name) \
  CObject *class_name::CreateObject() {                  \
    return new class_name;                               \
  }                                                      \
  IMPLEMENT_RUNTIME_CLASS(class_name, base_class_name, class_name::CreateObject)

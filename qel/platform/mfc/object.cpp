// CObject and run-time classes: the records form a list from each class to its base, which every question walks.

#include "qel/platform/mfc/object.h"

const CRuntimeClass CObject::classCObject = {"CObject", static_cast<int>(sizeof(CObject)), 0xFFFF, nullptr, nullptr};

CObject *CRuntimeClass::CreateObject() const {
  return m_pfnCreateObject != nullptr ? m_pfnCreateObject() : nullptr;
}

BOOL CRuntimeClass::IsDerivedFrom(const CRuntimeClass *pBaseClass) const {
  if (pBaseClass == nullptr) return FALSE;
  for (const CRuntimeClass *pClass = this; pClass != nullptr; pClass = pClass->m_pBaseClass)
    if (pClass == pBaseClass) return TRUE;
  return FALSE;
}

CObject::~CObject() = default;

CRuntimeClass *CObject::GetRuntimeClass() const {
  return RUNTIME_CLASS(CObject);
}

BOOL CObject::IsKindOf(const CRuntimeClass *pClass) const {
  return GetRuntimeClass()->IsDerivedFrom(pClass);
}

// The root has nothing to store, to check or to print; derived classes say more.
void CObject::Serialize(CArchive &) {}
void CObject::AssertValid() const {}
void CObject::Dump(CDumpContext &) const {}

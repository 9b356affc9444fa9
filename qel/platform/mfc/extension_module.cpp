// Extension modules: one list, in the order of registration. Entries are made with `new` and belong to the list's
// registration: ending it deletes them.

#include "qel/platform/mfc/extension_module.h"

#include <mutex>

#include "qel/platform/kernel/module.h"

IMPLEMENT_DYNAMIC(CDynLinkLibrary, CObject)

namespace {

struct ModuleList {
  std::mutex mutex;
  CDynLinkLibrary *pFirst = nullptr;
};

// Never destroyed: the library's own registration ends at exit.
ModuleList &List() {
  static ModuleList &list = *new ModuleList;
  return list;
}

// The first entry of a module (of any module for null); null when there is none.
CDynLinkLibrary *FirstOf(HINSTANCE hModule) {
  std::lock_guard lock(List().mutex);
  CDynLinkLibrary *p = List().pFirst;
  while (p != nullptr && hModule != nullptr && p->m_hModule != hModule) p = p->m_pNextDLL;
  return p;
}

}  // namespace

BOOL AfxInitExtensionModule(AFX_EXTENSION_MODULE &state, HINSTANCE hModule) {
  if (state.bInitialized || !qel::kernel::IsModule(hModule)) return FALSE;
  state.hModule = hModule;
  state.bInitialized = TRUE;
  return TRUE;
}

void AfxTermExtensionModule(AFX_EXTENSION_MODULE &state, BOOL bAll) {
  if (bAll || state.bInitialized)
    while (CDynLinkLibrary *p = FirstOf(bAll ? nullptr : state.hModule)) delete p;
  state = AFX_EXTENSION_MODULE{};
}

CDynLinkLibrary::CDynLinkLibrary(AFX_EXTENSION_MODULE &state) : m_hModule(state.hModule), m_pNextDLL(nullptr) {
  std::lock_guard lock(List().mutex);
  CDynLinkLibrary **ppLast = &List().pFirst;
  while (*ppLast != nullptr) ppLast = &(*ppLast)->m_pNextDLL;
  *ppLast = this;
}

CDynLinkLibrary::~CDynLinkLibrary() {
  std::lock_guard lock(List().mutex);
  for (CDynLinkLibrary **pp = &List().pFirst; *pp != nullptr; pp = &(*pp)->m_pNextDLL) {
    if (*pp != this) continue;
    *pp = m_pNextDLL;
    return;
  }
}

std::vector<HINSTANCE> qel::mfc::ExtensionModules() {
  std::lock_guard lock(List().mutex);
  std::vector<HINSTANCE> modules;
  for (const CDynLinkLibrary *p = List().pFirst; p != nullptr; p = p->m_pNextDLL) modules.push_back(p->m_hModule);
  return modules;
}

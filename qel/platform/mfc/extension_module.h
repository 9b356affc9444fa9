// Extension modules: libraries that register themselves so that their resources and classes are found.
#pragma once

#include <vector>

#include "qel/export.h"
#include "qel/platform/mfc/object.h"

/// What a library's entry point registers.
struct AFX_EXTENSION_MODULE {
  BOOL bInitialized;
  HINSTANCE hModule;
};

/// Records the module; 0 when it cannot be registered or is registered already.
QEL_API BOOL AfxInitExtensionModule(AFX_EXTENSION_MODULE &state, HINSTANCE hModule);

/// Ends the registration and deletes its list entries; `bAll` those of every module.
QEL_API void AfxTermExtensionModule(AFX_EXTENSION_MODULE &state, BOOL bAll = FALSE);

/// An entry in the list of modules that resources are looked for in. Made with `new`; AfxTermExtensionModule deletes
/// it.
class QEL_API CDynLinkLibrary : public CObject {
  DECLARE_DYNAMIC(CDynLinkLibrary)
 public:
  explicit CDynLinkLibrary(AFX_EXTENSION_MODULE &state);
  ~CDynLinkLibrary() override;

  HINSTANCE m_hModule;
  CDynLinkLibrary *m_pNextDLL;
};

namespace qel::mfc {

/// The modules of the list, in the order of registration.
std::vector<HINSTANCE> ExtensionModules();

}  // namespace qel::mfc

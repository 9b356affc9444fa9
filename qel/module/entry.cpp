// The library's entry point: registers the engine as an extension module when it is loaded, and ends the registration
// when the program ends (the library is linked so that closing it does not unload it).
//
// The loader has no way for a library to refuse its own load, so a failed registration (no memory, or an address that
// the loader does not know) is not passed on: the handle stays null, the engine's strings are then not found through
// the list of extension modules, and message boxes carry the executable's name. Nothing else depends on it.

#include "qel/module/entry.h"

#include <new>

#include "qel/module/string_table.h"
#include "qel/platform/kernel/module.h"
#include "qel/platform/mfc/extension_module.h"

namespace {

AFX_EXTENSION_MODULE g_module = {};

// Its life is the library's: constructed at load, destroyed when the program ends.
struct Registration {
  Registration() {
    try {
      const HINSTANCE hModule = qel::kernel::RegisterModule(&g_module, qel::module::g_strings);
      if (AfxInitExtensionModule(g_module, hModule)) new CDynLinkLibrary(g_module);
    } catch (const std::bad_alloc &) {
      End();
    }
  }
  ~Registration() { End(); }

  static void End() {
    const HINSTANCE hModule = g_module.hModule;
    AfxTermExtensionModule(g_module);
    qel::kernel::UnregisterModule(hModule);
  }
} const g_registration;

}  // namespace

HINSTANCE qel::module::EngineModule() {
  return g_module.hModule;
}

// Modules: shared objects loaded at run time, and where files that belong to the engine are found.
#pragma once

#include <string>
#include <vector>

#include "qel/export.h"
#include "qel/platform/types.h"

using FARPROC = void (*)();

/// Loads a module by name: ".dll" counts as ".so", and ".so" is added to a name without extension. The name is looked
/// for as it is (a bare one where the system's loader looks, which leaves the current folder out), then without regard
/// to case: in the folder that it names; a bare one, and one that names the running executable's folder, beside the
/// executable and in the engine's library folder. The engine's own symbols are there for the module to use. Null when
/// it is not found or does not load.
QEL_API HINSTANCE LoadLibraryA(const char *pszFileName);

/// Takes one load back; 0 for a handle that is not one.
QEL_API BOOL FreeLibrary(HINSTANCE hModule);

/// The address of a function or table that the module itself exports (not one of the libraries that it uses), the
/// running executable for null; null when there is none.
QEL_API FARPROC GetProcAddress(HINSTANCE hModule, const char *pszName);

/// The path of a module's file, of the running executable for null; cut to nSize - 1 bytes and terminated. Returns the
/// length written, 0 for a bad handle.
QEL_API DWORD GetModuleFileNameA(HINSTANCE hModule, char *pszFileName, DWORD nSize);

struct QelModuleResource;

namespace qel::kernel {

/// The folder part of a path with its separator ('/' or '\\', whichever comes last); empty when there is none.
QEL_API std::string FolderOf(const std::string &path);

/// The path of a module's file, of the running executable for null; empty for a bad handle.
QEL_API std::string ModulePath(HINSTANCE hModule);

/// Where format libraries and data files are installed: qel/ beside the engine's own library, ../lib/qel/ seen from the
/// executable when the engine is linked into it. Ends with a separator.
QEL_API std::string EngineLibraryFolder();

/// The handle of the module that holds an address, for code that registers the module it lives in; `pResources` becomes
/// its resource table. The handle does not keep the module loaded. Null when the address lies in no module.
HINSTANCE RegisterModule(const void *pvAddress, const QelModuleResource *pResources);

/// The handle of the module that holds an address; null when it is not known, neither loaded nor registered.
HINSTANCE ModuleAt(const void *pvAddress);

/// Ends what RegisterModule began.
void UnregisterModule(HINSTANCE hModule);

/// The resource table of a module, of the running executable for null; null when it has none.
const QelModuleResource *ModuleResources(HINSTANCE hModule);

/// The tables of the executable and of every known module.
std::vector<const QelModuleResource *> AllModuleResources();

/// True for the handle of a known module.
bool IsModule(HINSTANCE hModule);

}  // namespace qel::kernel

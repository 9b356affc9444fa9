// Modules: shared objects loaded at run time, and where files that belong to the engine are found.
#pragma once

#include <string>

#include "qel/export.h"
#include "qel/platform/types.h"

using FARPROC = void (*)();

/// Loads a module by name: ".dll" counts as ".so", the name is looked for as it is, then beside the running executable,
/// then in the engine's library folder, there without regard to case. Null when it is not found or does not load.
QEL_API HINSTANCE LoadLibraryA(const char *pszFileName);

/// Takes one load back; 0 for a handle that is not one.
QEL_API BOOL FreeLibrary(HINSTANCE hModule);

/// The address of an exported function or table; null when there is none.
QEL_API FARPROC GetProcAddress(HINSTANCE hModule, const char *pszName);

/// The path of a module's file, of the running executable for null; cut to nSize - 1 bytes and terminated. Returns the
/// length written, 0 for a bad handle.
QEL_API DWORD GetModuleFileNameA(HINSTANCE hModule, char *pszFileName, DWORD nSize);

namespace qel::kernel {

/// The folder part of a path with its separator ('/' or '\\', whichever comes last); empty when there is none.
std::string FolderOf(const std::string &path);

/// Where format libraries and data files are installed: lib/qel beside the engine's own library.
std::string EngineLibraryFolder();

}  // namespace qel::kernel

// Resources: bitmaps and strings that a module carries in an exported table.
//
// A module (the executable, a shared object) carries resources when it exports a table under the name
// QelModuleResources; the CMake function qel_add_resources makes one from files and strings.
#pragma once

#include "qel/export.h"
#include "qel/platform/types.h"

/// One resource. The table ends with an entry whose pvData is null.
struct QelModuleResource {
  WORD wType;           // 2 bitmap (a packed DIB without file header), 6 string (bytes without terminator)
  WORD wId;             // numeric name; 0 when named by text
  const char *pszName;  // text name, compared without case; null when named by number
  const void *pvData;
  SIZE_T nBytes;
};

/// A resource name that is a number, and a resource type.
inline const char *MAKEINTRESOURCEA(WORD wId) {
  return reinterpret_cast<const char *>(static_cast<std::uintptr_t>(wId));
}
inline const char *const RT_BITMAP = MAKEINTRESOURCEA(2);
inline const char *const RT_STRING = MAKEINTRESOURCEA(6);

/// Finds a resource by name (text, "#123" or a number) and type in a module, in the running executable for null. Null
/// when there is none.
QEL_API HRSRC FindResourceA(HINSTANCE hModule, const char *pszName, const char *pszType);

/// The resource as a handle for LockResource; it is part of the module and is not freed.
QEL_API HGLOBAL LoadResource(HINSTANCE hModule, HRSRC hResource);

/// The resource's bytes, read-only in fact; null for null.
QEL_API void *LockResource(HGLOBAL hResource);

/// The resource's size in bytes; 0 for null.
QEL_API DWORD SizeofResource(HINSTANCE hModule, HRSRC hResource);

/// Copies a string resource, cut to nSize - 1 bytes and terminated; null looks through the executable and then the
/// registered extension modules. Returns the length written, 0 when there is none.
QEL_API int LoadStringA(HINSTANCE hModule, UINT nId, char *pszBuf, int nSize);

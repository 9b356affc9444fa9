// Resources: a search through the table that a module exports. A resource handle is the address of its entry, and
// counts only while it is found in the table of a module that is loaded.

#include "qel/platform/kernel/resource.h"

#include <strings.h>

#include <algorithm>
#include <charconv>
#include <cstring>
#include <limits>

#include "qel/platform/kernel/error.h"
#include "qel/platform/kernel/module.h"
#include "qel/platform/mfc/extension_module.h"

namespace {

// A resource's name or type: a number, or a text when pszText is set.
struct ResourceName {
  WORD wNumber = 0;
  const char *pszText = nullptr;
};

ResourceName NameOf(const char *psz) {
  const auto nValue = reinterpret_cast<std::uintptr_t>(psz);
  if (nValue <= std::numeric_limits<WORD>::max()) return {static_cast<WORD>(nValue), nullptr};
  WORD wNumber = 0;
  const char *pszEnd = psz + std::strlen(psz);
  if (*psz == '#') {
    const auto result = std::from_chars(psz + 1, pszEnd, wNumber);
    if (result.ec == std::errc() && result.ptr == pszEnd) return {wNumber, nullptr};
  }
  return {0, psz};
}

bool Matches(const QelModuleResource &resource, const ResourceName &name) {
  if (name.pszText != nullptr) return resource.pszName != nullptr && strcasecmp(resource.pszName, name.pszText) == 0;
  return resource.pszName == nullptr && resource.wId == name.wNumber;
}

const QelModuleResource *FindEntry(HINSTANCE hModule, const ResourceName &name, const ResourceName &type) {
  if (type.pszText != nullptr) return nullptr;  // types are numbers here
  const QelModuleResource *pEntry = qel::kernel::ModuleResources(hModule);
  for (; pEntry != nullptr && pEntry->pvData != nullptr; ++pEntry)
    if (pEntry->wType == type.wNumber && Matches(*pEntry, name)) return pEntry;
  return nullptr;
}

// The entry behind a handle, null for anything else.
const QelModuleResource *EntryOf(const void *pvHandle) {
  for (const QelModuleResource *pEntry : qel::kernel::AllModuleResources())
    for (; pEntry->pvData != nullptr; ++pEntry)
      if (pEntry == pvHandle) return pEntry;
  return nullptr;
}

const QelModuleResource *FindString(HINSTANCE hModule, WORD wId) {
  return FindEntry(hModule, {wId}, NameOf(RT_STRING));
}

}  // namespace

HRSRC FindResourceA(HINSTANCE hModule, const char *pszName, const char *pszType) {
  const QelModuleResource *pEntry = FindEntry(hModule, NameOf(pszName), NameOf(pszType));
  if (pEntry == nullptr) SetLastError(ERROR_RESOURCE_NAME_NOT_FOUND);
  return reinterpret_cast<HRSRC>(const_cast<QelModuleResource *>(pEntry));
}

HGLOBAL LoadResource(HINSTANCE, HRSRC hResource) {
  return const_cast<QelModuleResource *>(EntryOf(hResource));
}

void *LockResource(HGLOBAL hResource) {
  const QelModuleResource *pEntry = EntryOf(hResource);
  return pEntry != nullptr ? const_cast<void *>(pEntry->pvData) : nullptr;
}

DWORD SizeofResource(HINSTANCE, HRSRC hResource) {
  const QelModuleResource *pEntry = EntryOf(hResource);
  if (pEntry == nullptr) return 0;
  return static_cast<DWORD>(std::min<SIZE_T>(pEntry->nBytes, std::numeric_limits<DWORD>::max()));
}

int LoadStringA(HINSTANCE hModule, UINT nId, char *pszBuf, int nSize) {
  if (pszBuf == nullptr || nSize <= 0) return 0;
  *pszBuf = '\0';
  if (nId > std::numeric_limits<WORD>::max()) return 0;
  const WORD wId = static_cast<WORD>(nId);
  const QelModuleResource *pEntry = FindString(hModule, wId);
  if (hModule == nullptr)
    for (const HINSTANCE hExtension : qel::mfc::ExtensionModules())
      if (pEntry == nullptr) pEntry = FindString(hExtension, wId);
  if (pEntry == nullptr) {
    SetLastError(ERROR_RESOURCE_NAME_NOT_FOUND);
    return 0;
  }
  const size_t nLength = std::min(pEntry->nBytes, static_cast<size_t>(nSize) - 1);
  std::memcpy(pszBuf, pEntry->pvData, nLength);
  pszBuf[nLength] = '\0';
  return static_cast<int>(nLength);
}

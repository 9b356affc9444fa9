// PMemMapFile: naming, opening and closing the mapping behind the block.
#include "qel/mem/mem_map_file.h"

#include <cstdint>
#include <cstdio>
#include <cstring>

#include "qel/mem/mirror_mem.h"
#include "qel/platform/kernel/error.h"
#include "qel/platform/kernel/file_mapping.h"

IMPLEMENT_DYNAMIC(PMemMapFile, PVirtualMem)

namespace {

constexpr std::uint32_t kNameTries = 4096;  // generated names that may be taken before the block gives up

void FormatShareName(char (&szName)[16], std::uint32_t number) {
  std::snprintf(szName, sizeof szName, "RV_%08X", static_cast<unsigned>(number));
}

std::uint32_t AddressNumber(const void *p) {
  return static_cast<std::uint32_t>(reinterpret_cast<std::uintptr_t>(p));
}

/// Creates or opens a mapping and tells which it was.
void *OpenMapping(const char *pszName, bool commit, unsigned long dwSize, bool *pExisted) {
  SetLastError(ERROR_SUCCESS);
  void *const mapping =
      CreateFileMappingA(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE | (commit ? SEC_COMMIT : SEC_RESERVE),
                         static_cast<DWORD>(dwSize >> 32), static_cast<DWORD>(dwSize), pszName);
  *pExisted = mapping != nullptr && GetLastError() == ERROR_ALREADY_EXISTS;
  return mapping;
}

}  // namespace

PMemMapFile::PMemMapFile() : m_szShareName{}, m_hMapping(nullptr) {}

PMemMapFile::~PMemMapFile() {
  PMemMapFile::FreeMemory();
}

// Name ---------------------------------------------------------------------------------------------------------------

int PMemMapFile::SetShareName(const char *pszName) {
  const std::size_t length = pszName != nullptr ? strnlen(pszName, sizeof m_szShareName) : 0;
  if (length >= sizeof m_szShareName) return 0;
  if (length != 0) std::memmove(m_szShareName, pszName, length);
  m_szShareName[length] = '\0';
  return 1;
}

void PMemMapFile::xGenerateShareName() {
  FormatShareName(m_szShareName, AddressNumber(this));
}

// Memory -------------------------------------------------------------------------------------------------------------

unsigned char *PMemMapFile::AllocMemory(unsigned int nFlags, unsigned long dwSize) {
  if (!IsEmpty()) {
    char name[sizeof m_szShareName];
    std::memcpy(name, m_szShareName, sizeof name);
    FreeMemory();
    SetShareName(name);
  }
  const bool commit = nFlags == MEM_COMMIT || nFlags == (MEM_COMMIT | MEM_RESERVE);
  const bool generated = m_szShareName[0] == '\0';
  if (generated) xGenerateShareName();
  bool existed = false;
  m_hMapping = OpenMapping(m_szShareName, commit, dwSize, &existed);
  for (std::uint32_t i = 1; generated && existed && i <= kNameTries; ++i) {  // somebody else's: next number
    CloseHandle(m_hMapping);
    FormatShareName(m_szShareName, AddressNumber(this) + i);
    m_hMapping = OpenMapping(m_szShareName, commit, dwSize, &existed);
  }
  const bool taken = generated && existed;
  if (m_hMapping == nullptr || taken) {
    if (taken) CloseHandle(m_hMapping);
    m_hMapping = nullptr;
    if (generated) m_szShareName[0] = '\0';
    return nullptr;
  }
  m_pbyMem = static_cast<unsigned char *>(MapViewOfFile(m_hMapping, FILE_MAP_ALL_ACCESS, 0, 0, 0));
  if (m_pbyMem == nullptr) {
    FreeMemory();
    return nullptr;
  }
  m_dwSize = existed ? PMem::GetSize(m_pbyMem) : dwSize;
  if (m_bMirror) CreateMirrorMem();
  return m_pbyMem;
}

void PMemMapFile::FreeMemory() {
  if (m_pbyMem != nullptr) UnmapViewOfFile(m_pbyMem);
  if (m_hMapping != nullptr) CloseHandle(m_hMapping);
  m_pbyMem = nullptr;
  m_hMapping = nullptr;
  m_dwSize = 0;
  m_szShareName[0] = '\0';
  if (m_pMirrorMem != nullptr) m_pMirrorMem->FreeMemory();
}

int PMemMapFile::Resize(unsigned long dwNewSize) {
  if (IsEmpty() || dwNewSize == 0) return 0;
  m_dwSize = PMem::GetSize(m_pbyMem);  // asked of the view, as the name may be meant for the next mapping already
  if (m_bMirror) {
    delete m_pMirrorMem;
    m_pMirrorMem = nullptr;
    CreateMirrorMem();
  }
  return 1;
}

int PMemMapFile::Attach(unsigned char *) {
  return 0;
}

// PMem's memory: the movable global block, how it comes, grows and changes hands.
//
// The guarded operations that all stores share are in mem_access.cpp, the snapshot operations in mem_mirror.cpp.
#include "qel/mem/mem.h"

#include <algorithm>
#include <atomic>
#include <cstring>

#include "qel/mem/mirror_mem.h"
#include "qel/mem/page_walk.h"
#include "qel/platform/kernel/global_memory.h"
#include "qel/platform/kernel/reserved_memory.h"

IMPLEMENT_DYNAMIC(PMem, CObject)

unsigned long PMem::m_dwPageSize = 0;

PMem::PMem() : m_hMem(nullptr), m_pbyMem(nullptr), m_dwSize(0), m_bMirror(0), m_pMirrorMem(nullptr) {
  GetPageSize();
}

PMem::~PMem() {
  PMem::FreeMemory();
}

// Memory -------------------------------------------------------------------------------------------------------------

unsigned char *PMem::AllocMemory(unsigned int nFlags, unsigned long dwSize) {
  if (!IsEmpty()) FreeMemory();
  m_hMem = GlobalAlloc(nFlags, dwSize);
  if (m_hMem == nullptr) return nullptr;
  m_pbyMem = static_cast<unsigned char *>(GlobalLock(m_hMem));
  if (m_pbyMem == nullptr) {
    FreeMemory();
    return nullptr;
  }
  m_dwSize = dwSize;
  if (m_bMirror) CreateMirrorMem();
  return m_pbyMem;
}

void PMem::FreeMemory() {
  if (m_pbyMem != nullptr && m_hMem != nullptr) GlobalUnlock(m_hMem);
  if (m_hMem != nullptr) GlobalFree(m_hMem);
  delete m_pMirrorMem;
  m_hMem = nullptr;
  m_pbyMem = nullptr;
  m_dwSize = 0;
  m_pMirrorMem = nullptr;
}

int PMem::Resize(unsigned long dwNewSize) {
  const UINT flags = m_hMem != nullptr ? GlobalFlags(m_hMem) >> 8 & 0xFF : GMEM_MOVEABLE;
  void *const handle = GlobalAlloc(flags, dwNewSize);
  if (handle == nullptr) return 0;
  auto *const memory = static_cast<unsigned char *>(GlobalLock(handle));
  if (memory == nullptr) {
    GlobalFree(handle);
    return 0;
  }
  if (!IsEmpty()) std::memcpy(memory, m_pbyMem, std::min(dwNewSize, m_dwSize));
  FreeMemory();
  m_hMem = handle;
  m_pbyMem = memory;
  m_dwSize = dwNewSize;
  if (m_bMirror) CreateMirrorMem();
  return 1;
}

void PMem::DeCommitMemory() {}

unsigned char *PMem::CommitMemory(unsigned long dwOffset, unsigned long dwCount) {
  if (IsEmpty() || dwOffset > m_dwSize || dwCount > m_dwSize - dwOffset) return nullptr;
  return m_pbyMem + dwOffset;
}

int PMem::CommitMemory(unsigned char *) {
  return 0;
}

int PMem::Attach(unsigned char *p) {
  if (p == nullptr) return 0;
  return Attach(static_cast<void *>(GlobalHandle(p)));
}

int PMem::Attach(void *hMem) {
  if (hMem == m_hMem) return 1;
  if (hMem == nullptr || !IsEmpty()) return 0;
  const unsigned long size = GlobalSize(hMem);
  auto *const memory = static_cast<unsigned char *>(GlobalLock(hMem));
  if (memory == nullptr) return 0;
  m_hMem = hMem;
  m_pbyMem = memory;
  m_dwSize = size;
  if (m_bMirror) CreateMirrorMem();
  return 1;
}

void *PMem::Detach() {
  void *const handle = m_hMem;
  if (handle != nullptr) GlobalUnlock(handle);
  m_hMem = nullptr;
  m_pbyMem = nullptr;
  m_dwSize = 0;
  FreeMemory();
  return handle;
}

// State --------------------------------------------------------------------------------------------------------------

unsigned long PMem::GetPageSize() {
  const std::atomic_ref shared(m_dwPageSize);
  if (shared.load(std::memory_order_acquire) == 0) {
    SYSTEM_INFO info{};
    GetSystemInfo(&info);
    unsigned long unset = 0;  // of threads that meet here one stores, so that the others' plain reads race with nothing
    shared.compare_exchange_strong(unset, info.dwPageSize != 0 ? info.dwPageSize : 4096);
  }
  return m_dwPageSize;
}

unsigned long PMem::GetSize(unsigned char *p) {
  if (p == nullptr) return 0;
  if (void *const handle = GlobalHandle(p)) return GlobalSize(handle);
  MEMORY_BASIC_INFORMATION run;
  if (VirtualQuery(p, &run, sizeof run) != sizeof run) return 0;
  unsigned long total = 0;
  qel::mem::WalkPages(static_cast<unsigned char *>(run.AllocationBase),
                      [&total](unsigned long, unsigned long size, bool) { total += size; });
  return total;
}

// PVirtualMem: how the block comes by its reservation, and how its pages are committed.
//
// Which pages are committed is the reservation's own knowledge; a commit asks it first, so that a range that is there
// already costs a few loads.
#include "qel/mem/virtual_mem.h"

#include <algorithm>

#include "qel/mem/mirror_mem.h"
#include "qel/mem/page_walk.h"
#include "qel/platform/kernel/reserved_memory.h"

IMPLEMENT_DYNAMIC(PVirtualMem, PMem)

PVirtualMem::PVirtualMem() = default;

PVirtualMem::~PVirtualMem() {
  PVirtualMem::FreeMemory();
}

// Memory -------------------------------------------------------------------------------------------------------------

unsigned char *PVirtualMem::AllocMemory(unsigned int nFlags, unsigned long dwSize) {
  if (!IsEmpty()) FreeMemory();
  const bool commit = nFlags == MEM_COMMIT || nFlags == (MEM_COMMIT | MEM_RESERVE);
  m_pbyMem = static_cast<unsigned char *>(
      VirtualAlloc(nullptr, dwSize, commit ? MEM_COMMIT | MEM_RESERVE : MEM_RESERVE, PAGE_READWRITE));
  if (m_pbyMem == nullptr) return nullptr;
  m_dwSize = dwSize;
  if (m_bMirror) CreateMirrorMem();
  return m_pbyMem;
}

void PVirtualMem::FreeMemory() {
  // A view that was taken over is not a reservation: the call refuses it, and it stays with its mapping.
  if (m_pbyMem != nullptr) VirtualFree(m_pbyMem, 0, MEM_RELEASE);
  m_pbyMem = nullptr;
  m_dwSize = 0;
  if (m_pMirrorMem != nullptr) m_pMirrorMem->FreeMemory();
}

int PVirtualMem::Resize(unsigned long dwNewSize) {
  unsigned char *const oldMem = m_pbyMem;
  const unsigned long oldSize = m_dwSize;
  void *const oldHandle = m_hMem;
  const int wantsMirror = m_bMirror;
  PMirrorMem *const mirror = m_pMirrorMem;
  m_pbyMem = nullptr;
  m_dwSize = 0;
  m_hMem = nullptr;
  m_bMirror = 0;  // a snapshot of memory that is only being filled would be thrown away
  m_pMirrorMem = nullptr;

  int result = AllocMemory(MEM_COMMIT, dwNewSize) != nullptr;
  if (result && oldMem != nullptr) {
    const unsigned long kept = std::min(oldSize, dwNewSize);
    qel::mem::WalkPages(oldMem, [&](unsigned long offset, unsigned long size, bool committed) {
      if (committed && offset < kept && !PutBlock(offset, std::min(size, kept - offset), oldMem + offset)) result = 0;
    });
  }
  m_pMirrorMem = mirror;
  m_bMirror = wantsMirror;
  if (result) {
    if (oldMem != nullptr) VirtualFree(oldMem, 0, MEM_RELEASE);
  } else {
    if (m_pbyMem != nullptr) VirtualFree(m_pbyMem, 0, MEM_RELEASE);
    m_pbyMem = oldMem;
    m_dwSize = oldSize;
    m_hMem = oldHandle;
  }
  if (m_bMirror) CreateMirrorMem();
  return result;
}

void PVirtualMem::DeCommitMemory() {
  if (m_pbyMem != nullptr) qel::kernel::DecommitAllPages(m_pbyMem);
}

unsigned long PVirtualMem::xGetPagesSize() const {
  return (m_dwSize + m_dwPageSize - 1) / m_dwPageSize * m_dwPageSize;
}

// Commit -------------------------------------------------------------------------------------------------------------

unsigned char *PVirtualMem::CommitMemory(unsigned long dwOffset, unsigned long dwCount) {
  if (IsEmpty()) return nullptr;
  const unsigned long size = xGetPagesSize();  // the last page belongs to the block as a whole
  if (dwOffset > size || dwCount > size - dwOffset) return nullptr;
  if (dwCount != 0 && !qel::kernel::ArePagesCommitted(m_pbyMem, dwOffset, dwCount) &&
      !qel::kernel::CommitPages(m_pbyMem, dwOffset, dwCount)) {
    return nullptr;
  }
  return m_pbyMem + dwOffset;
}

int PVirtualMem::CommitMemory(unsigned char *pAddress) {
  if (IsEmpty() || pAddress < m_pbyMem) return 0;
  return PVirtualMem::CommitMemory(static_cast<unsigned long>(pAddress - m_pbyMem), 1) != nullptr;
}

// Attach and detach --------------------------------------------------------------------------------------------------

int PVirtualMem::Attach(unsigned char *p) {
  if (!IsEmpty() || p == nullptr) return 0;
  MEMORY_BASIC_INFORMATION run;
  if (VirtualQuery(p, &run, sizeof run) != sizeof run || run.AllocationBase != p) return 0;
  m_dwSize = PMem::GetSize(p);
  if (m_dwSize == 0) return 0;
  m_pbyMem = p;
  return 1;
}

int PVirtualMem::Attach(void *hMem) {
  if (hMem == nullptr || !IsEmpty()) return 0;
  PMem global;
  if (!global.Attach(hMem)) return 0;
  const int wantsMirror = m_bMirror;
  m_bMirror = 0;  // a snapshot of memory that is only being filled would be thrown away
  int result = AllocMemory(MEM_COMMIT, global.GetSize()) != nullptr;
  if (result && !CopyBlock(&global, 0, 0, global.GetSize())) {
    FreeMemory();
    result = 0;
  }
  m_bMirror = wantsMirror;
  if (!result) {
    global.Detach();  // the caller keeps it
    return 0;
  }
  if (m_bMirror) CreateMirrorMem();
  return 1;
}

void *PVirtualMem::Detach() {
  PMem global;
  if (global.AllocMemory(GMEM_MOVEABLE, m_dwSize) == nullptr) return nullptr;
  if (!global.CopyBlock(this, 0, 0, m_dwSize)) return nullptr;
  void *const handle = global.Detach();
  FreeMemory();
  return handle;
}

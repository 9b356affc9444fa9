// PMem's snapshot operations: making a mirror, and moving its saved pages.
//
// Everything that moves saved pages asks the system which pages of a block are committed and moves those runs whole.
#include <algorithm>
#include <new>

#include "qel/lines/swap.h"
#include "qel/mem/mem.h"
#include "qel/mem/mirror_mem.h"
#include "qel/mem/page_walk.h"

int PMem::CreateMirrorMem() {
  if (m_pMirrorMem != nullptr && IsEmpty()) return ClearMirrorMem();  // it gets its size with the next memory
  if (m_pMirrorMem == nullptr) {
    m_pMirrorMem = new (std::nothrow) PMirrorMem;
    if (m_pMirrorMem == nullptr) {
      m_bMirror = 0;
      return 0;
    }
  }
  if (m_pMirrorMem->SetSourceMem(this)) {
    m_bMirror = 1;
    return 1;
  }
  delete m_pMirrorMem;
  m_pMirrorMem = nullptr;
  m_bMirror = 0;
  return 0;
}

int PMem::ClearMirrorMem() {
  if (m_pMirrorMem == nullptr) return 0;
  m_pMirrorMem->DeCommitMemory();
  return 1;
}

int PMem::GetMirrorMem(PMem *pDst) {
  if (m_pMirrorMem == nullptr || pDst == nullptr) return 0;
  if (pDst == m_pMirrorMem) return 1;
  pDst->DeCommitMemory();
  return pDst->CopyVirtualMemory(m_pMirrorMem);
}

int PMem::PutMirrorMem(PVirtualMem *pSrc) {
  if (m_pMirrorMem == nullptr || pSrc == nullptr) return 0;
  if (pSrc == m_pMirrorMem) return 1;
  m_pMirrorMem->DeCommitMemory();
  return m_pMirrorMem->CopyVirtualMemory(pSrc);
}

int PMem::CopyVirtualMemory(PVirtualMem *pSrc) {
  if (pSrc == nullptr || pSrc->IsEmpty()) return 0;
  if (pSrc == this) return 1;
  unsigned char *const src = pSrc->GetPointer();
  int result = 1;
  qel::mem::WalkPages(src, [&](unsigned long offset, unsigned long size, bool committed) {
    if (committed && offset < m_dwSize && !PutBlock(offset, size, src + offset)) result = 0;
  });
  return result;
}

int PMem::SwapMirrorMem() {
  if (IsEmpty() || m_pMirrorMem == nullptr) return 0;
  unsigned char *const saved = m_pMirrorMem->GetPointer();
  if (saved == nullptr) return 1;
  int result = 1;
  qel::mem::WalkPages(saved, [&](unsigned long offset, unsigned long size, bool committed) {
    if (!committed || offset >= m_dwSize) return;
    const unsigned long count = std::min(size, m_dwSize - offset);
    unsigned char *const own = CommitMemory(offset, count);
    if (own == nullptr) return;
    if (!qel::kernel::Guarded(xFilterFault, this, [=] { qel::lines::SwapBytes(own, saved + offset, count); }))
      result = 0;
  });
  return result;
}

// PMirrorMem: saving pages of the source before they change.
//
// A page is committed and filled in one step, ahead of the source's write. A page that cannot be filled is not left
// committed, because an exchange would carry its zeros into the source.
#include "qel/mem/mirror_mem.h"

#include <algorithm>
#include <cstring>

#include "qel/platform/kernel/reserved_memory.h"

IMPLEMENT_DYNAMIC(PMirrorMem, PVirtualMem)

PMirrorMem::PMirrorMem() : m_pSourceMem(nullptr) {}

PMirrorMem::~PMirrorMem() = default;

unsigned char *PMirrorMem::AllocMemory(unsigned int, unsigned long dwSize) {
  return PVirtualMem::AllocMemory(MEM_RESERVE, dwSize);
}

int PMirrorMem::SetSourceMem(PMem *pSrc) {
  if (pSrc == nullptr || pSrc == this) return 0;
  if (pSrc == m_pSourceMem && !IsEmpty() && m_dwSize == pSrc->GetSize()) {
    DeCommitMemory();
    return 1;
  }
  FreeMemory();
  m_pSourceMem = nullptr;
  if (AllocMemory(MEM_RESERVE, pSrc->GetSize()) == nullptr) return 0;
  m_pSourceMem = pSrc;
  return 1;
}

// Pages --------------------------------------------------------------------------------------------------------------

int PMirrorMem::xSavePage(unsigned long dwOffset) {
  if (m_pSourceMem == nullptr) return PVirtualMem::CommitMemory(dwOffset, m_dwPageSize) != nullptr;
  const unsigned long count = std::min(m_dwSize - dwOffset, m_dwPageSize);
  const unsigned char *const src = m_pSourceMem->CommitMemory(dwOffset, count);
  unsigned char *const dst = m_pbyMem + dwOffset;
  if (src == nullptr || !qel::kernel::CommitPages(m_pbyMem, dwOffset, count)) return 0;
  if (qel::kernel::Guarded(xFilterFault, m_pSourceMem, [=] { std::memcpy(dst, src, count); })) return 1;
  VirtualFree(dst, count, MEM_DECOMMIT);
  return 0;
}

int PMirrorMem::xSaveRange(unsigned long dwFirst, unsigned long dwEnd) {
  if (dwFirst >= dwEnd || qel::kernel::ArePagesCommitted(m_pbyMem, dwFirst, dwEnd - dwFirst)) return 1;
  int result = 1;
  for (unsigned long page = dwFirst / m_dwPageSize * m_dwPageSize; page < dwEnd; page += m_dwPageSize) {
    if (!qel::kernel::ArePagesCommitted(m_pbyMem, page, 1) && !xSavePage(page)) result = 0;
  }
  return result;
}

unsigned char *PMirrorMem::CommitMemory(unsigned long dwOffset, unsigned long dwCount) {
  const unsigned long size = xGetPagesSize();
  if (IsEmpty() || dwOffset > size || dwCount > size - dwOffset) return nullptr;
  return xSaveRange(dwOffset, dwOffset + dwCount) ? m_pbyMem + dwOffset : nullptr;
}

int PMirrorMem::CommitMemory(unsigned char *pAddress) {
  if (IsEmpty() || pAddress < m_pbyMem) return 0;
  return CommitMemory(static_cast<unsigned long>(pAddress - m_pbyMem), 1) != nullptr;
}

// Notices ------------------------------------------------------------------------------------------------------------

int PMirrorMem::CopySource(unsigned long dwOffset, unsigned long dwCount) {
  if (dwCount == 0) return 1;
  const unsigned long size = xGetPagesSize();
  if (dwOffset >= size) return 0;
  const unsigned long count = std::min(dwCount, size - dwOffset);
  return xSaveRange(dwOffset, dwOffset + count) && count == dwCount;
}

int PMirrorMem::CopySourceSkipBlock(unsigned long dwOffset, unsigned long dwCount, unsigned long dwUnit, long lStride) {
  if (dwCount == 0) return 1;
  constexpr unsigned long kFar = 1UL << 62;  // behind every block, and small enough for the sums below
  const __int128 reach = static_cast<__int128>(std::min(dwCount - 1, kFar)) * lStride;
  const __int128 offset = dwOffset;
  const __int128 low = offset + std::min<__int128>(reach, 0);
  const __int128 high = offset + std::max<__int128>(reach, 0) + dwUnit;
  const __int128 size = xGetPagesSize();
  const __int128 first = std::clamp<__int128>(low, 0, size), end = std::clamp<__int128>(high, 0, size);
  return xSaveRange(static_cast<unsigned long>(first), static_cast<unsigned long>(end)) && first == low && end == high;
}

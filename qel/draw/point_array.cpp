// A sequence of points in chunks of 2000, each in a zero-filled global-memory block of its own. Every chunk but the
// last is full, so that positions are found by walking the chain.

#include "qel/draw/point_array.h"

#include <algorithm>
#include <climits>
#include <cstddef>

#include "qel/platform/kernel/global_memory.h"

using qel::draw::PointChunk;

namespace {

/// A chunk with room for a number of points; null when memory is short.
PointChunk *NewChunk(unsigned long dwPoints) {
  const HGLOBAL hMem = GlobalAlloc(GHND, offsetof(PointChunk, points) + dwPoints * sizeof(POINT));
  if (hMem == nullptr) return nullptr;
  auto *const pChunk = static_cast<PointChunk *>(GlobalLock(hMem));
  if (pChunk == nullptr)
    GlobalFree(hMem);
  else
    pChunk->hMem = hMem;
  return pChunk;
}

void FreeChunk(PointChunk *pChunk) {
  const HGLOBAL hMem = pChunk->hMem;
  GlobalUnlock(hMem);
  GlobalFree(hMem);
}

}  // namespace

IMPLEMENT_DYNAMIC(PPointArray, CObject)

PPointArray::PPointArray() : m_pHead(NewChunk(PointChunk::kPoints)) {
  RemoveAll();
}

PPointArray::~PPointArray() {
  RemoveAll();
  if (m_pHead != nullptr) FreeChunk(m_pHead);
}

int PPointArray::Add(long x, long y) {
  if (m_pTail == nullptr || m_nCount == INT_MAX) return 0;
  if (m_pTail->nCount == PointChunk::kPoints) {
    PointChunk *const pNew = NewChunk(PointChunk::kPoints);
    if (pNew == nullptr) return 0;
    m_pTail->pNext = pNew;
    m_pTail = pNew;
  }
  m_pTail->points[m_pTail->nCount++] = {static_cast<LONG>(x), static_cast<LONG>(y)};
  ++m_nCount;
  return 1;
}

void PPointArray::RemoveAll() {
  while (m_pHead != nullptr && m_pHead->pNext != nullptr) {
    PointChunk *const pNext = m_pHead->pNext;
    FreeChunk(m_pHead);
    m_pHead = pNext;
  }
  if (m_pHead != nullptr) m_pHead->nCount = 0;
  m_nCount = 0;
  m_pTail = m_pRead = m_pHead;
  m_nReadIndex = 0;
}

// Reading ------------------------------------------------------------------------------------------------------------

void PPointArray::SetReadPos(UINT nIndex) {
  m_pRead = m_pHead;
  m_nReadIndex = 0;
  if (m_pRead == nullptr) return;
  while (m_pRead->pNext != nullptr && nIndex >= static_cast<UINT>(m_pRead->nCount)) {
    nIndex -= static_cast<UINT>(m_pRead->nCount);
    m_pRead = m_pRead->pNext;
  }
  const UINT nLast = static_cast<UINT>(std::max(m_pRead->nCount, 1) - 1);
  m_nReadIndex = static_cast<int>(std::min(nIndex, nLast));
}

int PPointArray::GetNext(POINT *pPoint) {
  if (pPoint == nullptr || m_pRead == nullptr) return 0;
  if (m_nReadIndex >= m_pRead->nCount) {
    if (m_pRead->pNext == nullptr) return 0;
    m_pRead = m_pRead->pNext;
    m_nReadIndex = 0;
  }
  *pPoint = m_pRead->points[m_nReadIndex++];
  return 1;
}

// Sorting ------------------------------------------------------------------------------------------------------------

PointChunk *PPointArray::xCopyToBlock() {
  PointChunk *const pBlock = NewChunk(static_cast<unsigned long>(std::max(m_nCount, PointChunk::kPoints)));
  if (pBlock == nullptr) return nullptr;
  POINT *pEnd = pBlock->points;
  for (const PointChunk *p = m_pHead; p != nullptr; p = p->pNext) pEnd = std::copy_n(p->points, p->nCount, pEnd);
  pBlock->nCount = m_nCount;
  return pBlock;
}

int PPointArray::Sort() {
  PointChunk *const pBlock = xCopyToBlock();
  if (pBlock == nullptr) return 0;
  std::sort(pBlock->points, pBlock->points + pBlock->nCount,
            [](const POINT &a, const POINT &b) { return a.x != b.x ? a.x < b.x : a.y < b.y; });
  // Back into the same chunks, so that no point is lost when memory is short now.
  const POINT *pFrom = pBlock->points;
  for (PointChunk *p = m_pHead; p != nullptr; p = p->pNext) {
    std::copy_n(pFrom, p->nCount, p->points);
    pFrom += p->nCount;
  }
  FreeChunk(pBlock);
  m_pRead = m_pHead;
  m_nReadIndex = 0;
  return 1;
}

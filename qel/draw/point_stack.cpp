// A stack of points in one zero-filled global-memory block.

#include "qel/draw/point_stack.h"

#include <algorithm>
#include <climits>

#include "qel/platform/kernel/global_memory.h"

namespace {

constexpr long kStepBytes = 16384;

}  // namespace

IMPLEMENT_DYNAMIC(PPointStack, CObject)

PPointStack::PPointStack() : m_nCount(0), m_hMem(nullptr), m_nCapacity(0), m_pPoints(nullptr) {
  xReserve(1);
}

PPointStack::~PPointStack() {
  if (m_hMem == nullptr) return;
  GlobalUnlock(m_hMem);
  GlobalFree(m_hMem);
}

int PPointStack::xReserve(int n) {
  const long lNeeded = (static_cast<long>(m_nCount) + n) * static_cast<long>(sizeof(POINT));
  if (lNeeded <= m_nCapacity) return 1;
  const long lMore = (lNeeded - m_nCapacity + kStepBytes - 1) / kStepBytes * kStepBytes;
  if (m_nCapacity + lMore > INT_MAX) return 0;
  const HGLOBAL hNew = GlobalAlloc(GHND, static_cast<unsigned long>(m_nCapacity + lMore));
  if (hNew == nullptr) return 0;
  auto *const pNew = static_cast<POINT *>(GlobalLock(hNew));
  if (pNew == nullptr) {
    GlobalFree(hNew);
    return 0;
  }
  if (m_hMem != nullptr) {
    std::copy_n(m_pPoints, m_nCount, pNew);
    GlobalUnlock(m_hMem);
    GlobalFree(m_hMem);
  }
  m_hMem = hNew;
  m_pPoints = pNew;
  m_nCapacity += static_cast<int>(lMore);
  return 1;
}

int PPointStack::Push(long x, long y) {
  if (!xReserve(1)) return 0;
  m_pPoints[m_nCount++] = {static_cast<LONG>(x), static_cast<LONG>(y)};
  return 1;
}

int PPointStack::Pop(POINT *pPoint) {
  if (m_nCount == 0 || pPoint == nullptr) return 0;
  *pPoint = m_pPoints[--m_nCount];
  return 1;
}

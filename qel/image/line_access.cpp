// Rows and columns in the image's own format, in every layout and store.
//
// The entry operations send repeating images to repeat access, tell the hook, and leave the rest to a worker, which
// checks the span, grows the changed rectangle and moves the pixels: a span of a linear row is one block copy, a column
// one strided copy; in block layout there is one copy a block. Pixels of 1 and 4 bits have forms of their own on top of
// the same movers.
//
// A span that leaves the image is refused with 0 before anything happens; a row outside the image and a reversed span
// are no error, they move nothing.
#include <algorithm>

#include "qel/image/image.h"

namespace {

constexpr int kGlobalMemory = 1;  // all of it is committed, always

enum Verdict { kRefused = 0, kNothing = 1, kMoved = 2 };

/// True for 0 <= first <= last < size, in two comparisons.
bool IsInside(long first, long last, long size) {
  using Unsigned = unsigned long;
  return static_cast<Unsigned>(first) <= static_cast<Unsigned>(last) &&
         static_cast<Unsigned>(last) < static_cast<Unsigned>(size);
}

}  // namespace

// Checks -------------------------------------------------------------------------------------------------------------

inline int PQel::xCheckRow(long x0, long x1, long y, const unsigned char *pBuf) const {
  if (m_pBIH == nullptr || pBuf == nullptr) return kRefused;
  if (static_cast<unsigned long>(y) >= static_cast<unsigned long>(m_lHeight)) return kNothing;
  if (IsInside(x0, x1, m_pBIH->biWidth)) [[likely]]
    return kMoved;
  return x0 > x1 ? kNothing : kRefused;
}

inline int PQel::xCheckColumn(long x, long y0, long y1, const unsigned char *pBuf) const {
  if (m_pBIH == nullptr || pBuf == nullptr) return kRefused;
  if (IsInside(y0, y1, m_lHeight) && IsInside(x, x, m_pBIH->biWidth)) [[likely]]
    return kMoved;
  return y0 > y1 ? kNothing : kRefused;
}

// Movers -------------------------------------------------------------------------------------------------------------

int PQel::xMoveLinearRow(BlockMove pfn, long lByte, long lCount, long y, unsigned char *pBuf) {
  return (m_pMem->*pfn)(xGetRowOffset(lByte, y), static_cast<unsigned long>(lCount), pBuf);
}

int PQel::xMoveBlockRow(BlockMove pfn, long lByte, long lCount, long y, unsigned char *pBuf) {
  const long lRowBytes = m_lBlockSize * m_pBIH->biBitCount / 8;
  long lIndex = y / m_lBlockSize * m_lXBlocks + lByte / lRowBytes;
  long lInRow = lByte % lRowBytes;
  const long lRowStart = y % m_lBlockSize * lRowBytes;
  int nResult = 1;
  while (lCount > 0 && nResult) {
    const long lPart = std::min(lRowBytes - lInRow, lCount);
    const long lOffset = xGetBlockStart(lIndex) + lRowStart + lInRow;
    nResult = (m_pMem->*pfn)(static_cast<unsigned long>(lOffset), static_cast<unsigned long>(lPart), pBuf);
    pBuf += lPart;
    lCount -= lPart;
    lInRow = 0;
    ++lIndex;
  }
  return nResult;
}

int PQel::xMoveLinearColumn(StridedMove pfn, long x, long y, long lCount, long lUnit, unsigned char *pBuf) {
  const long lStep = m_pBIH->biHeight < 0 ? m_lLineBytes : -m_lLineBytes;
  return (m_pMem->*pfn)(xGetOffset(x, y), static_cast<unsigned long>(lCount), static_cast<unsigned long>(lUnit), lStep,
                        pBuf);
}

int PQel::xMoveBlockColumn(StridedMove pfn, long x, long y, long lCount, long lUnit, unsigned char *pBuf) {
  const long lStep = m_lBlockSize * m_pBIH->biBitCount / 8;
  int nResult = 1;
  while (lCount > 0 && nResult) {
    const long lPart = std::min(m_lBlockSize - y % m_lBlockSize, lCount);
    nResult = (m_pMem->*pfn)(xGetBlockOffset(x, y), static_cast<unsigned long>(lPart),
                             static_cast<unsigned long>(lUnit), lStep, pBuf);
    pBuf += lPart * lUnit;
    lCount -= lPart;
    y += lPart;
  }
  return nResult;
}

// Row workers --------------------------------------------------------------------------------------------------------

unsigned char *PQel::xGetStoredSpan(long x, long lCount, long y) {
  if (IsEmpty() || m_bBlock || m_bRepeat || m_pfnHook != nullptr) return nullptr;
  if (x < 0 || lCount < 1 || y < 0 || lCount > GetImageWidth() - x || y >= m_lHeight) return nullptr;
  const long lBits = GetBitCount();
  return m_pMem->CommitMemory(xGetRowOffset(x * lBits / 8, y), static_cast<unsigned long>((lCount * lBits + 7) / 8));
}

unsigned char *PQel::xGetStoredRows(long *plStep) {
  if (m_nMemType != kGlobalMemory) return nullptr;
  *plStep = IsEmpty() || m_pBIH->biHeight < 0 ? m_lLineBytes : -m_lLineBytes;
  return xGetStoredSpan(0, GetImageWidth(), 0);
}

int PQel::CommitStore() {
  return !IsEmpty() && m_pMem->CommitMemory(0, m_pMem->GetSize()) != nullptr;
}

int PQel::xGetHorLine(long x0, long x1, long y, unsigned char *pBuf) {
  const int nCheck = xCheckRow(x0, x1, y, pBuf);
  if (nCheck != kMoved) return nCheck;
  const long lBits = m_pBIH->biBitCount;
  if (lBits == 1) return m_bBlock ? xGetBlockHorLine1(x0, x1, y, pBuf) : xxGetHorLine1(x0, x1, y, pBuf);
  if (lBits == 4) return m_bBlock ? xGetBlockHorLine4(x0, x1, y, pBuf) : xxGetHorLine4(x0, x1, y, pBuf);
  const long lByte = x0 * lBits / 8, lCount = (x1 - x0 + 1) * lBits / 8;
  if (m_bBlock) return xMoveBlockRow(&PMem::GetBlock, lByte, lCount, y, pBuf);
  return m_pMem->GetBlock(xGetRowOffset(lByte, y), static_cast<unsigned long>(lCount), pBuf);
}

int PQel::xPutHorLine(long x0, long x1, long y, unsigned char *pBuf) {
  const int nCheck = xCheckRow(x0, x1, y, pBuf);
  if (nCheck != kMoved) return nCheck;
  const long lBits = m_pBIH->biBitCount;
  if (lBits == 1) return m_bBlock ? xPutBlockHorLine1(x0, x1, y, pBuf) : xxPutHorLine1(x0, x1, y, pBuf);
  if (lBits == 4) return m_bBlock ? xPutBlockHorLine4(x0, x1, y, pBuf) : xxPutHorLine4(x0, x1, y, pBuf);
  InvalidateLine(x0, x1, y);
  const long lByte = x0 * lBits / 8, lCount = (x1 - x0 + 1) * lBits / 8;
  if (m_bBlock) return xMoveBlockRow(&PMem::PutBlock, lByte, lCount, y, pBuf);
  return m_pMem->PutBlock(xGetRowOffset(lByte, y), static_cast<unsigned long>(lCount), pBuf);
}

// Column workers -----------------------------------------------------------------------------------------------------

int PQel::xGetVerLine(long x, long y0, long y1, unsigned char *pBuf) {
  const int nCheck = xCheckColumn(x, y0, y1, pBuf);
  if (nCheck != kMoved) return nCheck;
  const long lBits = m_pBIH->biBitCount, lCount = y1 - y0 + 1;
  if (lBits == 1) return m_bBlock ? xGetBlockVerLine1(x, y0, y1, pBuf) : xxGetVerLine1(x, y0, y1, pBuf);
  if (lBits == 4) return m_bBlock ? xGetBlockVerLine4(x, y0, y1, pBuf) : xxGetVerLine4(x, y0, y1, pBuf);
  return m_bBlock ? xMoveBlockColumn(&PMem::GetSkipBlock, x, y0, lCount, lBits / 8, pBuf)
                  : xMoveLinearColumn(&PMem::GetSkipBlock, x, y0, lCount, lBits / 8, pBuf);
}

int PQel::xPutVerLine(long x, long y0, long y1, unsigned char *pBuf) {
  const int nCheck = xCheckColumn(x, y0, y1, pBuf);
  if (nCheck != kMoved) return nCheck;
  InvalidateVerLine(x, y0, y1);
  const long lBits = m_pBIH->biBitCount, lCount = y1 - y0 + 1;
  if (lBits == 1) return m_bBlock ? xPutBlockVerLine1(x, y0, y1, pBuf) : xxPutVerLine1(x, y0, y1, pBuf);
  if (lBits == 4) return m_bBlock ? xPutBlockVerLine4(x, y0, y1, pBuf) : xxPutVerLine4(x, y0, y1, pBuf);
  return m_bBlock ? xMoveBlockColumn(&PMem::PutSkipBlock, x, y0, lCount, lBits / 8, pBuf)
                  : xMoveLinearColumn(&PMem::PutSkipBlock, x, y0, lCount, lBits / 8, pBuf);
}

// Spans --------------------------------------------------------------------------------------------------------------

int PQel::GetHorLine(long x0, long x1, long y, unsigned char *pBuf) {
  if (m_bRepeat) return GetWarpedHorLine(x0, x1, y, pBuf);
  if (!xGetHorLine(x0, x1, y, pBuf)) return 0;
  if (m_pfnHook != nullptr) m_pfnHook(this, 3, x0, y, x1, y, pBuf);
  return 1;
}

int PQel::PutHorLine(long x0, long x1, long y, unsigned char *pBuf) {
  if (m_bRepeat) return PutWarpedHorLine(x0, x1, y, pBuf);
  if (m_pfnHook != nullptr) {
    if (xCheckRow(x0, x1, y, pBuf) == kRefused) return 0;
    m_pfnHook(this, 4, x0, y, x1, y, pBuf);
  }
  return xPutHorLine(x0, x1, y, pBuf);
}

int PQel::GetVerLine(long x, long y0, long y1, unsigned char *pBuf) {
  if (m_bRepeat) return GetWarpedVerLine(x, y0, y1, pBuf);
  if (!xGetVerLine(x, y0, y1, pBuf)) return 0;
  if (m_pfnHook != nullptr) m_pfnHook(this, 3, x, y0, x, y1, pBuf);
  return 1;
}

int PQel::PutVerLine(long x, long y0, long y1, unsigned char *pBuf) {
  if (m_bRepeat) return PutWarpedVerLine(x, y0, y1, pBuf);
  if (m_pfnHook != nullptr) {
    if (xCheckColumn(x, y0, y1, pBuf) == kRefused) return 0;
    m_pfnHook(this, 4, x, y0, x, y1, pBuf);
  }
  return xPutVerLine(x, y0, y1, pBuf);
}

// Whole rows, their padding included in linear layout ----------------------------------------------------------------

int PQel::GetHorLine(long y, unsigned char *pBuf) {
  if (IsEmpty()) return 0;
  const long lLast = m_pBIH->biWidth - 1L;
  if (m_bBlock) return GetHorLine(0, lLast, y, pBuf);
  const int nCheck = xCheckRow(0, lLast, y, pBuf);
  if (nCheck == kRefused) return 0;
  if (nCheck == kMoved && !xMoveLinearRow(&PMem::GetBlock, 0, m_lLineBytes, y, pBuf)) return 0;
  if (m_pfnHook != nullptr) m_pfnHook(this, 3, 0, y, lLast, y, pBuf);
  return 1;
}

int PQel::PutHorLine(long y, unsigned char *pBuf) {
  if (IsEmpty()) return 0;
  const long lLast = m_pBIH->biWidth - 1L;
  if (m_bBlock) return PutHorLine(0, lLast, y, pBuf);
  const int nCheck = xCheckRow(0, lLast, y, pBuf);
  if (nCheck == kRefused) return 0;
  if (nCheck == kMoved) InvalidateLine(0, lLast, y);
  if (m_pfnHook != nullptr) m_pfnHook(this, 4, 0, y, lLast, y, pBuf);
  // The hook may have changed the image.
  return nCheck == kMoved && !IsEmpty() ? xMoveLinearRow(&PMem::PutBlock, 0, m_lLineBytes, y, pBuf)
                                        : nCheck == kNothing;
}

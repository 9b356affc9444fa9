// Columns of 1- and 4-bit pixels.
//
// A column is handled in portions: the stored byte of each pixel is gathered, then packed into the caller's line, or
// given the pixels of the caller's line and scattered back. All pixels of a column are the same part of their bytes.
#include <algorithm>

#include "qel/image/image.h"
#include "qel/lines/bits.h"

namespace {

constexpr long kPortion = 1024;  // pixels; whole bytes of a line

/// Moves the part of a byte that a pixel lies in to the low end.
int PixelShift(long x, long lBits) {
  return lBits == 1 ? static_cast<int>(7 - x % 8) : x % 2 == 0 ? 4 : 0;
}

}  // namespace

int PQel::xReadColumnBits(ColumnMove pfnMove, long lBits, long x, long y0, long y1, unsigned char *pBuf) {
  const auto pack = lBits == 1 ? qel::lines::PackColumn1 : qel::lines::PackColumn4;
  const int nShift = PixelShift(x, lBits);
  unsigned char column[kPortion];
  for (long y = y0; y <= y1; y += kPortion) {
    const long lCount = std::min(kPortion, y1 - y + 1);
    if (!(this->*pfnMove)(&PMem::GetSkipBlock, x, y, lCount, 1, column)) return 0;
    pack(pBuf + (y - y0) * lBits / 8, column, lCount, nShift);
  }
  return 1;
}

int PQel::xWriteColumnBits(ColumnMove pfnMove, long lBits, long x, long y0, long y1, unsigned char *pBuf) {
  const auto spread = lBits == 1 ? qel::lines::SpreadColumn1 : qel::lines::SpreadColumn4;
  const int nShift = PixelShift(x, lBits);
  // A strided write has the undo copy save the pages between its pixels too. Pages that no pixel touches are not to be
  // saved, so rows longer than a page are written one by one then.
  const long lStep = m_bBlock ? m_lBlockSize * lBits / 8 : m_lLineBytes;
  const bool bSkipsPages = m_pMem->GetMirrorMem() != nullptr && lStep > static_cast<long>(PMem::GetPageSize());
  const long lGroup = bSkipsPages ? 1 : kPortion;
  unsigned char column[kPortion];
  for (long y = y0; y <= y1; y += kPortion) {
    const long lCount = std::min(kPortion, y1 - y + 1);
    if (!(this->*pfnMove)(&PMem::GetSkipBlock, x, y, lCount, 1, column)) return 0;
    spread(column, pBuf + (y - y0) * lBits / 8, lCount, nShift);
    for (long i = 0; i < lCount; i += lGroup) {
      if (!(this->*pfnMove)(&PMem::PutSkipBlock, x, y + i, std::min(lGroup, lCount - i), 1, column + i)) return 0;
    }
  }
  return 1;
}

// Linear layout ------------------------------------------------------------------------------------------------------

int PQel::xxGetVerLine1(long x, long y0, long y1, unsigned char *pBuf) {
  return xReadColumnBits(&PQel::xMoveLinearColumn, 1, x, y0, y1, pBuf);
}

int PQel::xxGetVerLine4(long x, long y0, long y1, unsigned char *pBuf) {
  return xReadColumnBits(&PQel::xMoveLinearColumn, 4, x, y0, y1, pBuf);
}

int PQel::xxPutVerLine1(long x, long y0, long y1, unsigned char *pBuf) {
  return xWriteColumnBits(&PQel::xMoveLinearColumn, 1, x, y0, y1, pBuf);
}

int PQel::xxPutVerLine4(long x, long y0, long y1, unsigned char *pBuf) {
  return xWriteColumnBits(&PQel::xMoveLinearColumn, 4, x, y0, y1, pBuf);
}

// Block layout -------------------------------------------------------------------------------------------------------

int PQel::xGetBlockVerLine1(long x, long y0, long y1, unsigned char *pBuf) {
  return xReadColumnBits(&PQel::xMoveBlockColumn, 1, x, y0, y1, pBuf);
}

int PQel::xGetBlockVerLine4(long x, long y0, long y1, unsigned char *pBuf) {
  return xReadColumnBits(&PQel::xMoveBlockColumn, 4, x, y0, y1, pBuf);
}

int PQel::xPutBlockVerLine1(long x, long y0, long y1, unsigned char *pBuf) {
  return xWriteColumnBits(&PQel::xMoveBlockColumn, 1, x, y0, y1, pBuf);
}

int PQel::xPutBlockVerLine4(long x, long y0, long y1, unsigned char *pBuf) {
  return xWriteColumnBits(&PQel::xMoveBlockColumn, 4, x, y0, y1, pBuf);
}

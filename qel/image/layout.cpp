// Where pixels lie in the store: rows one behind the other (bottom or top row first), or square blocks.
//
// Blocks are numbered row by row from the top-left and stored whole, edge blocks included, top row first. Block counts
// follow the number of rows whatever the storage order of the linear layout, so blocks hold top-down images too.
#include <limits>

#include "qel/image/image.h"

// Offsets ------------------------------------------------------------------------------------------------------------

unsigned long PQel::xGetOffset(long x, long y) const {
  if (m_bBlock) return xGetBlockOffset(x, y);
  return xGetRowOffset(x * m_pBIH->biBitCount / 8, y);
}

unsigned long PQel::xGetBlockOffset(long x, long y) const {
  const long lBits = m_pBIH->biBitCount;
  const long lIndex = y / m_lBlockSize * m_lXBlocks + x / m_lBlockSize;
  const long lInBlock = y % m_lBlockSize * (m_lBlockSize * lBits / 8) + x % m_lBlockSize * lBits / 8;
  return static_cast<unsigned long>(xGetBlockStart(lIndex) + lInBlock);
}

int PQel::xBuildBlockTable() {
  m_memBlockTable.FreeMemory();
  m_plBlockTable = nullptr;
  unsigned long dwBlocks, dwBytes;
  if (__builtin_mul_overflow(m_lXBlocks, m_lYBlocks, &dwBlocks) ||
      __builtin_mul_overflow(dwBlocks, sizeof(long), &dwBytes) || dwBytes == 0)
    return 0;
  m_plBlockTable = reinterpret_cast<long *>(m_memBlockTable.AllocMemory(GHND, dwBytes));
  if (m_plBlockTable == nullptr) return 0;
  for (unsigned long i = 0; i < dwBlocks; ++i) m_plBlockTable[i] = m_lLmmOffset + static_cast<long>(i) * m_lBlockBytes;
  return 1;
}

// Sizes --------------------------------------------------------------------------------------------------------------

long PQel::GetHorLineSize(long x0, long x1) {
  long lCount, lBits;
  if (IsEmpty() || x1 < x0) return 0;
  const int nBits = m_pBIH->biBitCount == 15 ? 16 : m_pBIH->biBitCount;
  if (__builtin_sub_overflow(x1, x0, &lCount) || __builtin_add_overflow(lCount, 1, &lCount) ||
      __builtin_mul_overflow(lCount, nBits, &lBits) || lBits > std::numeric_limits<long>::max() - 31)
    return 0;
  return (lBits + 31) / 32 * 4;
}

// Change of layout ---------------------------------------------------------------------------------------------------

int PQel::EnableBlock(int bEnable, long lBlockSize) {
  long lSize = lBlockSize != 0 ? lBlockSize : m_lBlockSize;
  if (lSize < 0 || lSize > std::numeric_limits<long>::max() - 7) return 0;
  lSize = (lSize + 7) / 8 * 8;
  if ((bEnable != 0) == (m_bBlock != 0) && lSize == m_lBlockSize) return 1;
  if (IsEmpty()) {
    m_lBlockSize = lSize;  // there is nothing to rebuild, but the next image takes the size
    return 0;
  }

  PQel old;
  old.CopyObject(this);
  m_lBlockSize = lSize;
  const int bRepeat = old.m_bRepeat;
  old.m_bRepeat = 0;  // what its periods shift out of sight would be lost
  if (GenerateImage(&old, old.m_nMemType, bEnable, old.m_bUndo)) return 1;
  old.m_bRepeat = bRepeat;
  CopyObject(&old);
  return 0;
}

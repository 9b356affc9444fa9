// Rescaling of whole images. Gray levels and colours: every source row is resampled to the new width once, then rows
// are blended (enlarging) or averaged (reducing) down the columns, each direction on its own. Palettes: nearest
// neighbour, so that no other indices arise.

#include <algorithm>
#include <utility>

#include "qel/image/image.h"
#include "qel/lines/rescale.h"

int PQel::RescaleImage(PQel *pSource) {
  if (pSource == nullptr || IsEmpty() || pSource->IsEmpty()) return 0;
  const int nFrom = pSource->m_nImageType, nTo = m_nImageType;
  if (nFrom == nTo && pSource->GetImageWidth() == GetImageWidth() && pSource->m_lHeight == m_lHeight)
    return CopyImage(pSource);
  const bool bAdmitted = nFrom == nTo || nTo == 1 || (nTo == 5 && nFrom == 0);
  if (!bAdmitted || nTo < 0 || nTo > 9) return 0;
  return nTo == 2 || nTo == 3 ? xRescaleImageOther(pSource) : xRescaleImageInterpolation(pSource);
}

// Interpolation and area averages ------------------------------------------------------------------------------------

namespace {

/// Working memory: the tables of both directions, the sums of a destination row, and two lines.
struct Workspace {
  PMem memory;
  int *map[2];  // columns, rows
  int *weights1[2];
  int *weights2[2];
  std::uint32_t *sums;
  unsigned char *lines[2];

  /// Room for tables of up to 2 x lLongX and 2 x lLongY entries, zeroed.
  bool Alloc(long lLongX, long lLongY, long lLineBytes) {
    const long lX = 2 * lLongX, lY = 2 * lLongY, lWords = 3 * (lX + lY) + lLineBytes;
    const auto dwBytes = static_cast<unsigned long>(4 * lWords + 2 * lLineBytes);
    if (!memory.AllocMemory(GHND, dwBytes)) return false;
    int *p = reinterpret_cast<int *>(memory.GetPointer());
    for (int **table : {map, weights1, weights2}) {
      table[0] = p, table[1] = p + lX;
      p += lX + lY;
    }
    sums = reinterpret_cast<std::uint32_t *>(p);
    lines[0] = reinterpret_cast<unsigned char *>(sums + lLineBytes);
    lines[1] = lines[0] + lLineBytes;
    return true;
  }
};

}  // namespace

int PQel::xRescaleImageInterpolation(PQel *pSource) {
  if (pSource == nullptr || IsEmpty() || pSource->IsEmpty()) return 0;
  const long lSrcWidth = pSource->GetImageWidth(), lSrcHeight = pSource->m_lHeight;
  const long lWidth = GetImageWidth(), lHeight = m_lHeight;
  if (std::max(lWidth < lSrcWidth ? lSrcWidth : 0, lHeight < lSrcHeight ? lSrcHeight : 0) > qel::lines::kMaxAveraged)
    return 0;  // sums of 32 bits would overflow

  const int nBits = GetBitCount();
  const bool bGray = nBits <= 8;
  const long lCount = bGray ? lWidth : 3 * lWidth;
  Workspace work;
  if (!work.Alloc(std::max(lSrcWidth, lWidth), std::max(lSrcHeight, lHeight), std::max(3 * lWidth + 7, m_lLineBytes)))
    return 0;
  xBuildZoomTable(lSrcWidth, lWidth, work.map[0], work.weights1[0], work.weights2[0]);
  xBuildZoomTable(lSrcHeight, lHeight, work.map[1], work.weights1[1], work.weights2[1]);
  const auto Read = [&](long lRow, unsigned char *pLine) {
    pSource->GetRescaleLine(lWidth, lRow, pLine, work.map[0], work.weights1[0], work.weights2[0], nBits);
  };
  const auto Store = [&](long lRow, unsigned char *pLine) {
    bGray ? PutGrayHorLine(0, lWidth - 1, lRow, pLine) : Put24bitHorLine(0, lWidth - 1, lRow, pLine);
  };
  unsigned char *pA = work.lines[0], *pB = work.lines[1];
  const int *const pnMap = work.map[1], *const plWeight1 = work.weights1[1], *const plWeight2 = work.weights2[1];

  if (lSrcHeight == lHeight) {
    for (long y = lHeight - 1; y >= 0; --y) {
      Read(y, pA);
      Store(y, pA);
    }
  } else if (lSrcHeight < lHeight) {
    auto *const pBlended = reinterpret_cast<unsigned char *>(work.sums);
    Read(0, pA);
    Read(1, pB);
    for (long y = 0, k = 0; y < lHeight; ++y) {
      BlendLines(pBlended, pA, pB, static_cast<std::int32_t>(lHeight), plWeight1[y], plWeight2[y], lCount);
      Store(y, pBlended);
      if (pnMap[y] != 0) {
        Read(k++ + 2, pA);
        std::swap(pA, pB);
      }
    }
  } else {
    Read(0, pA);
    for (long y = 0, k = 0, i = 0; y < lHeight; ++i) {
      if (plWeight1[i] != 0) AccumulateLine(work.sums, pA, lCount, plWeight1[i]);
      if (pnMap[i] == 0) {
        Read(++k, pA);
        continue;
      }
      DivideLine(pB, work.sums, lCount, static_cast<std::uint32_t>(lSrcHeight));
      std::fill_n(work.sums, lCount, 0u);
      Store(y++, pB);
    }
  }
  return 1;
}

// Nearest neighbour --------------------------------------------------------------------------------------------------

int PQel::xRescaleImageOther(PQel *pSource) {
  if (pSource == nullptr || IsEmpty() || pSource->IsEmpty()) return 0;
  const long lSrcHeight = pSource->m_lHeight, lWidth = GetImageWidth();
  PMem line;
  const long lBytes = std::max(m_lLineBytes, 3 * lWidth);  // whatever the source is, its line fits
  if (!line.AllocMemory(GHND, static_cast<unsigned long>(lBytes))) return 0;
  for (long y = 0, lLast = -1; y < m_lHeight; ++y) {
    const long lRow = m_lHeight == 1 ? 0 : ((m_lHeight - 1) / 2 + y * (lSrcHeight - 1)) / (m_lHeight - 1);
    if (lRow != lLast)
      pSource->GetRescaleLine(lWidth, lRow, line.GetPointer(), nullptr, nullptr, nullptr, GetBitCount());
    lLast = lRow;
    PutHorLine(y, line.GetPointer());
  }
  return 1;
}

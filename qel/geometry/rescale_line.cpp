// One row of an image resampled to another width: gray levels or 24-bit pixels by a zoom table, palette indices by
// nearest neighbour. The row comes through the plain line access, so that layout, repeat mode and hook behave as there.

#include "qel/image/image.h"
#include "qel/lines/rescale.h"

namespace {

/// What the pixels of a resampled line are.
enum class Pixels { kGray, k24bit, kIndices };

Pixels PixelsOf(int nType, int nBitCount, int nDestBitCount) {
  if (nBitCount > 8 || nDestBitCount == 24) return Pixels::k24bit;
  return nType == 2 || nType == 3 ? Pixels::kIndices : Pixels::kGray;
}

}  // namespace

int PQel::GetRescaleLine(long lDestWidth, long lRow, unsigned char *pbyLine, int *pnMap, int *plWeight1, int *plWeight2,
                         int nBitCount) {
  if (IsEmpty() || pbyLine == nullptr || lDestWidth < 1 || lRow < 0 || lRow >= m_lHeight) return 0;
  namespace lines = qel::lines;
  const long lWidth = GetImageWidth();
  const Pixels pixels = PixelsOf(m_nImageType, GetBitCount(), nBitCount);
  const auto Read = [&](unsigned char *pLine) {
    switch (pixels) {
      case Pixels::k24bit:
        return Get24bitHorLine(0, lWidth - 1, lRow, pLine, nullptr);
      case Pixels::kGray:
        return GetGrayHorLine(0, lWidth - 1, lRow, pLine, nullptr);
      default:
        return GetHorLine(0, lWidth - 1, lRow, pLine);
    }
  };
  if (lDestWidth == lWidth) return Read(pbyLine);

  const bool bReduce = lDestWidth < lWidth;
  if (pixels != Pixels::kIndices) {
    if (pnMap == nullptr || plWeight1 == nullptr || (!bReduce && plWeight2 == nullptr)) return 0;
    if (bReduce && lWidth > lines::kMaxAveraged) return 0;
  }
  PMem line;
  if (!line.AllocMemory(GMEM_MOVEABLE, 3 * static_cast<unsigned long>(lWidth) + 4)) return 0;
  unsigned char *const pLine = line.GetPointer();
  if (!Read(pLine)) return 0;
  const int nChannels = pixels == Pixels::k24bit ? 3 : 1;
  if (pixels != Pixels::kIndices && bReduce)
    lines::ZoomOut(pbyLine, pLine, pnMap, plWeight1, lWidth, lDestWidth, nChannels);
  else if (pixels != Pixels::kIndices)
    lines::ZoomIn(pbyLine, pLine, pnMap, plWeight1, plWeight2, lWidth, lDestWidth, nChannels);
  else if (GetBitCount() == 8)
    lines::NearestBytes(pbyLine, pLine, lWidth, lDestWidth);
  else
    lines::NearestNibbles(pbyLine, pLine, lWidth, lDestWidth);
  return 1;
}

// Shapes by their gray levels: border pixels, the rectangle around them, and the split in black and white.

#include <algorithm>
#include <utility>

#include "qel/draw/point_array.h"
#include "qel/image/image.h"
#include "qel/lines/convert.h"
#include "qel/lines/threshold.h"

namespace {

/// Rows of an image as gray levels. Images deeper than 8 bits are read as 24-bit pixels first.
class GrayRows {
 public:
  explicit GrayRows(PQel &image) : m_image(image) {}

  /// Room for rows of this many pixels; false when memory is short.
  bool Reserve(long lPixels) {
    return m_image.GetBitCount() <= 8 || m_pixels.AllocMemory(GMEM_MOVEABLE, static_cast<unsigned long>(3 * lPixels));
  }

  int Read(long x0, long x1, long y, unsigned char *pDst) {
    if (m_image.GetBitCount() <= 8) return m_image.GetGrayHorLine(x0, x1, y, pDst, nullptr);
    if (!m_image.Get24bitHorLine(x0, x1, y, m_pixels.GetPointer(), nullptr)) return 0;
    QelAsmConvert24to8G(pDst, m_pixels.GetPointer(), static_cast<unsigned long>(x1 - x0 + 1));
    return 1;
  }

 private:
  PQel &m_image;
  PMem m_pixels;
};

/// Lines of the columns from the one left of an area to the one right of it. What the image does not have is white.
class BorderedRows {
 public:
  BorderedRows(PQel &image, const CRect &rcArea)
      : m_image(image), m_rows(image), m_lCells(rcArea.Width() + 2L), m_lLeft(rcArea.left - 1L) {}

  bool Reserve() { return m_rows.Reserve(m_lCells); }

  void Read(long y, unsigned char *pCells) {
    std::fill_n(pCells, m_lCells, static_cast<unsigned char>(255));
    long x0 = m_lLeft, x1 = m_lLeft + m_lCells - 1;
    if (!m_image.IsEnableRepeat()) {
      if (y < 0 || y >= m_image.GetImageHeight()) return;
      x0 = std::max(x0, 0L), x1 = std::min(x1, m_image.GetImageWidth() - 1);
    }
    m_rows.Read(x0, x1, y, pCells + (x0 - m_lLeft));
  }

 private:
  PQel &m_image;
  GrayRows m_rows;
  long m_lCells, m_lLeft;
};

CRect Intersection(const CRect &a, const CRect &b) {
  return CRect(std::max(a.left, b.left), std::max(a.top, b.top), std::min(a.right, b.right),
               std::min(a.bottom, b.bottom));
}

}  // namespace

// Border -------------------------------------------------------------------------------------------------------------

int PQel::FindBorder(PPointArray *pPoints, BYTE byThreshold, RECT *pArea, int nZoom) {
  if (pPoints == nullptr) return 0;
  pPoints->RemoveAll();
  if (IsEmpty() || nZoom < 1) return 0;
  const CRect rcImage(0, 0, static_cast<int>(GetImageWidth()), static_cast<int>(m_lHeight));
  const CRect rcArea = pArea == nullptr ? rcImage : m_bRepeat ? CRect(pArea) : Intersection(*pArea, rcImage);
  const long lWidth = static_cast<long>(rcArea.right) - rcArea.left;
  if (rcArea.IsRectEmpty() || lWidth > INT32_MAX - 2) return 0;

  const long lCells = lWidth + 2;
  PMem lines;
  BorderedRows rows(*this, rcArea);
  if (!lines.AllocMemory(GMEM_MOVEABLE, static_cast<unsigned long>(4 * lCells)) || !rows.Reserve()) return 0;
  unsigned char *pBelow = lines.GetPointer(), *pRow = pBelow + lCells, *pAbove = pRow + lCells;
  unsigned char *const pFlags = pAbove + lCells;
  rows.Read(rcArea.bottom, pBelow);
  rows.Read(rcArea.bottom - 1L, pRow);
  for (long y = rcArea.bottom - 1L; y >= rcArea.top; --y) {
    rows.Read(y - 1, pAbove);
    qel::lines::MarkBorder(pFlags, pAbove, pRow, pBelow, lWidth, byThreshold);
    for (unsigned char *p = pFlags; (p = std::find(p, pFlags + lWidth, 1)) != pFlags + lWidth; ++p)
      if (!pPoints->Add(rcArea.left + (p - pFlags), y)) return 0;
    std::swap(pBelow, pRow);
    std::swap(pRow, pAbove);
  }
  return 1;
}

// Bounds -------------------------------------------------------------------------------------------------------------

int PQel::FindBoundaryRect(RECT *pRect, BYTE byThreshold) {
  if (pRect == nullptr || IsEmpty()) return 0;
  const long lWidth = GetImageWidth();
  PMem line;
  GrayRows rows(*this);
  if (!line.AllocMemory(GHND, static_cast<unsigned long>(lWidth)) || !rows.Reserve(lWidth)) return 0;
  unsigned char *const pLine = line.GetPointer();
  const auto first = [&](long y, long n) {
    rows.Read(0, lWidth - 1, y, pLine);
    return qel::lines::FirstInside(pLine, n, byThreshold);
  };
  const auto last = [&](long y) {
    rows.Read(0, lWidth - 1, y, pLine);
    return qel::lines::LastInside(pLine, lWidth, byThreshold);
  };

  long lBottom = m_lHeight - 1, lTop = 0, lLeft = lWidth, lRight = -1;
  for (long y = m_lHeight - 1; y >= 0 && lLeft == lWidth; --y)
    if ((lLeft = first(y, lWidth)) == lWidth) lBottom = y;
  if (lLeft == lWidth) return 0;
  for (long y = 0; y < lBottom && lRight < 0; ++y)
    if ((lRight = last(y)) < 0) lTop = y;
  if (lRight < 0) lRight = last(lBottom);
  for (long y = lBottom; y >= lTop && (lLeft > 0 || lRight < lWidth - 1); --y) {
    lLeft = std::min(lLeft, first(y, lLeft));
    lRight = std::max(lRight, qel::lines::LastInside(pLine, lWidth, byThreshold));
  }
  *pRect = {static_cast<LONG>(lLeft), static_cast<LONG>(lTop), static_cast<LONG>(lRight + 1),
            static_cast<LONG>(lBottom + 1)};
  return lRight > lLeft && lBottom > lTop;
}

// Black and white ----------------------------------------------------------------------------------------------------

int PQel::ClearTransparent(BYTE byThreshold) {
  if (IsEmpty()) return 0;
  if (m_nImageType != 0 && m_nImageType != 4 && m_nImageType != 5) return 1;  // gray levels cannot be written to others
  const long lLast = GetImageWidth() - 1;
  PMem line;
  if (!line.AllocMemory(GMEM_MOVEABLE, static_cast<unsigned long>(lLast + 1))) return 0;
  unsigned char *const pLine = line.GetPointer();
  const unsigned char byLow = m_pRGBQuad[0].rgbRed == 0 ? 0 : 255;
  for (long y = m_lHeight - 1; y >= 0; --y) {
    GetGrayHorLine(0, lLast, y, pLine, nullptr);
    qel::lines::SplitLevels(pLine, lLast + 1, byThreshold, byLow, static_cast<unsigned char>(255 - byLow));
    PutGrayHorLine(0, lLast, y, pLine);
  }
  return 1;
}

// Rectangles and single lines through a built agent.
//
// Methods that take each pixel on its own (colour map, expansion to true colour, true colour to gray) go row by row
// from the bottom up through line functions. Diffusion and dither go from the top down and convert whole lines. A
// destination row is made as wide as the rectangle, and what lies outside the image is cut off when it is written.
#include <algorithm>

#include "qel/convert/itc.h"
#include "qel/convert/source_line.h"
#include "qel/lines/colour_map.h"
#include "qel/lines/convert.h"
#include "qel/lines/shift_copy.h"

namespace {

constexpr int kTrueColor = 1, k256Grays = 5;

/// Moves a line left by whole pixels.
void DropPixels(unsigned char *pLine, long lBytes, long lBits) {
  const long lSkip = lBits / 8;
  if (lBits % 8 != 0)
    ShiftCopyExact(pLine, pLine + lSkip, lBytes - lSkip, static_cast<int>(lBits % 8));
  else if (lSkip != 0)
    std::copy(pLine + lSkip, pLine + lBytes, pLine);
}

}  // namespace

// Rectangle ----------------------------------------------------------------------------------------------------------

/// A rectangle of the source, the point where it goes, and what of it lies in the destination; with room for sums of
/// 32-bit coordinates.
struct PItc::Passage {
  long left, top, right, bottom;
  long x, y;
  long skip = 0, count = 0;         // pixels of a row cut off at the left, and written
  long firstRow = 0, lastRow = -1;  // source rows that are written

  long Width() const { return right - left + 1; }
  bool IsEmpty() const { return left > right || top > bottom; }
  bool IsInside(long width, long height) const { return left >= 0 && top >= 0 && right < width && bottom < height; }
  bool IsSeen() const { return count > 0 && firstRow <= lastRow; }
  bool IsSeen(long row) const { return count > 0 && firstRow <= row && row <= lastRow; }

  void Clip(const PQel &destination) {
    count = Width(), firstRow = top, lastRow = bottom;
    if (destination.IsTiled()) return;
    skip = std::max(0L, -x);
    count = std::min(count, destination.GetImageWidth() - x) - skip;
    firstRow = std::max(top, top - y);
    lastRow = std::min(bottom, top - y + destination.GetImageHeight() - 1);
  }
};

int PItc::ConvertImg(RECT *pRect, POINT *pPoint) {
  if (!m_bAgent || !xIsPairAsBuilt()) return 0;
  Passage p = {0, 0, m_lSrcWidth - 1, m_lSrcHeight - 1, 0, 0};
  if (pRect != nullptr) p.left = pRect->left, p.top = pRect->top, p.right = pRect->right, p.bottom = pRect->bottom;
  if (pPoint != nullptr) p.x = pPoint->x, p.y = pPoint->y;
  if (p.IsEmpty()) return 1;
  if (!m_poSrc->IsTiled() && !p.IsInside(m_lSrcWidth, m_lSrcHeight)) return 0;

  const unsigned short wMethod = m_cvtMethod.wMethod;
  const bool bWholeLines = wMethod == 2 || wMethod == 3;
  if (bWholeLines && (m_lSrcWidth != m_lDstWidth || p.Width() != m_lSrcWidth)) return 0;
  if (wMethod == 3 && !xSetDitherFunc()) return 0;
  if (wMethod == 2) xClearErrors();
  p.Clip(*m_poDst);
  if ((!p.IsSeen() && wMethod != 2) || !xMovesPixels()) return 1;

  PMem work;
  const long lSrcBytes = m_poSrc->GetHorLineSize(p.left, p.right);
  const long lDstBytes = m_poDst->GetHorLineSize(p.left, p.right);
  if (!work.AllocMemory(GHND, static_cast<unsigned long>(lSrcBytes + lDstBytes))) return 0;
  m_pbySrcLine = work.GetPointer();
  m_pbyDstLine = m_pbySrcLine + lSrcBytes;
  const int nResult = bWholeLines ? xMoveLines(p) : xMovePixels(p);
  m_pbySrcLine = m_pbyDstLine = nullptr;
  return nResult;
}

int PItc::xIsPairAsBuilt() const {
  return m_poSrc->GetBitCount() == m_nSrcBits && m_poDst->GetBitCount() == m_nDstBits &&
         m_poSrc->GetImageWidth() == m_lSrcWidth && m_poDst->GetImageWidth() == m_lDstWidth &&
         m_poSrc->GetImageHeight() == m_lSrcHeight && m_poDst->GetImageHeight() == m_lDstHeight;
}

int PItc::xMovesPixels() const {
  return m_cvtMethod.wMethod <= 4 || m_cvtMethod.wMethod == 6;
}

// Rows ---------------------------------------------------------------------------------------------------------------

int PItc::xMovePixels(const Passage &p) {
  const bool bRaw = m_cvtMethod.wMethod == 4;
  const qel::convert::SourceColors colors(m_cvtMethod.wMethod == 6 ? m_pbyMap : nullptr, m_nSrcColors);
  for (long lRow = p.lastRow; lRow >= p.firstRow; --lRow) {
    if (!m_poSrc->GetHorLine(p.left, p.right, lRow, m_pbySrcLine)) return 0;
    if (!bRaw) {
      xLimitSource(m_pbySrcLine, p.Width());
      xConvertPixels(p.Width(), colors.table);
    }
    if (!xWriteRow(p, lRow, bRaw ? m_pbySrcLine : m_pbyDstLine)) return 0;
  }
  return 1;
}

int PItc::xMoveLines(const Passage &p) {
  const auto moveLine = [&](long lRow) -> int {
    if (!m_poSrc->GetHorLine(p.left, p.right, lRow, m_pbySrcLine)) return 0;
    xLimitSource(m_pbySrcLine, p.Width());
    xConvertWholeLine(lRow, p.x, p.y + lRow - p.top);
    return !p.IsSeen(lRow) || xWriteRow(p, lRow, m_pbyDstLine);
  };
  // dithered lines do not depend on each other: memory reads faster forwards, which is upwards in most images
  if (m_cvtMethod.wMethod == 3 && m_poSrc->GetBI()->bmiHeader.biHeight > 0 && !m_poDst->IsTiled() &&
      m_poSrc->GetHookProc() == nullptr && m_poDst->GetHookProc() == nullptr) {
    for (long lRow = p.lastRow; lRow >= p.firstRow; --lRow)
      if (!moveLine(lRow)) return 0;
    return 1;
  }
  // diffused rows hand down their errors, and the agent keeps the keys that it met in them, whether they are seen or
  // not
  const bool bDiffusion = m_cvtMethod.wMethod == 2;
  const long lFirst = bDiffusion ? p.top : p.firstRow, lLast = bDiffusion ? p.bottom : p.lastRow;
  for (long lRow = lFirst; lRow <= lLast; ++lRow)
    if (!moveLine(lRow)) return 0;
  return 1;
}

int PItc::xWriteRow(const Passage &p, long lRow, unsigned char *pLine) {
  if (p.skip > 0) DropPixels(pLine, (p.Width() * m_nDstBits + 7) / 8, p.skip * m_nDstBits);
  const long x = p.x + p.skip;
  return m_poDst->PutHorLine(x, x + p.count - 1, p.y + lRow - p.top, pLine);
}

// Single lines -------------------------------------------------------------------------------------------------------

int PItc::ConvertLineImg(int nRow, unsigned char *pSrcLine, unsigned char *pDstLine) {
  if (!m_bAgent || pSrcLine == nullptr || pDstLine == nullptr) return 0;
  m_pbySrcLine = pSrcLine;
  m_pbyDstLine = pDstLine;
  const unsigned short wMethod = m_cvtMethod.wMethod;
  if (!xMovesPixels() || wMethod == 4) return 1;
  if (wMethod == 3 && m_pfnDither == nullptr) return 0;

  PMem copy;  // the caller's line stays as it is
  if (xHasShortPalette()) {
    const long lBytes = (m_lSrcWidth * m_nSrcBits + 7) / 8;
    if (!copy.AllocMemory(GMEM_MOVEABLE, static_cast<unsigned long>(lBytes))) return 0;
    m_pbySrcLine = std::copy_n(pSrcLine, lBytes, copy.GetPointer()) - lBytes;
    xLimitSource(m_pbySrcLine, m_lSrcWidth);
  }
  if (wMethod == 2 || wMethod == 3) {
    xConvertWholeLine(nRow, 0, nRow);
  } else {
    const qel::convert::SourceColors colors(m_cvtMethod.wMethod == 6 ? m_pbyMap : nullptr, m_nSrcColors);
    xConvertPixels(m_lSrcWidth, colors.table);
  }
  m_pbySrcLine = pSrcLine;
  return 1;
}

// Pixels of a line ---------------------------------------------------------------------------------------------------

void PItc::xConvertWholeLine(long lDiffusionRow, long x, long y) {
  if (m_cvtMethod.wMethod == 3)
    (this->*m_pfnDither)(x, y);
  else if (lDiffusionRow % 2 != 0)
    xDiffuse2Line();
  else
    xDiffuse1Line();
}

void PItc::xConvertPixels(long n, const RGBQUAD *pColors) {
  using namespace qel::lines;
  if (m_nSrcType == kTrueColor && m_nDstType == k256Grays)
    Rgb24ToLuma(m_pbyDstLine, m_pbySrcLine, n);
  else if (m_cvtMethod.wMethod != 6)
    MapPixels(m_pbyDstLine, m_nDstBits, m_pbySrcLine, m_nSrcBits, n, m_pbyMap);
  else
    IndicesTo24(m_pbyDstLine, m_pbySrcLine, m_nSrcBits, n, pColors);
}

int PItc::xHasShortPalette() const {
  return m_nSrcBits <= 8 && m_nSrcColors < 1 << m_nSrcBits;
}

void PItc::xLimitSource(unsigned char *pLine, long n) const {
  if (xHasShortPalette()) qel::lines::LimitIndices(pLine, m_nSrcBits, n, m_nSrcColors);
}

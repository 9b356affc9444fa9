// Zoomed lines: pixels repeated or skipped in whole steps, as a screen display wants them.

#include "qel/lines/zoom.h"

#include "qel/image/image.h"

// Lines of the caller ------------------------------------------------------------------------------------------------

void PQel::ZoomInLine(unsigned char *pDst, unsigned char *pSrc, long lCount, int nZoom, int nBits) {
  if (pDst == nullptr || pSrc == nullptr || lCount < 0 || nZoom < 2) return;
  qel::lines::ReplicatePixels(pDst, pSrc, lCount, nZoom, nBits != 0 ? nBits : GetBitCount());
}

void PQel::ZoomOutLine(unsigned char *pDst, unsigned char *pSrc, long lCount, int nZoom, int nBits) {
  if (pDst == nullptr || pSrc == nullptr || lCount < 0 || nZoom > -2) return;
  qel::lines::SkipPixels(pDst, pSrc, lCount, -static_cast<long>(nZoom), nBits != 0 ? nBits : GetBitCount());
}

// Lines of the image -------------------------------------------------------------------------------------------------

int PQel::GetZoomOutHorLine(long x1, long x2, long y, unsigned char *pDst, int nZoom) {
  if (IsEmpty() || pDst == nullptr || nZoom >= 0 || x2 < x1) return 0;
  const long n = xPixelsToMove({x1, x2, y, false}), lBits = m_pBIH->biBitCount;
  if (n <= 0) return n == 0 && GetHorLine(x1, x2, y, pDst);
  PMem line;
  if (!line.AllocMemory(GMEM_MOVEABLE, static_cast<unsigned long>((lBits * n + 31) / 32 * 4))) return 0;
  if (!GetHorLine(x1, x2, y, line.GetPointer())) return 0;
  ZoomOutLine(pDst, line.GetPointer(), n / -static_cast<long>(nZoom), nZoom, 0);
  return 1;
}

/// The converted forms: reads the span with `pfnRead` as pixels of lPixelBytes and keeps every |nZoom|-th.
int PQel::xGetZoomOutLine(ConvertedRead pfnRead, long lPixelBytes, long x1, long x2, long y, unsigned char *pDst,
                          int nZoom, unsigned char *pTable) {
  if (IsEmpty() || pDst == nullptr || nZoom >= 0 || x2 < x1) return 0;
  const long n = xPixelsToMove({x1, x2, y, false}), lStep = -static_cast<long>(nZoom);
  if (n <= 0) return n == 0 && (this->*pfnRead)(x1, x2, y, pDst, nullptr);
  PMem line;
  if (!line.AllocMemory(GMEM_MOVEABLE, static_cast<unsigned long>(lPixelBytes * n + 4))) return 0;
  if (!(this->*pfnRead)(x1, x2, y, line.GetPointer(), pTable)) return 0;
  qel::lines::SkipPixels(pDst, line.GetPointer(), n / lStep, lStep, static_cast<int>(8 * lPixelBytes));
  return 1;
}

int PQel::GetZoomOut24BitHorLine(long x1, long x2, long y, unsigned char *pDst, int nZoom, unsigned char *pTable) {
  return xGetZoomOutLine(&PQel::Get24bitHorLine, 3, x1, x2, y, pDst, nZoom, pTable);
}

int PQel::GetZoomOutGrayHorLine(long x1, long x2, long y, unsigned char *pDst, int nZoom, unsigned char *pTable) {
  return xGetZoomOutLine(&PQel::GetGrayHorLine, 1, x1, x2, y, pDst, nZoom, pTable);
}

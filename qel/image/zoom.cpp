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
  const long lStep = -static_cast<long>(nZoom);
  const long lSize = GetHorLineSize(x1, x2);
  PMem line;
  if (lSize <= 0 || !line.AllocMemory(GMEM_MOVEABLE, static_cast<unsigned long>(lSize))) return 0;
  if (!GetHorLine(x1, x2, y, line.GetPointer())) return 0;
  ZoomOutLine(pDst, line.GetPointer(), (x2 - x1 + 1) / lStep, nZoom, 0);
  return 1;
}

/// The converted forms: reads the span with `pfnRead` as pixels of lPixelBytes and keeps every |nZoom|-th.
int PQel::xGetZoomOutLine(ConvertedRead pfnRead, long lPixelBytes, long x1, long x2, long y, unsigned char *pDst,
                          int nZoom, unsigned char *pTable) {
  if (IsEmpty() || pDst == nullptr || nZoom >= 0 || x2 < x1) return 0;
  const long lStep = -static_cast<long>(nZoom);
  long lCount = 0, lBytes = 0;
  if (__builtin_sub_overflow(x2, x1 - 1, &lCount) || __builtin_mul_overflow(lCount, lPixelBytes, &lBytes)) return 0;
  PMem line;
  if (!line.AllocMemory(GMEM_MOVEABLE, static_cast<unsigned long>(lBytes) + 4)) return 0;
  if (!(this->*pfnRead)(x1, x2, y, line.GetPointer(), pTable)) return 0;
  qel::lines::SkipPixels(pDst, line.GetPointer(), lCount / lStep, lStep, static_cast<int>(8 * lPixelBytes));
  return 1;
}

int PQel::GetZoomOut24BitHorLine(long x1, long x2, long y, unsigned char *pDst, int nZoom, unsigned char *pTable) {
  return xGetZoomOutLine(&PQel::Get24bitHorLine, 3, x1, x2, y, pDst, nZoom, pTable);
}

int PQel::GetZoomOutGrayHorLine(long x1, long x2, long y, unsigned char *pDst, int nZoom, unsigned char *pTable) {
  return xGetZoomOutLine(&PQel::GetGrayHorLine, 1, x1, x2, y, pDst, nZoom, pTable);
}

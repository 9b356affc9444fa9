// Converted line access: spans as gray levels or 24-bit pixels, whatever the image's own format, and spans from right
// to left. Each operation moves one packed line through the plain line access and hands the pixels to a line function,
// so layout, repeat mode, hook and undo behave as there. Rows, columns and the undo image share one body: they differ
// only in the line operation that moves the packed pixels.
//
// A span that the line operation refuses is refused before a work line is made or the caller's line is read. One that
// moves nothing (a row outside the image, a reversed span) goes to the line operation alone and leaves the caller's
// line as it is.

#include "qel/image/image.h"
#include "qel/lines/convert.h"

namespace {

/// A work line for n packed pixels of `bits` each; null when memory is short.
unsigned char *AllocLine(PMem &line, int bits, long n) {
  return line.AllocMemory(GMEM_MOVEABLE, static_cast<unsigned long>((bits * n + 31) / 32 * 4));
}

using LineConversion = void (*)(unsigned char *dst, const unsigned char *src, long n);

}  // namespace

// Gray levels, read --------------------------------------------------------------------------------------------------

int PQel::xReadGray(LineOperation pfnRead, const LineSpan &span, unsigned char *pDst, unsigned char *pMap,
                    bool bWhiteFirst) {
  if (IsEmpty() || pDst == nullptr) return 0;
  const int nBits = m_pBIH->biBitCount;
  if (nBits != 1 && nBits != 4 && nBits != 8) return 0;
  const long n = xPixelsToMove(span);
  if (n < 0) return 0;
  if (nBits == 8 || n == 0) {
    if (!(this->*pfnRead)(span.a, span.b, span.c, pDst)) return 0;
  } else {
    PMem line;
    if (!AllocLine(line, nBits, n)) return 0;
    if (!(this->*pfnRead)(span.a, span.b, span.c, line.GetPointer())) return 0;
    if (nBits == 1)
      qel::lines::BitsToGray(pDst, line.GetPointer(), n, bWhiteFirst);
    else
      qel::lines::NibblesToGray(pDst, line.GetPointer(), n);
  }
  if (pMap != nullptr) qel::lines::MapBytes(pDst, n, pMap);
  return 1;
}

/// A monochrome image follows the first entry of its colour table: black (red 0) or white.
bool PQel::xIsWhiteFirst() const {
  return !IsEmpty() && m_pRGBQuad[0].rgbRed != 0;
}

int PQel::GetGrayHorLine(long x0, long x1, long y, unsigned char *pDst, unsigned char *pMap) {
  return xReadGray(&PQel::GetHorLine, {x0, x1, y, false}, pDst, pMap, xIsWhiteFirst());
}

int PQel::GetGrayVerLine(long x, long y0, long y1, unsigned char *pDst, unsigned char *pMap) {
  return xReadGray(&PQel::GetVerLine, {x, y0, y1, true}, pDst, pMap, xIsWhiteFirst());
}

// Gray levels, written -----------------------------------------------------------------------------------------------

int PQel::xWriteGray(LineOperation pfnWrite, const LineSpan &span, unsigned char *pSrc) {
  if (IsEmpty() || pSrc == nullptr) return 0;
  if (m_nImageType != 0 && m_nImageType != 4 && m_nImageType != 5) return 0;
  const long n = xPixelsToMove(span);
  if (n < 0) return 0;
  if (m_nImageType == 5 || n == 0) return (this->*pfnWrite)(span.a, span.b, span.c, pSrc);
  PMem line;
  if (!AllocLine(line, m_pBIH->biBitCount, n)) return 0;
  if (m_nImageType == 0)
    QelAsmConvert8to1(line.GetPointer(), pSrc, static_cast<unsigned long>(n), m_pRGBQuad[0].rgbRed, 128);
  else
    qel::lines::GrayToNibbles(line.GetPointer(), pSrc, n);
  return (this->*pfnWrite)(span.a, span.b, span.c, line.GetPointer());
}

int PQel::PutGrayHorLine(long x0, long x1, long y, unsigned char *pSrc) {
  return xWriteGray(&PQel::PutHorLine, {x0, x1, y, false}, pSrc);
}

int PQel::PutGrayVerLine(long x, long y0, long y1, unsigned char *pSrc) {
  return xWriteGray(&PQel::PutVerLine, {x, y0, y1, true}, pSrc);
}

// 24-bit pixels, read ------------------------------------------------------------------------------------------------

void PQel::xConvertTo24(unsigned char *pDst, const unsigned char *pSrc, long n) const {
  namespace lines = qel::lines;
  switch (m_nImageType) {
    case 0:
    case 2:
    case 3:
    case 4:
      return lines::IndicesTo24(pDst, pSrc, m_pBIH->biBitCount, n, m_pRGBQuad);
    case 5:
      return lines::GrayTo24(pDst, pSrc, n);
    case 6:
      return lines::Rgb555To24(pDst, pSrc, n);
    case 7:
      return lines::Rgb565To24(pDst, pSrc, n);
    case 8:
      return lines::Rgb32To24(pDst, pSrc, n);
    case 9:
      return lines::Rgb48To24(pDst, pSrc, n);
    default:
      return;
  }
}

int PQel::xRead24(LineOperation pfnRead, const LineSpan &span, unsigned char *pDst, unsigned char *pMap) {
  if (IsEmpty() || pDst == nullptr || m_nImageType < 0 || m_nImageType > 9) return 0;
  const long n = xPixelsToMove(span);
  if (n < 0) return 0;
  if (m_nImageType == 1 || n == 0) {
    if (!(this->*pfnRead)(span.a, span.b, span.c, pDst)) return 0;
  } else {
    PMem line;
    if (!AllocLine(line, m_pBIH->biBitCount, n)) return 0;
    if (!(this->*pfnRead)(span.a, span.b, span.c, line.GetPointer())) return 0;
    xConvertTo24(pDst, line.GetPointer(), n);
  }
  if (pMap != nullptr) qel::lines::Map24(pDst, n, pMap);
  return 1;
}

int PQel::Get24bitHorLine(long x0, long x1, long y, unsigned char *pDst, unsigned char *pMap) {
  return xRead24(&PQel::GetHorLine, {x0, x1, y, false}, pDst, pMap);
}

int PQel::Get24bitVerLine(long x, long y0, long y1, unsigned char *pDst, unsigned char *pMap) {
  return xRead24(&PQel::GetVerLine, {x, y0, y1, true}, pDst, pMap);
}

// 24-bit pixels, written ---------------------------------------------------------------------------------------------

namespace {

void Rgb24ToGray(unsigned char *dst, const unsigned char *src, long n) {
  QelAsmConvert24to8G(dst, const_cast<unsigned char *>(src), static_cast<unsigned long>(n));
}

/// From 24 bits to a type; null for palettes, which are not a matter of single pixels.
LineConversion ConversionFrom24(int nType) {
  switch (nType) {
    case 5:
      return Rgb24ToGray;
    case 6:
      return qel::lines::Rgb24To555;
    case 7:
      return qel::lines::Rgb24To565;
    case 8:
      return qel::lines::Rgb24To32;
    case 9:
      return qel::lines::Rgb24To48;
    default:
      return nullptr;
  }
}

}  // namespace

int PQel::xWrite24(LineOperation pfnWrite, const LineSpan &span, unsigned char *pSrc) {
  if (IsEmpty() || pSrc == nullptr) return 0;
  const LineConversion convert = ConversionFrom24(m_nImageType);
  if (m_nImageType != 1 && convert == nullptr) return 0;
  const long n = xPixelsToMove(span);
  if (n < 0) return 0;
  if (m_nImageType == 1 || n == 0) return (this->*pfnWrite)(span.a, span.b, span.c, pSrc);
  PMem line;
  if (!AllocLine(line, m_pBIH->biBitCount, n)) return 0;
  convert(line.GetPointer(), pSrc, n);
  return (this->*pfnWrite)(span.a, span.b, span.c, line.GetPointer());
}

int PQel::Put24bitHorLine(long x0, long x1, long y, unsigned char *pSrc) {
  return xWrite24(&PQel::PutHorLine, {x0, x1, y, false}, pSrc);
}

int PQel::Put24bitVerLine(long x, long y0, long y1, unsigned char *pSrc) {
  return xWrite24(&PQel::PutVerLine, {x, y0, y1, true}, pSrc);
}

// Right to left ------------------------------------------------------------------------------------------------------

int PQel::GetRevHorLine(long x0, long x1, long y, unsigned char *pDst, unsigned char *pTmp) {
  if (IsEmpty() || pDst == nullptr) return 0;
  const int nBits = m_pBIH->biBitCount;
  const long n = xPixelsToMove({x0, x1, y, false});
  if (n < 0) return 0;
  if (n == 0) return GetHorLine(x0, x1, y, pDst);
  PMem line;
  if (pTmp == nullptr) pTmp = AllocLine(line, nBits, n);
  if (pTmp == nullptr || !GetHorLine(x0, x1, y, pTmp)) return 0;
  return qel::lines::ReversePixels(pDst, pTmp, n, nBits);
}

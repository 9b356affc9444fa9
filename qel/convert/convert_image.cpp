// Whole images of one format into another, row by row, without an agent. One line function or two make a row of the
// destination from a row as it is stored in the source. Where nobody sees the rows pass they are made in the store:
// then the memory reads ahead in one image while the other is written, which line buffers between them would prevent.

#include <algorithm>
#include <cstring>

#include "qel/image/image.h"
#include "qel/lines/convert.h"
#include "qel/mem/store_access.h"
#include "qel/platform/kernel/global_memory.h"

namespace {

namespace lines = qel::lines;

using LineConversion = void (*)(unsigned char *dst, const unsigned char *src, long n);

/// How the rows of a pair of types are made.
struct RowRule {
  bool bKnown;
  bool b24bit;             // of the source's 24-bit pixels, not of what it stores
  LineConversion convert;  // null: nothing more is done to them
};

constexpr int kGrayToMono = 5;  // the pair that has parameters

void BitsToLevels(unsigned char *dst, const unsigned char *src, long n) {
  lines::BitsToGray(dst, src, n, false);
}

void Rgb24ToGray(unsigned char *dst, const unsigned char *src, long n) {
  QelAsmConvert24to8G(dst, const_cast<unsigned char *>(src), static_cast<unsigned long>(n));
}

/// The rule of destination type x 10 + source type.
RowRule FindRule(int nKey) {
  if (nKey % 11 == 0) return {true, false, nullptr};
  if (nKey / 10 == 1) return {true, true, nullptr};
  switch (nKey) {
    case kGrayToMono:
      return {true, false, nullptr};
    case 45:
      return {true, false, lines::GrayToNibbles};
    case 50:
      return {true, false, BitsToLevels};
    case 51:
      return {true, false, Rgb24ToGray};
    case 54:
      return {true, false, lines::NibblesToGray};
    case 61:
      return {true, false, lines::Rgb24To555};
    case 71:
      return {true, false, lines::Rgb24To565};
    case 73:
      return {true, true, lines::Rgb24To565};
    case 81:
      return {true, false, lines::Rgb24To32};
    case 91:
      return {true, false, lines::Rgb24To48};
    default:
      return {false, false, nullptr};
  }
}

}  // namespace

int PQel::ConvertImage(PQel *pSrc, int, int nThreshold, int) {
  if (pSrc == nullptr || IsEmpty() || pSrc->IsEmpty()) return 0;
  const long lWidth = GetImageWidth();
  if (lWidth != pSrc->GetImageWidth() || m_lHeight != pSrc->m_lHeight) return 0;
  const int nKey = m_nImageType * 10 + pSrc->m_nImageType;
  const RowRule rule = FindRule(nKey);
  if (!rule.bKnown) return 0;

  const long lSrcBytes = pSrc->m_lLineBytes, lDstBytes = m_lLineBytes;
  PMem line, source, line24;  // cleared, so that nothing unknown gets into the padding of rows
  constexpr unsigned int kFlags = GMEM_MOVEABLE | GMEM_ZEROINIT;
  if (!source.AllocMemory(kFlags, static_cast<unsigned long>(lSrcBytes)) ||
      !line.AllocMemory(kFlags, static_cast<unsigned long>(lDstBytes)))
    return 0;
  if (rule.b24bit && rule.convert && !line24.AllocMemory(kFlags, static_cast<unsigned long>(3 * lWidth))) return 0;
  unsigned char *const pSource = source.GetPointer(), *const pLine = line.GetPointer(),
                       *const p24 = line24.GetPointer();

  const unsigned char byInvert = m_pRGBQuad[0].rgbRed, byThreshold = static_cast<unsigned char>(nThreshold);
  const auto makeRow = [=](unsigned char *pTo, unsigned char *pFrom) {
    if (nKey == kGrayToMono) {
      QelAsmConvert8to1(pTo, pFrom, static_cast<unsigned long>(lWidth), byInvert, byThreshold);
    } else if (rule.b24bit) {
      pSrc->xConvertTo24(rule.convert ? p24 : pTo, pFrom, lWidth);
      if (rule.convert) rule.convert(pTo, p24, lWidth);
    } else if (rule.convert) {
      rule.convert(pTo, pFrom, lWidth);
    } else {
      std::memmove(pTo, pFrom, static_cast<std::size_t>(lSrcBytes));
    }
  };

  const bool bUnseen = m_pfnHook == nullptr && pSrc->m_pfnHook == nullptr && m_pMem->GetMirrorMem() == nullptr;
  if (bUnseen && !m_bBlock && !pSrc->m_bBlock && !pSrc->m_bRepeat) {
    qel::mem::StoreGroup stores = {{m_pMem, pSrc->m_pMem}};
    const long lUsed = (lWidth * GetBitCount() + 7) / 8;
    const std::size_t padding = nKey % 11 == 0 ? 0 : static_cast<std::size_t>(lDstBytes - lUsed);
    for (long y = m_lHeight - 1; y >= 0; --y) {
      unsigned char *const pFrom =
          pSrc->m_pMem->CommitMemory(pSrc->xGetRowOffset(0, y), static_cast<unsigned long>(lSrcBytes));
      unsigned char *const pTo = m_pMem->CommitMemory(xGetRowOffset(0, y), static_cast<unsigned long>(lDstBytes));
      if (pFrom == nullptr || pTo == nullptr) continue;
      InvalidateLine(0, lWidth - 1, y);
      qel::mem::AccessStores(stores, [=] {
        makeRow(pTo, pFrom);
        std::memset(pTo + lUsed, 0, padding);
      });
    }
    return 1;
  }
  for (long y = m_lHeight - 1; y >= 0; --y) {
    if (rule.b24bit)
      pSrc->GetHorLine(0, lWidth - 1, y, pSource);  // the form that minds repeat mode
    else
      pSrc->GetHorLine(y, pSource);
    makeRow(pLine, pSource);
    PutHorLine(y, pLine);
  }
  return 1;
}

namespace {

/// Turns an image into one of another type, in a new store.
int ConvertTo(PQel *pImage, int nType) {
  if (pImage->IsEmpty()) return 0;
  if (pImage->GetImageType() == nType) return 1;
  PQel converted;
  if (!converted.CreateImage(nType, pImage->GetImageWidth(), pImage->GetImageHeight(), 0, nullptr, 0, 0, 15, 0, 0))
    return 0;
  if (!converted.ConvertImage(pImage, 0, 0, 0)) return 0;
  void *const hDIB = converted.Detach();
  if (hDIB == nullptr) return 0;
  pImage->DeleteImage(1);
  if (pImage->Attach(hDIB)) return 1;
  GlobalFree(hDIB);  // a failure leaves it the caller's
  return 0;
}

}  // namespace

int PQel::ConvertTo24bit() {
  return ConvertTo(this, 1);
}

int PQel::ConvertTo256Gray() {
  return ConvertTo(this, 5);
}

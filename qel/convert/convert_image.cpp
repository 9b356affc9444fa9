// Whole images of one format into another, row by row, without an agent: a row is read as it is stored or as 24-bit
// pixels, goes through one line function and is written. The line buffers stay in the nearest cache, so that the image
// is read and written once.

#include <algorithm>

#include "qel/image/image.h"
#include "qel/lines/convert.h"
#include "qel/platform/kernel/global_memory.h"

namespace {

namespace lines = qel::lines;

using LineConversion = void (*)(unsigned char *dst, const unsigned char *src, long n);

/// How the rows of a pair of types are made.
struct RowRule {
  enum Read { kNever, kStored, k24bit } read;
  LineConversion convert;  // null: rows are written as they are read
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
  if (nKey % 11 == 0) return {RowRule::kStored, nullptr};
  if (nKey / 10 == 1) return {RowRule::k24bit, nullptr};
  switch (nKey) {
    case kGrayToMono:
      return {RowRule::kStored, nullptr};
    case 45:
      return {RowRule::kStored, lines::GrayToNibbles};
    case 50:
      return {RowRule::kStored, BitsToLevels};
    case 51:
      return {RowRule::kStored, Rgb24ToGray};
    case 54:
      return {RowRule::kStored, lines::NibblesToGray};
    case 61:
      return {RowRule::kStored, lines::Rgb24To555};
    case 71:
      return {RowRule::kStored, lines::Rgb24To565};
    case 73:
      return {RowRule::k24bit, lines::Rgb24To565};
    case 81:
      return {RowRule::kStored, lines::Rgb24To32};
    case 91:
      return {RowRule::kStored, lines::Rgb24To48};
    default:
      return {RowRule::kNever, nullptr};
  }
}

}  // namespace

int PQel::ConvertImage(PQel *pSrc, int, int nThreshold, int) {
  if (pSrc == nullptr || IsEmpty() || pSrc->IsEmpty()) return 0;
  const long lWidth = GetImageWidth();
  if (lWidth != pSrc->GetImageWidth() || m_lHeight != pSrc->m_lHeight) return 0;
  const int nKey = m_nImageType * 10 + pSrc->m_nImageType;
  const RowRule rule = FindRule(nKey);
  if (rule.read == RowRule::kNever) return 0;

  PMem in, out;
  const long lReadBytes = std::max(pSrc->m_lLineBytes, rule.read == RowRule::k24bit ? (3 * lWidth + 3) / 4 * 4 : 0);
  if (!in.AllocMemory(GMEM_MOVEABLE | GMEM_ZEROINIT, static_cast<unsigned long>(lReadBytes)) ||
      !out.AllocMemory(GMEM_MOVEABLE | GMEM_ZEROINIT, static_cast<unsigned long>(m_lLineBytes)))
    return 0;
  unsigned char *const pIn = in.GetPointer(), *const pOut = out.GetPointer();
  const unsigned char byInvert = m_pRGBQuad[0].rgbRed, byThreshold = static_cast<unsigned char>(nThreshold);
  for (long y = m_lHeight - 1; y >= 0; --y) {
    unsigned char *pRow = pOut;
    if (rule.read == RowRule::kStored)
      pSrc->GetHorLine(y, pIn);
    else
      pSrc->Get24bitHorLine(0, lWidth - 1, y, pIn, nullptr);
    if (nKey == kGrayToMono)
      QelAsmConvert8to1(pOut, pIn, static_cast<unsigned long>(lWidth), byInvert, byThreshold);
    else if (rule.convert != nullptr)
      rule.convert(pOut, pIn, lWidth);
    else
      pRow = pIn;
    PutHorLine(y, pRow);
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

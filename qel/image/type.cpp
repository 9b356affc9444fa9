// Image types: what each code stands for, and how a type is told from a header and its colour table.
#include <array>
#include <cstring>

#include "qel/image/dib_layout.h"
#include "qel/image/image.h"

namespace {

struct TypeTraits {
  int nBits;
  int nMaxColors;
};

constexpr std::array<TypeTraits, 10> kTypes{
    {{1, 2}, {24, 256}, {4, 16}, {8, 256}, {4, 16}, {8, 256}, {16, 256}, {16, 256}, {32, 256}, {48, 256}}};

constexpr bool IsType(int nType) {
  return nType >= 0 && nType < static_cast<int>(kTypes.size());
}

/// True when the table is the gray ramp of its size. A palette of colours mostly leaves it at the second entry; the
/// rest is compared whole, four bytes an entry without the reserved one, which takes a few vector steps.
bool IsGrayRamp(const RGBQUAD *pTable, int nColors) {
  constexpr DWORD kColorBytes = 0x00FFFFFF, kGrayStep = 0x00010101;
  const auto difference = [pTable](int i, DWORD dwGray) {
    DWORD dwEntry;
    std::memcpy(&dwEntry, pTable + i, sizeof dwEntry);
    return (dwEntry & kColorBytes) ^ dwGray;
  };
  const DWORD dwStep = static_cast<DWORD>(255 / (nColors - 1)) * kGrayStep;
  if (difference(1, dwStep) != 0) return false;
  DWORD dwDifferences = 0;
  for (int i = 0; i < nColors; ++i) dwDifferences |= difference(i, static_cast<DWORD>(i) * dwStep);
  return dwDifferences == 0;
}

/// True when an image that uses `dwUsed` of `dwAll` entries (0: all) has the gray ramp.
bool IsGrayTable(const RGBQUAD *pTable, DWORD dwUsed, DWORD dwAll) {
  return (dwUsed == 0 || dwUsed == dwAll) && IsGrayRamp(pTable, static_cast<int>(dwAll));
}

}  // namespace

int PQel::GetBitCount(int nType) {
  return IsType(nType) ? kTypes[static_cast<size_t>(nType)].nBits : 0;
}

int PQel::GetMaxClrUsed(int nType) {
  return IsType(nType) ? kTypes[static_cast<size_t>(nType)].nMaxColors : 0;
}

int PQel::GetImageType(int nBitCount) {
  switch (nBitCount) {
    case 1:
      return 0;
    case 4:
      return 2;
    case 8:
      return 3;
    case 15:
      return 6;
    case 16:
      return 7;
    case 24:
      return 1;
    case 32:
      return 8;
    case 48:
      return 9;
    default:
      return 10;
  }
}

int PQel::GetImageType(BITMAPINFO *pbi) {
  if (pbi == nullptr) return 10;
  const BITMAPINFOHEADER &bih = pbi->bmiHeader;
  if (bih.biBitCount == 15) return 10;  // a bit count that callers pass, never one of a header
  if (bih.biBitCount != 16) return GetImageType(bih.biBitCount);
  if (bih.biCompression == BI_RGB) return 6;
  DWORD dwRedMask;
  std::memcpy(&dwRedMask, reinterpret_cast<unsigned char *>(pbi) + qel::image::kHeaderBytes, sizeof dwRedMask);
  return dwRedMask == 0x7C00 ? 6 : 7;
}

unsigned long PQel::GetBISize(BITMAPINFO *pbi) {
  if (pbi == nullptr) return 0;
  const BITMAPINFOHEADER &bih = pbi->bmiHeader;
  unsigned long dwEntries = bih.biClrUsed;
  if (dwEntries == 0 && bih.biBitCount < 9) dwEntries = 1UL << bih.biBitCount;
  return bih.biSize + (bih.biCompression == BI_BITFIELDS ? qel::image::kMaskBytes : 0UL) + 4 * dwEntries;
}

void PQel::UpdateImageType() {
  if (IsEmpty()) return;
  switch (m_pBIH->biBitCount) {
    case 4:
      m_nImageType = IsGrayTable(m_pRGBQuad, m_pBIH->biClrUsed, 16) ? 4 : 2;
      break;
    case 8:
      m_nImageType = IsGrayTable(m_pRGBQuad, m_pBIH->biClrUsed, 256) ? 5 : 3;
      break;
    case 16:
      m_nImageType = GetImageType(GetBI());
      break;
    default:
      break;
  }
}

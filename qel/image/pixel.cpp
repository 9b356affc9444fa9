// Single pixels in three colour conventions: the image's own value, a colour reference (red in the low byte) and
// 0x00RRGGBB. In repeat mode every coordinate is a pixel; without it a pixel outside the image reads as 0 and is not
// written, and nobody is told.

#include <cstring>

#include "qel/image/image.h"

namespace {

struct Channels {
  unsigned red;
  unsigned green;
  unsigned blue;
};

/// The channels of a 5-5-5 or 5-6-5 pixel, scaled to 0..255.
Channels SplitHighColor(unsigned long v, bool sixGreenBits) {
  const auto five = [](unsigned long c) { return static_cast<unsigned>((c & 31) * 255 / 31); };
  if (sixGreenBits) return {five(v >> 11), static_cast<unsigned>((v >> 5 & 63) * 255 / 63), five(v)};
  return {five(v >> 10), five(v >> 5), five(v)};
}

unsigned long JoinHighColor(const Channels &c, bool sixGreenBits) {
  if (sixGreenBits) return (c.red * 31 / 255) << 11 | (c.green * 63 / 255) << 5 | c.blue * 31 / 255;
  return (c.red * 31 / 255) << 10 | (c.green * 31 / 255) << 5 | c.blue * 31 / 255;
}

/// 0x00BBGGRR from 0x00RRGGBB and back.
unsigned long SwapRedBlue(unsigned long v) {
  return (v & 0xFF) << 16 | (v & 0xFF00) | (v >> 16 & 0xFF);
}

/// The same for a 48-bit pixel: first and third 16-bit word exchanged, the top word kept.
long long SwapWords(long long v) {
  unsigned short words[4];
  std::memcpy(words, &v, sizeof(words));
  const unsigned short first = words[0];
  words[0] = words[2];
  words[2] = first;
  std::memcpy(&v, words, sizeof(words));
  return v;
}

constexpr unsigned long kTableDepth = 8;  // images of up to so many bits are read through their colour table

}  // namespace

// The image's own value ----------------------------------------------------------------------------------------------

/// Turns a plane pixel into the image's in repeat mode; false when the pixel lies outside the image.
bool PQel::xFindPixel(long *pX, long *pY) const {
  if (IsEmpty()) return false;
  if (m_bRepeat && xCanWarp()) xMapRepeat(*pX, *pY, pX, pY);
  return *pX >= 0 && *pX < GetImageWidth() && *pY >= 0 && *pY < m_lHeight;
}

unsigned long PQel::GetPixel(long x, long y, long long *pColor) {
  if (!xFindPixel(&x, &y)) return 0;
  const unsigned long dwOffset = xGetOffset(x, y);
  const int nBits = m_pBIH->biBitCount;
  unsigned long dwValue = 0;
  void *pRead = &dwValue;
  switch (nBits) {
    case 1:
      dwValue = m_pMem->PeekByte(dwOffset) >> (7 - x % 8) & 1;
      break;
    case 4:
      dwValue = x % 2 ? m_pMem->PeekByte(dwOffset) & 0x0F : m_pMem->PeekByte(dwOffset) >> 4;
      break;
    case 8:
      dwValue = m_pMem->PeekByte(dwOffset);
      break;
    case 16:
      m_pMem->GetBlock(dwOffset, 2, reinterpret_cast<unsigned char *>(&dwValue));
      break;
    case 24:
    case 32:
      m_pMem->GetBlock(dwOffset, 3, reinterpret_cast<unsigned char *>(&dwValue));
      break;
    case 48:
      if (pColor == nullptr) return 0;
      m_pMem->GetBlock(dwOffset, 6, reinterpret_cast<unsigned char *>(pColor));
      pRead = pColor;
      break;
    default:
      return 0;
  }
  if (m_pfnHook) m_pfnHook(this, 3, x, y, x, y, static_cast<unsigned char *>(pRead));
  return dwValue;
}

int PQel::SetPixel(long x, long y, long long color) {
  const long lPlaneX = x, lPlaneY = y;
  if (!xFindPixel(&x, &y)) return 0;
  unsigned char *const pBytes = reinterpret_cast<unsigned char *>(&color);
  if (m_pfnHook) {
    m_pfnHook(this, 4, lPlaneX, lPlaneY, lPlaneX, lPlaneY, pBytes);
    x = lPlaneX, y = lPlaneY;
    if (!xFindPixel(&x, &y)) return 0;  // the hook may have changed the image
  }
  InvalidateLine(x, x, y);
  const unsigned long dwOffset = xGetOffset(x, y);
  switch (m_pBIH->biBitCount) {
    case 1:
      return xSetPartOfByte(dwOffset, m_byMonoORBit[x % 8], color != 0 ? 0xFF : 0);
    case 4:
      return xSetPartOfByte(dwOffset, x % 2 ? 0x0F : 0xF0, static_cast<unsigned char>((color & 0xF) * 0x11));
    case 8:
      return m_pMem->PokeByte(dwOffset, pBytes[0]);
    case 16:
      return m_pMem->PutBlock(dwOffset, 2, pBytes);
    case 24:
    case 32:
      return m_pMem->PutBlock(dwOffset, 3, pBytes);
    case 48:
      return m_pMem->PutBlock(dwOffset, 6, pBytes);
    default:
      return 0;
  }
}

/// Replaces the masked bits of a stored byte; a byte that would not change is not written.
int PQel::xSetPartOfByte(unsigned long dwOffset, unsigned char byMask, unsigned char byValue) {
  const unsigned char byOld = m_pMem->PeekByte(dwOffset);
  const unsigned char byNew = static_cast<unsigned char>((byOld & ~byMask) | (byValue & byMask));
  return byNew == byOld ? 1 : m_pMem->PokeByte(dwOffset, byNew);
}

// Colour references --------------------------------------------------------------------------------------------------

unsigned long PQel::GetPixelRGB(long x, long y, long long *pColor) {
  long lInsideX = x, lInsideY = y;
  if (!xFindPixel(&lInsideX, &lInsideY)) return 0;
  if (m_pBIH->biBitCount != 48) return SwapRedBlue(GetPixelBGR(x, y));
  GetPixel(x, y, pColor);
  if (pColor != nullptr) *pColor = SwapWords(*pColor);
  return 0;
}

int PQel::SetPixelRGB(long x, long y, long long color) {
  const unsigned long dwColor = static_cast<unsigned long>(color);
  const Channels c = {GetRValue(static_cast<COLORREF>(dwColor)), GetGValue(static_cast<COLORREF>(dwColor)),
                      GetBValue(static_cast<COLORREF>(dwColor))};
  switch (GetBitCount()) {
    case 16:
      return SetPixel(x, y, static_cast<long long>(JoinHighColor(c, m_nImageType == 7)));
    case 24:
    case 32:
      return SetPixel(x, y, static_cast<long long>(SwapRedBlue(dwColor)));
    case 48:
      return SetPixel(x, y, SwapWords(color));
    default:
      return SetPixel(x, y, color);  // a palette index, as in SetPixel
  }
}

// 0x00RRGGBB ---------------------------------------------------------------------------------------------------------

unsigned long PQel::GetPixelBGR(long x, long y) {
  long lInsideX = x, lInsideY = y;
  if (!xFindPixel(&lInsideX, &lInsideY)) return 0;
  const unsigned long dwBits = m_pBIH->biBitCount;
  long long llDeep = 0;
  const unsigned long v = GetPixel(x, y, &llDeep);
  if (IsEmpty()) return 0;  // the hook may have deleted the image
  if (dwBits <= kTableDepth) {
    const RGBQUAD &entry = m_pRGBQuad[v];
    return static_cast<unsigned long>(entry.rgbRed) << 16 | static_cast<unsigned long>(entry.rgbGreen) << 8 |
           entry.rgbBlue;
  }
  if (dwBits == 16) {
    const Channels c = SplitHighColor(v, m_nImageType == 7);
    return static_cast<unsigned long>(c.red) << 16 | c.green << 8 | c.blue;
  }
  if (dwBits == 48) {
    const auto high = [llDeep](int nWord) { return static_cast<unsigned long>(llDeep >> (16 * nWord + 8) & 0xFF); };
    return high(2) << 16 | high(1) << 8 | high(0);
  }
  return dwBits == 24 || dwBits == 32 ? v : 0;
}

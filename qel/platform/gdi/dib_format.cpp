// What a DIB's header says about its lines: size, order, bit count, masks and the place of the colour table.

#include "qel/platform/gdi/dib_format.h"

#include <algorithm>
#include <cstring>
#include <iterator>
#include <limits>

namespace qel::gdi {

namespace {

// Masks stand behind the 40 bytes that all headers begin with: inside longer headers, behind short ones.
constexpr size_t kMasksOffset = sizeof(BITMAPINFOHEADER);

ChannelFields ReadMasks(const BITMAPINFO *pInfo) {
  std::uint32_t masks[3];
  std::memcpy(masks, reinterpret_cast<const BYTE *>(pInfo) + kMasksOffset, sizeof masks);
  return {MakeField(masks[0]), MakeField(masks[1]), MakeField(masks[2])};
}

bool IsBitCount(int nBits) {
  constexpr int kBitCounts[] = {1, 4, 8, 16, 24, 32};
  return std::find(std::begin(kBitCounts), std::end(kBitCounts), nBits) != std::end(kBitCounts);
}

}  // namespace

bool ReadDibFormat(const BITMAPINFO *pInfo, DibFormat *pFormat) {
  if (pInfo == nullptr) return false;
  const BITMAPINFOHEADER &header = pInfo->bmiHeader;
  if (header.biSize < sizeof(BITMAPINFOHEADER) || header.biPlanes != 1 || header.biWidth < 1 || header.biHeight == 0 ||
      header.biHeight == std::numeric_limits<LONG>::min() || !IsBitCount(header.biBitCount))
    return false;
  const bool bMasks = header.biCompression == BI_BITFIELDS;
  if (bMasks ? header.biBitCount != 16 && header.biBitCount != 32 : header.biCompression != BI_RGB) return false;

  DibFormat &format = *pFormat;
  format.nWidth = header.biWidth;
  format.bTopDown = header.biHeight < 0;
  format.nHeight = format.bTopDown ? -header.biHeight : header.biHeight;
  format.nBits = header.biBitCount;
  format.nStride = (static_cast<size_t>(format.nWidth) * static_cast<size_t>(format.nBits) + 31) / 32 * 4;
  format.nTable = header.biSize;
  format.bMasks = bMasks;
  if (format.nBits <= 8) {
    const DWORD dwAll = 1u << format.nBits;
    format.nColours = static_cast<int>(header.biClrUsed == 0 ? dwAll : std::min(header.biClrUsed, dwAll));
  } else if (bMasks) {
    format.words = ReadMasks(pInfo);
  } else {
    format.words = {MakeField(0x7C00), MakeField(0x03E0), MakeField(0x001F)};
  }
  return true;
}

}  // namespace qel::gdi

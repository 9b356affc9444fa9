// The measures of a device-independent bitmap: checked size arithmetic, and the resolution of the desktop.
#include "qel/image/dib_layout.h"

#include <limits>

#include "qel/platform/screen.h"

namespace qel::image {
namespace {

bool Multiply(long a, long b, long *pProduct) {
  return !__builtin_mul_overflow(a, b, pProduct);
}
bool Add(long a, long b, long *pSum) {
  return !__builtin_add_overflow(a, b, pSum);
}

constexpr long BlocksAcross(long lPixels, long lBlockSize) {
  return (lPixels - 1) / lBlockSize + 1;
}

bool MeasureBlocks(const ImageShape &shape, ImageMeasures *p) {
  p->lXBlocks = BlocksAcross(shape.lWidth, shape.lBlockSize);
  p->lYBlocks = BlocksAcross(p->lRows, shape.lBlockSize);
  long lRowBits, lBlocks;
  return Multiply(shape.nBits, shape.lBlockSize, &lRowBits) &&
         Multiply(lRowBits / 8, shape.lBlockSize, &p->lBlockBytes) && Multiply(p->lXBlocks, p->lYBlocks, &lBlocks) &&
         Multiply(lBlocks, p->lBlockBytes, &p->lStoreBytes);
}

}  // namespace

bool IsPlainHeader(const BITMAPINFOHEADER &bih) {
  if (bih.biCompression != BI_RGB && bih.biCompression != BI_BITFIELDS) return false;
  if (bih.biSize == static_cast<DWORD>(kHeaderBytes)) return true;
  // A longer one stays in front of the scratch line, where a header block has the table.
  const bool bNeedsTable = bih.biBitCount < 9 || bih.biClrUsed != 0;
  return bih.biSize > static_cast<DWORD>(kHeaderBytes) && !bNeedsTable &&
         bih.biSize <= static_cast<DWORD>(kHeaderBytes + kMaxColors * 4);
}

bool MeasureImage(const ImageShape &shape, ImageMeasures *pMeasures) {
  constexpr long kMax = std::numeric_limits<LONG>::max();
  if (shape.nBits < 1 || shape.lWidth < 1 || shape.lWidth > kMax) return false;
  if (shape.lHeight == 0 || shape.lHeight < -kMax || shape.lHeight > kMax) return false;
  if (shape.lColors < 0 || shape.lColors > kMaxColors || shape.lBlockSize < 0) return false;

  ImageMeasures m;
  m.lRows = shape.lHeight < 0 ? -shape.lHeight : shape.lHeight;
  m.lLineBytes = RowBytes(shape.nBits, shape.lWidth);
  m.lPixelOffset = shape.lHeaderBytes - kHeaderBytes + ColorTableOffset(shape.dwCompression) + 4 * shape.lColors;
  if (!Multiply(m.lLineBytes, m.lRows, &m.lLinearBytes)) return false;
  m.lStoreBytes = m.lLinearBytes;
  if (shape.lBlockSize != 0 && !MeasureBlocks(shape, &m)) return false;
  if (!Add(m.lPixelOffset, m.lStoreBytes, &m.lStoreBytes)) return false;
  *pMeasures = m;
  return true;
}

void GetDesktopResolution(LONG *plDpmX, LONG *plDpmY) {
  // What a fresh context of the desktop would answer, without making one for every image.
  const ScreenMode mode = CurrentScreenMode();
  *plDpmX = static_cast<LONG>((mode.nDpiX * 10000L + 127) / 254);
  *plDpmY = static_cast<LONG>((mode.nDpiY * 10000L + 127) / 254);
}

void RepairResolution(LONG *plDpmX, LONG *plDpmY) {
  if (*plDpmX == 0 && *plDpmY == 0)
    GetDesktopResolution(plDpmX, plDpmY);
  else if (*plDpmX == 0)
    *plDpmX = *plDpmY;
  else if (*plDpmY == 0)
    *plDpmY = *plDpmX;
}

}  // namespace qel::image

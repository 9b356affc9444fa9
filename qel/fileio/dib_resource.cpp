// Images from bitmap resources: a packed DIB (header, masks, colour table, rows; no file header) that a module carries.
//
// The resource is measured against what its header declares before it is used, since a packed DIB is read without
// bounds.
#include "qel/fileio/dib_format.h"
#include "qel/image/image.h"
#include "qel/platform/kernel/resource.h"

namespace qel::fileio {
namespace {

/// True when a packed DIB holds all the rows that its header declares.
bool IsWholePackedDib(const BYTE *pDib, unsigned long nBytes) {
  if (nBytes < kInfoHeaderBytes) return false;
  const DibInfo info = ParseInfoHeader(pDib);
  image::ImageMeasures measures;
  if (!IsReadable(info) || !Measure(info, info.nBitCount, false, &measures)) return false;
  const unsigned long nRowsAt =
      info.nHeaderBytes + (HasMasks(info) ? kMaskBytes : 0ul) + GetColourCount(info) * sizeof(RGBQUAD);
  return nRowsAt <= nBytes && static_cast<unsigned long>(measures.lLinearBytes) <= nBytes - nRowsAt;
}

}  // namespace
}  // namespace qel::fileio

int PQel::GenerateImage(const char *pszName, HINSTANCE hModule) {
  HRSRC hResource = FindResourceA(hModule, pszName, RT_BITMAP);
  if (!hResource) return 0;
  void *pDib = LockResource(LoadResource(hModule, hResource));
  if (!pDib) return 0;
  if (!qel::fileio::IsWholePackedDib(static_cast<const BYTE *>(pDib), SizeofResource(hModule, hResource))) return 0;
  return GenerateImage(static_cast<BITMAPINFO *>(pDib), 15, 0, 0);
}

// Rescaling to 24 bits with pixels left out by a mask: they are made black and counted by a mask of 0 and 255, and what
// the black took from a mixed pixel is given back in proportion.

#include "qel/image/image.h"
#include "qel/lines/rescale.h"

namespace {

int Create(PQel &image, int nType, long lWidth, long lHeight) {
  return image.CreateImage(nType, lWidth, lHeight, 0, nullptr, 0, 0, 15, 0, 0);
}

/// True when every row of the mask can be read as gray levels over the width of an image.
bool CanMask(PQel &mask, PQel &image) {
  if (mask.IsEmpty() || mask.GetBitCount() > 8) return false;
  if (mask.IsEnableRepeat()) return true;
  return mask.GetImageWidth() == image.GetImageWidth() && mask.GetImageHeight() == image.GetImageHeight();
}

/// Changes the rows of a 24-bit image with those of a mask, from the last row up. The mask's changed levels go into
/// `pMarked`, when there is one.
bool ChangeRows(PQel &image, PQel &mask, PQel *pMarked,
                void (*change)(unsigned char *colours, unsigned char *levels, long n)) {
  const long lWidth = image.GetImageWidth();
  PMem lines;
  if (!lines.AllocMemory(GMEM_MOVEABLE, 4 * static_cast<unsigned long>(lWidth))) return false;
  unsigned char *const pColours = lines.GetPointer(), *const pLevels = pColours + 3 * lWidth;
  for (long y = image.GetImageHeight() - 1; y >= 0; --y) {
    if (!image.Get24bitHorLine(0, lWidth - 1, y, pColours, nullptr)) return false;
    if (!mask.GetGrayHorLine(0, lWidth - 1, y, pLevels, nullptr)) return false;
    change(pColours, pLevels, lWidth);
    if (pMarked != nullptr) pMarked->PutGrayHorLine(0, lWidth - 1, y, pLevels);
    image.Put24bitHorLine(0, lWidth - 1, y, pColours);
  }
  return true;
}

}  // namespace

int PQel::Rescale24bit(PQel *pSource, PQel *pMask, int nWidth, int nHeight) {
  if (pSource == nullptr || pSource == this || pSource->IsEmpty() || nWidth < 1 || nHeight < 1) return 0;
  const bool bMask = pMask != nullptr && (nWidth != pSource->GetImageWidth() || nHeight != pSource->GetImageHeight());
  if (pMask == this || (bMask && !CanMask(*pMask, *pSource))) return 0;
  DeleteImage(1);
  if (!Create(*this, 1, nWidth, nHeight)) return 0;
  if (!bMask) return RescaleImage(pSource);

  const long lSrcWidth = pSource->GetImageWidth(), lSrcHeight = pSource->GetImageHeight();
  PQel marked, copy;
  if (!Create(marked, 5, lSrcWidth, lSrcHeight)) return 0;
  PQel *pWork = pSource;
  if (pSource->GetImageType() != 1) {
    if (!Create(copy, 1, lSrcWidth, lSrcHeight) || !copy.RescaleImage(pSource)) return 0;  // only converts
    pWork = &copy;
  }
  if (!ChangeRows(*pWork, *pMask, &marked, qel::lines::LeaveOut) || !RescaleImage(pWork)) return 0;
  copy.DeleteImage(1);
  if (!Create(copy, 5, nWidth, nHeight) || !copy.RescaleImage(&marked)) return 0;
  return ChangeRows(*this, copy, nullptr, qel::lines::GiveBack) ? 1 : 0;
}

// Masks made from pictures: by a key colour, and soft shadows. A mask is an image of 256 grays, 0 opaque, 255
// transparent.

#include <algorithm>
#include <cstring>

#include "qel/image/image.h"
#include "qel/lines/key_mask.h"

namespace {

constexpr int kAnyStore = 15;
constexpr int kTrueColor = 1, kGray = 5, kOwnType = 10;

/// How far a shadow goes and how much larger it makes its picture.
struct Shadow {
  double sigma;
  long offset;
  long pad;
  Shadow(PQel &image, int nBlur)
      : sigma((static_cast<double>(nBlur) + 1) * 0.5),
        offset(2L * nBlur),
        pad((image.GetGaussianFilterWidth(sigma) + 1) / 2 + offset) {}
};

/// The type in which every colour of an image can be changed.
int PaintedType(PQel &image) {
  return image.GetBitCount() < 8 || image.GetImageType() == 3 ? kTrueColor : kOwnType;
}

/// Creates an image with the header of another, filled with one value.
bool CreateLike(PQel &image, PQel &like, long lWidth, long lHeight, int nType, long long llColor) {
  return image.CreateImage(like.GetBI(), lWidth, lHeight, nType, kAnyStore, 0, 0) && image.Clear(llColor);
}

/// Copies a mask's levels to (offset, offset) of another image of 256 grays, as far as they fit into it.
bool CopyLevels(PQel &to, PQel &mask, long lOffset) {
  const long lWidth = std::min(mask.GetImageWidth(), to.GetImageWidth() - lOffset);
  const long lHeight = std::min(mask.GetImageHeight(), to.GetImageHeight() - lOffset);
  PMem line;
  if (!line.AllocMemory(GMEM_MOVEABLE, static_cast<unsigned long>(lWidth))) return false;
  for (long y = lHeight - 1; y >= 0; --y) {
    if (!mask.GetGrayHorLine(0, lWidth - 1, y, line.GetPointer(), nullptr)) return false;
    to.PutGrayHorLine(lOffset, lOffset + lWidth - 1, y + lOffset, line.GetPointer());
  }
  return true;
}

/// Makes the blurred shadow of a mask, in the size of a picture that has grown for it.
bool CastShadow(PQel &shadow, PQel &mask, const Shadow &measures, long lWidth, long lHeight) {
  return CreateLike(shadow, mask, lWidth, lHeight, kGray, 255) && CopyLevels(shadow, mask, measures.offset) &&
         shadow.GaussianBlur(nullptr, measures.sigma, nullptr);
}

/// True when the sizes of the grown picture are sizes of an image.
bool CanGrow(PQel &image, long lPad) {
  return image.GetImageWidth() + lPad <= INT32_MAX && image.GetImageHeight() + lPad <= INT32_MAX;
}

}  // namespace

// Key colour ---------------------------------------------------------------------------------------------------------

int PQel::GenerateImageMask(PQel *pMask, int nBlur, DWORD dwKey) {
  if (pMask == nullptr || pMask == this || IsEmpty() || nBlur < 0) return 0;
  const Shadow measures(*this, nBlur);
  const long lPad = nBlur > 0 ? measures.pad : 0;
  if (!CanGrow(*this, lPad)) return 0;
  const long lWidth = GetImageWidth(), lWorkWidth = lWidth + lPad, lWorkHeight = m_lHeight + lPad;

  PQel grown;
  const bool bInPlace = nBlur == 0 && PaintedType(*this) == kOwnType;
  PQel &work = bInPlace ? *this : grown;
  PMem pixels, levels;
  if (!pixels.AllocMemory(GHND, static_cast<unsigned long>(3 * lWorkWidth)) ||
      !levels.AllocMemory(GMEM_MOVEABLE, static_cast<unsigned long>(lWorkWidth)))
    return 0;
  if (!bInPlace && !CreateLike(grown, *this, lWorkWidth, lWorkHeight, PaintedType(*this), 0)) return 0;
  pMask->DeleteImage(1);
  if (!CreateLike(*pMask, *this, lWorkWidth, lWorkHeight, kGray, 255)) return 0;

  unsigned char *const pLevels = levels.GetPointer();
  std::memset(pLevels, 255, static_cast<std::size_t>(lWorkWidth));
  for (long y = m_lHeight - 1; y >= 0; --y) {
    Get24bitHorLine(0, lWidth - 1, y, pixels.GetPointer(), nullptr);
    qel::lines::KeyOut(pixels.GetPointer(), pLevels, lWidth, dwKey);
    work.Put24bitHorLine(0, lWorkWidth - 1, y, pixels.GetPointer());
    pMask->PutHorLine(0, lWorkWidth - 1, y, pLevels);
  }
  if (nBlur > 0) {
    PQel shadow;
    if (!CastShadow(shadow, *pMask, measures, lWorkWidth, lWorkHeight) || !pMask->Composite(&shadow, 0)) return 0;
  }
  if (!bInPlace) {
    DeleteImage(1);
    CopyObject(&grown);
  }
  return 1;
}

// Drop shadow --------------------------------------------------------------------------------------------------------

int PQel::GenerateImageMask(PQel *pMask, int nBlur) {
  if (nBlur == 0) return 1;
  if (pMask == nullptr || pMask == this || pMask->IsEmpty() || IsEmpty() || nBlur < 0) return 0;
  if (pMask->GetBitCount() > 8 || pMask->GetImageWidth() != GetImageWidth() || pMask->m_lHeight != m_lHeight) return 0;
  const Shadow measures(*this, nBlur);
  if (!CanGrow(*this, measures.pad)) return 0;
  const long lWidth = GetImageWidth(), lNewWidth = lWidth + measures.pad, lNewHeight = m_lHeight + measures.pad;

  PQel grown, shadow;
  PMem pixels, levels;
  if (!pixels.AllocMemory(GMEM_MOVEABLE, static_cast<unsigned long>(3 * lNewWidth)) ||
      !levels.AllocMemory(GMEM_MOVEABLE, static_cast<unsigned long>(2 * lNewWidth)) ||
      !CreateLike(grown, *this, lNewWidth, lNewHeight, PaintedType(*this), 0) ||
      !CastShadow(shadow, *pMask, measures, lNewWidth, lNewHeight))
    return 0;
  if (PaintedType(*this) == kOwnType) {
    if (!grown.CopyRect(this, nullptr, nullptr)) return 0;
  } else {
    for (long y = 0; y < m_lHeight; ++y) {
      Get24bitHorLine(0, lWidth - 1, y, pixels.GetPointer(), nullptr);
      grown.Put24bitHorLine(0, lWidth - 1, y, pixels.GetPointer());
    }
  }
  unsigned char map[1024];
  for (int i = 0; i < 768; ++i) map[i] = static_cast<unsigned char>(i);
  for (int i = 0; i < 256; ++i) map[768 + i] = static_cast<unsigned char>(96 + 159 * i / 255);
  if (!shadow.DoMap(map)) return 0;

  unsigned char *const pMaskLine = levels.GetPointer(), *const pShadowLine = pMaskLine + lNewWidth;
  std::memset(pMaskLine, 255, static_cast<std::size_t>(lNewWidth));
  for (long y = lNewHeight - 1; y >= 0; --y) {
    if (y < m_lHeight) pMask->GetGrayHorLine(0, lWidth - 1, y, pMaskLine, nullptr);
    shadow.GetHorLine(0, lNewWidth - 1, y, pShadowLine);
    grown.Get24bitHorLine(0, lNewWidth - 1, y, pixels.GetPointer(), nullptr);
    qel::lines::DropShadow(pixels.GetPointer(), pMaskLine, pShadowLine, lNewWidth);
    grown.Put24bitHorLine(0, lNewWidth - 1, y, pixels.GetPointer());
    shadow.PutHorLine(0, lNewWidth - 1, y, pShadowLine);
  }
  DeleteImage(1);
  CopyObject(&grown);
  pMask->DeleteImage(1);
  pMask->CopyObject(&shadow);
  return 1;
}

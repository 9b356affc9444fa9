// Two images combined bit by bit. Indices are combined in palette images, channels in the others.

#include <algorithm>

#include "qel/image/image.h"
#include "qel/lines/logic.h"

namespace {

void LeaveBytes(unsigned char *, const unsigned char *, long) {}

using Combination = void (*)(unsigned char *dst, const unsigned char *src, long bytes);

Combination CombinationOf(unsigned int nOp) {
  switch (nOp) {
    case 0:
      return qel::lines::AndBytes;
    case 1:
      return qel::lines::OrBytes;
    case 2:
      return qel::lines::XorBytes;
    default:
      return LeaveBytes;
  }
}

}  // namespace

// Images of different size meet only when one repeats. The larger size counts then, but never more than an image holds
// that does not repeat.
int PQel::Composite(PQel *pSrc, unsigned int nOp) {
  if (pSrc == nullptr || IsEmpty() || pSrc->IsEmpty()) return 0;
  if (!IsSameSize(pSrc) || pSrc->GetBitCount() != GetBitCount()) return 0;
  const bool bEqual = GetImageWidth() == pSrc->GetImageWidth() && m_lHeight == pSrc->m_lHeight;
  long lWidth = std::max(GetImageWidth(), pSrc->GetImageWidth()), lHeight = std::max(m_lHeight, pSrc->m_lHeight);
  for (const PQel *pImage : {static_cast<const PQel *>(this), static_cast<const PQel *>(pSrc)}) {
    if (pImage->m_bRepeat) continue;
    lWidth = std::min(lWidth, pImage->GetImageWidth());
    lHeight = std::min(lHeight, pImage->m_lHeight);
  }

  const long lStride = (GetBitCount() * lWidth + 31) / 32 * 4;
  PMem source, own;
  if (!source.AllocMemory(GHND, static_cast<unsigned long>(lStride))) return 0;
  if (!own.AllocMemory(GHND, static_cast<unsigned long>(lStride))) return 0;
  const Combination combine = CombinationOf(nOp);
  for (long y = lHeight - 1; y >= 0; --y) {
    if (bEqual)
      pSrc->GetHorLine(y, source.GetPointer());
    else
      pSrc->GetHorLine(0, lWidth - 1, y, source.GetPointer());
    GetHorLine(0, lWidth - 1, y, own.GetPointer());
    combine(own.GetPointer(), source.GetPointer(), lStride);
    PutHorLine(0, lWidth - 1, y, own.GetPointer());
  }
  return 1;
}

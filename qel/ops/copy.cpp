// Copies between images of one format: the whole image with its palette, or a rectangle, also within one image.

#include "qel/image/image.h"
#include "qel/ops/copy_area.h"

namespace {

/// The rows of an image in the order in which its store holds them.
struct StorageOrder {
  long first;
  long step;
  explicit StorageOrder(const PQel &image)
      : first(image.GetBIH()->biHeight < 0 ? 0 : image.GetImageHeight() - 1),
        step(image.GetBIH()->biHeight < 0 ? 1 : -1) {}
};

}  // namespace

// Sizes --------------------------------------------------------------------------------------------------------------

int PQel::IsSameSize(PQel *pOther) {
  if (pOther == nullptr) return 0;
  if (m_bRepeat || pOther->m_bRepeat) return 1;
  return GetImageWidth() == pOther->GetImageWidth() && m_lHeight == pOther->m_lHeight;
}

// Whole image --------------------------------------------------------------------------------------------------------

int PQel::CopyImage(PQel *pSrc) {
  if (pSrc == nullptr || IsEmpty() || pSrc->GetBitCount() != GetBitCount()) return 0;
  if (pSrc->GetImageWidth() != GetImageWidth() || pSrc->m_lHeight != m_lHeight) return 0;
  PMem row;
  if (!row.AllocMemory(GHND, static_cast<unsigned long>(m_lLineBytes))) return 0;
  const StorageOrder rows(*this);
  for (long i = 0, y = rows.first; i < m_lHeight; ++i, y += rows.step) {
    pSrc->GetHorLine(y, row.GetPointer());
    PutHorLine(y, row.GetPointer());
  }
  SetPalette(pSrc->GetPalette(nullptr), 1);
  return 1;
}

// Rectangle ----------------------------------------------------------------------------------------------------------

int PQel::CopyRect(PQel *pSrc, POINT *pPoint, RECT *pRect) {
  if (pSrc == nullptr || IsEmpty() || pSrc->GetBitCount() != GetBitCount()) return 0;
  const auto [s, x, y, bClip] = qel::ops::FindCopyArea(*this, *pSrc, pPoint, pRect);
  if (s.IsEmpty()) return 1;
  PMem line;
  if (!line.AllocMemory(GMEM_MOVEABLE, static_cast<unsigned long>(s.Width() * GetBitCount() / 8 + 8))) return 0;
  unsigned char *const pLine = line.GetPointer();
  const bool bDownwards = pSrc == this && s.top > y;  // so that rows are read before they are overwritten
  const bool bWholeRows =
      bClip && !bDownwards && s.left == 0 && s.right == GetImageWidth() && pSrc->GetImageWidth() == GetImageWidth();
  for (long i = 0; i < s.Height(); ++i) {
    const long lRow = bDownwards ? i : s.Height() - 1 - i;
    if (bWholeRows) {
      pSrc->GetHorLine(s.top + lRow, pLine);
      PutHorLine(y + lRow, pLine);
    } else {
      pSrc->GetHorLine(s.left, s.right - 1, s.top + lRow, pLine);
      if (bClip)
        xPutHorLine(x, x + s.Width() - 1, y + lRow, pLine);  // inside the image: no detour, and no word to the hook
      else
        PutHorLine(x, x + s.Width() - 1, y + lRow, pLine);
    }
  }
  return 1;
}

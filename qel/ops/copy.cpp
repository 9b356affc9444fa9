// Copies between images of one format: the whole image with its palette, or a rectangle, also within one image.

#include <algorithm>

#include "qel/image/image.h"

namespace {

/// The rows of an image in the order in which its store holds them.
struct StorageOrder {
  long first;
  long step;
  explicit StorageOrder(const PQel &image)
      : first(image.GetBIH()->biHeight < 0 ? 0 : image.GetImageHeight() - 1),
        step(image.GetBIH()->biHeight < 0 ? 1 : -1) {}
};

/// A rectangle with room for sums of 32-bit coordinates.
struct WideRect {
  long left;
  long top;
  long right;
  long bottom;
  explicit WideRect(const RECT &rc) : left(rc.left), top(rc.top), right(rc.right), bottom(rc.bottom) {}
  long Width() const { return right - left; }
  long Height() const { return bottom - top; }
  bool IsEmpty() const { return left >= right || top >= bottom; }
  bool IsInside(long width, long height) const { return left >= 0 && top >= 0 && right <= width && bottom <= height; }
};

/// Moves a negative start to 0 and its counterpart by as much.
void ClipStart(long &start, long &counterpart) {
  if (start >= 0) return;
  counterpart -= start;
  start = 0;
}

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
  long x = pPoint ? pPoint->x : 0, y = pPoint ? pPoint->y : 0;
  const long lSrcWidth = pSrc->GetImageWidth(), lSrcHeight = pSrc->m_lHeight;
  WideRect s(pRect ? *pRect : RECT{0, 0, static_cast<LONG>(lSrcWidth), static_cast<LONG>(lSrcHeight)});
  if (s.IsEmpty()) return 1;

  WideRect d(s);
  d.left = x, d.top = y, d.right = x + s.Width(), d.bottom = y + s.Height();
  const bool bClip = (!pSrc->m_bRepeat && !s.IsInside(lSrcWidth, lSrcHeight)) ||
                     (!m_bRepeat && !d.IsInside(GetImageWidth(), m_lHeight));
  if (bClip) {
    ClipStart(x, s.left);
    ClipStart(y, s.top);
    ClipStart(s.left, x);
    ClipStart(s.top, y);
    s.right = std::min(s.right, lSrcWidth);
    s.bottom = std::min(s.bottom, lSrcHeight);
    if (x >= GetImageWidth() || y >= m_lHeight || s.IsEmpty()) return 1;
    s.right = std::min(s.right, s.left + GetImageWidth() - x);
    s.bottom = std::min(s.bottom, s.top + m_lHeight - y);
  }

  PMem line;
  if (!line.AllocMemory(GMEM_MOVEABLE, static_cast<unsigned long>(s.Width() * GetBitCount() / 8 + 8))) return 0;
  unsigned char *const pLine = line.GetPointer();
  const bool bDownwards = pSrc == this && s.top > y;  // so that rows are read before they are overwritten
  const bool bWholeRows = bClip && !bDownwards && GetImageWidth() == lSrcWidth && s.left == 0 && s.right == lSrcWidth;
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

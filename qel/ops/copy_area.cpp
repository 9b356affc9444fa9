// Clipping of copies.

#include "qel/ops/copy_area.h"

#include <algorithm>

namespace qel::ops {

namespace {

/// Moves a negative start to 0 and its counterpart by as much.
void ClipStart(long &start, long &counterpart) {
  if (start >= 0) return;
  counterpart -= start;
  start = 0;
}

}  // namespace

CopyArea FindCopyArea(const PQel &dst, const PQel &src, const POINT *pPoint, const RECT *pRect) {
  WideRect s = {0, 0, src.GetImageWidth(), src.GetImageHeight()};
  if (pRect != nullptr) s = {pRect->left, pRect->top, pRect->right, pRect->bottom};
  long x = pPoint ? pPoint->x : 0, y = pPoint ? pPoint->y : 0;
  const WideRect d = {x, y, x + s.Width(), y + s.Height()};
  const bool bClip = (!src.IsEnableRepeat() && !s.IsInside(src)) || (!dst.IsEnableRepeat() && !d.IsInside(dst));
  if (bClip && !s.IsEmpty()) {
    ClipStart(x, s.left);
    ClipStart(y, s.top);
    ClipStart(s.left, x);
    ClipStart(s.top, y);
    s.right = std::min({s.right, src.GetImageWidth(), s.left + dst.GetImageWidth() - x});
    s.bottom = std::min({s.bottom, src.GetImageHeight(), s.top + dst.GetImageHeight() - y});
  }
  return {s, x, y, bClip};
}

}  // namespace qel::ops

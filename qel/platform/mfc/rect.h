// CPoint and CRect: POINT and RECT with the few operations that the engine and its callers use.
#pragma once

#include "qel/platform/types.h"

class CPoint : public POINT {
 public:
  constexpr CPoint() : POINT{0, 0} {}
  constexpr CPoint(int nX, int nY) : POINT{nX, nY} {}
  constexpr CPoint(const POINT &pt) : POINT(pt) {}

  constexpr bool operator==(const POINT &pt) const { return x == pt.x && y == pt.y; }
  constexpr bool operator!=(const POINT &pt) const { return !(*this == pt); }
};

class CRect : public RECT {
 public:
  constexpr CRect() : RECT{0, 0, 0, 0} {}
  constexpr CRect(int nLeft, int nTop, int nRight, int nBottom) : RECT{nLeft, nTop, nRight, nBottom} {}
  constexpr CRect(const RECT &rc) : RECT(rc) {}
  constexpr CRect(const RECT *pRect) : RECT(*pRect) {}

  constexpr int Width() const { return right - left; }
  constexpr int Height() const { return bottom - top; }

  /// True when the rectangle holds no pixel, inverted ones included.
  constexpr bool IsRectEmpty() const { return left >= right || top >= bottom; }

  constexpr void SetRect(int nLeft, int nTop, int nRight, int nBottom) {
    left = nLeft, top = nTop, right = nRight, bottom = nBottom;
  }
  constexpr void SetRectEmpty() { SetRect(0, 0, 0, 0); }

  constexpr operator RECT *() { return this; }
  constexpr operator const RECT *() const { return this; }

  constexpr bool operator==(const RECT &rc) const {
    return left == rc.left && top == rc.top && right == rc.right && bottom == rc.bottom;
  }
  constexpr bool operator!=(const RECT &rc) const { return !(*this == rc); }
};

/// Moves each edge outwards by (nX, nY); negative amounts shrink. Non-zero on success.
constexpr BOOL InflateRect(RECT *pRect, int nX, int nY) {
  if (pRect == nullptr) return FALSE;
  pRect->left -= nX, pRect->right += nX;
  pRect->top -= nY, pRect->bottom += nY;
  return TRUE;
}

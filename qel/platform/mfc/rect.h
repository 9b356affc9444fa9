// CPoint and CRect: POINT and RECT with the few operations that the engine and its callers use.
//
// Sums and differences of coordinates wrap around at 32 bits, as they do in the records' binary idiom.
#pragma once

#include "qel/platform/types.h"

namespace qel {

constexpr LONG WrapAdd(LONG a, LONG b) {
  return static_cast<LONG>(static_cast<DWORD>(a) + static_cast<DWORD>(b));
}
constexpr LONG WrapNegate(LONG n) {
  return static_cast<LONG>(0 - static_cast<DWORD>(n));
}

}  // namespace qel

class CPoint : public POINT {
 public:
  constexpr CPoint() : POINT{0, 0} {}
  constexpr CPoint(int nX, int nY) : POINT{nX, nY} {}
  constexpr CPoint(const POINT &pt) : POINT(pt) {}

  friend constexpr bool operator==(const CPoint &a, const CPoint &b) { return a.x == b.x && a.y == b.y; }
};

class CRect : public RECT {
 public:
  constexpr CRect() : RECT{0, 0, 0, 0} {}
  constexpr CRect(int nLeft, int nTop, int nRight, int nBottom) : RECT{nLeft, nTop, nRight, nBottom} {}
  constexpr CRect(const RECT &rc) : RECT(rc) {}
  constexpr CRect(const RECT *pRect) : RECT(*pRect) {}

  constexpr int Width() const { return qel::WrapAdd(right, qel::WrapNegate(left)); }
  constexpr int Height() const { return qel::WrapAdd(bottom, qel::WrapNegate(top)); }

  /// True when the rectangle holds no pixel, inverted ones included.
  constexpr bool IsRectEmpty() const { return left >= right || top >= bottom; }

  constexpr void SetRect(int nLeft, int nTop, int nRight, int nBottom) {
    left = nLeft, top = nTop, right = nRight, bottom = nBottom;
  }
  constexpr void SetRectEmpty() { SetRect(0, 0, 0, 0); }

  constexpr operator RECT *() { return this; }
  constexpr operator const RECT *() const { return this; }

  friend constexpr bool operator==(const CRect &a, const CRect &b) {
    return a.left == b.left && a.top == b.top && a.right == b.right && a.bottom == b.bottom;
  }
};

/// Moves each edge outwards by (nX, nY); negative amounts shrink. Non-zero on success.
constexpr BOOL InflateRect(RECT *pRect, int nX, int nY) {
  if (pRect == nullptr) return FALSE;
  pRect->left = qel::WrapAdd(pRect->left, qel::WrapNegate(nX)), pRect->right = qel::WrapAdd(pRect->right, nX);
  pRect->top = qel::WrapAdd(pRect->top, qel::WrapNegate(nY)), pRect->bottom = qel::WrapAdd(pRect->bottom, nY);
  return TRUE;
}

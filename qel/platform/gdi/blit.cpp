// Rectangles and single pixels of device contexts: copied, filled, read and set.
//
// Rectangles are cut in 64 bits, so that no coordinate overflows. Pixels of one depth are moved row by row, in the
// order that overlapping areas need; others go through a line that is turned into what the destination shows.

#include "qel/platform/gdi/blit.h"

#include <algorithm>
#include <cstring>
#include <vector>

#include "qel/platform/gdi/brush_object.h"
#include "qel/platform/gdi/context.h"

namespace qel::gdi {

namespace {

// Cutting ------------------------------------------------------------------------------------------------------------

struct Span {
  std::int64_t dst, src, count;

  // Leaves what lies inside both extents.
  void Cut(int nDstExtent, int nSrcExtent) {
    const std::int64_t skipped = std::max<std::int64_t>({0, -dst, -src});
    dst += skipped, src += skipped, count -= skipped;
    count = std::min({count, nDstExtent - dst, nSrcExtent - src});
  }
};

struct Area {
  int nDstX, nDstY, nSrcX, nSrcY, nWidth, nHeight;
};

// Copies -------------------------------------------------------------------------------------------------------------

void MoveRows(Surface &dst, const Surface &src, const Area &area) {
  const size_t nBytes = sizeof(Pixel) * static_cast<size_t>(area.nWidth);
  const bool bUpwards = &dst == &src && area.nDstY > area.nSrcY;
  for (int i = 0; i < area.nHeight; ++i) {
    const int nRow = bUpwards ? area.nHeight - 1 - i : i;
    std::memmove(dst.Pixels(area.nDstY + nRow) + area.nDstX, src.Pixels(area.nSrcY + nRow) + area.nSrcX, nBytes);
  }
}

// `turn` makes of a line of the source what the destination shows.
template <class Turn>
void CopyRows(Surface &dst, const Surface &src, const Area &area, Turn turn) {
  std::vector<Pixel> line(static_cast<size_t>(area.nWidth));
  const bool bUpwards = &dst == &src && area.nDstY > area.nSrcY;
  for (int i = 0; i < area.nHeight; ++i) {
    const int nRow = bUpwards ? area.nHeight - 1 - i : i;
    src.Load(line.data(), area.nSrcX, area.nSrcY + nRow, area.nWidth);
    turn(line.data());
    dst.Store(area.nDstX, area.nDstY + nRow, area.nWidth, line.data());
  }
}

void Copy(DeviceContext &dst, DeviceContext &src, const Area &area) {
  Surface &to = *dst.Target();
  const Surface &from = *src.Target();
  const int n = area.nWidth;
  if (to.IsPacked() && from.IsPacked()) {
    CopyRows(to, from, area, [](Pixel *) {});
  } else if (from.IsPacked()) {
    const Shown shown = dst.TargetColours();
    const Pixel text = shown.Colour(dst.m_textColour), bk = shown.Colour(dst.m_bkColour);
    CopyRows(to, from, area, [=](Pixel *p) { lines::TellApart(p, n, kWhite, bk, text); });
  } else if (to.IsPacked()) {
    const Pixel bk = src.TargetColours().Colour(src.m_bkColour);
    CopyRows(to, from, area, [=](Pixel *p) { lines::TellApart(p, n, bk, kWhite, kBlack); });
  } else if (dst.SharesColours(src)) {
    MoveRows(to, from, area);
  } else {
    const Shown shown = dst.TargetColours();
    CopyRows(to, from, area, [=](Pixel *p) { shown.Line(p, n); });
  }
}

// The context behind a handle when it has pixels.
std::shared_ptr<DeviceContext> FindDrawable(HDC hDC) {
  auto dc = Contexts().Find(hDC);
  return dc != nullptr && dc->Target() != nullptr ? dc : nullptr;
}

bool Holds(const Surface &surface, int nX, int nY) {
  return nX >= 0 && nY >= 0 && nX < surface.Width() && nY < surface.Height();
}

}  // namespace

}  // namespace qel::gdi

using namespace qel::gdi;

BOOL BitBlt(HDC hDst, int nX, int nY, int nWidth, int nHeight, HDC hSrc, int nSrcX, int nSrcY, DWORD dwRop) {
  const auto dst = FindDrawable(hDst), src = FindDrawable(hSrc);
  if (dst == nullptr || src == nullptr || nWidth < 0 || nHeight < 0 || dwRop != SRCCOPY) return FALSE;
  Span columns = {nX, nSrcX, nWidth}, rows = {nY, nSrcY, nHeight};
  columns.Cut(dst->Target()->Width(), src->Target()->Width());
  rows.Cut(dst->Target()->Height(), src->Target()->Height());
  if (columns.count < 1 || rows.count < 1) return TRUE;
  Copy(*dst, *src,
       {static_cast<int>(columns.dst), static_cast<int>(rows.dst), static_cast<int>(columns.src),
        static_cast<int>(rows.src), static_cast<int>(columns.count), static_cast<int>(rows.count)});
  return TRUE;
}

HBRUSH CreateSolidBrush(COLORREF rgb) {
  return static_cast<HBRUSH>(Objects().Add(std::make_shared<Brush>(rgb & 0xFFFFFF)));
}

int FillRect(HDC hDC, const RECT *pRect, HBRUSH hBrush) {
  const auto dc = FindDrawable(hDC);
  const auto brush = FindObject<Brush>(hBrush);
  if (dc == nullptr || pRect == nullptr || brush == nullptr) return 0;
  Surface &surface = *dc->Target();
  const RECT rc = {std::max(pRect->left, 0), std::max(pRect->top, 0), std::min(pRect->right, surface.Width()),
                   std::min(pRect->bottom, surface.Height())};
  if (rc.left < rc.right) surface.Fill(rc, dc->TargetColours().Colour(SwapRedBlue(brush->rgb)));
  return 1;
}

COLORREF GetPixel(HDC hDC, int nX, int nY) {
  const auto dc = FindDrawable(hDC);
  if (dc == nullptr || !Holds(*dc->Target(), nX, nY)) return CLR_INVALID;
  Pixel pixel;
  dc->Target()->Load(&pixel, nX, nY, 1);
  return SwapRedBlue(pixel);
}

COLORREF SetPixel(HDC hDC, int nX, int nY, COLORREF rgb) {
  const auto dc = FindDrawable(hDC);
  if (dc == nullptr || !Holds(*dc->Target(), nX, nY)) return CLR_INVALID;
  const Pixel pixel = dc->TargetColours().Colour(SwapRedBlue(rgb));
  dc->Target()->Store(nX, nY, 1, &pixel);
  return SwapRedBlue(pixel);
}

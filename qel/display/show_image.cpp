// Images in device contexts without a screen context: through a compatible bitmap of the whole image, or of the part
// that a window shows.

#include <algorithm>

#include "qel/display/memory_bitmap.h"
#include "qel/display/selected_palette.h"
#include "qel/image/image.h"
#include "qel/platform/gdi/dib_transfer.h"
#include "qel/platform/gdi/window.h"
#include "qel/platform/mfc/palette.h"

namespace {

using qel::display::MemoryBitmap, qel::display::SelectedPalette;

constexpr int kTrueColor = 1, kTypeOfHeader = 10, kAllStores = 15;

/// Pulls both ends of a span of the screen in to limits, and those of the image's with them.
struct SpanPair {
  long to, toEnd;
  long from, fromEnd;

  void CutTo(long first, long end) {
    from += std::max(first - to, 0L), to = std::max(to, first);
    fromEnd -= std::max(toEnd - end, 0L), toEnd = std::min(toEnd, end);
  }
  void CutFrom(long end) {
    to += std::max(-from, 0L), from = std::max(from, 0L);
    toEnd -= std::max(fromEnd - end, 0L), fromEnd = std::min(fromEnd, end);
  }
};

}  // namespace

// The whole image ----------------------------------------------------------------------------------------------------

void PQel::ShowImage(HDC hdc, RECT *pRect, int bForceBkgd, unsigned char *pMap) {
  ShowImage(hdc, hdc, pRect, bForceBkgd, pMap);
}

void PQel::ShowImage(HDC hdcDst, HDC hdcRef, RECT *pRect, int bForceBkgd, unsigned char *pMap) {
  if (IsEmpty()) return;
  if (m_bBlock || GetBitCount() > 32) {  // the platform takes linear rows of up to 32 bits
    PQel copy;
    const int nType = GetBitCount() > 32 ? kTrueColor : kTypeOfHeader;
    if (copy.CreateImage(GetBI(), 0, 0, nType, kAllStores, 0, 0) && copy.xCopyPart(*this, 0, 0, nullptr))
      copy.ShowImage(hdcDst, hdcRef, pRect, bForceBkgd, pMap);
    return;
  }
  const RECT rc = pRect != nullptr ? *pRect : RECT{0, 0, m_pBIH->biWidth, static_cast<LONG>(m_lHeight)};
  if (rc.left >= rc.right || rc.top >= rc.bottom) return;
  unsigned char *const pPixels = xGetPixels();
  if (pPixels == nullptr) return;
  CPalette palette;
  palette.Attach(GetPalette(pMap));
  const SelectedPalette selected(hdcRef, palette, bForceBkgd);
  const MemoryBitmap bitmap(hdcRef, m_pBIH->biWidth, m_lHeight);
  if (SetDIBits(hdcRef, bitmap.Get(), 0, static_cast<UINT>(m_lHeight), pPixels, GetBI(), DIB_RGB_COLORS))
    bitmap.CopyTo(hdcDst, rc);
}

// A part of it -------------------------------------------------------------------------------------------------------

void PQel::ShowImage(HWND hWnd, HDC hdc, RECT *pRect, POINT *pScroll, int bForceBkgd, unsigned char *pMap, HDC hdcDst) {
  RECT client;
  if (IsEmpty() || !GetClientRect(hWnd, &client)) return;
  const RECT rc = pRect != nullptr ? *pRect : client;
  const POINT ptScroll = pScroll != nullptr ? *pScroll : POINT{0, 0};
  SpanPair across = {rc.left, rc.right, ptScroll.x, static_cast<long>(ptScroll.x) + rc.right - rc.left};
  SpanPair down = {rc.top, rc.bottom, ptScroll.y, static_cast<long>(ptScroll.y) + rc.bottom - rc.top};
  across.CutTo(client.left, client.right);
  down.CutTo(client.top, client.bottom);
  if (!m_bRepeat) {
    across.CutFrom(GetImageWidth());
    down.CutFrom(m_lHeight);
  }
  const long lWidth = across.toEnd - across.to, lHeight = down.toEnd - down.to;
  if (lWidth < 1 || lHeight < 1) return;

  PQel part;
  const bool bDeep = GetBitCount() > 8;
  if (!part.CreateImage(GetBI(), lWidth, lHeight, bDeep ? kTrueColor : kTypeOfHeader, kAllStores, 0, 0)) return;
  if (!part.xCopyPart(*this, across.from, down.from, bDeep ? pMap : nullptr)) return;
  if (const HPALETTE hPal = bDeep ? nullptr : GetPalette(pMap)) part.SetPalette(hPal, 1);
  RECT rcShown = {static_cast<LONG>(across.to), static_cast<LONG>(down.to), static_cast<LONG>(across.toEnd),
                  static_cast<LONG>(down.toEnd)};
  part.ShowImage(hdcDst != nullptr ? hdcDst : hdc, hdc, &rcShown, bForceBkgd, nullptr);
}

int PQel::xCopyPart(PQel &source, long x, long y, unsigned char *pMap) {
  const bool bConvert = pMap != nullptr || source.GetBitCount() != GetBitCount();
  const long lWidth = GetImageWidth();
  for (long l = m_lHeight - 1; l >= 0; --l) {
    unsigned char *const pRow = xGetStoredSpan(0, lWidth, l);
    if (pRow == nullptr) return 0;
    if (!(bConvert ? source.Get24bitHorLine(x, x + lWidth - 1, y + l, pRow, pMap)
                   : source.GetHorLine(x, x + lWidth - 1, y + l, pRow)))
      return 0;
  }
  return 1;
}

unsigned char *PQel::xGetPixels() {
  if (IsEmpty() || m_bBlock) return nullptr;
  return m_pMem->CommitMemory(static_cast<unsigned long>(m_lLmmOffset),
                              static_cast<unsigned long>(m_lLineBytes * m_lHeight));
}

// Coordinates --------------------------------------------------------------------------------------------------------

void PQel::LPtoIP(POINT *pPoint) {
  if (!m_bAntiAlias || pPoint == nullptr) return;
  for (LONG *const p : {&pPoint->x, &pPoint->y}) *p = static_cast<LONG>(static_cast<DWORD>(*p) * 8);
}

void PQel::LPtoIP(RECT *pRect) {
  if (!m_bAntiAlias || pRect == nullptr) return;
  for (LONG *const p : {&pRect->left, &pRect->top, &pRect->right, &pRect->bottom})
    *p = static_cast<LONG>(static_cast<DWORD>(*p) * 8);
}

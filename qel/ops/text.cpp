// Text in images: a line drawn in 1 bit at a multiple of its size, reduced to a mask of gray levels, through which a
// solid colour is laid into the image. The mask has a margin of half an "A" on each side, so that nothing is cut that
// overhangs the rectangle a little.

#include <cstdint>
#include <cstring>
#include <limits>

#include "qel/image/image.h"
#include "qel/platform/gdi/bitmap.h"
#include "qel/platform/gdi/blit.h"
#include "qel/platform/gdi/text.h"
#include "qel/platform/mfc/dc.h"
#include "qel/platform/mfc/font.h"
#include "qel/platform/mfc/rect.h"

namespace {

constexpr UINT kCentredLine = DT_SINGLELINE | DT_VCENTER | DT_CENTER;
constexpr int kAnyMemory = 15;

bool FitsLong(std::int64_t n) {
  return n >= std::numeric_limits<LONG>::min() && n <= std::numeric_limits<LONG>::max();
}

/// A font of nScale times the size; false when there is no such font.
bool ScaleFont(CFont *pScaled, CFont *pFont, int nScale) {
  LOGFONTA description;
  if (GetObjectA(pFont->GetSafeHandle(), sizeof description, &description) != sizeof description) return false;
  const std::int64_t nHeight = std::int64_t{description.lfHeight} * nScale;
  const std::int64_t nWidth = std::int64_t{description.lfWidth} * nScale;
  if (!FitsLong(nHeight) || !FitsLong(nWidth)) return false;
  description.lfHeight = static_cast<LONG>(nHeight), description.lfWidth = static_cast<LONG>(nWidth);
  return pScaled->CreateFontIndirect(&description) != 0;
}

/// An object selected into a context while this stands.
class Selection {
 public:
  Selection(HDC hDC, HGDIOBJ hObject) : m_hDC(hDC), m_hOld(SelectObject(hDC, hObject)) {}
  ~Selection() {
    if (m_hOld != nullptr) SelectObject(m_hDC, m_hOld);
  }
  Selection(const Selection &) = delete;
  Selection &operator=(const Selection &) = delete;

  explicit operator bool() const { return m_hOld != nullptr; }

 private:
  HDC m_hDC;
  HGDIOBJ m_hOld;
};

/// The sizes of the line at its own scale and at the image's.
struct TextMeasures {
  int nBitmapWidth, nBitmapHeight;
  RECT rcDraw;    // in the bitmap
  RECT rcTarget;  // in the image, with the margin
};

/// Measures for a rectangle, a margin of half of `sizeA` and a scale; false when they leave the coordinates' range.
bool Measure(const RECT &rc, const SIZE &sizeA, int nScale, TextMeasures *pMeasures) {
  const std::int64_t s = nScale;
  const std::int64_t nDrawX = (std::int64_t{sizeA.cx} + 1) / 2, nDrawY = (std::int64_t{sizeA.cy} + 1) / 2;
  const std::int64_t nGrowX = (sizeA.cx + s) / (2 * s), nGrowY = (sizeA.cy + s) / (2 * s);
  // At scale 1 the bitmap is as large as what it becomes, so that its edges stay hard.
  const std::int64_t nAcross = std::int64_t{rc.right} - rc.left, nDown = std::int64_t{rc.bottom} - rc.top;
  const std::int64_t nWidth = nAcross * s + (s == 1 ? 2 * nGrowX : sizeA.cx);
  const std::int64_t nHeight = nDown * s + (s == 1 ? 2 * nGrowY : sizeA.cy);
  if (!FitsLong(nWidth) || !FitsLong(nHeight)) return false;
  for (const std::int64_t n : {rc.left - nGrowX, rc.top - nGrowY, rc.right + nGrowX, rc.bottom + nGrowY,
                               nAcross + 2 * nGrowX, nDown + 2 * nGrowY})
    if (!FitsLong(n)) return false;
  pMeasures->nBitmapWidth = static_cast<int>(nWidth), pMeasures->nBitmapHeight = static_cast<int>(nHeight);
  pMeasures->rcDraw = {0, 0, static_cast<LONG>(nWidth), static_cast<LONG>(nHeight)};
  InflateRect(&pMeasures->rcDraw, static_cast<int>(-nDrawX), static_cast<int>(-nDrawY));
  pMeasures->rcTarget = rc;
  InflateRect(&pMeasures->rcTarget, static_cast<int>(nGrowX), static_cast<int>(nGrowY));
  return true;
}

/// Draws black text on a white bitmap.
bool DrawLine(CDC &dc, HBITMAP hBitmap, const char *pszText, const TextMeasures &measures) {
  const Selection selection(dc, hBitmap);
  if (!selection) return false;
  SetBkColor(dc, RGB(255, 255, 255));
  SetTextColor(dc, RGB(0, 0, 0));
  const RECT rcAll = {0, 0, measures.nBitmapWidth, measures.nBitmapHeight};
  RECT rcDraw = measures.rcDraw;
  return FillRect(dc, &rcAll, static_cast<HBRUSH>(GetStockObject(WHITE_BRUSH))) != 0 &&
         dc.DrawText(pszText, static_cast<int>(std::strlen(pszText)), &rcDraw, kCentredLine) != 0;
}

/// The line as an image, black on white.
bool RenderText(PQel *pText, const char *pszText, CFont *pFont, const RECT &rc, int nScale, TextMeasures *pMeasures) {
  CFont scaled;
  const CClientDC screen(nullptr);
  CDC dc;
  if (!ScaleFont(&scaled, pFont, nScale) || !dc.Attach(CreateCompatibleDC(screen))) return false;
  CGdiObject bitmap;
  {
    const Selection selection(dc, scaled);
    SIZE sizeA;
    if (!selection || !GetTextExtentPointA(dc, "A", 1, &sizeA) || !Measure(rc, sizeA, nScale, pMeasures)) return false;
    if (!bitmap.Attach(CreateBitmap(pMeasures->nBitmapWidth, pMeasures->nBitmapHeight, 1, 1, nullptr))) return false;
    if (!DrawLine(dc, static_cast<HBITMAP>(bitmap.m_hObject), pszText, *pMeasures)) return false;
  }
  return pText->CreateImage(static_cast<HBITMAP>(bitmap.m_hObject), nullptr, 0, 0) != 0;
}

}  // namespace

int PQel::DrawTextA(const char *pszText, RECT *pRect, CFont *pFont, DWORD dwColor, int nScale) {
  if (IsEmpty() || pszText == nullptr || *pszText == '\0' || pFont == nullptr || nScale < 1) return 0;
  if (std::strlen(pszText) > static_cast<size_t>(std::numeric_limits<int>::max())) return 0;
  const RECT rcImage = {0, 0, static_cast<LONG>(GetImageWidth()), static_cast<LONG>(m_lHeight)};
  const RECT rc = pRect != nullptr ? *pRect : rcImage;
  if (rc.left >= rc.right || rc.top >= rc.bottom) return 0;

  TextMeasures measures;
  PQel mask;
  {
    PQel text;
    if (!RenderText(&text, pszText, pFont, rc, nScale, &measures)) return 0;
    const CRect rcTarget = measures.rcTarget;
    if (!mask.GenerateImage(&text, 8, rcTarget.Width(), rcTarget.Height(), kAnyMemory, 0, 0)) return 0;
  }
  PQel colour;
  if (!colour.CreateImage(GetBI(), mask.GetImageWidth(), mask.m_lHeight, 10, kAnyMemory, 0, 0)) return 0;
  if (!colour.Clear(dwColor)) return 0;
  POINT ptTarget = {measures.rcTarget.left, measures.rcTarget.top};
  return CombineImage(&colour, &mask, &ptTarget, nullptr);
}

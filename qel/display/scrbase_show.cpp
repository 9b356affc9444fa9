// Images in windows. Lines are read in the form that is shown (of 8 bits and fewer as they are stored, deeper ones as
// 24-bit pixels), zoomed, taken through gamma or diffused, and painted in bands.

#include <algorithm>
#include <cstring>

#include "qel/display/band_painter.h"
#include "qel/display/scrbase.h"
#include "qel/display/selected_palette.h"
#include "qel/display/visible_part.h"
#include "qel/image/image.h"
#include "qel/lines/run_fill.h"
#include "qel/platform/gdi/dib_transfer.h"
#include "qel/platform/gdi/window.h"

namespace {

using namespace qel::display;

constexpr long kBandBytes = 61399, kMapBandBytes = 61440, kMostRows = 1024;
constexpr int kTrueColor = 1, k16Grays = 4;

/// The part of a window's client area in a rectangle; false when it is empty.
bool FindArea(HWND hWnd, const RECT &rc, RECT *pArea) {
  RECT client;
  if (!GetClientRect(hWnd, &client)) return false;
  *pArea = {std::max(rc.left, client.left), std::max(rc.top, client.top), std::min(rc.right, client.right),
            std::min(rc.bottom, client.bottom)};
  return pArea->left < pArea->right && pArea->top < pArea->bottom;
}

/// Columns x .. x + n - 1 of a row, as they are stored or as 24-bit pixels.
bool ReadRow(PQel &image, int nBits, long x, long n, long y, unsigned char *pLine) {
  return nBits == image.GetBitCount() ? image.GetHorLine(x, x + n - 1, y, pLine) != 0
                                      : image.Get24bitHorLine(x, x + n - 1, y, pLine, nullptr) != 0;
}

long BandRows(long lBytes, long lRowBytes) {
  return std::clamp(lBytes / lRowBytes, 1L, kMostRows);
}

}  // namespace

// Lines --------------------------------------------------------------------------------------------------------------

/// Takes lines of nBits a pixel to the screen: diffused to its depth, or as they are.
class PScrbase::Lines {
 public:
  /// `form` tells the rectangle, the pixels of a line and the rows of a band; depth and palette use are set here.
  Lines(PScrbase &screen, HDC hdc, BandForm form, int nBits, bool bDiffuse)
      : m_screen(screen),
        m_nBits(nBits),
        m_bDiffuse(bDiffuse),
        m_bands(hdc, Complete(screen, form, nBits, bDiffuse), screen.m_pbi) {
    m_nWidth = static_cast<int>(form.lRowWidth);
    if (!bDiffuse) return;
    m_bReady = m_nWidth <= screen.m_lErrorWidth || screen.xAllocMapBlock(m_nWidth);
    if (m_bReady) std::fill_n(screen.m_plErr1, 3L * m_nWidth, 0);
  }

  bool IsReady() const { return m_bReady && m_bands.IsReady(); }
  bool IsDone() const { return m_bands.IsDone(); }

  /// True when lines need no work on their way, so that they may be made in place.
  bool IsInPlace() const { return !m_bDiffuse; }
  unsigned char *Place() const { return m_bands.Row(); }

  /// Emits a line; pixels at Place() are there already. A line of 24 bits goes through gamma before, once.
  void Emit(unsigned char *pLine) {
    if (m_bDiffuse) {
      m_screen.Diffuse1Line(m_bands.Row(), pLine, m_screen.m_plErr1, m_screen.m_plErr2, m_screen.m_pbyPalMap,
                            reinterpret_cast<unsigned char *>(m_screen.m_pPalEntryImg),
                            reinterpret_cast<unsigned char *>(m_screen.m_pPalEntryStd), m_nBits, m_screen.m_nScreenBits,
                            m_nWidth);
      std::swap(m_screen.m_plErr1, m_screen.m_plErr2);
    } else if (pLine != m_bands.Row()) {
      std::memcpy(m_bands.Row(), pLine, static_cast<std::size_t>((static_cast<long>(m_nBits) * m_nWidth + 7) / 8));
    }
    m_bands.Advance();
  }

 private:
  static BandForm Complete(PScrbase &screen, BandForm form, int nBits, bool bDiffuse) {
    form.nBits = bDiffuse ? screen.m_nScreenBits : nBits;
    form.nUsage = form.nBits == 24 ? DIB_RGB_COLORS : DIB_PAL_COLORS;
    const int nColors = screen.GetColorNum(form.nBits, 256);
    screen.m_pbi->bmiHeader.biClrUsed = static_cast<DWORD>(nColors);
    std::memcpy(screen.m_pbi->bmiColors, screen.m_pwPalIndex, static_cast<std::size_t>(nColors) * sizeof(WORD));
    return form;
  }

  PScrbase &m_screen;
  int m_nBits;
  bool m_bDiffuse;
  int m_nWidth;
  bool m_bReady = true;
  BandPainter m_bands;
};

// Images -------------------------------------------------------------------------------------------------------------

void PScrbase::ShowImage(PQel *pImage, CPoint &ptScroll, HWND hWnd, CRect &rcUpdate, int nZoom, CDC &dc) {
  ShowImage(pImage, ptScroll, hWnd, rcUpdate, nZoom, dc.GetSafeHdc());
}

void PScrbase::ShowImage(PQel *pImage, CPoint &ptScroll, HWND hWnd, CRect &rcUpdate, int nZoom, HDC hdc) {
  RECT area;
  if (pImage == nullptr || pImage->IsEmpty() || !xIsReady() || !FindArea(hWnd, rcUpdate, &area)) return;
  const VisiblePart part = FindVisiblePart(*pImage, ptScroll, {rcUpdate.left, rcUpdate.top}, area, nZoom);
  if (part.IsEmpty()) return;
  const int nBits = pImage->GetBitCount() <= 8 ? pImage->GetBitCount() : 24;
  const bool bDirect = nBits <= m_nScreenBits && !(pImage->GetImageType() == k16Grays && m_nScreenBits == 4) &&
                       !(nBits == 8 && m_nScreenBits == 8 && m_bCommonPal);

  CPalette imagePalette, gammaPalette;
  imagePalette.Attach(pImage->GetPalette(nullptr));
  CPalette *pPalette = &imagePalette;
  if (!bDirect) {
    pPalette = m_bGamma ? &m_palGamma : &m_palStd;
    imagePalette.GetPaletteEntries(0, 256, m_pPalEntryImg);
  } else if (m_bGamma && nBits <= 8) {
    CreateGammaPalette(GetColorNum(nBits, 256), gammaPalette, imagePalette);
    pPalette = &gammaPalette;
  }
  const SelectedPalette selected(hdc, *pPalette, FALSE);

  // a line as it is read, and zoomed
  const long lTimes = nZoom > 1 ? nZoom : 1, lStep = nZoom < -1 ? -static_cast<long>(nZoom) : 1;
  const long lRead = part.right - part.left, lShown = nZoom < -1 ? (lRead + lStep - 1) / lStep : lRead * lTimes;
  const bool bZooms = lTimes > 1 || lStep > 1;
  const long lReadBytes = RowBytes(nBits, lRead), lShownBytes = bZooms ? RowBytes(nBits, lShown) : 0;
  PMem own;
  unsigned char *const pRead = xGetWorkLine(lReadBytes + lShownBytes, own), *const pShown = pRead + lReadBytes;
  if (pRead == nullptr) return;

  const long lRows = BandRows(kBandBytes, RowBytes(bDirect ? nBits : m_nScreenBits, lShown));
  const BandForm form = {part.x, part.y, part.width, part.height, 0, lShown, std::max(lRows / lTimes, 1L) * lTimes, 0};
  Lines lines(*this, hdc, form, nBits, !bDirect);
  if (!lines.IsReady()) return;
  for (long y = part.top; y < part.bottom && !lines.IsDone(); y += lStep) {
    unsigned char *pLine = !bZooms && lines.IsInPlace() ? lines.Place() : pRead;
    if (!ReadRow(*pImage, nBits, part.left, lRead, y, pLine)) return;
    if (lTimes > 1) pImage->ZoomInLine(pShown, pRead, lRead, nZoom, nBits);
    if (lStep > 1) pImage->ZoomOutLine(pShown, pRead, lShown, nZoom, nBits);
    if (bZooms) pLine = pShown;
    if (bDirect && nBits == 24) GammaMapping(pLine, m_pbyGammaMap, static_cast<int>(3 * lShown));
    for (long k = 0; k < lTimes && !lines.IsDone(); ++k) lines.Emit(pLine);
  }
}

void PScrbase::ShowImage(PQel *pImage, CPoint &ptScroll, HWND hWnd, CRect &rcUpdate, unsigned char *pMap, HDC hdc) {
  RECT area;
  if (pImage == nullptr || pImage->IsEmpty() || !xIsReady() || !FindArea(hWnd, rcUpdate, &area)) return;
  CRect rcArea(area);
  if (pMap == nullptr) return ShowImage(pImage, ptScroll, hWnd, rcArea, 1, hdc);
  if (pImage->GetImageType() != kTrueColor) return;
  const VisiblePart part = FindVisiblePart(*pImage, ptScroll, {area.left, area.top}, area, 1);
  if (part.IsEmpty()) return;

  const bool bDiffuse = m_nScreenBits < 24;
  std::memcpy(m_pbyRGBMap, pMap, 1024);
  xAddMapToRGBMap(m_pbyRGBMap, m_pbyRGBMap + 768);
  if (!bDiffuse && m_bGamma) xAddToMapping(m_pbyRGBMap, m_pbyGammaMap, m_pbyGammaMap + 256, m_pbyGammaMap + 512);
  const SelectedPalette selected(hdc, m_bGamma ? m_palGamma : m_palStd, FALSE);
  PMem own;
  unsigned char *const pRead = xGetWorkLine(RowBytes(24, part.width), own);
  if (pRead == nullptr) return;
  const long lRows = kMapBandBytes / RowBytes(bDiffuse ? m_nScreenBits : 24, part.width) / 2 * 2;
  Lines lines(*this, hdc, {part.x, part.y, part.width, part.height, 0, part.width, std::clamp(lRows, 1L, kMostRows), 0},
              24, bDiffuse);
  if (!lines.IsReady()) return;
  for (long y = part.top; !lines.IsDone(); ++y) {
    unsigned char *const pLine = lines.IsInPlace() ? lines.Place() : pRead;
    if (!pImage->Get24bitHorLine(part.left, part.left + part.width - 1, y, pLine, m_pbyRGBMap)) return;
    lines.Emit(pLine);
  }
}

void PScrbase::ShowImage(CDC &dc, HBITMAP hDIB, HWND hWnd, RECT *pRect) {
  RECT client;
  if (pRect == nullptr && !GetClientRect(hWnd, &client)) return;
  PQel image;
  if (!image.Attach(static_cast<void *>(hDIB))) return;
  CPoint ptScroll(0, 0);
  CRect rcUpdate(pRect != nullptr ? *pRect : client);
  ShowImage(&image, ptScroll, hWnd, rcUpdate, 1, dc);
  image.Detach();  // the handle is the caller's, as it was
}

void PScrbase::ShowColorBlock(CDC &dc, HWND hWnd, RECT *pRect, unsigned long dwColor) {
  RECT area;
  if (pRect == nullptr || !xIsReady() || !FindArea(hWnd, *pRect, &area)) return;
  const bool bDiffuse = m_nScreenBits < 24;
  const long lWidth = area.right - area.left, lHeight = area.bottom - area.top;
  const SelectedPalette selected(dc, m_bGamma ? m_palGamma : m_palStd, FALSE);
  PMem own;
  unsigned char *const pLine = xGetWorkLine(RowBytes(24, lWidth), own);
  if (pLine == nullptr) return;
  const auto rgb = static_cast<COLORREF>(dwColor);
  FillRunTrio(pLine,
              static_cast<unsigned long>(GetRValue(rgb)) << 16 | static_cast<unsigned long>(GetGValue(rgb)) << 8 |
                  GetBValue(rgb),
              static_cast<unsigned long>(lWidth));
  if (!bDiffuse) GammaMapping(pLine, m_pbyGammaMap, static_cast<int>(3 * lWidth));
  const long lRows = BandRows(kBandBytes, RowBytes(bDiffuse ? m_nScreenBits : 24, lWidth));
  Lines lines(*this, dc, {area.left, area.top, lWidth, lHeight, 0, lWidth, std::min(lRows, lHeight), 0}, 24, bDiffuse);
  if (!lines.IsReady()) return;
  while (!lines.IsDone()) lines.Emit(pLine);
}

// Work memory --------------------------------------------------------------------------------------------------------

int PScrbase::xIsReady() const {
  return m_pbi != nullptr && m_pbyRGBMap != nullptr && m_pbyWorkBuf != nullptr && m_pbyPalMap != nullptr;
}

unsigned char *PScrbase::xGetWorkLine(long lBytes, PMem &own) {
  constexpr long kWorkBytes = 65536;
  return lBytes <= kWorkBytes ? m_pbyWorkBuf : own.AllocMemory(GMEM_MOVEABLE, static_cast<unsigned long>(lBytes));
}

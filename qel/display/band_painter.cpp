// Bands are stored bottom-up: the band's first row is the last one of its memory.

#include "qel/display/band_painter.h"

#include <algorithm>

#include "qel/platform/gdi/bitmap.h"
#include "qel/platform/gdi/blit.h"
#include "qel/platform/gdi/dib_transfer.h"

namespace qel::display {

// Bands --------------------------------------------------------------------------------------------------------------

BandPainter::BandPainter(HDC hdc, const BandForm &form, BITMAPINFO *pInfo)
    : m_hdc(hdc),
      m_form(form),
      m_pInfo(pInfo),
      m_lRowBytes(RowBytes(form.nBits, form.lRowWidth)),
      m_hdcMemory(nullptr),
      m_hBitmap(nullptr) {
  const long lRows = std::min(m_form.lRows, m_form.height);
  if (!m_pixels.AllocMemory(GHND, static_cast<unsigned long>(m_lRowBytes * lRows))) return;
  m_hdcMemory = CreateCompatibleDC(hdc);
  m_hBitmap = CreateCompatibleBitmap(hdc, static_cast<int>(m_form.lRowWidth), static_cast<int>(lRows));
  StartBand();
}

BandPainter::~BandPainter() {
  DeleteDC(m_hdcMemory);
  DeleteObject(m_hBitmap);
}

void BandPainter::StartBand() {
  m_lFirst = m_lRow;
  m_lBandRows = std::min(m_form.lRows, m_form.height - m_lRow);
}

unsigned char *BandPainter::Row() const {
  return m_pixels.GetPointer() + (m_lBandRows - 1 - (m_lRow - m_lFirst)) * m_lRowBytes;
}

void BandPainter::Advance() {
  ++m_lRow;
  if (m_lRow - m_lFirst < m_lBandRows) return;
  Paint();
  StartBand();
}

void BandPainter::Paint() {
  BITMAPINFOHEADER &header = m_pInfo->bmiHeader;
  header.biWidth = static_cast<LONG>(m_form.lRowWidth);
  header.biHeight = static_cast<LONG>(m_lBandRows);
  header.biBitCount = static_cast<WORD>(m_form.nBits);
  header.biSizeImage = static_cast<DWORD>(m_lBandRows * m_lRowBytes);
  const int nRows = static_cast<int>(m_lBandRows);
  SetDIBits(m_hdc, m_hBitmap, 0, static_cast<UINT>(nRows), m_pixels.GetPointer(), m_pInfo, m_form.nUsage);
  const HGDIOBJ hBefore = SelectObject(m_hdcMemory, m_hBitmap);
  BitBlt(m_hdc, static_cast<int>(m_form.x), static_cast<int>(m_form.y + m_lFirst), static_cast<int>(m_form.width),
         nRows, m_hdcMemory, 0, 0, SRCCOPY);
  SelectObject(m_hdcMemory, hBefore);
}

// Palettes -----------------------------------------------------------------------------------------------------------

SelectedPalette::SelectedPalette(HDC hdc, HPALETTE hPal, BOOL bForceBkgd) : m_hdc(hdc), m_hBefore(nullptr) {
  if (hPal == nullptr) return;
  m_hBefore = SelectPalette(hdc, hPal, bForceBkgd);
  RealizePalette(hdc);
}

SelectedPalette::~SelectedPalette() {
  if (m_hBefore == nullptr) return;
  SelectPalette(m_hdc, m_hBefore, TRUE);
  RealizePalette(m_hdc);
}

}  // namespace qel::display

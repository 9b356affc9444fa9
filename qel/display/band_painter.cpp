// Bands are stored bottom-up: the band's first row is the last one of its memory.

#include "qel/display/band_painter.h"

#include <algorithm>

#include "qel/platform/gdi/dib_transfer.h"

namespace qel::display {

BandPainter::BandPainter(HDC hdc, const BandForm &form, BITMAPINFO *pInfo)
    : m_hdc(hdc),
      m_form(form),
      m_pInfo(pInfo),
      m_lRowBytes(RowBytes(form.nBits, form.lRowWidth)),
      m_bitmap(hdc, form.lRowWidth, std::min(form.lRows, form.height)) {
  m_pixels.AllocMemory(GHND, static_cast<unsigned long>(m_lRowBytes * std::min(form.lRows, form.height)));
  StartBand();
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
  SetDIBits(m_hdc, m_bitmap.Get(), 0, static_cast<UINT>(m_lBandRows), m_pixels.GetPointer(), m_pInfo, m_form.nUsage);
  const long lTop = m_form.y + m_lFirst;
  m_bitmap.CopyTo(m_hdc, {static_cast<LONG>(m_form.x), static_cast<LONG>(lTop),
                          static_cast<LONG>(m_form.x + m_form.width), static_cast<LONG>(lTop + m_lBandRows)});
}

}  // namespace qel::display

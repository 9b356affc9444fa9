// Bands: rows of pixels on their way to a device context, through a device-independent bitmap of a few rows and a
// compatible bitmap.
#pragma once

#include "qel/display/memory_bitmap.h"
#include "qel/mem/mem.h"
#include "qel/platform/types.h"

namespace qel::display {

/// What is painted: a rectangle of a context, as rows of nBits a pixel. Rows may be longer than the rectangle is wide.
struct BandForm {
  long x, y, width, height;
  int nBits;
  long lRowWidth;  // pixels of a row, at least `width`
  long lRows;      // most rows of a band, at least 1
  UINT nUsage;     // DIB_PAL_COLORS or DIB_RGB_COLORS
};

/// Bytes of a row of a device-independent bitmap.
constexpr long RowBytes(int nBits, long lWidth) {
  return (nBits * lWidth + 31) / 32 * 4;
}

class BandPainter {
 public:
  /// Header fields of `pInfo` are set for each band; its colour table is the caller's.
  BandPainter(HDC hdc, const BandForm &form, BITMAPINFO *pInfo);

  /// False when the bitmap cannot be had; nothing is painted then.
  bool IsReady() const { return m_bitmap.Get() != nullptr && m_pixels.GetPointer() != nullptr; }

  /// True when the rectangle is full.
  bool IsDone() const { return m_lRow == m_form.height; }

  /// Where the next row's pixels go; call Advance when they are there.
  unsigned char *Row() const;
  void Advance();

 private:
  void StartBand();
  void Paint();

  HDC m_hdc;
  BandForm m_form;
  BITMAPINFO *m_pInfo;
  long m_lRowBytes;
  PMem m_pixels;          // a band's rows
  MemoryBitmap m_bitmap;  // a band
  long m_lRow = 0;        // rows taken in all
  long m_lFirst = 0;      // first row of the band
  long m_lBandRows = 0;   // rows of the band
};

}  // namespace qel::display

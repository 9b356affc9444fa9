// Device-independent bitmaps to and from device-dependent ones.
//
// Every line goes through pixels. Colour tables are turned into what the bitmap shows once a call, so that lines of
// indices take one look-up a pixel; lines of true colour go straight into a deep bitmap's rows.

#include "qel/platform/gdi/dib_transfer.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <vector>

#include "qel/platform/gdi/context.h"
#include "qel/platform/gdi/dib_format.h"

namespace qel::gdi {

namespace {

// The scan lines of a call and what it works on; Take fails on any bad argument.
struct Transfer {
  std::shared_ptr<DeviceContext> dc;
  std::shared_ptr<Bitmap> bitmap;
  DibFormat format;
  int nLines = 0;

  bool Take(HDC hDC, HBITMAP hBitmap, UINT nStart, UINT nCount, const BITMAPINFO *pInfo, UINT nUsage) {
    dc = Contexts().Find(hDC);
    bitmap = FindObject<Bitmap>(hBitmap);
    if (dc == nullptr || bitmap == nullptr || nUsage > DIB_PAL_COLORS || !ReadDibFormat(pInfo, &format)) return false;
    const UINT nHeld = static_cast<UINT>(format.nHeight);
    nLines = nStart < nHeld ? static_cast<int>(std::min(nCount, nHeld - nStart)) : 0;
    return nLines > 0;
  }

  int Columns() const { return std::min(format.nWidth, bitmap->surface->Width()); }
};

// Table entries from and to the bytes behind a header ----------------------------------------------------------------

Pixel PixelOf(const RGBQUAD &quad) {
  return MakePixel(quad.rgbRed, quad.rgbGreen, quad.rgbBlue);
}

RGBQUAD QuadOf(const PALETTEENTRY &entry) {
  return {entry.peBlue, entry.peGreen, entry.peRed, 0};
}

// The pixels that a DIB's indices stand for, before the bitmap's depth; black where the table or the palette ends.
void ReadTable(const BITMAPINFO *pInfo, const DibFormat &format, UINT nUsage, const Entries &palette, Pixel *pTable) {
  const BYTE *pEntry = reinterpret_cast<const BYTE *>(pInfo) + format.nTable;
  for (int i = 0; i < format.nColours; ++i) {
    if (nUsage == DIB_PAL_COLORS) {
      WORD wIndex;
      std::memcpy(&wIndex, pEntry + 2 * i, sizeof wIndex);
      pTable[i] = wIndex < palette.size() ? ToPixel(palette[wIndex]) : kBlack;
    } else {
      RGBQUAD quad;
      std::memcpy(&quad, pEntry + 4 * i, sizeof quad);
      pTable[i] = PixelOf(quad);
    }
  }
}

void WriteTable(BITMAPINFO *pInfo, const DibFormat &format, UINT nUsage, const Entries &colours) {
  BYTE *pEntry = reinterpret_cast<BYTE *>(pInfo) + format.nTable;
  for (int i = 0; i < format.nColours; ++i) {
    if (nUsage == DIB_PAL_COLORS) {
      const WORD wIndex = static_cast<WORD>(i);
      std::memcpy(pEntry + 2 * i, &wIndex, sizeof wIndex);
    } else {
      const size_t nIndex = static_cast<size_t>(i);
      const RGBQUAD quad = nIndex < colours.size() ? QuadOf(colours[nIndex]) : RGBQUAD{};
      std::memcpy(pEntry + 4 * i, &quad, sizeof quad);
    }
  }
}

// Lines to pixels and back -------------------------------------------------------------------------------------------

bool IsHighColour(const DibFormat &format, std::uint32_t red, std::uint32_t green) {
  return format.nBits == 16 && format.words.red.mask == red && format.words.green.mask == green &&
         format.words.blue.mask == 0x1F;
}

// 5-5-5 and 5-6-5 words have line functions of their own.
void ReadHighColour(Pixel *pLine, const BYTE *pSrc, int nCount, void (*to24)(BYTE *, const BYTE *, long)) {
  constexpr int kPiece = 1024;
  BYTE piece[3 * kPiece];
  for (int i = 0; i < nCount; i += kPiece) {
    const int n = std::min(kPiece, nCount - i);
    to24(piece, pSrc + 2 * i, n);
    Rgb24ToPixels(pLine + i, piece, n);
  }
}

void ReadLine(Pixel *pLine, const BYTE *pSrc, const DibFormat &format, int nCount, const Pixel *pTable) {
  if (format.nBits <= 8) {
    lines::IndicesToPixels(pLine, pSrc, format.nBits, 0, nCount, pTable);
  } else if (format.nBits == 24) {
    Rgb24ToPixels(pLine, pSrc, nCount);
  } else if (format.nBits == 32 && !format.bMasks) {
    lines::Rgb32ToPixels(pLine, pSrc, nCount);
  } else if (IsHighColour(format, 0x7C00, 0x03E0)) {
    ReadHighColour(pLine, pSrc, nCount, lines::Rgb555To24);
  } else if (IsHighColour(format, 0xF800, 0x07E0)) {
    ReadHighColour(pLine, pSrc, nCount, lines::Rgb565To24);
  } else {
    lines::WordsToPixels(pLine, pSrc, format.nBits / 8, nCount, format.words);
  }
}

// `pIndices` holds a line of indices meanwhile.
void WriteLine(BYTE *pDst, const Pixel *pLine, const DibFormat &format, int nCount, ColourSet *pSet, BYTE *pIndices) {
  if (format.nBits <= 8) {
    pSet->Indices(pIndices, pLine, nCount);
    lines::PackLowBits(pDst, pIndices, format.nBits, nCount);
  } else if (format.nBits == 24) {
    PixelsToRgb24(pDst, pLine, nCount);
  } else if (format.nBits == 32 && !format.bMasks) {
    std::memcpy(pDst, pLine, sizeof(Pixel) * static_cast<size_t>(nCount));
  } else {
    lines::PixelsToWords(pDst, pLine, format.nBits / 8, nCount, format.words);
  }
}

int StoreLines(const Transfer &transfer, UINT nStart, const BYTE *pBits, const BITMAPINFO *pInfo, UINT nUsage) {
  const DibFormat &format = transfer.format;
  const Shown shown = transfer.dc->ColoursOf(transfer.bitmap->Depth());
  Pixel table[256] = {};
  const bool bIndices = format.nBits <= 8;
  if (bIndices) {
    ReadTable(pInfo, format, nUsage, transfer.dc->m_palette->entries, table);
    shown.Line(table, 256);
  }
  Surface &surface = *transfer.bitmap->surface;
  const int nColumns = transfer.Columns();
  std::vector<Pixel> line(surface.IsPacked() ? static_cast<size_t>(nColumns) : 0);
  for (int i = 0; i < transfer.nLines; ++i, pBits += format.nStride) {
    const int y = format.RowOf(nStart + static_cast<UINT>(i));
    if (y >= surface.Height()) continue;
    Pixel *const pLine = surface.IsPacked() ? line.data() : surface.Pixels(y);
    ReadLine(pLine, pBits, format, nColumns, table);
    if (!bIndices) shown.Line(pLine, nColumns);
    if (surface.IsPacked()) surface.Store(0, y, nColumns, pLine);
  }
  return transfer.nLines;
}

// The colours of a table to be written: those of the selected palette, or the default ones of the depth.
Entries TableColours(const DeviceContext &dc, const DibFormat &format) {
  const Entries &all = dc.m_palette->m_bStock ? DefaultColours(format.nBits) : dc.m_palette->entries;
  return Entries(all.begin(), all.begin() + std::min<std::ptrdiff_t>(std::ssize(all), format.nColours));
}

int LoadLines(const Transfer &transfer, UINT nStart, BYTE *pBits, ColourSet *pSet) {
  const DibFormat &format = transfer.format;
  const Surface &surface = *transfer.bitmap->surface;
  const int nColumns = transfer.Columns();
  const bool bAsTheyAre = surface.IsPacked() && format.nBits == 1;
  std::vector<Pixel> line(surface.IsPacked() && !bAsTheyAre ? static_cast<size_t>(nColumns) : 0);
  std::vector<BYTE> indices(format.nBits <= 8 && !bAsTheyAre ? static_cast<size_t>(nColumns) : 0);
  int nRead = 0;
  for (int i = 0; i < transfer.nLines; ++i, pBits += format.nStride) {
    const int y = format.RowOf(nStart + static_cast<UINT>(i));
    if (y >= surface.Height()) continue;
    ++nRead;
    if (bAsTheyAre) {
      std::memcpy(pBits, surface.Row(y), (static_cast<size_t>(nColumns) + 7) / 8);
      continue;
    }
    if (surface.IsPacked()) surface.Load(line.data(), 0, y, nColumns);
    WriteLine(pBits, surface.IsPacked() ? line.data() : surface.Pixels(y), format, nColumns, pSet, indices.data());
  }
  return nRead;
}

// GetDIBits with an empty header: the format that loses nothing.
int DescribeBitmap(const Bitmap &bitmap, BITMAPINFOHEADER *pHeader) {
  const int nDepth = bitmap.wPlanes * bitmap.wBitsPixel;
  const int nBits = nDepth <= 1 ? 1 : nDepth <= 4 ? 4 : nDepth <= 8 ? 8 : nDepth <= 16 ? 16 : nDepth <= 24 ? 24 : 32;
  const int nWidth = bitmap.surface->Width(), nHeight = bitmap.surface->Height();
  const std::uint64_t nStride = (static_cast<std::uint64_t>(nWidth) * static_cast<unsigned>(nBits) + 31) / 32 * 4;
  *pHeader = {pHeader->biSize,
              nWidth,
              nHeight,
              1,
              static_cast<WORD>(nBits),
              BI_RGB,
              static_cast<DWORD>(nStride * static_cast<unsigned>(nHeight)),
              0,
              0,
              0,
              0};
  return nHeight;
}

}  // namespace

}  // namespace qel::gdi

using namespace qel::gdi;

int SetDIBits(HDC hDC, HBITMAP hBitmap, UINT nStart, UINT nLines, const void *pBits, const BITMAPINFO *pInfo,
              UINT nUsage) {
  Transfer transfer;
  if (pBits == nullptr || !transfer.Take(hDC, hBitmap, nStart, nLines, pInfo, nUsage)) return 0;
  return StoreLines(transfer, nStart, static_cast<const BYTE *>(pBits), pInfo, nUsage);
}

int GetDIBits(HDC hDC, HBITMAP hBitmap, UINT nStart, UINT nLines, void *pBits, BITMAPINFO *pInfo, UINT nUsage) {
  Transfer transfer;
  if (pBits == nullptr && pInfo != nullptr && pInfo->bmiHeader.biSize >= sizeof(BITMAPINFOHEADER) &&
      pInfo->bmiHeader.biBitCount == 0) {
    const auto bitmap = FindObject<Bitmap>(hBitmap);
    return bitmap != nullptr && Contexts().Find(hDC) != nullptr ? DescribeBitmap(*bitmap, &pInfo->bmiHeader) : 0;
  }
  const bool bTableOnly = pBits == nullptr;
  if (!transfer.Take(hDC, hBitmap, bTableOnly ? 0 : nStart, bTableOnly ? 1 : nLines, pInfo, nUsage)) return 0;
  ColourSet colours;
  if (transfer.format.nBits <= 8) {
    Entries entries = TableColours(*transfer.dc, transfer.format);
    WriteTable(pInfo, transfer.format, nUsage, entries);
    colours = ColourSet(std::move(entries));
  }
  if (bTableOnly) return transfer.bitmap->surface->Height();
  return LoadLines(transfer, nStart, static_cast<BYTE *>(pBits), &colours);
}

HBITMAP CreateDIBitmap(HDC hDC, const BITMAPINFOHEADER *pHeader, DWORD dwInit, const void *pBits,
                       const BITMAPINFO *pInfo, UINT nUsage) {
  if (pHeader == nullptr || (dwInit & ~CBM_INIT) != 0 || pHeader->biHeight == std::numeric_limits<LONG>::min())
    return nullptr;
  const int nHeight = std::abs(pHeader->biHeight);
  const HBITMAP hBitmap = CreateCompatibleBitmap(hDC, pHeader->biWidth, nHeight);
  if (hBitmap == nullptr || dwInit != CBM_INIT) return hBitmap;
  if (SetDIBits(hDC, hBitmap, 0, static_cast<UINT>(nHeight), pBits, pInfo, nUsage) != 0) return hBitmap;
  DeleteObject(hBitmap);
  return nullptr;
}

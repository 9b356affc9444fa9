// Creation of images: from parameters, from a header, from a packed DIB, and from another image.
//
// Everything a creation asks for is measured before the image at hand is touched. Then the old image goes, one header
// block is filled, the first store that can be had is taken, and the colour table is set.
#include <array>
#include <cstring>
#include <memory>
#include <new>

#include "qel/image/dib_layout.h"
#include "qel/image/image.h"
#include "qel/mem/mem_map_file.h"
#include "qel/mem/virtual_mem.h"

using namespace qel::image;

namespace {

/// The masks of a type, null for one without.
const DWORD *TypeMasks(int nType) {
  static constexpr DWORD kMasks555[3] = {0x7C00, 0x03E0, 0x001F};
  static constexpr DWORD kMasks565[3] = {0xF800, 0x07E0, 0x001F};
  static constexpr DWORD kMasks32[3] = {0xFF0000, 0xFF00, 0xFF};
  switch (nType) {
    case 6:
      return kMasks555;
    case 7:
      return kMasks565;
    case 8:
      return kMasks32;
    default:
      return nullptr;
  }
}

size_t TableBytes(const ImageShape &shape) {
  return static_cast<size_t>(shape.lColors) * sizeof(RGBQUAD);
}

void FillHeader(PackedInfo *pInfo, int nType, const ImageShape &shape, const ImageMeasures &measures, LONG lDpmX,
                LONG lDpmY) {
  BITMAPINFOHEADER &bih = pInfo->bih;
  bih.biSize = kHeaderBytes;
  bih.biWidth = static_cast<LONG>(shape.lWidth);
  bih.biHeight = static_cast<LONG>(shape.lHeight);
  bih.biPlanes = 1;
  bih.biBitCount = static_cast<WORD>(shape.nBits);
  bih.biCompression = shape.dwCompression;
  bih.biSizeImage = static_cast<DWORD>(measures.lLinearBytes);
  bih.biXPelsPerMeter = lDpmX;
  bih.biYPelsPerMeter = lDpmY;
  RepairResolution(&bih.biXPelsPerMeter, &bih.biYPelsPerMeter);
  bih.biClrUsed = static_cast<DWORD>(shape.lColors);
  if (const DWORD *pMasks = TypeMasks(nType)) std::memcpy(pInfo->rest, pMasks, kMaskBytes);
}

/// A new store, null when its memory cannot be had.
template <class Store>
PMem *NewStore(unsigned nFlags, unsigned long dwSize) {
  std::unique_ptr<Store> store(new (std::nothrow) Store);
  if (!store || store->AllocMemory(nFlags, dwSize) == nullptr) return nullptr;
  return store.release();
}

}  // namespace

// Stores -------------------------------------------------------------------------------------------------------------

int PQel::xAllocStore(int nMemFlags, unsigned long dwSize) {
  const unsigned nAllocation = nMemFlags & 0x100 ? MEM_COMMIT : MEM_RESERVE;
  for (const int nStore : {1, 4, 8}) {
    if (!(nMemFlags & nStore)) continue;
    if (nStore == 1)
      m_pMem = NewStore<PMem>(GMEM_MOVEABLE, dwSize);
    else if (nStore == 4)
      m_pMem = NewStore<PVirtualMem>(nAllocation, dwSize);
    else
      m_pMem = NewStore<PMemMapFile>(nAllocation, dwSize);
    m_nMemType = nStore;
    if (m_pMem != nullptr) return 1;
  }
  return 0;
}

int PQel::xCreateStore(const ImageMeasures &measures, int nMemFlags) {
  if (m_bBlock) {
    m_lXBlocks = measures.lXBlocks;
    m_lYBlocks = measures.lYBlocks;
    m_lBlockBytes = measures.lBlockBytes;
    xBuildBlockTable();  // offsets are computed without it
  }
  if (!xAllocStore(nMemFlags, static_cast<unsigned long>(measures.lStoreBytes))) return 0;
  return UpdateBI();
}

// From parameters ----------------------------------------------------------------------------------------------------

int PQel::CreateImage(int nType, long lWidth, long lHeight, int nClrUsed, RGBQUAD *pPal, unsigned long dwDpmX,
                      unsigned long dwDpmY, int nMemFlags, int bBlock, int bUndo) {
  const int nBits = GetBitCount(nType);
  const DWORD dwCompression = TypeMasks(nType) != nullptr ? BI_BITFIELDS : BI_RGB;
  ImageShape shape{nBits, lWidth, lHeight, dwCompression, nClrUsed, bBlock ? m_lBlockSize : 0};
  if (nBits != 0 && nBits < 9 && nClrUsed == 0) shape.lColors = 1L << nBits;
  ImageMeasures measures;
  if (!MeasureImage(shape, &measures)) return 0;

  // The table may be this image's own, which goes with it.
  std::array<RGBQUAD, kMaxColors> table;
  if (pPal != nullptr && xOwns(pPal)) {
    std::memcpy(table.data(), pPal, TableBytes(shape));
    pPal = table.data();
  }

  const long lBlockSize = m_lBlockSize;
  DeleteImage(1);
  m_lBlockSize = lBlockSize;
  m_nImageType = nType;
  m_bBlock = bBlock;
  if (!xAllocHeader(measures)) return 0;
  FillHeader(reinterpret_cast<PackedInfo *>(m_memBI.GetPointer()), nType, shape, measures, static_cast<LONG>(dwDpmX),
             static_cast<LONG>(dwDpmY));
  xSetHeaderPointers();
  if (pPal != nullptr)
    std::memcpy(m_pRGBQuad, pPal, TableBytes(shape));
  else if (shape.lColors != 0)
    BuildStdPalette(nType, m_pRGBQuad);
  // A whole standard table is its type's own; any other may make the image gray, or no longer gray.
  if (pPal != nullptr || shape.lColors != GetMaxClrUsed(nType)) UpdateImageType();

  if (!xCreateStore(measures, nMemFlags)) {
    DeleteImage(1);
    return 0;
  }
  EnableUndo(bUndo);
  InitialUpdate();
  return 1;
}

// From a header ------------------------------------------------------------------------------------------------------

int PQel::CreateImage(BITMAPINFO *pbi, long lWidth, long lHeight, int nType, int nMemFlags, int bBlock, int bUndo) {
  if (pbi == nullptr) return 0;
  const BITMAPINFOHEADER &bih = pbi->bmiHeader;
  if (lWidth == 0) lWidth = bih.biWidth;
  if (lHeight == 0) lHeight = bih.biHeight;
  int nColors = GetMaxClrUsed(nType);
  RGBQUAD *pPal = nullptr;
  if (nType == 10) {
    nType = GetImageType(pbi);
    if (bih.biClrUsed > kMaxColors) return 0;
    nColors = static_cast<int>(bih.biClrUsed);
    if (nColors == 0 && bih.biBitCount < 9) nColors = GetMaxClrUsed(nType);
    pPal = reinterpret_cast<RGBQUAD *>(reinterpret_cast<unsigned char *>(pbi) + ColorTableOffset(bih.biCompression));
  }
  return CreateImage(nType, lWidth, lHeight, nColors, pPal, static_cast<DWORD>(bih.biXPelsPerMeter),
                     static_cast<DWORD>(bih.biYPelsPerMeter), nMemFlags, bBlock, bUndo);
}

// With pixels --------------------------------------------------------------------------------------------------------

int PQel::GenerateImage(BITMAPINFO *pbi, int nMemFlags, int bBlock, int bUndo) {
  if (pbi == nullptr || xOwns(pbi) || !IsPlainHeader(pbi->bmiHeader)) return 0;
  if (!CreateImage(pbi, 0, 0, 10, nMemFlags, bBlock, 0)) return 0;
  unsigned char *pRow = reinterpret_cast<unsigned char *>(pbi) + GetBISize(pbi);
  const bool bTopDown = pbi->bmiHeader.biHeight < 1;
  for (long k = 0; k < m_lHeight; ++k, pRow += m_lLineBytes) {
    if (!PutHorLine(bTopDown ? k : m_lHeight - 1 - k, pRow)) {
      DeleteImage(1);
      return 0;
    }
  }
  EnableUndo(bUndo);
  return 1;
}

int PQel::GenerateImage(PQel *pSrc, int nMemFlags, int bBlock, int bUndo) {
  if (pSrc == nullptr || pSrc == this || pSrc->IsEmpty()) return 0;
  if (!CreateImage(pSrc->GetBI(), 0, 0, 10, nMemFlags, bBlock, 0)) return 0;
  PMem memLine;
  unsigned char *const pLine = memLine.AllocMemory(GHND, static_cast<unsigned long>(m_lLineBytes));
  long y = pLine != nullptr ? m_lHeight - 1 : m_lHeight;
  while (y >= 0 && y < m_lHeight && pSrc->GetHorLine(y, pLine) && PutHorLine(y, pLine)) --y;
  if (y >= 0) {
    DeleteImage(1);
    return 0;
  }
  EnableUndo(bUndo);
  return 1;
}

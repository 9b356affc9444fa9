// Reading DIB files: a 14-byte file header, an information header of 40 bytes or more, colour masks, a colour table,
// rows.
//
// The headers are read and judged before the image changes. Rows are read many at a time: straight into a linear store,
// which keeps them in the file's order, or, in block layout and when a hook listens, into a buffer and stored one by
// one. What a file declares is not believed further than the file is long: an image much larger than its file goes into
// a store that commits pages on touch, and the rows that are not there are left untouched, since such a store reads as
// 0.
#include <algorithm>
#include <cstring>

#include "qel/fileio/dib_format.h"
#include "qel/fileio/file_access.h"
#include "qel/image/image.h"

namespace qel::fileio {
namespace {

constexpr unsigned long kMissingBytes = 4ul << 20;         // missing rows that are written as zeros in any case
constexpr unsigned long kMissingGlobalBytes = 64ul << 20;  // the same where only global memory is allowed
constexpr int kGlobalStore = 1;
constexpr int kTouchStores = 4 | 8;  // stores that commit pages on touch and read as 0 before
constexpr int kCommitAll = 0x100;
constexpr int kAllStores = 15;

// Headers ------------------------------------------------------------------------------------------------------------

struct DibHeaders {
  DibInfo info;
  int nType;
  DWORD nRowsOffset;  // from the start of the file header
  RGBQUAD colours[kMaxColours];
};

/// Type after the bit count; of the two 16-bit layouts, 5-5-5 is told by its red mask or by the lack of masks.
int GetTypeOf(const DibInfo &info, DWORD nRedMask) {
  if (info.nBitCount == 16 && (info.nCompression == BI_RGB || nRedMask == 0x7C00)) return 6;
  return PQel::GetImageType(info.nBitCount);
}

/// Reads everything before the rows; false for headers that are not sound or that the file cuts short.
bool ReadHeaders(CFile &file, std::uint64_t nStart, DibHeaders &dib) {
  BYTE bytes[kInfoHeaderBytes];
  if (!ReadWhole(file, bytes, kFileHeaderBytes)) return false;
  if (LoadWord(bytes) != kDibMagic || LoadDword(bytes + 2) == 0) return false;
  dib.nRowsOffset = LoadDword(bytes + 10);

  if (!ReadWhole(file, bytes, kInfoHeaderBytes)) return false;
  dib.info = ParseInfoHeader(bytes);
  if (!IsReadable(dib.info)) return false;
  if (dib.info.nHeaderBytes != kInfoHeaderBytes) {
    const std::uint64_t nHeaderEnd = nStart + kFileHeaderBytes + dib.info.nHeaderBytes;
    if (nHeaderEnd > file.GetLength()) return false;
    file.Seek(dib.info.nHeaderBytes - LONGLONG{kInfoHeaderBytes}, CFile::current);
  }

  BYTE masks[kMaskBytes] = {};
  if (HasMasks(dib.info) && !ReadWhole(file, masks, kMaskBytes)) return false;
  if (!ReadWhole(file, dib.colours, GetColourCount(dib.info) * sizeof(RGBQUAD))) return false;
  dib.nType = GetTypeOf(dib.info, LoadDword(masks));
  return true;
}

// Rows ---------------------------------------------------------------------------------------------------------------

/// How the rows get into the image.
struct RowPlan {
  unsigned long nRows;  // whole rows to store, rows that the file lacks as zeros
  unsigned long nTail;  // bytes of one more row that the file cuts short, when the rows behind it stay untouched
  int nMemFlags;        // stores that may be tried
};

/// Weighs what the headers declare against the bytes that the file holds. False when the file's own size does not
/// justify the global memory that the image would take: its store when no other may be had, its scratch row, its block
/// table.
bool PlanRows(const DibHeaders &dib, std::uint64_t nHeld, int nMemFlags, bool bBlock, RowPlan &plan) {
  plan = {0, 0, nMemFlags};
  image::ImageMeasures measures;
  if (!Measure(dib.info, PQel::GetBitCount(dib.nType), bBlock, &measures)) return true;  // CreateImage refuses it
  plan.nRows = static_cast<unsigned long>(measures.lRows);
  const auto nRowBytes = static_cast<unsigned long>(measures.lLineBytes);
  const auto nStoreRowBytes =
      bBlock ? static_cast<unsigned long>(measures.lXBlocks * (measures.lBlockBytes / kBlockEdge)) : nRowBytes;
  const unsigned long nHeldRows = std::min(nHeld / nRowBytes, plan.nRows);
  const auto AreFew = [&](unsigned long nBytes) {
    return plan.nRows - nHeldRows <= std::max<unsigned long>(nBytes, nHeld) / nStoreRowBytes;
  };
  if (nHeldRows == plan.nRows || AreFew(kMissingBytes)) return true;
  if ((nMemFlags & kTouchStores) == 0) return AreFew(kMissingGlobalBytes);
  plan = {nHeldRows, nHeld % nRowBytes, nMemFlags & ~(kGlobalStore | kCommitAll)};
  const unsigned long nBlocks = static_cast<unsigned long>(measures.lXBlocks * measures.lYBlocks);
  return nRowBytes <= std::max<unsigned long>(kMissingGlobalBytes, nHeld) && nBlocks <= kMissingBytes / sizeof(long);
}

/// Reads `nCount` bytes, those that the file lacks as zeros.
void ReadPadded(CFile &file, BYTE *pBuf, unsigned long nCount) {
  const unsigned long nRead = ReadUpTo(file, pBuf, nCount);
  std::memset(pBuf + nRead, 0, nCount - nRead);
}

/// Stores the first `nRows` rows of the file one by one. False when memory is short.
bool ReadRowByRow(CFile &file, PQel &image, unsigned long nRows, bool bTopDown) {
  if (nRows == 0) return true;
  const auto nRowBytes = static_cast<unsigned long>(image.GetLineBytes());
  const auto nImageRows = static_cast<unsigned long>(image.GetImageHeight());
  const unsigned long nAtOnce = GetRowsAtOnce(nRowBytes, nRows);
  PMem buffer;
  BYTE *pRows = buffer.AllocMemory(GMEM_MOVEABLE, nAtOnce * nRowBytes);
  if (!pRows) return false;
  for (unsigned long k = 0; k < nRows;) {
    const unsigned long nNow = std::min(nAtOnce, nRows - k);
    ReadPadded(file, pRows, nNow * nRowBytes);
    for (unsigned long i = 0; i < nNow; ++i, ++k)
      if (!image.PutHorLine(GetRowAt(k, nImageRows, bTopDown), pRows + i * nRowBytes)) return false;
  }
  return true;
}

/// Reads `nCount` bytes of rows straight to the start of a linear store's pixels: the file has them in the same order.
bool ReadIntoStore(CFile &file, PMem &store, unsigned long nOffset, unsigned long nCount) {
  for (unsigned long nDone = 0; nDone < nCount;) {
    const unsigned long nNow = std::min(kBufferBytes, nCount - nDone);
    BYTE *pBytes = store.CommitMemory(nOffset + nDone, nNow);
    if (!pBytes) return false;
    ReadPadded(file, pBytes, nNow);
    nDone += nNow;
  }
  return true;
}

/// Stores the pixels at the start of image row `y` that the last `nTail` bytes of the file hold or begin.
bool ReadCutRow(CFile &file, PQel &image, long y, unsigned long nTail) {
  const auto nBits = static_cast<unsigned long>(image.GetBitCount());
  const auto nWidth = static_cast<unsigned long>(image.GetImageWidth());
  const unsigned long nPixels = std::min((nTail * 8 + nBits - 1) / nBits, nWidth);
  PMem buffer;
  BYTE *pRow = buffer.AllocMemory(GHND, nTail + sizeof(std::uint64_t));
  if (!pRow) return false;
  ReadUpTo(file, pRow, nTail);
  return image.PutHorLine(0, static_cast<long>(nPixels) - 1, y, pRow) != 0;
}

bool ReadThroughRows(CFile &file, PQel &image, const RowPlan &plan, bool bTopDown) {
  if (!ReadRowByRow(file, image, plan.nRows, bTopDown)) return false;
  if (plan.nTail == 0) return true;
  const auto nImageRows = static_cast<unsigned long>(image.GetImageHeight());
  return ReadCutRow(file, image, GetRowAt(plan.nRows, nImageRows, bTopDown), plan.nTail);
}

}  // namespace
}  // namespace qel::fileio

using namespace qel::fileio;

int PQel::ReadDIBFile(CFile &file, int nMemFlags, int bBlock, int bUndo) {
  const std::uint64_t nStart = file.GetPosition();
  DibHeaders dib = {};
  if (!ReadHeaders(file, nStart, dib)) return 0;
  const std::uint64_t nRowsAt = nStart + dib.nRowsOffset;
  const std::uint64_t nLength = file.GetLength();
  RowPlan plan;
  if (!PlanRows(dib, nLength > nRowsAt ? nLength - nRowsAt : 0, nMemFlags, bBlock != 0, plan)) return 0;

  DeleteImage(1);
  const DibInfo &info = dib.info;
  if (!CreateImage(dib.nType, info.lWidth, info.lHeight, static_cast<int>(info.nClrUsed), dib.colours, info.nDpmX,
                   info.nDpmY, plan.nMemFlags, bBlock, 0))
    return 0;
  file.Seek(static_cast<LONGLONG>(nRowsAt), CFile::begin);
  const auto nRowBytes = static_cast<unsigned long>(m_lLineBytes);
  const bool bSeesRows = m_pfnHook || m_bBlock;
  if (bSeesRows ? !ReadThroughRows(file, *this, plan, info.lHeight < 0)
                : !ReadIntoStore(file, *m_pMem, static_cast<unsigned long>(m_lLmmOffset),
                                 plan.nRows * nRowBytes + plan.nTail)) {
    DeleteImage(1);
    return 0;
  }
  InvalidateRect(nullptr);
  EnableUndo(bUndo);
  return 1;
}

int PQel::OpenDIBImage(const char *pszName) {
  CFile file;
  if (!OpenNamed(file, pszName, ".bmp")) return 0;
  const int nResult = ReadDIBFile(file, kAllStores, 0, 0);
  file.Close();
  return nResult;
}

int PQel::OpenDIBImage(char *pszName) {
  return OpenDIBImage(static_cast<const char *>(pszName));
}

// Writing DIB files: the file header, the image's own information block as it stands, then the rows in stored order.
//
// Rows are written many at a time: straight from a linear store, or, in block layout and when a hook listens, fetched
// one by one into a buffer.
#include <algorithm>

#include "qel/fileio/dib_format.h"
#include "qel/fileio/file_access.h"
#include "qel/image/image.h"

namespace qel::fileio {
namespace {

/// The size field holds the low 32 bits of what is larger.
void WriteFileHeader(CFile &file, DWORD nInfoBytes, DWORD nImageBytes) {
  BYTE bytes[kFileHeaderBytes] = {};
  StoreWord(bytes, kDibMagic);
  StoreDword(bytes + 2, kFileHeaderBytes + nInfoBytes + nImageBytes);
  StoreDword(bytes + 10, kFileHeaderBytes + nInfoBytes);
  file.Write(bytes, kFileHeaderBytes);
}

int WriteThroughRows(CFile &file, PQel &image, BYTE *pRows, unsigned long nAtOnce, bool bTopDown) {
  const auto nRowBytes = static_cast<unsigned long>(image.GetLineBytes());
  const auto nRows = static_cast<unsigned long>(image.GetImageHeight());
  for (unsigned long k = 0; k < nRows;) {
    const unsigned long nNow = std::min(nAtOnce, nRows - k);
    for (unsigned long i = 0; i < nNow; ++i, ++k)
      if (!image.GetHorLine(GetRowAt(k, nRows, bTopDown), pRows + i * nRowBytes)) return 0;
    WriteWhole(file, pRows, nNow * nRowBytes);
  }
  return 1;
}

int WriteFromStore(CFile &file, PMem &store, unsigned long nOffset, unsigned long nCount) {
  for (unsigned long nDone = 0; nDone < nCount;) {
    const unsigned long nNow = std::min(kBufferBytes, nCount - nDone);
    const BYTE *pBytes = store.CommitMemory(nOffset + nDone, nNow);
    if (!pBytes) return 0;
    WriteWhole(file, pBytes, nNow);
    nDone += nNow;
  }
  return 1;
}

}  // namespace
}  // namespace qel::fileio

using namespace qel::fileio;

int PQel::WriteDIBFile(CFile &file) {
  const auto nInfoBytes = static_cast<unsigned long>(m_lLmmOffset);
  if (IsEmpty() || nInfoBytes > m_memBI.GetSize()) return 0;
  const auto nRows = static_cast<unsigned long>(m_lHeight);
  const auto nRowBytes = static_cast<unsigned long>(m_lLineBytes);
  const bool bSeesRows = m_pfnHook || m_bBlock;
  const unsigned long nAtOnce = GetRowsAtOnce(nRowBytes, nRows);
  PMem buffer;  // cleared: block layout leaves the rows' padding alone
  if (bSeesRows && !buffer.AllocMemory(GHND, nAtOnce * nRowBytes)) return 0;

  WriteFileHeader(file, static_cast<DWORD>(nInfoBytes), m_pBIH->biSizeImage);
  WriteWhole(file, reinterpret_cast<const BYTE *>(m_pBIH), nInfoBytes);
  return bSeesRows ? WriteThroughRows(file, *this, buffer.GetPointer(), nAtOnce, m_pBIH->biHeight < 0)
                   : WriteFromStore(file, *m_pMem, nInfoBytes, nRows * nRowBytes);
}

int PQel::SaveDIB(const char *pszName, int bAppendExtension) {
  CFile file;
  if (IsEmpty() || !CreateNamed(file, pszName, ".bmp", bAppendExtension != 0)) return 0;
  const int nResult = WriteDIBFile(file);
  file.Close();
  return nResult;
}

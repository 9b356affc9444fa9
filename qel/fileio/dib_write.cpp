// Writing DIB files: the file header, the image's own information block as it stands, then the rows in stored order.
//
// Rows are fetched one by one, so that the image's hook hears of each, and written many at a time.
#include <algorithm>

#include "qel/fileio/dib_format.h"
#include "qel/image/image.h"

namespace qel::fileio {
namespace {

void WriteWhole(CFile &file, const BYTE *pBuf, unsigned long nCount) {
  constexpr unsigned long kLargestWrite = 1ul << 30;
  for (unsigned long nDone = 0; nDone < nCount;) {
    const unsigned long nNow = std::min(nCount - nDone, kLargestWrite);
    file.Write(pBuf + nDone, static_cast<UINT>(nNow));
    nDone += nNow;
  }
}

/// The size field holds the low 32 bits of what is larger.
void WriteFileHeader(CFile &file, DWORD nInfoBytes, DWORD nImageBytes) {
  BYTE bytes[kFileHeaderBytes] = {};
  StoreWord(bytes, kDibMagic);
  StoreDword(bytes + 2, kFileHeaderBytes + nInfoBytes + nImageBytes);
  StoreDword(bytes + 10, kFileHeaderBytes + nInfoBytes);
  file.Write(bytes, kFileHeaderBytes);
}

}  // namespace
}  // namespace qel::fileio

using namespace qel::fileio;

int PQel::WriteDIBFile(CFile &file) {
  const auto nInfoBytes = static_cast<unsigned long>(m_lLmmOffset);
  if (IsEmpty() || nInfoBytes > m_memBI.GetSize()) return 0;
  const auto nRowBytes = static_cast<unsigned long>(m_lLineBytes);
  const auto nRows = static_cast<unsigned long>(m_lHeight);
  const unsigned long nAtOnce = GetRowsAtOnce(nRowBytes, nRows);
  PMem buffer;
  BYTE *pRows = buffer.AllocMemory(GHND, nAtOnce * nRowBytes);  // cleared: block layout leaves the rows' padding alone
  if (!pRows) return 0;

  WriteFileHeader(file, static_cast<DWORD>(nInfoBytes), m_pBIH->biSizeImage);
  WriteWhole(file, reinterpret_cast<const BYTE *>(m_pBIH), nInfoBytes);
  const bool bTopDown = m_pBIH->biHeight < 0;
  for (unsigned long k = 0; k < nRows;) {
    const unsigned long nNow = std::min(nAtOnce, nRows - k);
    for (unsigned long i = 0; i < nNow; ++i, ++k)
      if (!GetHorLine(GetRowAt(k, nRows, bTopDown), pRows + i * nRowBytes)) return 0;
    WriteWhole(file, pRows, nNow * nRowBytes);
  }
  return 1;
}

int PQel::SaveDIB(const char *pszName, int bAppendExtension) {
  if (IsEmpty() || !pszName || !*pszName) return 0;
  CString strName(pszName);
  if (bAppendExtension) strName += ".bmp";
  CFile file;
  if (!file.Open(strName, CFile::modeCreate | CFile::modeReadWrite | CFile::shareExclusive)) return 0;
  const int nResult = WriteDIBFile(file);
  file.Close();
  return nResult;
}

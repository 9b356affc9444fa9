// What reading and writing files of every format have in common: names with and without extension, whole reads and
// writes of any size.
#pragma once

#include <algorithm>
#include <cstring>

#include "qel/platform/mfc/file.h"
#include "qel/platform/types.h"

namespace qel::fileio {

// Names --------------------------------------------------------------------------------------------------------------

inline bool HasExtension(const char *pszName) {
  const char *pDot = std::strrchr(pszName, '.');
  return pDot && !std::strpbrk(pDot, "/\\");
}

/// Opens a file for reading; a name without extension is tried with pszExtension too. False for an empty name.
inline bool OpenNamed(CFile &file, const char *pszName, const char *pszExtension) {
  constexpr UINT kMode = CFile::modeRead | CFile::shareDenyWrite;
  if (!pszName || !*pszName) return false;
  if (file.Open(pszName, kMode)) return true;
  return !HasExtension(pszName) && file.Open(CString(pszName) + pszExtension, kMode);
}

/// Creates a file, with pszExtension appended when asked for. False for an empty name.
inline bool CreateNamed(CFile &file, const char *pszName, const char *pszExtension, bool bAppendExtension) {
  if (!pszName || !*pszName) return false;
  CString strName(pszName);
  if (bAppendExtension) strName += pszExtension;
  return file.Open(strName, CFile::modeCreate | CFile::modeReadWrite | CFile::shareExclusive) != 0;
}

// Bytes --------------------------------------------------------------------------------------------------------------

constexpr unsigned long kLargestTransfer = 1ul << 30;  // by one call

/// Reads until nCount bytes are there or the file ends; returns the count read.
inline unsigned long ReadUpTo(CFile &file, BYTE *pBuf, unsigned long nCount) {
  unsigned long nDone = 0;
  while (nDone < nCount) {
    const UINT nRead = file.Read(pBuf + nDone, static_cast<UINT>(std::min(nCount - nDone, kLargestTransfer)));
    if (nRead == 0) break;
    nDone += nRead;
  }
  return nDone;
}

inline bool ReadWhole(CFile &file, void *pBuf, unsigned long nCount) {
  return ReadUpTo(file, static_cast<BYTE *>(pBuf), nCount) == nCount;
}

inline void WriteWhole(CFile &file, const BYTE *pBuf, unsigned long nCount) {
  for (unsigned long nDone = 0; nDone < nCount;) {
    const unsigned long nNow = std::min(nCount - nDone, kLargestTransfer);
    file.Write(pBuf + nDone, static_cast<UINT>(nNow));
    nDone += nNow;
  }
}

}  // namespace qel::fileio

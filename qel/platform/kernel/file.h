// Files by number: tested for, opened, closed and deleted without a class.
#pragma once

#include "qel/export.h"
#include "qel/platform/types.h"

/// What OpenFile reports.
struct OFSTRUCT {
  BYTE cBytes;
  BYTE fFixedDisk;
  WORD nErrCode;
  WORD Reserved1;
  WORD Reserved2;
  char szPathName[128];
};

/// Opens a file for OF_READ, OF_WRITE or OF_READWRITE. OF_CREATE makes it anew for reading and writing; OF_EXIST closes
/// it again and only tells that it can be opened. `pReOpenBuf` may be null. HFILE_ERROR on failure.
QEL_API HFILE OpenFile(const char *pszFileName, OFSTRUCT *pReOpenBuf, UINT nStyle);

/// Closes a file of OpenFile; 0, or HFILE_ERROR when it is not one.
QEL_API HFILE _lclose(HFILE hFile);

/// Deletes a file; 0 when it cannot be deleted. Folders are refused.
QEL_API BOOL DeleteFileA(const char *pszFileName);

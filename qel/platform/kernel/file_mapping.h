// Named mappings: memory that several processes open by name.
//
// A mapping is a shared memory object that only its owner's processes can open (mode 0600, close-on-exec). It lives
// until its last handle and view are closed, or its last opener is killed: every opener holds a shared lock on the
// object, opening and closing take turns through one lock file of the user, and both sweep away objects that nobody
// holds any more. Pages of a reserve-only mapping get real space when they are committed, so that a full /dev/shm is a
// refused commit and never a fault. Different here: names are private to the user, and a mapping is always backed by
// memory, never by a file of the caller.
#pragma once

#include "qel/export.h"
#include "qel/platform/types.h"

/// Creates or opens the mapping `pszName` of size dwSizeHigh:dwSizeLow bytes. `hFile` must be INVALID_HANDLE_VALUE and
/// `dwProtect` PAGE_READWRITE, with SEC_COMMIT (default) or SEC_RESERVE. GetLastError() is ERROR_ALREADY_EXISTS when
/// the mapping was there already; it keeps its own size then. A null or empty name makes a private one. Null on
/// failure.
QEL_API HANDLE CreateFileMappingA(HANDLE hFile, void *pSecurity, DWORD dwProtect, DWORD dwSizeHigh, DWORD dwSizeLow,
                                  const char *pszName);

/// Maps the whole object read-write (offsets and size 0; other values are refused). Null on failure.
QEL_API void *MapViewOfFile(HANDLE hMapping, DWORD dwAccess, DWORD dwOffsetHigh, DWORD dwOffsetLow, SIZE_T nBytes);

/// Unmaps the view that starts at `pBase`; 0 when there is none.
QEL_API BOOL UnmapViewOfFile(const void *pBase);

/// Closes a handle of CreateFileMappingA; 0 when it is not one.
QEL_API BOOL CloseHandle(HANDLE hObject);

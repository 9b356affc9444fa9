// Files by number over POSIX descriptors. The numbers given out are remembered, so that a wrong one closes nobody's
// file.

#include "qel/platform/kernel/file.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <mutex>
#include <set>

#include "qel/platform/kernel/descriptor.h"
#include "qel/platform/kernel/error.h"

namespace {

struct OpenFiles {
  std::mutex mutex;
  std::set<HFILE> files;
};

OpenFiles &Files() {
  static OpenFiles &files = *new OpenFiles;
  return files;
}

// A descriptor, or -1 with errno.
int OpenDescriptor(const char *pszFileName, UINT nStyle) {
  constexpr int kAccess[] = {O_RDONLY, O_WRONLY, O_RDWR};
  const UINT nAccess = nStyle & 3;
  if (pszFileName == nullptr || *pszFileName == '\0') return errno = ENOENT, -1;
  if (nAccess > OF_READWRITE) return errno = EINVAL, -1;
  const int nFlags = (nStyle & OF_CREATE) != 0 ? O_RDWR | O_CREAT | O_TRUNC : kAccess[nAccess];
  return qel::kernel::OpenDescriptor(pszFileName, nFlags);
}

void Report(OFSTRUCT *pReOpenBuf, const char *pszFileName, DWORD dwError) {
  if (pReOpenBuf == nullptr) return;
  *pReOpenBuf = OFSTRUCT{};
  pReOpenBuf->cBytes = sizeof(OFSTRUCT);
  pReOpenBuf->fFixedDisk = 1;
  pReOpenBuf->nErrCode = static_cast<WORD>(dwError);
  if (pszFileName != nullptr) std::strncpy(pReOpenBuf->szPathName, pszFileName, sizeof(pReOpenBuf->szPathName) - 1);
}

}  // namespace

HFILE OpenFile(const char *pszFileName, OFSTRUCT *pReOpenBuf, UINT nStyle) {
  const int nDescriptor = OpenDescriptor(pszFileName, nStyle);
  const DWORD dwError = nDescriptor < 0 ? qel::kernel::ErrorFromErrno(errno) : ERROR_SUCCESS;
  Report(pReOpenBuf, pszFileName, dwError);
  if (nDescriptor < 0) {
    SetLastError(dwError);
    return HFILE_ERROR;
  }
  if ((nStyle & OF_EXIST) != 0) {
    close(nDescriptor);
    return nDescriptor;
  }
  std::lock_guard lock(Files().mutex);
  Files().files.insert(nDescriptor);
  return nDescriptor;
}

HFILE _lclose(HFILE hFile) {
  std::lock_guard lock(Files().mutex);
  if (Files().files.erase(hFile) == 0) {
    SetLastError(ERROR_INVALID_HANDLE);
    return HFILE_ERROR;
  }
  // An interrupted close has closed the descriptor all the same.
  if (close(hFile) == 0 || errno == EINTR) return 0;
  SetLastError(qel::kernel::ErrorFromErrno(errno));
  return HFILE_ERROR;
}

BOOL DeleteFileA(const char *pszFileName) {
  if (pszFileName != nullptr && unlink(pszFileName) == 0) return TRUE;
  SetLastError(pszFileName != nullptr ? qel::kernel::ErrorFromErrno(errno) : ERROR_INVALID_PARAMETER);
  return FALSE;
}

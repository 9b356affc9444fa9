// The calling thread's last error code, and the translation of errno into it.
#include "qel/platform/kernel/error.h"

#include <cerrno>

namespace {

thread_local DWORD t_dwLastError = ERROR_SUCCESS;

constexpr DWORD kGeneralFailure = 31;  // the code for what has no code of its own

}  // namespace

DWORD GetLastError() {
  return t_dwLastError;
}

void SetLastError(DWORD dwCode) {
  t_dwLastError = dwCode;
}

namespace qel::kernel {

DWORD ErrorFromErrno(int nErrno) {
  switch (nErrno) {
    case 0:
      return ERROR_SUCCESS;
    case ENOENT:
      return ERROR_FILE_NOT_FOUND;
    case ENOTDIR:
      return ERROR_PATH_NOT_FOUND;
    case EMFILE:
    case ENFILE:
      return ERROR_TOO_MANY_OPEN_FILES;
    case EACCES:
    case EPERM:
    case EROFS:
    case EISDIR:
    case ELOOP:
      return ERROR_ACCESS_DENIED;
    case EBADF:
      return ERROR_INVALID_HANDLE;
    case ENOMEM:
      return ERROR_NOT_ENOUGH_MEMORY;
    case EBUSY:
    case ETXTBSY:
    case EWOULDBLOCK:
      return ERROR_SHARING_VIOLATION;
    case EINVAL:
    case EOVERFLOW:
    case ENAMETOOLONG:
      return ERROR_INVALID_PARAMETER;
    case ENOSPC:
    case EDQUOT:
    case EFBIG:
      return ERROR_DISK_FULL;
    case EEXIST:
      return ERROR_ALREADY_EXISTS;
    case EFAULT:
      return ERROR_INVALID_ADDRESS;
    default:
      return kGeneralFailure;
  }
}

}  // namespace qel::kernel

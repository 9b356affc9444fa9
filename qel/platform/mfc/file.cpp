// CFile over POSIX descriptors, and its exception. Interrupted calls are repeated and short ones continued, so that a
// count that comes back short means the end of the file and nothing else.

#include "qel/platform/mfc/file.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <utility>

#include "qel/platform/kernel/descriptor.h"

IMPLEMENT_DYNAMIC(CException, CObject)
IMPLEMENT_DYNAMIC(CFileException, CException)
IMPLEMENT_DYNAMIC(CFile, CObject)

namespace {

using qel::kernel::Retry;

// Errors -------------------------------------------------------------------------------------------------------------

int CauseOf(int nErrno, int nCauseOr) {
  switch (nErrno) {
    case ENOENT:
      return CFileException::fileNotFound;
    case ENOTDIR:
    case ENAMETOOLONG:
    case ELOOP:
      return CFileException::badPath;
    case EMFILE:
    case ENFILE:
      return CFileException::tooManyOpenFiles;
    case EACCES:
    case EPERM:
    case EROFS:
    case EISDIR:
    case ETXTBSY:
      return CFileException::accessDenied;
    case EBADF:
      return CFileException::invalidFile;
    case ESPIPE:
    case EOVERFLOW:
      return CFileException::badSeek;
    case EIO:
    case ENXIO:
    case ENODEV:
      return CFileException::hardIO;
    case EWOULDBLOCK:
      return CFileException::sharingViolation;
    case ENOSPC:
    case EDQUOT:
    case EFBIG:
      return CFileException::diskFull;
    default:
      return nCauseOr;
  }
}

// Opening ------------------------------------------------------------------------------------------------------------

constexpr UINT kAccessMask = 0x3;
constexpr UINT kShareMask = 0x70;

// The lock that holds a share mode against other openers: those who deny nothing take none.
int LockOf(UINT nOpenFlags) {
  const bool bWrites = (nOpenFlags & kAccessMask) != CFile::modeRead;
  switch (nOpenFlags & kShareMask) {
    case CFile::shareExclusive:
    case CFile::shareDenyRead:
      return LOCK_EX;
    case CFile::shareDenyWrite:
      return bWrites ? LOCK_EX : LOCK_SH;
    default:
      return LOCK_UN;
  }
}

// Takes or changes the lock without waiting; 0, or errno. A file system without locks takes part in no sharing.
int Lock(int nDescriptor, int nLock) {
  if (Retry([&] { return flock(nDescriptor, nLock | LOCK_NB); }) == 0 || errno != EWOULDBLOCK) return 0;
  return EWOULDBLOCK;
}

// Locks an open file as its share mode asks and then, with modeCreate, empties it; 0, or errno. Emptying takes the file
// from everybody else, so it happens under the exclusive lock whatever the share mode is.
int LockAndEmpty(int nDescriptor, UINT nOpenFlags) {
  struct stat status;
  if (fstat(nDescriptor, &status) != 0) return errno;
  if (!S_ISREG(status.st_mode)) return 0;  // devices are shared by the whole system, nobody locks or empties them
  const int nLock = LockOf(nOpenFlags);
  const bool bEmpty = (nOpenFlags & CFile::modeCreate) != 0 && (nOpenFlags & CFile::modeNoTruncate) == 0;
  if (!bEmpty) return nLock != LOCK_UN ? Lock(nDescriptor, nLock) : 0;

  if (const int nErrno = Lock(nDescriptor, LOCK_EX); nErrno != 0) return nErrno;
  if (Retry([&] { return ftruncate(nDescriptor, 0); }) != 0) return errno;
  return nLock != LOCK_EX ? Lock(nDescriptor, nLock) : 0;
}

// A descriptor, or -1 with errno.
int OpenDescriptor(const char *pszFileName, UINT nOpenFlags) {
  constexpr int kAccess[] = {O_RDONLY, O_WRONLY, O_RDWR};
  if (pszFileName == nullptr || *pszFileName == '\0') return errno = ENOENT, -1;
  UINT nAccess = nOpenFlags & kAccessMask;
  if (nAccess > CFile::modeReadWrite) return errno = EINVAL, -1;
  const bool bCreate = (nOpenFlags & CFile::modeCreate) != 0;
  if (bCreate && nAccess == CFile::modeRead)
    nAccess = CFile::modeReadWrite;  // a read-only descriptor cannot be emptied
  const int nDescriptor = qel::kernel::OpenDescriptor(pszFileName, kAccess[nAccess] | (bCreate ? O_CREAT : 0));
  if (nDescriptor < 0) return -1;
  if (const int nErrno = LockAndEmpty(nDescriptor, nOpenFlags); nErrno != 0) {
    close(nDescriptor);
    return errno = nErrno, -1;
  }
  return nDescriptor;
}

}  // namespace

// Exceptions ---------------------------------------------------------------------------------------------------------

void CException::Delete() {
  delete this;
}

CFileException::CFileException(int nCause, LONG lOsError, const char *pszFileName)
    : m_cause(nCause), m_lOsError(lOsError), m_strFileName(pszFileName) {}

void CFile::xThrow(int nErrno, int nCauseOr) const {
  throw new CFileException(CauseOf(nErrno, nCauseOr), nErrno, m_strFileName);
}

// CFile --------------------------------------------------------------------------------------------------------------

CFile::CFile() = default;

CFile::~CFile() {
  if (m_nDescriptor >= 0) close(m_nDescriptor);
}

BOOL CFile::Open(const char *pszFileName, UINT nOpenFlags, CFileException *pError) {
  // An object that is open already keeps its file.
  const int nDescriptor = m_nDescriptor < 0 ? OpenDescriptor(pszFileName, nOpenFlags) : (errno = EBUSY, -1);
  if (nDescriptor < 0) {
    const int nErrno = errno;
    if (pError != nullptr) {
      pError->m_cause = CauseOf(nErrno, CFileException::genericException);
      pError->m_lOsError = nErrno;
      pError->m_strFileName = pszFileName;
    }
    return FALSE;
  }
  m_nDescriptor = nDescriptor;
  m_strFileName = pszFileName;
  return TRUE;
}

void CFile::Close() {
  if (m_nDescriptor < 0) return;
  // An interrupted close has closed the descriptor all the same.
  const int nDescriptor = std::exchange(m_nDescriptor, -1);
  if (close(nDescriptor) != 0 && errno != EINTR) xThrow(errno, CFileException::hardIO);
}

UINT CFile::Read(void *pBuf, UINT nCount) {
  if (m_nDescriptor < 0) xThrow(EBADF);
  UINT nRead = 0;
  while (nRead < nCount) {
    const ssize_t n = Retry([&] { return read(m_nDescriptor, static_cast<BYTE *>(pBuf) + nRead, nCount - nRead); });
    if (n < 0) xThrow(errno);
    if (n == 0) break;
    nRead += static_cast<UINT>(n);
  }
  return nRead;
}

void CFile::Write(const void *pBuf, UINT nCount) {
  if (m_nDescriptor < 0) xThrow(EBADF);
  UINT nWritten = 0;
  while (nWritten < nCount) {
    const ssize_t n =
        Retry([&] { return write(m_nDescriptor, static_cast<const BYTE *>(pBuf) + nWritten, nCount - nWritten); });
    if (n < 0) xThrow(errno);
    if (n == 0) xThrow(ENOSPC);
    nWritten += static_cast<UINT>(n);
  }
}

LONGLONG CFile::Seek(LONGLONG lOff, UINT nFrom) {
  constexpr int kWhence[] = {SEEK_SET, SEEK_CUR, SEEK_END};
  if (m_nDescriptor < 0) xThrow(EBADF);
  if (nFrom > end) xThrow(EINVAL, CFileException::badSeek);
  const off_t lPosition = lseek(m_nDescriptor, lOff, kWhence[nFrom]);
  if (lPosition < 0) xThrow(errno, CFileException::badSeek);
  return lPosition;
}

std::uint64_t CFile::GetPosition() const {
  if (m_nDescriptor < 0) xThrow(EBADF);
  const off_t lPosition = lseek(m_nDescriptor, 0, SEEK_CUR);
  if (lPosition < 0) xThrow(errno, CFileException::badSeek);
  return static_cast<std::uint64_t>(lPosition);
}

std::uint64_t CFile::GetLength() const {
  if (m_nDescriptor < 0) xThrow(EBADF);
  struct stat status;
  if (fstat(m_nDescriptor, &status) != 0) xThrow(errno);
  return static_cast<std::uint64_t>(status.st_size);
}

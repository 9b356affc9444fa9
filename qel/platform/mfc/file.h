// CFile and its exception.
//
// Reading, writing and seeking throw CFileException pointers, as the idiom has it: the catcher calls Delete().
// Different here: the share modes are advisory locks (flock) that hold between programs that use this class, and a
// folder cannot be opened.
#pragma once

#include "qel/export.h"
#include "qel/platform/mfc/object.h"
#include "qel/platform/mfc/string.h"

/// Root of the exceptions that are thrown as pointers.
class QEL_API CException : public CObject {
  DECLARE_DYNAMIC(CException)
 public:
  /// Ends the exception's life; the catcher's duty.
  void Delete();
};

class QEL_API CFileException : public CException {
  DECLARE_DYNAMIC(CFileException)
 public:
  enum Cause {
    none,
    genericException,
    fileNotFound,
    badPath,
    tooManyOpenFiles,
    accessDenied,
    invalidFile,
    removeCurrentDir,
    directoryFull,
    badSeek,
    hardIO,
    sharingViolation,
    lockViolation,
    diskFull,
    endOfFile
  };

  CFileException(int nCause = none, LONG lOsError = -1, const char *pszFileName = nullptr);

  int m_cause;
  LONG m_lOsError;  // errno, or -1
  CString m_strFileName;
};

/// A file opened by name: unbuffered, positioned by byte, up to 2^63 - 1 bytes long. Reading, writing, seeking and
/// asking on an object that is not open throws invalidFile.
class QEL_API CFile : public CObject {
  DECLARE_DYNAMIC(CFile)
 public:
  enum OpenFlags : UINT {
    modeRead = 0x0000,
    modeWrite = 0x0001,
    modeReadWrite = 0x0002,
    shareCompat = 0x0000,
    shareExclusive = 0x0010,
    shareDenyWrite = 0x0020,
    shareDenyRead = 0x0030,
    shareDenyNone = 0x0040,
    modeCreate = 0x1000,
    modeNoTruncate = 0x2000,
    typeBinary = 0x8000
  };
  enum SeekPosition { begin = 0, current = 1, end = 2 };

  CFile();
  ~CFile() override;  // closes without throwing

  /// Opens the file. 0 on failure, on an object that is open too, with the reason in `*pError` when one is given;
  /// nothing is thrown. A file that another opener has locked is not emptied by modeCreate, whatever the share mode of
  /// the creator. Only regular files are locked; on a file system without locks sharing is not checked.
  virtual BOOL Open(const char *pszFileName, UINT nOpenFlags, CFileException *pError = nullptr);

  /// Closes the file; throws when the system reports that written data were lost. Does nothing when none is open.
  virtual void Close();

  /// Reads up to nCount bytes; returns the count read, less than nCount only at the end of the file.
  virtual UINT Read(void *pBuf, UINT nCount);

  /// Writes all nCount bytes.
  virtual void Write(const void *pBuf, UINT nCount);

  /// Moves the position, also behind the end; throws badSeek for a position below 0. Returns the new position.
  virtual LONGLONG Seek(LONGLONG lOff, UINT nFrom);

  virtual std::uint64_t GetPosition() const;
  virtual std::uint64_t GetLength() const;

 private:
  [[noreturn]] void xThrow(int nErrno, int nCauseOr = CFileException::genericException) const;

  int m_nDescriptor = -1;
  CString m_strFileName;
};

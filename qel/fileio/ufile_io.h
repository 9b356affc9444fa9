// UFileIO: picture files of every format that the reader library knows, told by their content, into new images.
#pragma once

#include "qel/export.h"
#include "qel/image/image.h"
#include "qel/platform/mfc/object.h"
#include "qel/platform/mfc/string.h"

/// The images are the caller's, made with `new`; null on failure. A path without a dot is refused.
class QEL_API UFileIO : public CObject {
 public:
  UFileIO();
  ~UFileIO() override;

  /// Nothing to begin or to end: 1.
  int UFileIOInit();
  int UFileIOTerm();

  /// Opens a picture. One that came in partly counts as opened; AllGetError (reader_library.h) tells why, right after.
  PQel *UFileOpen(CString strPath);

  /// The same, with 1 in `*pnResult` (may be null) on success and -1 on failure, and a message box when memory is
  /// short.
  PQel *UFileOpen(CString strPath, int *pnResult);

  /// An image of the picture's size, type and colours, whose pixels are not read.
  PQel *UFileOpenHeader(CString strPath);
};

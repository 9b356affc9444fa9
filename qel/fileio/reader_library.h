// The reader library, which the engine is linked to: it tells any picture file by its content, whatever its name, and
// reads it through the format library that knows it, mask files by itself. Errors and formats belong to the whole of it; an engine built
// without the format libraries has functions of the same names that answer 0.
#pragma once

#include "qel/export.h"
#include "qel/image/image.h"

/// Called during a transfer with rows done, rows in all, 0; another result than 0 ends it.
using AllProgress = int (*)(LONG, LONG, LONG);

/// A format as one of its extensions stands for it. Both texts last as long as the program.
struct AllFormat {
  const char *pszName;       // "PNG"
  const char *pszExtension;  // "png"
  int bWrites;               // pictures are written too, not only read
};

extern "C" {

/// Describes a picture: size, bit count (16: always 5-6-5), dots per metre (0: not told), colours used (0: all that the
/// bit count has). Non-zero when it can be read.
QEL_API int AllReadHeader(const char *pszPath, BITMAPINFOHEADER *pHeader);

/// The palette of a picture, which is the caller's; null for one that has none or the standard one.
QEL_API HPALETTE AllReadPalette(const char *pszPath);

/// Reads the pixels of a picture into the linear store of an image made after its header, whose rows start at an
/// offset. Non-zero also for a damaged picture, of which the rows that came in before the fault are there and the
/// others are 0; zero, when it cannot be read at all, does not fit the image, or was ended by `pfnProgress` (may be
/// null).
QEL_API int AllReadDIBImg(const char *pszPath, tagLmmInfo *pInfo, long lOffset, AllProgress pfnProgress);

/// Why the last of these calls in this thread gave 0, or the picture that it read is incomplete; null when neither. The
/// text lasts until the next call.
QEL_API const char *AllGetError();

/// The name of the format that a file is of by its content, whether it can be read or not; null when it is of none that is
/// known. The text lasts as long as the program.
QEL_API const char *AllFindFormat(const char *pszPath);

/// Tells of the format library number `nIndex`, from 0 on, in the order of extensions; 0 when there are no more.
QEL_API int AllGetFormat(int nIndex, AllFormat *pFormat);

}  // extern "C"

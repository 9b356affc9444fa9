// What the engine and a format library tell each other: the header record, the entry points, the waiting callback.
//
// A format library is a shared object that reads and writes one file format. The engine loads it for one operation,
// looks its entry points up by name and lets it work on the image's store in place.
#pragma once

#include "qel/export.h"
#include "qel/image/image.h"

/// An image as a format library sees it. Reading: the library fills type, width, height and, when the picture has one,
/// the palette, which is the engine's then, whatever the result; the engine looks at nothing else. Saving: the engine
/// fills everything.
struct CodecImageHeader {
  short nImageType;   // type code, 0 to 9
  short nWidth;       // pixels
  short nHeight;      // rows; reading: negative for an image whose store begins with its top row
  short nLineBytes;   // bytes of a stored row, the low 16 bits of them
  short nBitCount;    // bits per pixel
  short nDpiX;        // dots per inch
  short nDpiY;        // dots per inch
  short nConstant14;  // 3
  HPALETTE hPalette;  // null: none
  LONG lConstant20;   // -1
  LONG lConstant24;   // -1
  short nConstant28;  // 6
  LONG lConstant32;   // 1
};
static_assert(sizeof(CodecImageHeader) == 40);

namespace qel::fileio {

/// Dots per inch, rounded, as a header tells dots per metre; the low 16 bits of them.
inline short DotsPerInch(long lDpm) {
  return static_cast<short>((static_cast<DWORD>(lDpm) * 127u + 2500u) / 5000u);
}

}  // namespace qel::fileio

/// Called by a library during a transfer; the engine's returns 0.
using CodecWaitingCallback = int (*)(LONG, LONG, LONG);

/// "zulReadHeader": the file, the header to fill, 1. Non-zero when the file is in the library's format.
using CodecReadHeader = int (*)(HFILE hFile, CodecImageHeader *pHeader, int nOne);

/// "zulSaveHeader": the file, the filled header, 1 when it carries a palette, 0. Non-zero on success.
using CodecSaveHeader = int (*)(HFILE hFile, CodecImageHeader *pHeader, int bPalette, int nZero);

/// "zulReadDIBImg" and "zulSaveDIBImg": the file, the image's store, the offset of its rows. The result is not used.
using CodecTransfer = int (*)(HFILE hFile, tagLmmInfo *pInfo, WORD wOffset);

/// "zulSetWaitingCallback": a callback, or null to remove it.
using CodecSetWaitingCallback = void (*)(CodecWaitingCallback pfn);

/// "zulTransferError", which a library may do without: null when its last transfer moved the whole picture, else a
/// reason, and the reason why "zulSaveHeader" gave 0; it lasts until the next call.
using CodecTransferError = const char *(*)();

/// Why the picture that this thread last opened or saved through a format library moved only in part, which counts as
/// opened or saved all the same, or why its library refused to save it. Null when it moved whole, or its library does
/// not tell. The text lasts until the thread opens or saves the next.
QEL_API const char *GetCodecTransferError();

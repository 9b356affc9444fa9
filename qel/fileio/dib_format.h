// The DIB file format: sizes, field offsets and the questions that reader and writer both ask of a header.
//
// Headers are taken from bytes at fixed offsets, low byte first, never from records laid over them: a header may start
// at any address and its fields may hold anything.
#pragma once

#include <cstdint>

#include "qel/image/dib_layout.h"
#include "qel/image/image.h"

namespace qel::fileio {

constexpr UINT kFileHeaderBytes = 14;
constexpr UINT kInfoHeaderBytes = image::kHeaderBytes;
constexpr UINT kMaskBytes = image::kMaskBytes;
constexpr DWORD kMaxColours = image::kMaxColors;
constexpr WORD kDibMagic = 0x4D42;                  // "BM"
constexpr long kBlockEdge = 256;                    // edge of a storage block of an image that was deleted before
constexpr unsigned long kBufferBytes = 512 * 1024;  // rows moved by one system call: fits the second-level cache

inline WORD LoadWord(const BYTE *p) {
  return static_cast<WORD>(p[0] | p[1] << 8);
}
inline DWORD LoadDword(const BYTE *p) {
  return LoadWord(p) | static_cast<DWORD>(LoadWord(p + 2)) << 16;
}

inline void StoreWord(BYTE *p, WORD w) {
  p[0] = static_cast<BYTE>(w);
  p[1] = static_cast<BYTE>(w >> 8);
}

inline void StoreDword(BYTE *p, DWORD dw) {
  StoreWord(p, static_cast<WORD>(dw));
  StoreWord(p + 2, static_cast<WORD>(dw >> 16));
}

/// The fields of an information header that matter to a reader.
struct DibInfo {
  DWORD nHeaderBytes;
  LONG lWidth;
  LONG lHeight;
  WORD nBitCount;
  DWORD nCompression;
  DWORD nDpmX;
  DWORD nDpmY;
  DWORD nClrUsed;
};

/// Takes the fields from the first 40 bytes of an information header.
inline DibInfo ParseInfoHeader(const BYTE *p) {
  return {LoadDword(p),
          static_cast<LONG>(LoadDword(p + 4)),
          static_cast<LONG>(LoadDword(p + 8)),
          LoadWord(p + 14),
          LoadDword(p + 16),
          LoadDword(p + 24),
          LoadDword(p + 28),
          LoadDword(p + 32)};
}

/// Entries of the colour table that follows the header.
inline DWORD GetColourCount(const DibInfo &info) {
  return info.nClrUsed == 0 && info.nBitCount <= 8 ? 1u << info.nBitCount : info.nClrUsed;
}

inline bool HasMasks(const DibInfo &info) {
  return info.nCompression == BI_BITFIELDS;
}

/// True for the codes of run-length, JPEG and PNG rows. Every other code comes with plain rows.
inline bool HasPackedRows(const DibInfo &info) {
  switch (info.nCompression) {
    case 1:   // 8-bit runs
    case 2:   // 4-bit runs
    case 4:   // JPEG
    case 5:   // PNG
    case 12:  // 8-bit runs of process colours
    case 13:  // 4-bit runs of process colours
      return true;
    default:
      return false;
  }
}

/// False for what is not read at all: the short header of 12 bytes, packed rows, more colours than a table holds.
inline bool IsReadable(const DibInfo &info) {
  return info.nHeaderBytes >= kInfoHeaderBytes && !HasPackedRows(info) && GetColourCount(info) <= kMaxColours;
}

/// Measures an image of the header's size, without its colour table; false for what is no image.
inline bool Measure(const DibInfo &info, int nBits, bool bBlock, image::ImageMeasures *pMeasures) {
  image::ImageShape shape{nBits, info.lWidth, info.lHeight};
  shape.lBlockSize = bBlock ? kBlockEdge : 0;
  return image::MeasureImage(shape, pMeasures);
}

/// The image row that stands at place `k` of a file.
inline long GetRowAt(unsigned long k, unsigned long nRows, bool bTopDown) {
  return static_cast<long>(bTopDown ? k : nRows - 1 - k);
}

/// Whole rows that one buffer takes; at least 1, at most nRows.
inline unsigned long GetRowsAtOnce(unsigned long nRowBytes, unsigned long nRows) {
  const unsigned long nFit = kBufferBytes / nRowBytes;
  return nFit < 1 ? 1 : nFit < nRows ? nFit : nRows;
}

}  // namespace qel::fileio

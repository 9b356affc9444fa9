// Mask files: a 14-byte header, the information block of a DIB, then the rows from the bottom one up. A row is a count
// of two bytes and as many bytes: packed (lines/byte_stream.h) when that makes it shorter, as they are otherwise.
//
// Everything before the rows is read and judged before the image changes, and a file that is too short for its number
// of rows ends there. Rows pass through a buffer, so that a file takes few system calls; what was read too far is given
// back at the end, because other data may follow.
#include <algorithm>
#include <cstring>

#include "qel/fileio/dib_format.h"
#include "qel/fileio/file_access.h"
#include "qel/image/image.h"
#include "qel/lines/byte_stream.h"

namespace qel::fileio {
namespace {

constexpr WORD kMaskMagic = 0x5652;  // "RV"
constexpr unsigned long kCountBytes = 2;
constexpr unsigned long kLongestRow = 0xFFFF;  // what a count can tell
constexpr unsigned long kShortestRecord = 3;   // a count and one byte
constexpr int kAllStores = 15;

/// Bytes of a row without padding.
constexpr unsigned long PixelBytes(long lWidth, int nBits) {
  return (static_cast<unsigned long>(lWidth) * static_cast<unsigned long>(nBits) + 7) / 8;
}

// Headers ------------------------------------------------------------------------------------------------------------

/// True for a block that has room for the masks and colours that its header tells of.
bool IsWhole(const DibInfo &info, unsigned long nBlockBytes) {
  return info.nHeaderBytes == kInfoHeaderBytes && GetColourCount(info) <= kMaxColours &&
         nBlockBytes >= static_cast<unsigned long>(image::ColorTableOffset(info.nCompression)) +
                            GetColourCount(info) * sizeof(RGBQUAD);
}

/// Reads header and information block and moves to the first row. False when they are not sound or cut short.
bool ReadMaskHeaders(CFile &file, image::PackedInfo &packed) {
  const std::uint64_t nStart = file.GetPosition();
  BYTE header[kFileHeaderBytes];
  if (!ReadWhole(file, header, kFileHeaderBytes) || LoadWord(header) != kMaskMagic) return false;
  const DWORD nRowsOffset = LoadDword(header + 10);
  if (nRowsOffset < kFileHeaderBytes + kInfoHeaderBytes) return false;

  const unsigned long nBlockBytes = nRowsOffset - kFileHeaderBytes;
  const unsigned long nUsedBytes = std::min(nBlockBytes, sizeof packed);
  BYTE bytes[sizeof packed] = {};
  if (!ReadWhole(file, bytes, nUsedBytes)) return false;
  const DibInfo info = ParseInfoHeader(bytes);
  if (!IsWhole(info, nBlockBytes)) return false;
  if (info.lWidth > 0 && PixelBytes(info.lWidth, info.nBitCount) > kLongestRow) return false;
  if (nUsedBytes < nBlockBytes) {
    if (nStart + nRowsOffset > file.GetLength()) return false;
    file.Seek(static_cast<LONGLONG>(nStart + nRowsOffset), CFile::begin);
  }
  std::memcpy(&packed, bytes, sizeof packed);
  return true;
}

/// True when the rest of the file may hold a record for every row.
bool HoldsRows(CFile &file, const BITMAPINFOHEADER &bih) {
  const std::uint64_t nAt = file.GetPosition(), nLength = file.GetLength();
  const std::int64_t lHeight = bih.biHeight;
  return nAt <= nLength && (nLength - nAt) / kShortestRecord >= static_cast<std::uint64_t>(std::abs(lHeight));
}

// Rows in ------------------------------------------------------------------------------------------------------------

/// Hands out the bytes of a file in pieces, reading many pieces at once.
class PieceReader {
 public:
  explicit PieceReader(CFile &file) : m_file(file) {}

  bool Open(unsigned long nBytes) { return m_buffer.AllocMemory(GMEM_MOVEABLE, m_nRoom = nBytes) != nullptr; }

  /// The next bytes, at most as many as the buffer has room for; null when the file has fewer.
  const BYTE *Take(unsigned long nCount) {
    if (m_nHeld - m_nAt < nCount && !xRefill(nCount)) return nullptr;
    const BYTE *const pPiece = m_buffer.GetPointer() + m_nAt;
    m_nAt += nCount;
    return pPiece;
  }

  /// Moves the file back to the first byte that was not taken.
  void GiveBack() {
    if (m_nHeld != m_nAt) m_file.Seek(-static_cast<LONGLONG>(m_nHeld - m_nAt), CFile::current);
    m_nHeld = m_nAt = 0;
  }

 private:
  bool xRefill(unsigned long nCount) {
    BYTE *const pBytes = m_buffer.GetPointer();
    m_nHeld -= m_nAt;
    std::memmove(pBytes, pBytes + m_nAt, m_nHeld);
    m_nAt = 0;
    m_nHeld += ReadUpTo(m_file, pBytes + m_nHeld, m_nRoom - m_nHeld);
    return m_nHeld >= nCount;
  }

  CFile &m_file;
  PMem m_buffer;
  unsigned long m_nRoom = 0;  // bytes of the buffer
  unsigned long m_nHeld = 0;  // bytes read into it
  unsigned long m_nAt = 0;    // of these, taken
};

/// The next row's bytes into pRow; false when the record does not make exactly nBytes.
bool TakeRow(PieceReader &reader, BYTE *pRow, unsigned long nBytes) {
  const BYTE *const pCount = reader.Take(kCountBytes);
  if (!pCount) return false;
  const unsigned long nCount = LoadWord(pCount);
  const BYTE *const pRecord = reader.Take(nCount);
  if (!pRecord) return false;
  if (nCount == nBytes) {
    std::memcpy(pRow, pRecord, nBytes);
    return true;
  }
  if (lines::UnpackedBytes(pRecord, static_cast<long>(nCount)) != static_cast<long>(nBytes)) return false;
  lines::UnpackBytes(pRow, pRecord, static_cast<long>(nBytes));
  return true;
}

bool ReadMaskRows(PieceReader &reader, PQel &image, BYTE *pRow) {
  const unsigned long nBytes = PixelBytes(image.GetImageWidth(), image.GetBitCount());
  for (long y = image.GetImageHeight() - 1; y >= 0; --y)
    if (!TakeRow(reader, pRow, nBytes) || !image.PutHorLine(y, pRow)) return false;
  reader.GiveBack();
  return true;
}

// Rows out -----------------------------------------------------------------------------------------------------------

/// False for what no mask file can hold: an empty image, rows whose length a count cannot tell.
bool IsWritable(PQel &image) {
  return !image.IsEmpty() && PixelBytes(image.GetImageWidth(), image.GetBitCount()) <= kLongestRow;
}

/// Makes the record of a row; returns its bytes. pRecord has room for the packed row.
unsigned long MakeRecord(BYTE *pRecord, const BYTE *pRow, unsigned long nBytes) {
  BYTE *const pBytes = pRecord + kCountBytes;
  unsigned long nCount = static_cast<unsigned long>(lines::PackBytes(pBytes, pRow, static_cast<long>(nBytes)));
  if (nCount >= nBytes) std::memcpy(pBytes, pRow, nCount = nBytes);
  StoreWord(pRecord, static_cast<WORD>(nCount));
  return kCountBytes + nCount;
}

void WriteMaskHeaders(CFile &file, const BITMAPINFOHEADER *pInfo, unsigned long nInfoBytes) {
  BYTE header[kFileHeaderBytes] = {};
  StoreWord(header, kMaskMagic);
  StoreDword(header + 10, static_cast<DWORD>(kFileHeaderBytes + nInfoBytes));
  file.Write(header, kFileHeaderBytes);
  WriteWhole(file, reinterpret_cast<const BYTE *>(pInfo), nInfoBytes);
}

}  // namespace
}  // namespace qel::fileio

using namespace qel::fileio;

// Files --------------------------------------------------------------------------------------------------------------

int PQel::ReadMaskFile(CFile &file) {
  qel::image::PackedInfo packed;
  if (!ReadMaskHeaders(file, packed)) return 0;
  DeleteImage(1);
  if (!HoldsRows(file, packed.bih)) return 0;
  if (!CreateImage(reinterpret_cast<BITMAPINFO *>(&packed), 0, 0, 10, kAllStores, 0, 0)) return 0;

  // Without buffers the image stays as it is: made, but not filled.
  PMem row;
  PieceReader reader(file);
  BYTE *const pRow = row.AllocMemory(GHND, static_cast<unsigned long>(m_lLineBytes));
  const std::uint64_t nHeld = file.GetLength() - file.GetPosition();
  if (!pRow || !reader.Open(std::min<std::uint64_t>(nHeld, kBufferBytes))) return 0;
  if (ReadMaskRows(reader, *this, pRow)) return 1;
  DeleteImage(1);
  return 0;
}

int PQel::WriteMaskFile(CFile &file) {
  const auto nInfoBytes = static_cast<unsigned long>(m_lLmmOffset);
  if (!IsWritable(*this) || nInfoBytes > m_memBI.GetSize()) return 0;
  const auto nRowBytes = static_cast<unsigned long>(m_lLineBytes);
  const unsigned long nBytes = PixelBytes(GetImageWidth(), GetBitCount());
  const unsigned long nLargest =
      kCountBytes + static_cast<unsigned long>(qel::lines::PackedRoom(static_cast<long>(nBytes)));
  const unsigned long nRoom = nLargest * GetRowsAtOnce(nLargest, static_cast<unsigned long>(m_lHeight));
  PMem buffer;  // a row, then records
  BYTE *const pRow = buffer.AllocMemory(GHND, nRowBytes + nRoom);
  if (!pRow) return 0;

  WriteMaskHeaders(file, m_pBIH, nInfoBytes);
  BYTE *const pRecords = pRow + nRowBytes;
  unsigned long nUsed = 0;
  for (long y = m_lHeight - 1; y >= 0; --y) {
    if (!GetHorLine(y, pRow)) return 0;
    nUsed += MakeRecord(pRecords + nUsed, pRow, nBytes);
    if (nRoom - nUsed >= nLargest && y > 0) continue;
    WriteWhole(file, pRecords, nUsed);
    nUsed = 0;
  }
  return 1;
}

int PQel::LoadMask(const char *pszName, int) {
  CFile file;
  if (!OpenNamed(file, pszName, ".msk")) return 0;
  const int nResult = ReadMaskFile(file);
  file.Close();
  return nResult;
}

int PQel::SaveMask(const char *pszName, int bAppendExtension) {
  CFile file;
  if (!IsWritable(*this) || !CreateNamed(file, pszName, ".msk", bAppendExtension != 0)) return 0;
  const int nResult = WriteMaskFile(file);
  file.Close();
  return nResult;
}

// Byte streams -------------------------------------------------------------------------------------------------------

long PQel::CompressByteStream(unsigned char *pDst, unsigned char *pSrc, long lLength) {
  if (!pDst || !pSrc || lLength <= 0) return 0;
  return qel::lines::PackBytes(pDst, pSrc, lLength);
}

void PQel::DecompressByteStream(unsigned char *pDst, unsigned char *pSrc, long lLength) {
  if (!pDst || !pSrc || lLength <= 0) return;
  qel::lines::UnpackBytes(pDst, pSrc, lLength);
}

// The entry points of a format library, over the format that its folder defines.
//
// Reading and saving take two calls each. What the first one learned is kept under its file handle for the second one,
// so that threads with files of their own do not meet; callback and error text belong to the thread.
#include <cstdio>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "codecs/common/format.h"
#include "codecs/common/guarded.h"
#include "codecs/common/reading.h"
#include "codecs/common/store.h"
#include "qel/fileio/codec_header.h"

namespace qel::codecs {
namespace {

constexpr long kLargestSide = 32767;  // that a header record can tell

// What belongs to a thread -------------------------------------------------------------------------------------------

thread_local CodecWaitingCallback t_pfnWaiting;
thread_local bool t_failed;
thread_local char t_error[256];

void Fail(const std::string &reason) {
  t_failed = true;
  std::snprintf(t_error, sizeof t_error, "%s", reason.empty() ? "the picture is incomplete" : reason.c_str());
}

Progress WaitingProgress() {
  const CodecWaitingCallback pfn = t_pfnWaiting;
  if (pfn == nullptr) return [](long, long) { return false; };
  return [pfn](long done, long all) { return pfn(static_cast<LONG>(done), static_cast<LONG>(all), 0) != 0; };
}

// What belongs to a file ---------------------------------------------------------------------------------------------

/// Things kept from the first call for a file to the second.
template <class Kept>
class KeptByFile {
 public:
  void Put(HFILE hFile, Kept kept) {
    const std::lock_guard lock(m_mutex);
    m_kept.insert_or_assign(hFile, std::move(kept));
  }

  /// Empty when nothing is kept.
  Kept Take(HFILE hFile) {
    const std::lock_guard lock(m_mutex);
    const auto node = m_kept.extract(hFile);
    return node.empty() ? Kept() : std::move(node.mapped());
  }

 private:
  std::mutex m_mutex;
  std::map<HFILE, Kept> m_kept;
};

struct Saving {
  bool begun = false;
  PictureInfo info;
};

KeptByFile<Reading> &Readings() {
  static KeptByFile<Reading> readings;
  return readings;
}

KeptByFile<Saving> &Savings() {
  static KeptByFile<Saving> savings;
  return savings;
}

// Palettes and headers -----------------------------------------------------------------------------------------------

void FillHeader(CodecImageHeader &header, const PictureInfo &info) {
  const int bits = PQel::GetBitCount(info.type);
  header.nImageType = static_cast<short>(info.type);
  header.nWidth = static_cast<short>(info.width);
  header.nHeight = static_cast<short>(info.height);
  header.nLineBytes = static_cast<short>((info.width * bits + 31) / 32 * 4);
  header.nBitCount = static_cast<short>(bits);
  header.nDpiX = fileio::DotsPerInch(info.dpm_x);
  header.nDpiY = fileio::DotsPerInch(info.dpm_y);
  header.hPalette = PaletteOf(info.palette);
}

// Transfers ----------------------------------------------------------------------------------------------------------

bool Begin(HFILE hFile, CodecImageHeader &header) {
  unsigned char head[kHeadBytes];
  std::string error;
  if (!kFormat.matches(head, ReadHead(hFile, head))) return false;
  Reading reading = BeginReading(kFormat, hFile, kLargestSide, error);
  if (!reading.decoder) return false;
  FillHeader(header, reading.info);
  Readings().Put(hFile, std::move(reading));
  return true;
}

bool Read(HFILE hFile, const tagLmmInfo &memory, WORD wOffset) {
  const Reading reading = Readings().Take(hFile);
  if (!reading.decoder) return Fail("the file was not opened"), false;
  std::string error;
  const bool complete = ReadInto(reading, memory, wOffset, WaitingProgress(), error) == Transfer::kWhole;
  if (!complete) Fail(error);
  return complete;
}

bool BeginSaving(HFILE hFile, const CodecImageHeader &header, bool bPalette) {
  if (kFormat.create == nullptr) return Fail("the format is only read"), false;
  if (header.nWidth < 1 || header.nHeight == 0) return false;
  Saving saving{true, {}};
  saving.info.type = header.nImageType;
  const int bits = PQel::GetBitCount(header.nImageType);
  if (bits == 0 || bits != header.nBitCount) return false;
  if (bPalette && bits <= 8) saving.info.palette = PaletteColors(header.hPalette);
  saving.info.width = header.nWidth;
  saving.info.height = std::abs(header.nHeight);
  const std::unique_ptr<Encoder> encoder = kFormat.create(hFile);
  if (!encoder->WriteInfo(saving.info)) return Fail(encoder->error), false;
  Savings().Put(hFile, std::move(saving));
  return true;
}

bool Save(HFILE hFile, const tagLmmInfo &memory, WORD wOffset) {
  Saving saving = Savings().Take(hFile);
  if (!saving.begun) return Fail("the file was not prepared"), false;
  Store store(memory);
  PictureInfo &info = saving.info;
  if (!store.Find(wOffset) || store.Header().biBitCount != PQel::GetBitCount(info.type))
    return Fail("the image is not sound"), false;
  if (store.Rows().bit_count == 16) info.type = store.Is555() ? 6 : 7;
  info.width = store.Rows().width;
  info.height = store.Rows().height;
  info.dpm_x = store.Header().biXPelsPerMeter;
  info.dpm_y = store.Header().biYPelsPerMeter;
  const std::unique_ptr<Encoder> encoder = kFormat.create(hFile);
  const bool complete = encoder->WriteInfo(info) && encoder->WritePixels(store.Rows(), WaitingProgress());
  if (!complete) Fail(encoder->error);
  return complete;
}

}  // namespace
}  // namespace qel::codecs

// Entry points -------------------------------------------------------------------------------------------------------

using namespace qel::codecs;

#define QEL_ENTRY_POINT extern "C" QEL_API

QEL_ENTRY_POINT int zulReadHeader(HFILE hFile, CodecImageHeader *pHeader, int) {
  return pHeader != nullptr && Guarded([=] { return Begin(hFile, *pHeader); }, Fail);
}

QEL_ENTRY_POINT int zulReadDIBImg(HFILE hFile, tagLmmInfo *pInfo, WORD wOffset) {
  t_failed = false;
  return pInfo != nullptr && Guarded([=] { return Read(hFile, *pInfo, wOffset); }, Fail);
}

QEL_ENTRY_POINT int zulSaveHeader(HFILE hFile, CodecImageHeader *pHeader, int bPalette, int) {
  t_failed = false;
  return pHeader != nullptr && Guarded([=] { return BeginSaving(hFile, *pHeader, bPalette != 0); }, Fail);
}

QEL_ENTRY_POINT int zulSaveDIBImg(HFILE hFile, tagLmmInfo *pInfo, WORD wOffset) {
  t_failed = false;
  return pInfo != nullptr && Guarded([=] { return Save(hFile, *pInfo, wOffset); }, Fail);
}

QEL_ENTRY_POINT void zulSetWaitingCallback(CodecWaitingCallback pfn) {
  t_pfnWaiting = pfn;
}

QEL_ENTRY_POINT const char *zulTransferError() {
  return t_failed ? t_error : nullptr;
}

QEL_ENTRY_POINT const Format *zulFormat() {
  return &kFormat;
}

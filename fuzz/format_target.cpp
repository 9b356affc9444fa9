// A format library, through the entry points that the engine calls and through the reader library. Both read by the
// same decoder, so they agree on whether a file is a picture and how large it is.
#include <memory>

#include "fuzz/input_file.h"
#include "qel/fileio/codec_header.h"
#include "qel/fileio/reader_library.h"
#include "qel/fileio/ufile_io.h"

namespace {

constexpr unsigned long kMostPixels = 8 << 20;  // that are worth the time

/// True for files whose pixels are read: not for those that claim to hold far more than they can.
bool IsSmall(const char *name) {
  BITMAPINFOHEADER header;
  if (!AllReadHeader(name, &header)) return true;
  const auto width = static_cast<unsigned long>(header.biWidth), height = static_cast<unsigned long>(header.biHeight);
  return width * height <= kMostPixels;
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int *, char ***) {
  AllFormat format;  // loads all format libraries, for the fuzzer to see their code from the start
  if (!AllGetFormat(0, &format)) fuzz::Find("there is no format library");
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const unsigned char *data, std::size_t size) {
  static fuzz::InputFile file;
  file.Fill(data, size);
  if (!IsSmall(file.Name())) return 0;
  PQel image;
  const int opened = image.OpenImage(file.Name(), QEL_FUZZ_LIBRARY);
  if (!opened) return 0;
  const bool whole = GetCodecTransferError() == nullptr;
  fuzz::ReadRows(image);
  const std::unique_ptr<PQel> byContent(UFileIO().UFileOpen(file.Name()));
  if (byContent == nullptr) {
    if (whole) fuzz::Find("a picture that opens through its library does not open by content");
    return 0;
  }
  fuzz::ReadRows(*byContent);
  if (whole &&
      (byContent->GetImageWidth() != image.GetImageWidth() || byContent->GetImageHeight() != image.GetImageHeight()))
    fuzz::Find("two ways of opening a picture make different sizes");
  return 0;
}

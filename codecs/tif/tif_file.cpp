// libtiff's view of the descriptor: an offset of its own, reads and writes at it.
#include "codecs/tif/tif_file.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cctype>
#include <cerrno>
#include <cstdarg>
#include <cstdio>

#include "codecs/common/file_bytes.h"

namespace qel::codecs {
namespace {

constexpr tmsize_t kLargestBlock = tmsize_t{1} << 30;  // that libtiff may ask memory for at once

TiffFile &Of(thandle_t handle) {
  return *static_cast<TiffFile *>(handle);
}

}  // namespace

int TiffFile::xKeepError(TIFF *, void *file, const char *, const char *format, va_list values) {
  std::string &error = Of(file).m_error;
  char words[200];
  if (!error.empty() || std::vsnprintf(words, sizeof words, format, values) <= 0) return 1;
  error = words;
  if (error.back() == '.') error.pop_back();
  error[0] = static_cast<char>(std::tolower(static_cast<unsigned char>(error[0])));
  return 1;
}

tmsize_t TiffFile::xRead(void *dst, tmsize_t count) {
  const std::size_t done = ReadAt(m_nFile, dst, static_cast<std::size_t>(count), m_offset);
  m_offset += done;
  return static_cast<tmsize_t>(done);
}

tmsize_t TiffFile::xWrite(const void *src, tmsize_t count) {
  tmsize_t done = 0;
  while (done < count) {
    const ssize_t written = pwrite(m_nFile, static_cast<const char *>(src) + done,
                                   static_cast<std::size_t>(count - done), static_cast<off_t>(m_offset));
    if (written < 0 && errno == EINTR) continue;
    if (written <= 0) break;
    done += written;
    m_offset += static_cast<std::uint64_t>(written);
  }
  if (done < count && m_error.empty()) m_error = "the file cannot be written";
  return done;
}

bool TiffFile::Open(const char *mode) {
  TIFFOpenOptions *const options = TIFFOpenOptionsAlloc();
  if (options == nullptr) return m_error = "there is not enough memory", false;
  TIFFOpenOptionsSetMaxSingleMemAlloc(options, kLargestBlock);
  TIFFOpenOptionsSetErrorHandlerExtR(options, xKeepError, this);
  TIFFOpenOptionsSetWarningHandlerExtR(
      options, [](TIFF *, void *, const char *, const char *, va_list) { return 1; }, nullptr);
  m_tiff = TIFFClientOpenExt(
      "", mode, this, [](thandle_t file, void *dst, tmsize_t n) { return Of(file).xRead(dst, n); },
      [](thandle_t file, void *src, tmsize_t n) { return Of(file).xWrite(src, n); },
      [](thandle_t file, toff_t offset, int from) -> toff_t {
        struct stat status = {};
        if (from == SEEK_CUR) offset += Of(file).m_offset;
        if (from == SEEK_END && fstat(Of(file).m_nFile, &status) == 0) offset += static_cast<toff_t>(status.st_size);
        return Of(file).m_offset = offset;
      },
      [](thandle_t) { return 0; },
      [](thandle_t file) -> toff_t {
        struct stat status = {};
        return fstat(Of(file).m_nFile, &status) == 0 ? static_cast<toff_t>(status.st_size) : 0;
      },
      nullptr, nullptr, options);
  TIFFOpenOptionsFree(options);
  return m_tiff != nullptr;
}

void TiffFile::Close() {
  if (m_tiff != nullptr) TIFFClose(m_tiff);
  m_tiff = nullptr;
}

}  // namespace qel::codecs

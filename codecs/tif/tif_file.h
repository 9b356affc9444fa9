// A TIFF file over an open descriptor, which libtiff neither owns nor closes. Its faults come to the object that opened
// it and nowhere else, so that threads do not meet and nothing is printed.
#pragma once

#include <tiffio.h>

#include <cstdint>
#include <string>

namespace qel::codecs {

class TiffFile {
 public:
  explicit TiffFile(int nFile) : m_nFile(nFile) {}
  ~TiffFile() { Close(); }
  TiffFile(const TiffFile &) = delete;
  TiffFile &operator=(const TiffFile &) = delete;

  /// Opens in one of libtiff's modes.
  bool Open(const char *mode);
  void Close();

  TIFF *Get() const { return m_tiff; }

  /// The words for the first fault since the file was opened; empty when there was none.
  const std::string &Error() const { return m_error; }

  /// A tag of the directory, its default value when the file does not have it.
  template <class Value>
  Value Tag(std::uint32_t tag) const {
    Value value = {};
    TIFFGetFieldDefaulted(m_tiff, tag, &value);
    return value;
  }

 private:
  static int xKeepError(TIFF *, void *file, const char *, const char *format, va_list values);
  tmsize_t xRead(void *dst, tmsize_t count);
  tmsize_t xWrite(const void *src, tmsize_t count);

  int m_nFile;
  std::uint64_t m_offset = 0;
  TIFF *m_tiff = nullptr;
  std::string m_error;
};

}  // namespace qel::codecs

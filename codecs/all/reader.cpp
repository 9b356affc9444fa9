// The reader library. Each call looks at the file anew, so nothing is kept between calls and threads do not meet.
#include <limits>
#include <string>
#include <utility>
#include <vector>

#include "codecs/all/format_libraries.h"
#include "codecs/all/mask_format.h"
#include "codecs/common/guarded.h"
#include "codecs/common/reading.h"
#include "codecs/common/store.h"
#include "qel/fileio/reader_library.h"
#include "qel/lines/file_pixels.h"
#include "qel/platform/kernel/file.h"

namespace qel::codecs {
namespace {

constexpr int kType555 = 6;

thread_local std::string t_error;  // empty: none

/// Runs the work of an entry point, which begins without an error; 0 when it threw.
template <class Work>
auto Answer(const Work &work) -> decltype(work()) {
  t_error.clear();
  return Guarded(work, [](const char *pszReason) { t_error = pszReason; });
}

/// A file, open for as long as this lives, and its format; null when it does not open or none knows it.
class KnownFile {
 public:
  explicit KnownFile(const char *pszPath) : m_hFile(OpenFile(pszPath, nullptr, OF_READ)) {
    if (m_hFile == HFILE_ERROR) {
      t_error = "the file cannot be opened";
      return;
    }
    unsigned char head[kHeadBytes];
    const std::size_t bytes = ReadHead(m_hFile, head);
    m_format = kMaskFormat.matches(head, bytes) ? &kMaskFormat : FindFormat(pszPath, head, bytes);
    if (m_format == nullptr) t_error = "the file is of no known format";
  }
  ~KnownFile() {
    if (m_hFile != HFILE_ERROR) _lclose(m_hFile);
  }
  KnownFile(const KnownFile &) = delete;
  KnownFile &operator=(const KnownFile &) = delete;

  HFILE Handle() const { return m_hFile; }
  const Format *GetFormat() const { return m_format; }

 private:
  HFILE m_hFile;
  const Format *m_format = nullptr;
};

/// A picture that is being read; without a decoder when it cannot be.
class OpenPicture {
 public:
  explicit OpenPicture(const char *pszPath) : m_file(pszPath) {
    if (m_file.GetFormat() != nullptr)
      m_reading = BeginReading(*m_file.GetFormat(), m_file.Handle(), std::numeric_limits<LONG>::max(), t_error);
  }

  explicit operator bool() const { return m_reading.decoder != nullptr; }
  const Reading &Get() const { return m_reading; }
  const PictureInfo &Info() const { return m_reading.info; }

 private:
  KnownFile m_file;
  Reading m_reading;  // goes before its file is closed
};

// Header and palette -------------------------------------------------------------------------------------------------

/// The colours that an image of the picture's bit count does not have by itself: those of the picture, or the ramp of a
/// gray one, which no bit count tells.
std::vector<RGBQUAD> ColorsOf(const PictureInfo &info) {
  const int bits = PQel::GetBitCount(info.type);
  if (bits > 8) return {};
  std::vector<RGBQUAD> colors = info.palette;
  const std::size_t most = std::size_t{1} << bits;
  if (colors.size() > most) colors.resize(most);
  if (!colors.empty() || (info.type != 4 && info.type != 5)) return colors;
  colors.resize(most);
  PQel::BuildStdPalette(info.type, colors.data());
  return colors;
}

LONG DotsPerMetre(long dpm) {
  return dpm > 0 && dpm <= std::numeric_limits<LONG>::max() ? static_cast<LONG>(dpm) : 0;
}

int ReadHeader(const char *pszPath, BITMAPINFOHEADER &header) {
  const OpenPicture picture(pszPath);
  if (!picture) return 0;
  const PictureInfo &info = picture.Info();
  header = {};
  header.biSize = sizeof header;
  header.biWidth = static_cast<LONG>(info.width);
  header.biHeight = static_cast<LONG>(info.height);
  header.biPlanes = 1;
  header.biBitCount = static_cast<WORD>(PQel::GetBitCount(info.type));
  header.biCompression = header.biBitCount == 16 ? BI_BITFIELDS : BI_RGB;
  header.biXPelsPerMeter = DotsPerMetre(info.dpm_x);
  header.biYPelsPerMeter = DotsPerMetre(info.dpm_y);
  header.biClrUsed = static_cast<DWORD>(ColorsOf(info).size());
  return 1;
}

HPALETTE ReadPalette(const char *pszPath) {
  const OpenPicture picture(pszPath);
  return picture ? PaletteOf(ColorsOf(picture.Info())) : nullptr;
}

// Pixels -------------------------------------------------------------------------------------------------------------

/// Images made after a bit count of 16 are 5-6-5, so pixels that a decoder left in 5-5-5 get a sixth bit of green.
void WidenGreen(const tagLmmInfo &memory, std::size_t offset) {
  Store store(memory);
  if (!store.Find(offset)) return;
  const PixelRows &rows = store.Rows();
  for (long y = 0; y < rows.height; ++y) lines::Rgb555To565(rows.Row(y), rows.width);
}

int ReadPixels(const char *pszPath, const tagLmmInfo &memory, std::size_t offset, AllProgress pfnProgress) {
  const OpenPicture picture(pszPath);
  if (!picture) return 0;
  bool stopped = false;
  const auto Tell = [&](long done, long all) {
    if (pfnProgress != nullptr) stopped = pfnProgress(static_cast<LONG>(done), static_cast<LONG>(all), 0) != 0;
    return stopped;
  };
  const Transfer result = ReadInto(picture.Get(), memory, offset, Tell, t_error);
  if (result == Transfer::kRefused) return 0;
  if (picture.Info().type == kType555) WidenGreen(memory, offset);
  if (stopped) t_error = "stopped";
  return !stopped;
}

}  // namespace
}  // namespace qel::codecs

// Entry points -------------------------------------------------------------------------------------------------------

using namespace qel::codecs;

int AllReadHeader(const char *pszPath, BITMAPINFOHEADER *pHeader) {
  return pszPath != nullptr && pHeader != nullptr && Answer([=] { return ReadHeader(pszPath, *pHeader); });
}

HPALETTE AllReadPalette(const char *pszPath) {
  return pszPath != nullptr ? Answer([=] { return ReadPalette(pszPath); }) : nullptr;
}

int AllReadDIBImg(const char *pszPath, tagLmmInfo *pInfo, long lOffset, AllProgress pfnProgress) {
  if (pszPath == nullptr || pInfo == nullptr || lOffset < 0) return 0;
  return Answer([=] { return ReadPixels(pszPath, *pInfo, static_cast<std::size_t>(lOffset), pfnProgress); });
}

const char *AllGetError() {
  return t_error.empty() ? nullptr : t_error.c_str();
}

const char *AllFindFormat(const char *pszPath) {
  if (pszPath == nullptr) return nullptr;
  return Answer([=] {
    const Format *const format = KnownFile(pszPath).GetFormat();
    return format != nullptr ? format->name : nullptr;
  });
}

int AllGetFormat(int nIndex, AllFormat *pFormat) {
  if (nIndex < 0 || pFormat == nullptr) return 0;
  return Answer([=] {
    const std::vector<FormatLibrary> libraries = AllFormatLibraries();
    if (static_cast<std::size_t>(nIndex) >= libraries.size()) return 0;
    const FormatLibrary &library = libraries[static_cast<std::size_t>(nIndex)];
    *pFormat = {library.format->name, library.extension, library.format->create != nullptr};
    return 1;
  });
}

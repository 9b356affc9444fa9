// Mask files through the engine's own reader, into an image from which the rows are copied. Such files are small, so
// that decoding one for its header too costs little.
#include "codecs/all/mask_format.h"

#include <unistd.h>

#include "codecs/common/file_bytes.h"
#include "codecs/common/reading.h"
#include "qel/image/image.h"
#include "qel/platform/gdi/object.h"

namespace qel::codecs {
namespace {

/// The file behind a descriptor that is somebody else's, read from its start.
class BorrowedFile : public CFile {
 public:
  explicit BorrowedFile(int nFile) : m_nFile(nFile) {}

  UINT Read(void *pBuf, UINT nCount) override {
    const std::size_t nRead = ReadAt(m_nFile, pBuf, nCount, m_nPosition);
    m_nPosition += nRead;
    return static_cast<UINT>(nRead);
  }

  LONGLONG Seek(LONGLONG lOff, UINT nFrom) override {
    const std::uint64_t nBase = nFrom == begin ? 0 : nFrom == current ? m_nPosition : GetLength();
    m_nPosition = nBase + static_cast<std::uint64_t>(lOff);
    return static_cast<LONGLONG>(m_nPosition);
  }

  std::uint64_t GetPosition() const override { return m_nPosition; }
  std::uint64_t GetLength() const override {
    const off_t end = lseek(m_nFile, 0, SEEK_END);
    return end > 0 ? static_cast<std::uint64_t>(end) : 0;
  }

 private:
  int m_nFile;
  std::uint64_t m_nPosition = 0;
};

class MaskDecoder : public Decoder {
 public:
  explicit MaskDecoder(int nFile) : m_file(nFile) {}

  bool ReadInfo(PictureInfo &info) override {
    if (!m_image.ReadMaskFile(m_file)) return error = "the mask file is damaged", false;
    info.type = m_image.GetImageType();
    info.width = m_image.GetImageWidth();
    info.height = m_image.GetImageHeight();
    info.dpm_x = m_image.GetDpmX();
    info.dpm_y = m_image.GetDpmY();
    CPalette palette;
    if (m_image.GetBitCount() <= 8) palette.Attach(m_image.GetPalette(nullptr));
    info.palette = PaletteColors(palette);
    return true;
  }

  bool ReadPixels(const PixelRows &rows, const Progress &progress) override {
    for (long y = 0; y < rows.height; ++y) {
      if (!m_image.GetHorLine(y, rows.Row(y))) return error = "there is not enough memory", false;
      if (progress(y + 1, rows.height)) return error = "stopped", false;
    }
    return true;
  }

 private:
  BorrowedFile m_file;
  PQel m_image;
};

}  // namespace

const Format kMaskFormat = {
    "mask", [](const unsigned char *head, std::size_t bytes) { return bytes >= 2 && head[0] == 'R' && head[1] == 'V'; },
    [](int nFile) -> std::unique_ptr<Decoder> { return std::make_unique<MaskDecoder>(nFile); }, nullptr};

}  // namespace qel::codecs

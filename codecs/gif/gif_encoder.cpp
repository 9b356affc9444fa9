// Rows into GIF files, through giflib, which takes one byte a pixel.
#include <vector>

#include "codecs/common/file_bytes.h"
#include "codecs/common/saved_rows.h"
#include "codecs/gif/gif_error.h"
#include "codecs/gif/gif_format.h"
#include "qel/lines/pixels.h"

namespace qel::codecs {
namespace {

constexpr long kLargestSide = 65535;

class GifEncoder : public Encoder {
 public:
  explicit GifEncoder(int nFile) : m_writer(nFile) {}

  bool WriteInfo(const PictureInfo &info) override;
  bool WritePixels(const PixelRows &rows, const Progress &progress) override;

 private:
  static int xWrite(GifFileType *gif, const GifByteType *src, int bytes);
  bool xWriteFrame(GifFileType *gif, const PixelRows &rows, const Progress &progress);

  FileWriter m_writer;
  PictureInfo m_picture;
};

int GifEncoder::xWrite(GifFileType *gif, const GifByteType *src, int bytes) {
  auto &encoder = *static_cast<GifEncoder *>(gif->UserData);
  return encoder.m_writer.Write(src, static_cast<std::size_t>(bytes)) ? bytes : 0;
}

bool GifEncoder::WriteInfo(const PictureInfo &info) {
  m_picture = info;
  if (info.type == 1 || info.type > 5) return error = "a GIF picture has at most 256 colours", false;
  if (info.width <= kLargestSide && info.height <= kLargestSide) return true;
  return error = "the picture is too large for GIF", false;
}

bool GifEncoder::xWriteFrame(GifFileType *gif, const PixelRows &rows, const Progress &progress) {
  const SavedRows saved(m_picture, rows);
  GifColorType colors[256];
  const int count = 1 << rows.bit_count;
  for (int i = 0; i < count; ++i) {
    const RGBQUAD &color = saved.Table()[i];
    colors[i] = {color.rgbRed, color.rgbGreen, color.rgbBlue};
  }
  ColorMapObject map = {count, rows.bit_count, false, colors};
  const int width = static_cast<int>(rows.width), height = static_cast<int>(rows.height);
  if (EGifPutScreenDesc(gif, width, height, 8, 0, &map) != GIF_OK ||
      EGifPutImageDesc(gif, 0, 0, width, height, false, nullptr) != GIF_OK)
    return error = GifReason(gif->Error), false;

  std::vector<unsigned char> line(static_cast<std::size_t>(rows.width));  // giflib writes to what it is given
  for (long y = 0; y < rows.height; ++y) {
    lines::UnpackIndices(line.data(), rows.Row(y), rows.bit_count, rows.width);
    if (EGifPutLine(gif, line.data(), width) != GIF_OK) return error = GifReason(gif->Error), false;
    if (progress(y + 1, rows.height)) return error = "stopped", false;
  }
  return true;
}

bool GifEncoder::WritePixels(const PixelRows &rows, const Progress &progress) {
  int fault = 0;
  GifFileType *const gif = EGifOpen(this, xWrite, &fault);
  if (gif == nullptr) return error = GifReason(fault), false;
  const bool written = xWriteFrame(gif, rows, progress);
  const bool closed = EGifCloseFile(gif, &fault) == GIF_OK && m_writer.Flush();
  if (written && !closed) error = "the file cannot be written";
  return written && closed;
}

}  // namespace

std::unique_ptr<Encoder> CreateGif(int nFile) {
  return std::make_unique<GifEncoder>(nFile);
}

}  // namespace qel::codecs

// GIF files into rows, through giflib, which gives one byte a pixel. Every row begins as the screen around the frame;
// the frame's rows are decoded into a line that goes over it.
#include <algorithm>
#include <cstring>
#include <vector>

#include "codecs/common/file_bytes.h"
#include "codecs/common/plausible.h"
#include "codecs/common/store.h"
#include "codecs/gif/gif_error.h"
#include "codecs/gif/gif_format.h"
#include "qel/lines/pixels.h"

namespace qel::codecs {
namespace {

/// The rows of an interlaced frame come in four passes.
struct Pass {
  long first, step;
};
constexpr Pass kInterlaced[] = {{0, 8}, {4, 8}, {2, 4}, {1, 2}};
constexpr Pass kPlain[] = {{0, 1}};

class GifDecoder : public Decoder {
 public:
  explicit GifDecoder(int nFile) : m_reader(nFile) {}
  ~GifDecoder() override {
    if (m_gif != nullptr) DGifCloseFile(m_gif, nullptr);
  }

  bool ReadInfo(PictureInfo &info) override;
  bool ReadPixels(const PixelRows &rows, const Progress &progress) override;

 private:
  static int xRead(GifFileType *gif, GifByteType *dst, int bytes);
  bool xFindFrame();
  bool xFail() {
    error = GifReason(m_gif->Error);
    return false;
  }
  void xClear(const PixelRows &rows);
  bool xReadPass(const PixelRows &rows, const Pass &pass, const Progress &progress);

  FileReader m_reader;
  GifFileType *m_gif = nullptr;
  std::vector<unsigned char> m_line;  // of the screen, a byte a pixel
  long m_rowsRead = 0;
};

int GifDecoder::xRead(GifFileType *gif, GifByteType *dst, int bytes) {
  auto &decoder = *static_cast<GifDecoder *>(gif->UserData);
  return static_cast<int>(decoder.m_reader.Read(dst, static_cast<std::size_t>(bytes)));
}

/// Passes over everything before the first frame.
bool GifDecoder::xFindFrame() {
  for (;;) {
    GifRecordType record;
    if (DGifGetRecordType(m_gif, &record) != GIF_OK) return xFail();
    if (record == IMAGE_DESC_RECORD_TYPE) return DGifGetImageDesc(m_gif) == GIF_OK || xFail();
    if (record == TERMINATE_RECORD_TYPE) return error = "the file holds no picture", false;
    int code;
    GifByteType *block = nullptr;
    if (DGifGetExtension(m_gif, &code, &block) != GIF_OK) return xFail();
    while (block != nullptr)
      if (DGifGetExtensionNext(m_gif, &block) != GIF_OK) return xFail();
  }
}

bool GifDecoder::ReadInfo(PictureInfo &info) {
  int fault = 0;
  m_gif = DGifOpen(this, xRead, &fault);
  if (m_gif == nullptr) return error = GifReason(fault), false;
  if (!xFindFrame()) return false;
  const GifImageDesc &frame = m_gif->Image;
  info.width = std::max<long>(m_gif->SWidth, long{frame.Left} + frame.Width);
  info.height = std::max<long>(m_gif->SHeight, long{frame.Top} + frame.Height);
  info.least_bytes = LeastBytes(info.width, info.height, 8, kMostOfLzw);  // the screen is hardly larger than its frame
  const ColorMapObject *const map = frame.ColorMap != nullptr ? frame.ColorMap : m_gif->SColorMap;
  if (map == nullptr) {
    info.type = 5;
    return true;
  }
  const std::size_t count = static_cast<std::size_t>(map->ColorCount);
  info.type = count <= 2 ? 0 : count <= 16 ? 2 : 3;
  info.palette.resize(count <= 2 ? 2 : count <= 16 ? 16 : 256);
  for (std::size_t i = 0; i < std::min(count, info.palette.size()); ++i)
    info.palette[i] = {map->Colors[i].Blue, map->Colors[i].Green, map->Colors[i].Red, 0};
  return true;
}

/// Gives every row the screen with a frame of 0.
void GifDecoder::xClear(const PixelRows &rows) {
  const GifImageDesc &frame = m_gif->Image;
  m_line.assign(static_cast<std::size_t>(rows.width), static_cast<unsigned char>(m_gif->SBackGroundColor));
  std::vector<unsigned char> outside(RowBytes(rows)), inside(RowBytes(rows));
  lines::PackLowBits(outside.data(), m_line.data(), rows.bit_count, rows.width);
  std::fill_n(m_line.begin() + frame.Left, frame.Width, 0);
  lines::PackLowBits(inside.data(), m_line.data(), rows.bit_count, rows.width);
  if (m_gif->SBackGroundColor == 0)
    ClearRowsFrom(rows, 0);
  else
    for (long y = 0; y < rows.height; ++y)
      std::memcpy(rows.Row(y), (y >= frame.Top && y < frame.Top + frame.Height ? inside : outside).data(),
                  inside.size());
  lines::UnpackIndices(m_line.data(), outside.data(), rows.bit_count, rows.width);
}

bool GifDecoder::xReadPass(const PixelRows &rows, const Pass &pass, const Progress &progress) {
  const GifImageDesc &frame = m_gif->Image;
  for (long y = pass.first; y < frame.Height; y += pass.step) {
    unsigned char *const line = m_line.data() + frame.Left;
    if (DGifGetLine(m_gif, line, frame.Width) != GIF_OK) return xFail();
    lines::PackLowBits(rows.Row(frame.Top + y), m_line.data(), rows.bit_count, rows.width);
    if (progress(++m_rowsRead, frame.Height)) return error = "stopped", false;
  }
  return true;
}

bool GifDecoder::ReadPixels(const PixelRows &rows, const Progress &progress) {
  xClear(rows);
  if (m_gif->Image.Width < 1) return error = "the file holds no picture", false;
  if (!m_gif->Image.Interlace) return xReadPass(rows, kPlain[0], progress);
  return std::all_of(std::begin(kInterlaced), std::end(kInterlaced),
                     [&](const Pass &pass) { return xReadPass(rows, pass, progress); });
}

}  // namespace

std::unique_ptr<Decoder> OpenGif(int nFile) {
  return std::make_unique<GifDecoder>(nFile);
}

}  // namespace qel::codecs

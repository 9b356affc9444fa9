// Rows into PNG files, through libpng, which takes the engine's own pixels from the store wherever it can.
#include <algorithm>

#include "codecs/common/file_bytes.h"
#include "codecs/common/saved_rows.h"
#include "codecs/png/png_error.h"
#include "codecs/png/png_format.h"
#include "qel/lines/file_pixels.h"

namespace qel::codecs {
namespace {

class PngEncoder : public Encoder {
 public:
  explicit PngEncoder(int nFile) : m_writer(nFile) {}
  ~PngEncoder() override { png_destroy_write_struct(&m_png, &m_info); }

  bool WriteInfo(const PictureInfo &info) override;
  bool WritePixels(const PixelRows &rows, const Progress &progress) override;

 private:
  static void xWrite(png_structp png, png_bytep src, std::size_t bytes);
  static void xFlush(png_structp) {}
  int xColorType(const PixelRows &rows, const SavedRows &saved) const;
  void xSetPalette(const PixelRows &rows, const SavedRows &saved);
  bool xWriteRows(const PixelRows &rows, SavedRows &saved, const Progress &progress);

  FileWriter m_writer;
  PngError m_error;
  png_structp m_png = nullptr;
  png_infop m_info = nullptr;
  PictureInfo m_picture;
};

void PngEncoder::xWrite(png_structp png, png_bytep src, std::size_t bytes) {
  auto &encoder = *static_cast<PngEncoder *>(png_get_io_ptr(png));
  if (!encoder.m_writer.Write(src, bytes)) png_error(png, "the file cannot be written");
}

int PngEncoder::xColorType(const PixelRows &rows, const SavedRows &saved) const {
  if (rows.bit_count <= 8) return saved.IsGrayRamp() ? PNG_COLOR_TYPE_GRAY : PNG_COLOR_TYPE_PALETTE;
  return saved.HasAlpha() ? PNG_COLOR_TYPE_RGB_ALPHA : PNG_COLOR_TYPE_RGB;
}

/// As many colours as the picture has, but enough for its pixels: every index has to have one.
void PngEncoder::xSetPalette(const PixelRows &rows, const SavedRows &saved) {
  png_color colors[256];
  const int all = 1 << rows.bit_count;
  int count = std::min(static_cast<int>(m_picture.palette.size()), all);
  if (rows.bit_count < 8) {
    count = all;
  } else if (count < all) {
    for (long y = 0; y < rows.height; ++y) count = std::max(count, lines::LargestByte(rows.Row(y), rows.width) + 1);
  }
  for (int i = 0; i < count; ++i) {
    const RGBQUAD &color = saved.Table()[i];
    colors[i] = {color.rgbRed, color.rgbGreen, color.rgbBlue};
  }
  png_set_PLTE(m_png, m_info, colors, count);
}

bool PngEncoder::WriteInfo(const PictureInfo &info) {
  m_picture = info;
  m_png = png_create_write_struct(PNG_LIBPNG_VER_STRING, &m_error, PngError::Exit, PngError::Ignore);
  m_info = m_png != nullptr ? png_create_info_struct(m_png) : nullptr;
  if (m_info == nullptr) error = "there is not enough memory";
  return m_info != nullptr;
}

bool PngEncoder::xWriteRows(const PixelRows &rows, SavedRows &saved, const Progress &progress) {
  if (setjmp(m_error.jump)) return false;
  const int colors = xColorType(rows, saved);
  const int depth = rows.bit_count == 48 ? 16 : std::min(rows.bit_count, 8);
  png_set_write_fn(m_png, this, xWrite, xFlush);
  png_set_IHDR(m_png, m_info, static_cast<png_uint_32>(rows.width), static_cast<png_uint_32>(rows.height), depth,
               colors, PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
  if (colors == PNG_COLOR_TYPE_PALETTE) xSetPalette(rows, saved);
  if (m_picture.dpm_x > 0 && m_picture.dpm_y > 0)
    png_set_pHYs(m_png, m_info, static_cast<png_uint_32>(m_picture.dpm_x), static_cast<png_uint_32>(m_picture.dpm_y),
                 PNG_RESOLUTION_METER);
  png_write_info(m_png, m_info);
  if (rows.bit_count > 8) png_set_bgr(m_png);
  if (depth == 16) png_set_swap(m_png);
  const bool isConverted = rows.bit_count == 16 || (rows.bit_count == 32 && !saved.HasAlpha());
  for (long y = 0; y < rows.height; ++y) {
    png_write_row(m_png, isConverted ? saved.Rgb24(y) : rows.Row(y));
    if (progress(y + 1, rows.height)) png_error(m_png, "stopped");
  }
  png_write_end(m_png, m_info);
  if (!m_writer.Flush()) png_error(m_png, "the file cannot be written");
  return true;
}

bool PngEncoder::WritePixels(const PixelRows &rows, const Progress &progress) {
  SavedRows saved(m_picture, rows);
  const bool written = xWriteRows(rows, saved, progress);
  if (!written) error = m_error.message;
  return written;
}

}  // namespace

std::unique_ptr<Encoder> CreatePng(int nFile) {
  return std::make_unique<PngEncoder>(nFile);
}

}  // namespace qel::codecs

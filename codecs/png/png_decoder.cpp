// PNG files into rows, through libpng, whose transformations give the engine's own pixels in the store.
#include "codecs/common/file_bytes.h"
#include "codecs/common/plausible.h"
#include "codecs/common/store.h"
#include "codecs/png/png_error.h"
#include "codecs/png/png_format.h"
#include "qel/lines/file_pixels.h"

namespace qel::codecs {
namespace {

constexpr std::size_t kLargestChunk = 8 << 20;  // bytes, unpacked, of profiles and texts, which are not used
constexpr png_uint_32 kMostChunks = 1000;       // of them that are kept

class PngDecoder : public Decoder {
 public:
  explicit PngDecoder(int nFile) : m_reader(nFile) {}
  ~PngDecoder() override { png_destroy_read_struct(&m_png, &m_info, nullptr); }

  bool ReadInfo(PictureInfo &info) override;
  bool ReadPixels(const PixelRows &rows, const Progress &progress) override;

 private:
  static void xRead(png_structp png, png_bytep dst, std::size_t bytes);
  static void xSpreadCrumbs(png_structp png, png_row_infop row, png_bytep line);
  int xSetConversions();
  void xSpreadTo4Bits(int factor);
  void xTellPalette(PictureInfo &info);
  void xTellResolution(PictureInfo &info);
  bool xReadRows(const PixelRows &rows, const Progress &progress);

  FileReader m_reader;
  PngError m_error;
  png_structp m_png = nullptr;
  png_infop m_info = nullptr;
  int m_factor = 1;  // of 2-bit pixels that become 4-bit ones
  int m_passes = 1;
  long m_rowsRead = 0;
};

void PngDecoder::xRead(png_structp png, png_bytep dst, std::size_t bytes) {
  auto &decoder = *static_cast<PngDecoder *>(png_get_io_ptr(png));
  if (decoder.m_reader.Read(dst, bytes) != bytes) png_error(png, "the file ends early");
}

/// Called by libpng with each row of 2-bit pixels, in a buffer with room for the wider ones.
void PngDecoder::xSpreadCrumbs(png_structp png, png_row_infop row, png_bytep line) {
  const auto &decoder = *static_cast<PngDecoder *>(png_get_user_transform_ptr(png));
  lines::CrumbsToNibbles(line, line, row->width, decoder.m_factor);
}

void PngDecoder::xSpreadTo4Bits(int factor) {
  m_factor = factor;
  png_set_read_user_transform_fn(m_png, xSpreadCrumbs);
  png_set_user_transform_info(m_png, this, 4, 1);
}

/// Asks libpng for the pixels of the type that fits the file best; that type.
int PngDecoder::xSetConversions() {
  const int bits = png_get_bit_depth(m_png, m_info);
  const int colors = png_get_color_type(m_png, m_info);
  const bool hasPalette = colors == PNG_COLOR_TYPE_PALETTE;
  if (bits == 2) xSpreadTo4Bits(hasPalette ? 1 : 5);
  if (hasPalette) return bits == 1 ? 0 : bits == 8 ? 3 : 2;
  if (colors == PNG_COLOR_TYPE_GRAY && bits <= 8) return bits == 1 ? 0 : bits == 8 ? 5 : 4;

  png_set_gray_to_rgb(m_png);
  png_set_bgr(m_png);
  if (bits == 8) return colors & PNG_COLOR_MASK_ALPHA ? 8 : 1;
  png_set_strip_alpha(m_png);
  png_set_swap(m_png);
  return 9;
}

void PngDecoder::xTellPalette(PictureInfo &info) {
  png_colorp colors = nullptr;
  int count = 0;
  if (info.type == 0) info.palette = {{0, 0, 0, 0}, {255, 255, 255, 0}};
  if (png_get_PLTE(m_png, m_info, &colors, &count) == 0 || (info.type != 0 && info.type != 2 && info.type != 3)) return;
  info.palette.clear();
  for (int i = 0; i < count; ++i) info.palette.push_back({colors[i].blue, colors[i].green, colors[i].red, 0});
}

void PngDecoder::xTellResolution(PictureInfo &info) {
  png_uint_32 x = 0, y = 0;
  int unit = PNG_RESOLUTION_UNKNOWN;
  png_get_pHYs(m_png, m_info, &x, &y, &unit);
  if (unit != PNG_RESOLUTION_METER) return;
  info.dpm_x = x;
  info.dpm_y = y;
}

bool PngDecoder::ReadInfo(PictureInfo &info) {
  m_png = png_create_read_struct(PNG_LIBPNG_VER_STRING, &m_error, PngError::Exit, PngError::Ignore);
  m_info = m_png != nullptr ? png_create_info_struct(m_png) : nullptr;
  if (m_info == nullptr) return error = "there is not enough memory", false;
  if (setjmp(m_error.jump)) return error = m_error.message, false;
  png_set_chunk_malloc_max(m_png, kLargestChunk);
  png_set_chunk_cache_max(m_png, kMostChunks);
  png_set_read_fn(m_png, this, xRead);
  png_read_info(m_png, m_info);
  info.width = png_get_image_width(m_png, m_info);
  info.height = png_get_image_height(m_png, m_info);
  const int bits = png_get_bit_depth(m_png, m_info) * png_get_channels(m_png, m_info);
  info.least_bytes = LeastBytes(info.width, info.height, bits, kMostOfDeflate);
  info.type = xSetConversions();
  xTellPalette(info);
  xTellResolution(info);
  return true;
}

bool PngDecoder::xReadRows(const PixelRows &rows, const Progress &progress) {
  if (setjmp(m_error.jump)) return false;
  m_passes = png_set_interlace_handling(m_png);
  png_read_update_info(m_png, m_info);
  if (png_get_rowbytes(m_png, m_info) != RowBytes(rows)) png_error(m_png, "the rows are of another size");
  const long all = rows.height * m_passes;
  for (long done = 0; done < all; ++done) {
    png_read_row(m_png, rows.Row(done % rows.height), nullptr);
    m_rowsRead = done + 1;
    if (progress(m_rowsRead, all)) png_error(m_png, "stopped");
  }
  png_read_end(m_png, nullptr);
  return true;
}

bool PngDecoder::ReadPixels(const PixelRows &rows, const Progress &progress) {
  // The rows of an interlaced picture come in several times, with more pixels each time, and keep those they have.
  if (png_get_interlace_type(m_png, m_info) != PNG_INTERLACE_NONE) ClearRowsFrom(rows, 0);
  if (xReadRows(rows, progress)) return true;
  if (m_passes == 1) ClearRowsFrom(rows, m_rowsRead);
  error = m_error.message;
  return false;
}

}  // namespace

std::unique_ptr<Decoder> OpenPng(int nFile) {
  return std::make_unique<PngDecoder>(nFile);
}

}  // namespace qel::codecs

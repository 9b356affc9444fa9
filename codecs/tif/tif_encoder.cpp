// Rows into TIFF files, through libtiff, in strips that are packed whole.
#include <algorithm>
#include <cstring>
#include <vector>

#include "codecs/common/saved_rows.h"
#include "codecs/common/store.h"
#include "codecs/tif/tif_file.h"
#include "codecs/tif/tif_format.h"
#include "qel/lines/file_pixels.h"

namespace qel::codecs {
namespace {

constexpr std::size_t kStripBytes = 256 * 1024;
constexpr std::size_t kLargestClassic = 3ul << 30;  // bytes of pixels from which on offsets may pass 32 bits

class TiffEncoder : public Encoder {
 public:
  explicit TiffEncoder(int nFile) : m_file(nFile) {}

  bool WriteInfo(const PictureInfo &info) override;
  bool WritePixels(const PixelRows &rows, const Progress &progress) override;

 private:
  template <class... Values>
  void xSet(std::uint32_t tag, Values... values) {
    m_good = TIFFSetField(m_file.Get(), tag, values...) != 0 && m_good;
  }
  void xSetKind(const PixelRows &rows, const SavedRows &saved);
  void xSetColors(const PixelRows &rows, const SavedRows &saved);
  void xSetCompression(const PixelRows &rows);
  bool xWriteStrips(const PixelRows &rows, SavedRows &saved, const Progress &progress);
  void xPack(unsigned char *dst, const PixelRows &rows, SavedRows &saved, long y) const;

  TiffFile m_file;
  PictureInfo m_picture;
  int m_samples = 1, m_bits = 8;
  int m_photometric = PHOTOMETRIC_RGB;
  bool m_good = true;  // libtiff took all tags
};

// What it is ---------------------------------------------------------------------------------------------------------

bool IsRampDown(const RGBQUAD *table) {
  constexpr RGBQUAD kDown[] = {{255, 255, 255, 0}, {0, 0, 0, 0}};
  return std::memcmp(table, kDown, sizeof kDown) == 0;
}

void TiffEncoder::xSetKind(const PixelRows &rows, const SavedRows &saved) {
  m_samples = rows.bit_count <= 8 ? 1 : saved.HasAlpha() ? 4 : 3;
  m_bits = rows.bit_count == 48 ? 16 : std::min(rows.bit_count, 8);
  if (m_samples > 1)
    m_photometric = PHOTOMETRIC_RGB;
  else if (saved.IsGrayRamp())
    m_photometric = PHOTOMETRIC_MINISBLACK;
  else
    m_photometric = rows.bit_count == 1 && IsRampDown(saved.Table()) ? PHOTOMETRIC_MINISWHITE : PHOTOMETRIC_PALETTE;
  xSet(TIFFTAG_IMAGEWIDTH, static_cast<std::uint32_t>(rows.width));
  xSet(TIFFTAG_IMAGELENGTH, static_cast<std::uint32_t>(rows.height));
  xSet(TIFFTAG_ORIENTATION, ORIENTATION_TOPLEFT);
  xSet(TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
  xSet(TIFFTAG_SAMPLESPERPIXEL, m_samples);
  xSet(TIFFTAG_BITSPERSAMPLE, m_bits);
  xSet(TIFFTAG_PHOTOMETRIC, m_photometric);
  const std::uint16_t alpha = EXTRASAMPLE_UNASSALPHA;
  if (m_samples == 4) xSet(TIFFTAG_EXTRASAMPLES, 1, &alpha);
  if (m_photometric == PHOTOMETRIC_PALETTE) xSetColors(rows, saved);
  if (m_picture.dpm_x <= 0 || m_picture.dpm_y <= 0) return;
  xSet(TIFFTAG_RESOLUTIONUNIT, RESUNIT_CENTIMETER);
  xSet(TIFFTAG_XRESOLUTION, static_cast<double>(m_picture.dpm_x) / 100);
  xSet(TIFFTAG_YRESOLUTION, static_cast<double>(m_picture.dpm_y) / 100);
}

void TiffEncoder::xSetColors(const PixelRows &rows, const SavedRows &saved) {
  std::uint16_t red[256], green[256], blue[256];
  for (int i = 0; i < 1 << rows.bit_count; ++i) {
    const RGBQUAD &color = saved.Table()[i];
    red[i] = static_cast<std::uint16_t>(color.rgbRed * 257);
    green[i] = static_cast<std::uint16_t>(color.rgbGreen * 257);
    blue[i] = static_cast<std::uint16_t>(color.rgbBlue * 257);
  }
  xSet(TIFFTAG_COLORMAP, red, green, blue);
}

/// Differences of neighbours pack better than levels; of indices they mean nothing.
void TiffEncoder::xSetCompression(const PixelRows &rows) {
  if (m_bits == 1 && m_photometric != PHOTOMETRIC_PALETTE) return xSet(TIFFTAG_COMPRESSION, COMPRESSION_CCITTFAX4);
  xSet(TIFFTAG_COMPRESSION, COMPRESSION_ADOBE_DEFLATE);
  if (rows.bit_count >= 8 && m_photometric != PHOTOMETRIC_PALETTE) xSet(TIFFTAG_PREDICTOR, PREDICTOR_HORIZONTAL);
}

bool TiffEncoder::WriteInfo(const PictureInfo &info) {
  m_picture = info;
  return true;
}

// Pixels -------------------------------------------------------------------------------------------------------------

/// A row as the file has it.
void TiffEncoder::xPack(unsigned char *dst, const PixelRows &rows, SavedRows &saved, long y) const {
  if (m_samples == 1)
    std::memcpy(dst, rows.Row(y), RowBytes(rows));
  else if (m_samples == 4)
    lines::SwapRedAndBlue32(dst, rows.Row(y), rows.width);
  else if (m_bits == 16)
    lines::Rgb16To48(dst, rows.Row(y), rows.width, 3);
  else
    lines::SwapRedAndBlue24(dst, saved.Rgb24(y), rows.width);
}

bool TiffEncoder::xWriteStrips(const PixelRows &rows, SavedRows &saved, const Progress &progress) {
  const std::size_t lineBytes =
      (static_cast<std::size_t>(rows.width) * static_cast<std::size_t>(m_bits * m_samples) + 7) / 8;
  const long perStrip = std::clamp(static_cast<long>(kStripBytes / lineBytes), 1L, rows.height);
  xSet(TIFFTAG_ROWSPERSTRIP, static_cast<std::uint32_t>(perStrip));
  if (!m_good) return false;
  std::vector<unsigned char> strip(lineBytes * static_cast<std::size_t>(perStrip));
  for (long y = 0; y < rows.height; y += perStrip) {
    const long count = std::min(perStrip, rows.height - y);
    for (long i = 0; i < count; ++i) xPack(strip.data() + lineBytes * static_cast<std::size_t>(i), rows, saved, y + i);
    if (TIFFWriteEncodedStrip(m_file.Get(), static_cast<std::uint32_t>(y / perStrip), strip.data(),
                              static_cast<tmsize_t>(lineBytes) * count) < 0)
      return false;
    if (progress(y + count, rows.height)) return error = "stopped", false;
  }
  return TIFFFlush(m_file.Get()) != 0;
}

bool TiffEncoder::WritePixels(const PixelRows &rows, const Progress &progress) {
  SavedRows saved(m_picture, rows);
  const bool isLarge = RowBytes(rows) > kLargestClassic / static_cast<std::size_t>(rows.height);
  bool isWhole = m_file.Open(isLarge ? "w8" : "w");
  if (isWhole) {
    xSetKind(rows, saved);
    xSetCompression(rows);
    isWhole = xWriteStrips(rows, saved, progress);
    m_file.Close();
  }
  if (error.empty()) error = m_file.Error();
  return isWhole && error.empty();
}

}  // namespace

std::unique_ptr<Encoder> CreateTiff(int nFile) {
  return std::make_unique<TiffEncoder>(nFile);
}

}  // namespace qel::codecs

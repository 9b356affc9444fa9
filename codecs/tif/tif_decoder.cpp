// TIFF files into rows, through libtiff. A picture comes as tiles or strips, several planes of them when its channels
// stand apart; each is unpacked whole and its lines go into the rows as the engine's own pixels. Strips too large for
// that, and those that are damaged, are read line by line instead, so that all lines before the damage are kept.
#include <algorithm>
#include <cmath>
#include <cstring>
#include <vector>

#include "codecs/common/store.h"
#include "codecs/tif/tif_file.h"
#include "codecs/tif/tif_format.h"
#include "codecs/tif/tif_layout.h"
#include "qel/lines/file_pixels.h"
#include "qel/lines/logic.h"

namespace qel::codecs {
namespace {

constexpr std::uint64_t kLargestStrip = 4 << 20;     // bytes that are unpacked at once
constexpr std::uint64_t kLargestTile = 256 << 20;    // a tile has to be
constexpr std::uint64_t kLargestRaster = 1ul << 30;  // of a picture that libtiff makes the colours of

class TiffDecoder : public Decoder {
 public:
  explicit TiffDecoder(int nFile) : m_file(nFile) {}

  bool ReadInfo(PictureInfo &info) override;
  bool ReadPixels(const PixelRows &rows, const Progress &progress) override;

 private:
  bool xRead(const PixelRows &rows, const Progress &progress);
  bool xReadStrips(const PixelRows &rows, const Progress &progress);
  bool xReadLines(const PixelRows &rows, long y, long count);
  bool xRestart();
  bool xReadStrip(const PixelRows &rows, long y, long count);
  bool xReadTiles(const PixelRows &rows, const Progress &progress);
  bool xReadTileRow(const PixelRows &rows, long y);
  bool xReadRaster(const PixelRows &rows, const Progress &progress);
  void xPut(const PixelRows &rows, unsigned char *row, long x, const unsigned char *src, long n) const;
  bool xTell(const Progress &progress, long rowsDone);

  TiffFile m_file;
  TiffLayout m_layout;
  std::vector<unsigned char> m_block;  // a strip, tile or line as the file has it
  long m_tileWidth = 0, m_tileHeight = 0;
  int m_plane = 0;
};

// Information --------------------------------------------------------------------------------------------------------

/// Dots per metre.
long Resolution(const TiffFile &file, std::uint32_t tag) {
  const double perUnit = file.Tag<float>(tag);
  const int unit = file.Tag<std::uint16_t>(TIFFTAG_RESOLUTIONUNIT);
  const double dpm = unit == RESUNIT_INCH ? perUnit / 0.0254 : unit == RESUNIT_CENTIMETER ? perUnit * 100 : 0;
  return dpm > 0 && dpm < 2147483647 ? std::lround(dpm) : 0;
}

bool TiffDecoder::ReadInfo(PictureInfo &info) {
  if (!m_file.Open("r")) return error = m_file.Error(), false;
  if (!JudgeTiff(m_file, m_layout, error)) return false;
  info.type = m_layout.type;
  info.palette = m_layout.palette;
  info.width = m_layout.width;
  info.height = m_layout.height;
  info.least_bytes = m_layout.least_bytes;
  info.dpm_x = Resolution(m_file, TIFFTAG_XRESOLUTION);
  info.dpm_y = Resolution(m_file, TIFFTAG_YRESOLUTION);
  if (m_layout.LiesOnItsSide()) {
    std::swap(info.width, info.height);
    std::swap(info.dpm_x, info.dpm_y);
  }
  return true;
}

// Lines --------------------------------------------------------------------------------------------------------------

/// Puts n pixels of the file, of all channels or those of the plane at hand, into a row from pixel x on.
void TiffDecoder::xPut(const PixelRows &rows, unsigned char *row, long x, const unsigned char *src, long n) const {
  unsigned char *const dst = row + x * rows.bit_count / 8;
  if (m_layout.planes > 1) {
    const int place = m_plane < 3 ? 2 - m_plane : m_plane;
    const int channels = m_layout.type == 8 ? 4 : 3;
    if (m_layout.bits == 8)
      lines::PutChannel(dst + place, channels, src, 1, n);
    else
      lines::PutChannel16(dst + 2 * place, src, n);
    return;
  }
  const long bytes = (n * rows.bit_count + 7) / 8;
  switch (m_layout.pixels) {
    case TiffPixels::kAsStored:
      std::memcpy(dst, src, static_cast<std::size_t>(bytes));
      break;
    case TiffPixels::kCrumbs:
      lines::CrumbsToNibbles(dst, src, n, m_layout.palette.empty() ? 5 : 1);
      break;
    case TiffPixels::kRgb:
      lines::SwapRedAndBlue24(dst, src, n);
      break;
    case TiffPixels::kRgba:
      lines::SwapRedAndBlue32(dst, src, n);
      break;
    case TiffPixels::kCmyk:
      lines::CmykTo24(dst, src, n, false);
      break;
    case TiffPixels::kGray16:
      lines::Gray16To48(dst, src, n, m_layout.samples);
      break;
    case TiffPixels::kRgb16:
      lines::Rgb16To48(dst, src, n, m_layout.samples);
      break;
    case TiffPixels::kRaster:
      break;
  }
  if (m_layout.is_inverted) lines::InvertBytes(dst, bytes);
}

bool TiffDecoder::xTell(const Progress &progress, long rowsDone) {
  if (!progress(m_plane * m_layout.height + rowsDone, m_layout.planes * m_layout.height)) return true;
  return error = "stopped", false;
}

// Strips -------------------------------------------------------------------------------------------------------------

/// Reads lines of a strip one by one.
bool TiffDecoder::xReadLines(const PixelRows &rows, long y, long count) {
  m_block.resize(std::max<std::size_t>(m_block.size(), m_layout.LineBytes(rows.width)));
  for (const long end = y + count; y < end; ++y) {
    const auto line = static_cast<std::uint32_t>(y);
    if (TIFFReadScanline(m_file.Get(), m_block.data(), line, static_cast<std::uint16_t>(m_plane)) < 0) return false;
    xPut(rows, rows.Row(y), 0, m_block.data(), rows.width);
  }
  return true;
}

/// Makes libtiff forget how far it is in a strip.
bool TiffDecoder::xRestart() {
  return TIFFSetDirectory(m_file.Get(), 0) != 0 && JudgeTiff(m_file, m_layout, error);
}

/// Reads a strip of `count` lines.
bool TiffDecoder::xReadStrip(const PixelRows &rows, long y, long count) {
  const std::uint64_t lineBytes = m_layout.LineBytes(rows.width);
  const auto bytes = static_cast<tmsize_t>(lineBytes * static_cast<std::uint64_t>(count));
  m_block.resize(std::max(m_block.size(), static_cast<std::size_t>(bytes)));
  const std::uint32_t strip =
      TIFFComputeStrip(m_file.Get(), static_cast<std::uint32_t>(y), static_cast<std::uint16_t>(m_plane));
  if (TIFFReadEncodedStrip(m_file.Get(), strip, m_block.data(), bytes) != bytes)
    return xRestart() && xReadLines(rows, y, count);
  for (long i = 0; i < count; ++i)
    xPut(rows, rows.Row(y + i), 0, m_block.data() + lineBytes * static_cast<std::uint64_t>(i), rows.width);
  return true;
}

bool TiffDecoder::xReadStrips(const PixelRows &rows, const Progress &progress) {
  const long perStrip = std::clamp<long>(m_file.Tag<std::uint32_t>(TIFFTAG_ROWSPERSTRIP), 1, rows.height);
  const bool isLarge = m_layout.LineBytes(rows.width) > kLargestStrip / static_cast<std::uint64_t>(perStrip);
  const long atOnce = isLarge ? 1 : perStrip;
  for (m_plane = 0; m_plane < m_layout.planes; ++m_plane)
    for (long y = 0; y < rows.height; y += atOnce) {
      const long count = std::min(atOnce, rows.height - y);
      if (!(isLarge ? xReadLines(rows, y, count) : xReadStrip(rows, y, count))) return false;
      if (!xTell(progress, y + count)) return false;
    }
  return true;
}

// Tiles --------------------------------------------------------------------------------------------------------------

bool TiffDecoder::xReadTileRow(const PixelRows &rows, long y) {
  const std::uint64_t lineBytes = m_layout.LineBytes(m_tileWidth);
  bool isWhole = true;
  for (long x = 0; x < rows.width; x += m_tileWidth) {
    const tmsize_t read = TIFFReadTile(m_file.Get(), m_block.data(), static_cast<std::uint32_t>(x),
                                       static_cast<std::uint32_t>(y), 0, static_cast<std::uint16_t>(m_plane));
    if (read != static_cast<tmsize_t>(m_block.size())) {
      isWhole = false;
      continue;
    }
    const long width = std::min(m_tileWidth, rows.width - x), height = std::min(m_tileHeight, rows.height - y);
    for (long i = 0; i < height; ++i)
      xPut(rows, rows.Row(y + i), x, m_block.data() + lineBytes * static_cast<std::uint64_t>(i), width);
  }
  return isWhole;
}

bool TiffDecoder::xReadTiles(const PixelRows &rows, const Progress &progress) {
  m_tileWidth = m_file.Tag<std::uint32_t>(TIFFTAG_TILEWIDTH);
  m_tileHeight = m_file.Tag<std::uint32_t>(TIFFTAG_TILELENGTH);
  const std::uint64_t bytes = TIFFTileSize64(m_file.Get());
  const std::uint64_t lineBytes = m_layout.LineBytes(m_tileWidth);
  if (m_tileHeight < 1 || bytes > kLargestTile || bytes / static_cast<std::uint64_t>(m_tileHeight) != lineBytes)
    return error = "the picture's tiles are too large", false;
  m_block.resize(bytes);
  bool isWhole = true;
  for (m_plane = 0; m_plane < m_layout.planes; ++m_plane)
    for (long y = 0; y < rows.height; y += m_tileHeight) {
      isWhole = xReadTileRow(rows, y) && isWhole;
      if (!xTell(progress, std::min(y + m_tileHeight, rows.height))) return false;
    }
  return isWhole;
}

// Through libtiff's colours ------------------------------------------------------------------------------------------

/// Where the raster of a picture as stored has the pixels that are seen: from the top left one on, steps to the right
/// and down.
struct Walk {
  long start, right, down;
};

Walk WalkOf(const TiffLayout &layout) {
  const long w = layout.width, last = layout.width * (layout.height - 1);
  switch (layout.orientation) {
    case ORIENTATION_TOPRIGHT:
      return {w - 1, -1, w};
    case ORIENTATION_BOTRIGHT:
      return {last + w - 1, -1, -w};
    case ORIENTATION_BOTLEFT:
      return {last, 1, -w};
    case ORIENTATION_LEFTTOP:
      return {0, w, 1};
    case ORIENTATION_RIGHTTOP:
      return {last, -w, 1};
    case ORIENTATION_RIGHTBOT:
      return {last + w - 1, -w, -1};
    case ORIENTATION_LEFTBOT:
      return {w - 1, w, -1};
    default:
      return {0, 1, w};
  }
}

bool TiffDecoder::xReadRaster(const PixelRows &rows, const Progress &progress) {
  const auto pixels = static_cast<std::uint64_t>(rows.width) * static_cast<std::uint64_t>(rows.height);
  if (pixels > kLargestRaster / sizeof(std::uint32_t)) return error = "the picture is too large", false;
  char reason[1024] = "";
  TIFFRGBAImage image;
  if (TIFFRGBAImageBegin(&image, m_file.Get(), 0, reason) == 0)
    return error = "the picture's kind of pixels is not supported", false;
  std::vector<std::uint32_t> raster(pixels);
  image.req_orientation = image.orientation;  // as stored
  const bool isRead = TIFFRGBAImageGet(&image, raster.data(), image.width, image.height) != 0;
  TIFFRGBAImageEnd(&image);
  const Walk walk = WalkOf(m_layout);
  for (long y = 0; y < rows.height; ++y) {
    lines::RasterToPixels(rows.Row(y), raster.data() + walk.start + y * walk.down, rows.width, walk.right,
                          rows.bit_count / 8);
    if (!xTell(progress, y + 1)) return false;
  }
  return isRead;
}

// All ----------------------------------------------------------------------------------------------------------------

bool TiffDecoder::xRead(const PixelRows &rows, const Progress &progress) {
  if (m_layout.pixels == TiffPixels::kRaster) return xReadRaster(rows, progress);
  return TIFFIsTiled(m_file.Get()) ? xReadTiles(rows, progress) : xReadStrips(rows, progress);
}

bool TiffDecoder::ReadPixels(const PixelRows &rows, const Progress &progress) {
  ClearRowsFrom(rows, 0);
  clears_padding = rows.width * rows.bit_count % 8 == 0;
  const bool isUpsideDown = m_layout.pixels != TiffPixels::kRaster && m_layout.orientation == ORIENTATION_BOTLEFT;
  const PixelRows stored = isUpsideDown ? UpsideDown(rows) : rows;
  const bool isWhole = xRead(stored, progress);
  if (m_layout.is_associated)
    for (long y = 0; y < rows.height; ++y) lines::DivideByAlpha(rows.Row(y), rows.width);
  // libtiff goes on behind some faults, but tells them.
  if (error.empty()) error = m_file.Error();
  return isWhole && error.empty();
}

}  // namespace

std::unique_ptr<Decoder> OpenTiff(int nFile) {
  return std::make_unique<TiffDecoder>(nFile);
}

}  // namespace qel::codecs

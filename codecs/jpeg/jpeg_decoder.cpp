// JPEG files into rows, through libjpeg-turbo, which writes blue, green, red straight into the store.
#include <algorithm>
#include <cstring>
#include <vector>

#include "codecs/common/file_bytes.h"
#include "codecs/common/plausible.h"
#include "codecs/common/store.h"
#include "codecs/jpeg/jpeg_density.h"
#include "codecs/jpeg/jpeg_error.h"
#include "codecs/jpeg/jpeg_format.h"
#include "qel/lines/file_pixels.h"

// Behind <cstdio>, which it needs.
#include <jerror.h>

namespace qel::codecs {
namespace {

constexpr long kMaxMemory = 1L << 31;  // for the coefficients of a progressive picture
constexpr int kMaxScans = 500;         // a file of endless empty scans would take hours
constexpr JDIMENSION kMostBandRows = MAX_SAMP_FACTOR * DCTSIZE;

/// Hands libjpeg the bytes of the file. Behind its end stand end marks without end, so that the band of rows at hand is
/// finished.
struct JpegSource : jpeg_source_mgr {
  FileReader reader;
  bool ended = false;
  JDIMENSION last_band = 0;  // the one at hand when the file ended

  explicit JpegSource(int nFile) : jpeg_source_mgr{}, reader(nFile) {
    init_source = [](j_decompress_ptr) {};
    fill_input_buffer = Fill;
    skip_input_data = Skip;
    resync_to_restart = jpeg_resync_to_restart;
    term_source = [](j_decompress_ptr) {};
  }

  static JpegSource &Of(j_decompress_ptr info) { return static_cast<JpegSource &>(*info->src); }

  static boolean Fill(j_decompress_ptr info) {
    static constexpr JOCTET kEndMark[] = {0xFF, JPEG_EOI};
    JpegSource &source = Of(info);
    source.bytes_in_buffer = source.reader.Next(&source.next_input_byte);
    if (source.bytes_in_buffer > 0) return TRUE;
    WARNMS(info, JWRN_JPEG_EOF);
    if (!source.ended) source.last_band = info->input_iMCU_row;
    source.ended = true;
    source.next_input_byte = kEndMark;
    source.bytes_in_buffer = sizeof kEndMark;
    return TRUE;
  }

  static void Skip(j_decompress_ptr info, long count) {
    if (count <= 0) return;
    JpegSource &source = Of(info);
    const auto bytes = static_cast<std::size_t>(count);
    if (bytes <= source.bytes_in_buffer) {
      source.next_input_byte += bytes;
      source.bytes_in_buffer -= bytes;
    } else {
      source.reader.Skip(bytes - source.bytes_in_buffer);
      source.bytes_in_buffer = 0;
    }
  }
};

/// Ends a picture of too many scans.
void WatchScans(j_common_ptr info) {
  const auto *decompress = reinterpret_cast<j_decompress_ptr>(info);
  if (decompress->input_scan_number > kMaxScans) ERREXIT(info, JERR_BAD_PROGRESSION);
}

class JpegDecoder : public Decoder {
 public:
  explicit JpegDecoder(int nFile) : m_source(nFile) {}
  ~JpegDecoder() override { jpeg_destroy_decompress(&m_info); }

  bool ReadInfo(PictureInfo &info) override;
  bool ReadPixels(const PixelRows &rows, const Progress &progress) override;

 private:
  bool xReadRows(const PixelRows &rows, const Progress &progress);
  long xReadScanlines(const PixelRows &rows);

  JpegError m_error;
  JpegSource m_source;
  jpeg_progress_mgr m_watch = {};
  jpeg_decompress_struct m_info = {};
  JDIMENSION m_bandRows = 0;          // that are coded together
  std::vector<unsigned char> m_inks;  // a row of a picture of four inks
};

bool JpegDecoder::ReadInfo(PictureInfo &info) {
  m_error.Install(reinterpret_cast<jpeg_common_struct &>(m_info));
  if (setjmp(m_error.jump)) return error = m_error.message, false;
  jpeg_create_decompress(&m_info);
  m_info.mem->max_memory_to_use = kMaxMemory;
  m_info.src = &m_source;
  m_watch.progress_monitor = WatchScans;
  m_info.progress = &m_watch;
  if (jpeg_read_header(&m_info, TRUE) != JPEG_HEADER_OK || m_source.ended)
    return error = "the file ends in its header", false;

  const bool isGray = m_info.jpeg_color_space == JCS_GRAYSCALE;
  const bool hasInks = m_info.jpeg_color_space == JCS_CMYK || m_info.jpeg_color_space == JCS_YCCK;
  m_info.out_color_space = isGray ? JCS_GRAYSCALE : hasInks ? JCS_CMYK : JCS_EXT_BGR;
  info.type = isGray ? 5 : 1;
  info.width = m_info.image_width;
  info.height = m_info.image_height;
  // Of one channel: the others may be coarser.
  if (!m_info.arith_code) info.least_bytes = LeastBytes(info.width, info.height, 8, kMostOfHuffmanBlocks);
  info.dpm_x = DensityToDpm(m_info.density_unit, m_info.X_density);
  info.dpm_y = DensityToDpm(m_info.density_unit, m_info.Y_density);
  return true;
}

/// Reads the next rows, none behind a band's last; how many there are now.
long JpegDecoder::xReadScanlines(const PixelRows &rows) {
  JSAMPROW lines[kMostBandRows];
  const JDIMENSION first = m_info.output_scanline;
  if (m_info.out_color_space == JCS_CMYK) {
    lines[0] = m_inks.data();
    jpeg_read_scanlines(&m_info, lines, 1);
    lines::CmykTo24(rows.Row(first), m_inks.data(), rows.width, m_info.saw_Adobe_marker);
  } else {
    const JDIMENSION count = std::min(m_bandRows - first % m_bandRows, m_info.output_height - first);
    for (JDIMENSION i = 0; i < count; ++i) lines[i] = rows.Row(first + i);
    jpeg_read_scanlines(&m_info, lines, count);
  }
  return m_info.output_scanline;
}

bool JpegDecoder::xReadRows(const PixelRows &rows, const Progress &progress) {
  if (setjmp(m_error.jump)) return false;
  jpeg_start_decompress(&m_info);
  m_bandRows = static_cast<JDIMENSION>(m_info.max_v_samp_factor * DCTSIZE);
  const bool isSequential = !jpeg_has_multiple_scans(&m_info);
  while (m_info.output_scanline < m_info.output_height) {
    // A picture of many scans is all there by now, as fine as it came; of one in a single scan nothing more comes.
    const JDIMENSION band = m_info.output_scanline / m_bandRows;
    if (isSequential && m_source.ended && band > m_source.last_band) return false;
    if (progress(xReadScanlines(rows), rows.height)) {
      std::strcpy(m_error.message, "stopped");
      return false;
    }
  }
  return true;
}

bool JpegDecoder::ReadPixels(const PixelRows &rows, const Progress &progress) {
  if (m_info.out_color_space == JCS_CMYK) m_inks.resize(static_cast<std::size_t>(rows.width) * 4);
  const bool read = xReadRows(rows, progress);
  if (!read) ClearRowsFrom(rows, m_info.output_scanline);
  if (read && m_error.num_warnings == 0) return true;
  error = m_error.message;
  return false;
}

}  // namespace

std::unique_ptr<Decoder> OpenJpeg(int nFile) {
  return std::make_unique<JpegDecoder>(nFile);
}

}  // namespace qel::codecs

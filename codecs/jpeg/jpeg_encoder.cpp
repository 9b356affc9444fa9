// Rows into JPEG files, through libjpeg-turbo, which takes blue, green, red straight from the store.
#include <cstdlib>
#include <cstring>

#include "codecs/common/file_bytes.h"
#include "codecs/common/saved_rows.h"
#include "codecs/common/settings.h"
#include "codecs/jpeg/jpeg_density.h"
#include "codecs/jpeg/jpeg_error.h"
#include "codecs/jpeg/jpeg_format.h"

// Behind <cstdio>, which it needs.
#include <jerror.h>

namespace qel::codecs {
namespace {

constexpr int kDefaultQuality = 75;

/// Takes libjpeg's bytes to the file.
struct JpegTarget : jpeg_destination_mgr {
  FileWriter writer;
  JOCTET buffer[16 * 1024];

  explicit JpegTarget(int nFile) : jpeg_destination_mgr{}, writer(nFile) {
    init_destination = [](j_compress_ptr info) { Of(info).xStart(); };
    empty_output_buffer = [](j_compress_ptr info) -> boolean {
      if (!Of(info).writer.Write(Of(info).buffer, sizeof buffer)) ERREXIT(info, JERR_FILE_WRITE);
      Of(info).xStart();
      return TRUE;
    };
    term_destination = [](j_compress_ptr info) {
      JpegTarget &target = Of(info);
      target.writer.Write(target.buffer, sizeof buffer - target.free_in_buffer);
      if (!target.writer.Flush()) ERREXIT(info, JERR_FILE_WRITE);
    };
  }

  static JpegTarget &Of(j_compress_ptr info) { return static_cast<JpegTarget &>(*info->dest); }

  void xStart() {
    next_output_byte = buffer;
    free_in_buffer = sizeof buffer;
  }
};

class JpegEncoder : public Encoder {
 public:
  explicit JpegEncoder(int nFile) : m_target(nFile) {}
  ~JpegEncoder() override { jpeg_destroy_compress(&m_info); }

  bool WriteInfo(const PictureInfo &info) override;
  bool WritePixels(const PixelRows &rows, const Progress &progress) override;

 private:
  bool xWriteRows(SavedRows &rows, const Progress &progress, int quality);
  void xSetDensity();

  JpegError m_error;
  JpegTarget m_target;
  jpeg_compress_struct m_info = {};
  PictureInfo m_picture;
};

bool JpegEncoder::WriteInfo(const PictureInfo &info) {
  m_error.Install(reinterpret_cast<jpeg_common_struct &>(m_info));
  if (info.width > JPEG_MAX_DIMENSION || info.height > JPEG_MAX_DIMENSION)
    return error = "the picture is too large for JPEG", false;
  m_picture = info;
  return true;
}

/// Takes the unit that gives the resolution back more exactly.
void JpegEncoder::xSetDensity() {
  const auto loss = [this](int unit) {
    long sum = 0;
    for (const long dpm : {m_picture.dpm_x, m_picture.dpm_y})
      sum += std::labs(DensityToDpm(unit, DpmToDensity(unit, dpm)) - dpm);
    return sum;
  };
  const int unit = loss(kDotsPerCentimetre) < loss(kDotsPerInch) ? kDotsPerCentimetre : kDotsPerInch;
  const long x = DpmToDensity(unit, m_picture.dpm_x), y = DpmToDensity(unit, m_picture.dpm_y);
  if (x == 0 || y == 0) return;
  m_info.density_unit = static_cast<UINT8>(unit);
  m_info.X_density = static_cast<UINT16>(x);
  m_info.Y_density = static_cast<UINT16>(y);
}

bool JpegEncoder::xWriteRows(SavedRows &rows, const Progress &progress, int quality) {
  if (setjmp(m_error.jump)) return false;
  jpeg_create_compress(&m_info);
  m_info.dest = &m_target;
  m_info.image_width = static_cast<JDIMENSION>(m_picture.width);
  m_info.image_height = static_cast<JDIMENSION>(m_picture.height);
  m_info.input_components = rows.IsGray() ? 1 : 3;
  m_info.in_color_space = rows.IsGray() ? JCS_GRAYSCALE : JCS_EXT_BGR;
  jpeg_set_defaults(&m_info);
  jpeg_set_quality(&m_info, quality, TRUE);
  xSetDensity();
  jpeg_start_compress(&m_info, TRUE);
  for (long y = 0; y < m_picture.height; ++y) {
    // libjpeg's interface does not say const, but it only reads.
    JSAMPROW line = const_cast<JSAMPROW>(rows.IsGray() ? rows.Gray(y) : rows.Rgb24(y));
    jpeg_write_scanlines(&m_info, &line, 1);
    if (progress(y + 1, m_picture.height)) {
      std::strcpy(m_error.message, "stopped");
      return false;
    }
  }
  jpeg_finish_compress(&m_info);
  return true;
}

bool JpegEncoder::WritePixels(const PixelRows &rows, const Progress &progress) {
  SavedRows saved(m_picture, rows);
  const bool written = xWriteRows(saved, progress, QualitySetting("JPEG", kDefaultQuality));
  if (!written) error = m_error.message;
  return written;
}

}  // namespace

std::unique_ptr<Encoder> CreateJpeg(int nFile) {
  return std::make_unique<JpegEncoder>(nFile);
}

}  // namespace qel::codecs

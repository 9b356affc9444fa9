// Rows into WebP files, through libwebp, which wants the whole picture as 32-bit pixels in memory of its own.
#include <webp/encode.h>

#include <cstring>

#include "codecs/common/file_bytes.h"
#include "codecs/common/saved_rows.h"
#include "codecs/common/settings.h"
#include "codecs/webp/webp_format.h"

namespace qel::codecs {
namespace {

constexpr int kLosslessEffort = 3;  // of 0 to 9: most of the gain in a small part of the time

/// libwebp's picture, freed with its memory.
struct Picture : WebPPicture {
  Picture() { good = WebPPictureInit(this) != 0; }
  ~Picture() {
    if (good) WebPPictureFree(this);
  }
  Picture(const Picture &) = delete;
  Picture &operator=(const Picture &) = delete;

  bool good;
};

/// What libwebp calls back for.
struct Work {
  FileWriter writer;
  const Progress &progress;
  long height;
};

int WriteBytes(const std::uint8_t *data, std::size_t bytes, const WebPPicture *picture) {
  return static_cast<Work *>(picture->custom_ptr)->writer.Write(data, bytes);
}

int TellProgress(int percent, const WebPPicture *picture) {
  const Work &work = *static_cast<const Work *>(picture->user_data);
  return !work.progress(work.height * percent / 100, work.height);
}

const char *ErrorText(WebPEncodingError code) {
  switch (code) {
    case VP8_ENC_ERROR_OUT_OF_MEMORY:
    case VP8_ENC_ERROR_BITSTREAM_OUT_OF_MEMORY:
      return "there is not enough memory";
    case VP8_ENC_ERROR_BAD_WRITE:
    case VP8_ENC_ERROR_FILE_TOO_BIG:
      return "the file cannot be written";
    case VP8_ENC_ERROR_USER_ABORT:
      return "stopped";
    default:
      return "the picture cannot be saved as WebP";
  }
}

bool Configure(WebPConfig &config) {
  const int quality = QualitySetting("WEBP", 0);
  if (!WebPConfigInit(&config)) return false;
  config.exact = 1;  // colours under transparent pixels stay too
  config.quality = static_cast<float>(quality);
  return quality > 0 || WebPConfigLosslessPreset(&config, kLosslessEffort);
}

class WebpEncoder : public Encoder {
 public:
  explicit WebpEncoder(int nFile) : m_file(nFile) {}

  bool WriteInfo(const PictureInfo &info) override;
  bool WritePixels(const PixelRows &rows, const Progress &progress) override;

 private:
  int m_file;
  PictureInfo m_info;
};

bool WebpEncoder::WriteInfo(const PictureInfo &info) {
  m_info = info;
  if (info.width <= WEBP_MAX_DIMENSION && info.height <= WEBP_MAX_DIMENSION) return true;
  error = "the picture is too large for WebP";
  return false;
}

bool WebpEncoder::WritePixels(const PixelRows &rows, const Progress &progress) {
  Picture picture;
  WebPConfig config;
  if (!picture.good || !Configure(config)) return error = "libwebp is of another version", false;
  picture.use_argb = 1;
  picture.width = static_cast<int>(rows.width);
  picture.height = static_cast<int>(rows.height);
  if (!WebPPictureAlloc(&picture)) return error = ErrorText(picture.error_code), false;
  SavedRows saved(m_info, rows);
  for (long y = 0; y < rows.height; ++y)
    std::memcpy(picture.argb + y * picture.argb_stride, saved.Rgb32(y), static_cast<std::size_t>(rows.width) * 4);

  Work work{FileWriter(m_file), progress, rows.height};
  picture.writer = WriteBytes;
  picture.custom_ptr = &work;
  picture.progress_hook = TellProgress;
  picture.user_data = &work;
  if (!WebPEncode(&config, &picture)) return error = ErrorText(picture.error_code), false;
  if (work.writer.Flush()) return true;
  error = "the file cannot be written";
  return false;
}

}  // namespace

std::unique_ptr<Encoder> CreateWebp(int nFile) {
  return std::make_unique<WebpEncoder>(nFile);
}

}  // namespace qel::codecs

// WebP files into rows, through libwebp, which decodes straight into the store.
#include <webp/decode.h>

#include <algorithm>
#include <cstdlib>
#include <vector>

#include "codecs/common/file_bytes.h"
#include "codecs/common/store.h"
#include "codecs/webp/webp_format.h"

namespace qel::codecs {
namespace {

constexpr std::size_t kSteps = 8;  // in which the bytes go to the decoder, so that it can be stopped
constexpr char kEndsEarly[] = "the file ends early";

const char *StatusText(VP8StatusCode status) {
  switch (status) {
    case VP8_STATUS_OUT_OF_MEMORY:
      return "there is not enough memory";
    case VP8_STATUS_UNSUPPORTED_FEATURE:
      return "the file uses a feature that is not supported";
    case VP8_STATUS_NOT_ENOUGH_DATA:
    case VP8_STATUS_SUSPENDED:
      return kEndsEarly;
    default:
      return "the picture data are damaged";
  }
}

struct DeleteDecoder {
  void operator()(WebPIDecoder *decoder) const { WebPIDelete(decoder); }
};

class WebpDecoder : public Decoder {
 public:
  explicit WebpDecoder(int nFile) : m_reader(nFile) {}

  bool ReadInfo(PictureInfo &info) override;
  bool ReadPixels(const PixelRows &rows, const Progress &progress) override;

 private:
  bool xReadMore();
  VP8StatusCode xDecode(WebPIDecoder *decoder, const PixelRows &rows, const Progress &progress);

  FileReader m_reader;
  std::vector<unsigned char> m_bytes;  // of the file, as far as it is read
  long m_rowsRead = 0;
};

bool WebpDecoder::xReadMore() {
  const unsigned char *data = nullptr;
  const std::size_t count = m_reader.Next(&data);
  m_bytes.insert(m_bytes.end(), data, data + count);
  return count > 0;
}

bool WebpDecoder::ReadInfo(PictureInfo &info) {
  WebPBitstreamFeatures features;
  VP8StatusCode status = VP8_STATUS_NOT_ENOUGH_DATA;
  while (status == VP8_STATUS_NOT_ENOUGH_DATA && xReadMore())
    status = WebPGetFeatures(m_bytes.data(), m_bytes.size(), &features);
  if (status != VP8_STATUS_OK) return error = StatusText(status), false;
  if (features.has_animation) return error = "the file is an animation", false;
  info.type = features.has_alpha ? 8 : 1;
  info.width = features.width;
  info.height = features.height;
  return true;
}

VP8StatusCode WebpDecoder::xDecode(WebPIDecoder *decoder, const PixelRows &rows, const Progress &progress) {
  // A picture's file is never larger than this; one that says so is read as far as it goes.
  constexpr std::size_t kLargestFile = std::size_t{1} << 32;
  m_bytes.reserve(std::min(m_reader.Size(), kLargestFile));
  while (m_bytes.size() < kLargestFile && xReadMore()) continue;
  const std::size_t step = m_bytes.size() / kSteps + 1;
  VP8StatusCode status = VP8_STATUS_SUSPENDED;
  for (std::size_t given = step; status == VP8_STATUS_SUSPENDED; given += step) {
    status = WebPIUpdate(decoder, m_bytes.data(), std::min(given, m_bytes.size()));
    int lastRow = 0;
    if (WebPIDecGetRGB(decoder, &lastRow, nullptr, nullptr, nullptr) != nullptr) m_rowsRead = lastRow;
    if (progress(m_rowsRead, rows.height)) return VP8_STATUS_USER_ABORT;
    if (given >= m_bytes.size()) break;
  }
  return status;
}

bool WebpDecoder::ReadPixels(const PixelRows &rows, const Progress &progress) {
  WebPDecoderConfig config;
  if (!WebPInitDecoderConfig(&config)) return error = "libwebp is of another version", false;
  const std::ptrdiff_t stride = std::abs(rows.stride);
  WebPRGBABuffer &buffer = config.output.u.RGBA;
  config.output.colorspace = rows.bit_count == 32 ? MODE_BGRA : MODE_BGR;
  config.output.is_external_memory = 1;
  buffer.rgba = std::min(rows.top, rows.Row(rows.height - 1));
  buffer.stride = static_cast<int>(stride);
  buffer.size = static_cast<std::size_t>(stride * rows.height);
  config.options.flip = rows.stride < 0;

  const std::unique_ptr<WebPIDecoder, DeleteDecoder> decoder(WebPIDecode(nullptr, 0, &config));
  const VP8StatusCode status = decoder ? xDecode(decoder.get(), rows, progress) : VP8_STATUS_OUT_OF_MEMORY;
  if (status == VP8_STATUS_OK) return true;
  // The smallest files claim the largest pictures, so the rows that are missing stay untouched.
  PixelRows read = rows;
  read.height = m_rowsRead;
  ClearPadding(read);
  clears_padding = true;
  ClearRowsFrom(rows, m_rowsRead);
  error = status == VP8_STATUS_USER_ABORT ? "stopped" : StatusText(status);
  return false;
}

}  // namespace

std::unique_ptr<Decoder> OpenWebp(int nFile) {
  return std::make_unique<WebpDecoder>(nFile);
}

}  // namespace qel::codecs

// A format for tests of what stands above formats: a file is a line of text, "PROBE type width height rows dpm
// colours", and stands for a picture of which the given rows come in before the file is found broken. PixelByte tells
// the rows.
#include "codecs/probe_format.h"

#include <unistd.h>

#include <cstdio>
#include <cstring>

#include "codecs/common/store.h"

namespace qel::codecs {
namespace {

class ProbeDecoder : public Decoder {
 public:
  explicit ProbeDecoder(int nFile) : m_nFile(nFile) {}

  bool ReadInfo(PictureInfo &info) override {
    char text[128] = {};
    int colors = 0;
    if (pread(m_nFile, text, sizeof text - 1, 0) < 0) return false;
    if (std::sscanf(text, "PROBE %d %ld %ld %ld %ld %d", &info.type, &info.width, &info.height, &m_rows, &info.dpm_x,
                    &colors) != 6)
      return error = "no numbers", false;
    for (int i = 0; i < colors; ++i) info.palette.push_back(test::PaletteColor(i));
    return true;
  }

  bool ReadPixels(const PixelRows &rows, const Progress &progress) override {
    for (long y = 0; y < rows.height; ++y) {
      if (y == m_rows) return ClearRowsFrom(rows, y), error = "rows are missing", false;
      for (std::size_t i = 0; i < RowBytes(rows); ++i) rows.Row(y)[i] = test::PixelByte(y, static_cast<long>(i));
      if (progress(y + 1, rows.height)) return error = "stopped", false;
    }
    return true;
  }

 private:
  int m_nFile;
  long m_rows = 0;
};

}  // namespace

const Format kFormat = {
    "Probe", [](const unsigned char *head, std::size_t bytes) { return bytes > 5 && !std::memcmp(head, "PROBE", 5); },
    [](int nFile) -> std::unique_ptr<Decoder> { return std::make_unique<ProbeDecoder>(nFile); }, nullptr};

}  // namespace qel::codecs

// BMP files into rows: plain rows as they are, words with masks through tables of their channels, packed rows index by
// index into a line. The file's first row is the bottom one, unless it says otherwise.
#include <algorithm>
#include <vector>

#include "codecs/bmp/bmp_format.h"
#include "codecs/bmp/bmp_header.h"
#include "codecs/common/plausible.h"
#include "codecs/common/store.h"
#include "qel/lines/convert.h"
#include "qel/lines/file_pixels.h"
#include "qel/lines/pixels.h"

namespace qel::codecs {
namespace {

constexpr BmpMasks k555 = {0x7C00, 0x3E0, 0x1F, 0}, k565 = {0xF800, 0x7E0, 0x1F, 0};
constexpr BmpMasks k8888 = {0xFF0000, 0xFF00, 0xFF, 0xFF000000};

class BmpDecoder : public Decoder {
 public:
  explicit BmpDecoder(int nFile) : m_reader(nFile) {}

  bool ReadInfo(PictureInfo &info) override;
  bool ReadPixels(const PixelRows &rows, const Progress &progress) override;

 private:
  bool xReadRows(const PixelRows &rows, const Progress &progress);
  bool xReadWords(const PixelRows &rows, const Progress &progress);
  bool xReadRuns(const PixelRows &rows, const Progress &progress);
  bool xReadRun(unsigned count, unsigned index, long &x);

  bool xReadRow(unsigned char *row, std::size_t bytes);
  bool xTell(const Progress &progress, const PixelRows &rows, long done) {
    if (!progress(done, rows.height)) return true;
    return error = "stopped", false;
  }

  FileReader m_reader;
  BmpHeader m_header;
  std::vector<unsigned char> m_line;  // a row of words, or of indices, a byte each
  long m_rowsRead = 0;
};

// Information --------------------------------------------------------------------------------------------------------

int TypeOf(const BmpHeader &header) {
  if (header.bits < 16) return header.bits == 1 ? 0 : header.bits == 4 ? 2 : 3;
  if (header.bits == 24) return 1;
  if (header.bits == 16 && header.masks == k555) return 6;
  if (header.bits == 16 && header.masks == k565) return 7;
  return header.masks == BmpMasks() || header.masks.alpha != 0 ? 8 : 1;
}

bool BmpDecoder::ReadInfo(PictureInfo &info) {
  if (!ReadBmpHeader(m_reader, m_header, error)) return false;
  info.type = TypeOf(m_header);
  info.width = m_header.width;
  info.height = m_header.height;
  info.palette = m_header.palette;
  if (!m_header.is_packed) info.least_bytes = LeastBytes(info.width, info.height, m_header.bits, kMostOfPlainRows);
  info.dpm_x = m_header.dpm_x;
  info.dpm_y = m_header.dpm_y;
  return true;
}

// Plain rows ---------------------------------------------------------------------------------------------------------

/// Reads the bytes of a row and passes over its padding, which may be missing.
bool BmpDecoder::xReadRow(unsigned char *row, std::size_t bytes) {
  if (m_reader.Read(row, bytes) != bytes) return error = "the file ends early", false;
  m_reader.Skip((4 - bytes % 4) % 4);
  return true;
}

bool BmpDecoder::xReadRows(const PixelRows &rows, const Progress &progress) {
  for (; m_rowsRead < rows.height; ++m_rowsRead) {
    if (!xReadRow(rows.Row(m_rowsRead), RowBytes(rows))) return false;
    if (!xTell(progress, rows, m_rowsRead + 1)) return ++m_rowsRead, false;
  }
  return true;
}

bool BmpDecoder::xReadWords(const PixelRows &rows, const Progress &progress) {
  const BmpMasks &masks = m_header.masks;
  const lines::ChannelFields colors = {lines::MakeField(masks.red), lines::MakeField(masks.green),
                                       lines::MakeField(masks.blue)};
  const lines::ChannelFields alpha = {{}, {}, lines::MakeField(masks.alpha)};
  const int bytes = m_header.bits / 8;
  m_line.resize(static_cast<std::size_t>(rows.width * bytes));
  std::vector<lines::Pixel> pixels(static_cast<std::size_t>(rows.width));
  const auto *const line = reinterpret_cast<const unsigned char *>(pixels.data());
  for (; m_rowsRead < rows.height; ++m_rowsRead) {
    unsigned char *const row = rows.Row(m_rowsRead);
    if (!xReadRow(m_line.data(), m_line.size())) return false;
    lines::WordsToPixels(pixels.data(), m_line.data(), bytes, rows.width, colors);
    if (rows.bit_count == 24) {
      lines::Rgb32To24(row, line, rows.width);
    } else {
      std::copy_n(line, RowBytes(rows), row);
      lines::WordsToPixels(pixels.data(), m_line.data(), bytes, rows.width, alpha);
      lines::PutChannel(row + 3, 4, line, 4, rows.width);
    }
    if (!xTell(progress, rows, m_rowsRead + 1)) return ++m_rowsRead, false;
  }
  return true;
}

// Packed rows --------------------------------------------------------------------------------------------------------

/// Reads a run of one byte's indices (`count` of them), or after a count of 0 `index` indices that stand for
/// themselves. What lies beyond the row is passed over.
bool BmpDecoder::xReadRun(unsigned count, unsigned index, long &x) {
  const long room = static_cast<long>(m_line.size()) - x;
  const long n = std::min<long>(count > 0 ? count : index, room);
  if (count > 0) {
    const bool isNibble = m_header.bits == 4;
    lines::FillAlternating(m_line.data() + x, n, static_cast<unsigned char>(isNibble ? index >> 4 : index),
                           static_cast<unsigned char>(isNibble ? index & 15 : index));
  } else {
    unsigned char bytes[256];
    const std::size_t size = (index * static_cast<unsigned>(m_header.bits) + 7) / 8;
    if (m_reader.Read(bytes, size) != size) return false;
    m_reader.Skip(size % 2);
    lines::UnpackIndices(m_line.data() + x, bytes, m_header.bits, n);
  }
  x += n;
  return true;
}

bool BmpDecoder::xReadRuns(const PixelRows &rows, const Progress &progress) {
  constexpr unsigned kLineEnd = 0, kPictureEnd = 1, kDelta = 2;
  m_line.assign(static_cast<std::size_t>(rows.width), 0);
  long x = 0;
  // Puts the line at hand into its row and goes on, `down` rows further.
  const auto Advance = [&](long down) {
    lines::PackLowBits(rows.Row(m_rowsRead), m_line.data(), rows.bit_count, rows.width);
    m_rowsRead = std::min(m_rowsRead + down, rows.height);
    std::fill(m_line.begin(), m_line.end(), 0);
    return xTell(progress, rows, m_rowsRead);
  };
  while (m_rowsRead < rows.height) {
    unsigned char code[2], delta[2];
    const bool isCut = m_reader.Read(code, 2) != 2;
    bool isSound = !isCut;
    if (isCut || (code[0] == 0 && code[1] == kPictureEnd)) {
      const bool isLast = m_rowsRead + 1 == rows.height && x == rows.width;
      if (!Advance(rows.height)) return false;
      if (isCut && !isLast) error = "the file ends early";
      return error.empty();
    }
    if (code[0] == 0 && code[1] == kLineEnd) {
      x = 0;
      if (!Advance(1)) return false;
    } else if (code[0] == 0 && code[1] == kDelta) {
      isSound = m_reader.Read(delta, 2) == 2;
      if (isSound) x = std::min(x + delta[0], rows.width);
      if (isSound && delta[1] > 0 && !Advance(delta[1])) return false;
    } else {
      isSound = xReadRun(code[0], code[1], x);
    }
    if (!isSound) {
      Advance(rows.height);
      return error = "the file ends early", false;
    }
  }
  return true;
}

// All ----------------------------------------------------------------------------------------------------------------

bool BmpDecoder::ReadPixels(const PixelRows &rows, const Progress &progress) {
  const PixelRows stored = m_header.is_top_down ? rows : UpsideDown(rows);
  m_reader.Skip(m_header.gap);
  if (m_header.is_packed) {
    ClearRowsFrom(stored, 0);  // rows may be passed over
    clears_padding = true;
    return xReadRuns(stored, progress);
  }
  const bool isPlain = rows.bit_count == m_header.bits &&
                       (m_header.bits != 32 || m_header.masks == BmpMasks() || m_header.masks == k8888);
  const bool isWhole = isPlain ? xReadRows(stored, progress) : xReadWords(stored, progress);
  if (!isWhole) ClearRowsFrom(stored, m_rowsRead);
  return isWhole;
}

}  // namespace

std::unique_ptr<Decoder> OpenBmp(int nFile) {
  return std::make_unique<BmpDecoder>(nFile);
}

}  // namespace qel::codecs

// Rows of every type for encoders: the conversions are the engine's own line functions, compiled into each library.
#include "codecs/common/saved_rows.h"

#include <algorithm>
#include <cstring>

#include "qel/lines/convert.h"
#include "qel/lines/file_pixels.h"

namespace qel::codecs {

SavedRows::SavedRows(const PictureInfo &info, const PixelRows &rows) : m_info(info), m_rows(rows) {
  m_line.resize(static_cast<std::size_t>(rows.width) * 3);
  if (rows.bit_count == 32) {
    for (long y = 0; y < rows.height && !m_hasAlpha; ++y) m_hasAlpha = lines::HasAlpha(rows.Row(y), rows.width);
  }
  if (rows.bit_count > 8) return;

  const std::size_t colors = std::size_t{1} << rows.bit_count;
  std::copy_n(info.palette.begin(), std::min(info.palette.size(), colors), m_table.begin());
  const std::size_t step = 255 / (colors - 1);
  m_isGray = m_isGrayRamp = true;
  for (std::size_t i = 0; i < colors; ++i) {
    const RGBQUAD &color = m_table[i];
    m_isGray = m_isGray && color.rgbRed == color.rgbGreen && color.rgbGreen == color.rgbBlue;
    m_isGrayRamp = m_isGrayRamp && m_isGray && color.rgbRed == i * step;
    m_levels[i * step] = color.rgbRed;
  }
}

bool SavedRows::HasAlpha() const {
  return m_hasAlpha;
}

const unsigned char *SavedRows::Gray(long y) {
  const unsigned char *const row = m_rows.Row(y);
  if (m_rows.bit_count == 8 && m_isGrayRamp) return row;
  unsigned char *const line = m_line.data();
  const long n = m_rows.width;
  if (m_rows.bit_count == 1) lines::BitsToGray(line, row, n, false);
  if (m_rows.bit_count == 4) lines::NibblesToGray(line, row, n);
  if (m_rows.bit_count == 8) std::memcpy(line, row, static_cast<std::size_t>(n));
  if (!m_isGrayRamp) lines::MapBytes(line, n, m_levels.data());
  return line;
}

const unsigned char *SavedRows::Rgb24(long y) {
  const unsigned char *const row = m_rows.Row(y);
  unsigned char *const line = m_line.data();
  switch (m_rows.bit_count) {
    case 24:
      return row;
    case 16:
      m_info.type == 6 ? lines::Rgb555To24(line, row, m_rows.width) : lines::Rgb565To24(line, row, m_rows.width);
      break;
    case 32:
      lines::Rgb32To24(line, row, m_rows.width);
      break;
    case 48:
      lines::HighBytesOf48(line, row, m_rows.width);
      break;
    default:
      lines::IndicesTo24(line, row, m_rows.bit_count, m_rows.width, m_table.data());
  }
  return line;
}

const unsigned char *SavedRows::Rgb32(long y) {
  const unsigned char *const row = m_rows.Row(y);
  if (m_hasAlpha) return row;
  m_line32.resize(static_cast<std::size_t>(m_rows.width) * 4);
  if (m_rows.bit_count == 32)
    std::memcpy(m_line32.data(), row, m_line32.size());
  else
    lines::Rgb24To32(m_line32.data(), Rgb24(y), m_rows.width);
  lines::MakeOpaque(m_line32.data(), m_rows.width);
  return m_line32.data();
}

}  // namespace qel::codecs

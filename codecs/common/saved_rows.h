// The rows of a picture that is saved, as the few kinds of lines that formats take, whatever its type.
#pragma once

#include <array>
#include <vector>

#include "codecs/common/format.h"

namespace qel::codecs {

class SavedRows {
 public:
  /// Both have to outlive this object; rows of 16 bits are 5-5-5 for type 6 and 5-6-5 for others.
  SavedRows(const PictureInfo &info, const PixelRows &rows);

  /// True for 1, 4 and 8 bits when all colours of the table are grays.
  bool IsGray() const { return m_isGray; }

  /// True for 4 and 8 bits, and for 1 bit, when the table is the even ramp from black to white.
  bool IsGrayRamp() const { return m_isGrayRamp; }

  /// True for 32 bits when some pixel has a fourth byte above 0. Pictures of the engine's own making have 0 throughout,
  /// which means that nobody has set it, not that nothing is to be seen.
  bool HasAlpha() const;

  /// Row y: in place where the store holds it so, else in a line that the next call overwrites.
  const unsigned char *Gray(long y);  // one byte a pixel; only when IsGray
  const unsigned char *Rgb24(long y);
  const unsigned char *Rgb32(long y);  // the fourth byte as stored when HasAlpha, else 255

  /// The colour table with 2, 16 or 256 entries; those that the picture does not have are black.
  const RGBQUAD *Table() const { return m_table.data(); }

 private:
  const PictureInfo &m_info;
  const PixelRows &m_rows;
  std::array<RGBQUAD, 256> m_table = {};
  std::array<unsigned char, 256> m_levels =
      {};  // what BitsToGray, NibblesToGray or an index gives, as its colour's gray
  bool m_isGray = false, m_isGrayRamp = false, m_hasAlpha = false;
  std::vector<unsigned char> m_line, m_line32;
};

}  // namespace qel::codecs

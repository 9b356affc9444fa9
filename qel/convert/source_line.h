// A source line of any depth that conversion takes, read as 24-bit pixels.
#pragma once

#include <algorithm>

#include "qel/lines/convert.h"
#include "qel/platform/types.h"

namespace qel::convert {

/// A palette of red, green, blue triples as a table of 256 entries; those behind its colours are black.
struct SourceColors {
  RGBQUAD table[256] = {};

  SourceColors(const unsigned char *pRGB, int nColors) {
    if (pRGB == nullptr) return;
    for (int i = 0; i < std::min(nColors, 256); ++i, pRGB += 3) table[i] = {pRGB[2], pRGB[1], pRGB[0], 0};
  }
};

class SourceLine {
 public:
  SourceLine(const unsigned char *pLine, int nBits, const unsigned char *pRGB, int nColors)
      : m_pLine(pLine), m_nBits(nBits), m_colors(nBits == 24 ? nullptr : pRGB, nColors) {}

  /// True when its pixels lie in memory as they are wanted.
  bool IsTrueColor() const { return m_nBits == 24; }

  /// n pixels from a place at a byte: the line itself, or the buffer with room for them.
  const unsigned char *Colors(long from, long n, unsigned char *pBuffer) const {
    const unsigned char *const pFirst = m_pLine + from * m_nBits / 8;
    if (IsTrueColor()) return pFirst;
    lines::IndicesTo24(pBuffer, pFirst, m_nBits, n, m_colors.table);
    return pBuffer;
  }

 private:
  const unsigned char *m_pLine;
  int m_nBits;
  SourceColors m_colors;
};

}  // namespace qel::convert

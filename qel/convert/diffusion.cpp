// Diffused lines, in serpentine order (Floyd and Steinberg 1976). A line is walked in spans, which pass through short
// buffers: source pixels become 24-bit colours, or gray levels when the destination has two colours, these become
// indices, and the indices are packed.

#include <algorithm>
#include <cstdint>
#include <utility>

#include "qel/convert/itc.h"
#include "qel/lines/bits.h"
#include "qel/lines/convert.h"
#include "qel/lines/diffuse.h"

namespace {

using namespace qel::lines;

constexpr long kSpan = kDiffuseSpan;
static_assert(kSpan % 8 == 0);  // spans start at bytes of every depth

/// A source line; indices behind its palette are black.
class Source {
 public:
  Source(const unsigned char *pLine, int nBits, const unsigned char *pRGB, int nColors)
      : m_pLine(pLine), m_nBits(nBits) {
    if (nBits > 8) return;
    const int nFilled = std::clamp(nColors, 0, 1 << nBits);
    for (int i = 0; i < nFilled; ++i, pRGB += 3) m_table[i] = {pRGB[2], pRGB[1], pRGB[0], 0};
    std::fill(m_table + nFilled, m_table + (1 << nBits), RGBQUAD{});
  }

  /// n pixels from a place at a byte as 24-bit pixels: the line itself, or the buffer.
  const unsigned char *Colors(long from, long n, unsigned char *pBuffer) const {
    const unsigned char *const pFirst = m_pLine + from * m_nBits / 8;
    if (m_nBits == 1)
      BitsTo24(pBuffer, pFirst, n, m_table);
    else if (m_nBits == 4)
      NibblesTo24(pBuffer, pFirst, n, m_table);
    else if (m_nBits == 8)
      BytesTo24(pBuffer, pFirst, n, m_table);
    return m_nBits == 24 ? pFirst : pBuffer;
  }

 private:
  const unsigned char *m_pLine;
  int m_nBits;
  RGBQUAD m_table[256];
};

/// Indices into a line from a place at a byte. Bits behind the last pixel stay.
void PackIndices(unsigned char *pLine, int nBits, long from, const unsigned char *pIndices, long n) {
  unsigned char *const pFirst = pLine + from * nBits / 8;
  if (nBits == 8) {
    std::copy_n(pIndices, n, pFirst);
  } else if (nBits == 4) {
    PackColumn4(pFirst, pIndices, n, 0);
  } else {
    const unsigned char byLast = pFirst[(n - 1) / 8];
    QelAsmConvert8to1(pFirst, const_cast<unsigned char *>(pIndices), static_cast<unsigned long>(n), 0, 1);
    if (n % 8 != 0) pFirst[n / 8] = MergeBits(pFirst[n / 8], byLast, ~(0xFFu >> n % 8));
  }
}

void DiffuseSpan(unsigned char *pIndices, const unsigned char *pColors, long from, long to, DiffuseRow &row,
                 DiffuseColorTable &table) {
  DiffuseColors(pIndices, pColors, from, to, row, table);
}

void DiffuseSpan(unsigned char *pIndices, const unsigned char *pColors, long from, long to, DiffuseRow &row,
                 DiffuseLevelTable &table) {
  unsigned char byLevels[kSpan];
  Rgb24ToLuma(byLevels, pColors, to - from);
  DiffuseLevels(pIndices, byLevels, from, to, row, table);
}

template <class Table>
void DiffuseLine(unsigned char *pLine, int nBits, const Source &source, DiffuseRow &row,
                 const DiffusePalette &palette) {
  Table table;
  PrepareDiffusion(table, palette);
  unsigned char byColors[3 * kSpan], byIndices[kSpan];
  const long lSpans = (row.width + kSpan - 1) / kSpan;
  for (long l = 0; l < lSpans; ++l) {
    const long from = (row.toLeft ? lSpans - 1 - l : l) * kSpan, to = std::min(from + kSpan, row.width);
    DiffuseSpan(byIndices, source.Colors(from, to - from, byColors), from, to, row, table);
    PackIndices(pLine, nBits, from, byIndices, to - from);
  }
}

}  // namespace

void PItc::xDiffuse1Line() {
  xDiffuseLine(0);
}

void PItc::xDiffuse2Line() {
  xDiffuseLine(1);
}

void PItc::xDiffuseLine(int bToLeft) {
  const Source source(m_pbySrcLine, m_nSrcBits, m_pbySrcRGB, m_nSrcColors);
  const DiffusePalette palette = {m_pbyDstRGB, m_nDstColors, m_pbyMap, m_bDstStdPal ? nullptr : m_pbyMapDone};
  DiffuseRow row = {reinterpret_cast<std::int32_t *>(m_plErrCur), reinterpret_cast<std::int32_t *>(m_plErrNext),
                    m_lSrcWidth, bToLeft != 0};
  if (m_nDstBits == 1)
    DiffuseLine<DiffuseLevelTable>(m_pbyDstLine, m_nDstBits, source, row, palette);
  else
    DiffuseLine<DiffuseColorTable>(m_pbyDstLine, m_nDstBits, source, row, palette);
  std::fill_n(row.current + 3 * m_lSrcWidth, 3, 0);  // the entry behind the line
  std::swap(m_plErrCur, m_plErrNext);
}

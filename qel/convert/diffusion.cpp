// Diffused lines, in serpentine order (Floyd and Steinberg 1976). A line is walked in spans, which pass through short
// buffers: source pixels become 24-bit colours, or gray levels when the destination has two colours, these become
// indices, and the indices are packed.

#include <algorithm>
#include <cstdint>
#include <utility>

#include "qel/convert/itc.h"
#include "qel/convert/source_line.h"
#include "qel/lines/colour_map.h"
#include "qel/lines/convert.h"
#include "qel/lines/diffuse.h"

namespace {

using namespace qel::lines;
using qel::convert::SourceLine;

constexpr long kSpan = kDiffuseSpan;
static_assert(kSpan % 8 == 0);  // spans start at bytes of every depth

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
void DiffuseLine(unsigned char *pLine, int nBits, const SourceLine &source, DiffuseRow &row,
                 const DiffusePalette &palette) {
  Table table;
  PrepareDiffusion(table, palette);
  unsigned char byColors[3 * kSpan], byIndices[kSpan];
  const long lSpans = (row.width + kSpan - 1) / kSpan;
  for (long l = 0; l < lSpans; ++l) {
    const long from = (row.toLeft ? lSpans - 1 - l : l) * kSpan, to = std::min(from + kSpan, row.width);
    DiffuseSpan(byIndices, source.Colors(from, to - from, byColors), from, to, row, table);
    PackIndices(pLine + from * nBits / 8, nBits, byIndices, to - from);
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
  const SourceLine source(m_pbySrcLine, m_nSrcBits, m_pbySrcRGB, m_nSrcColors);
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

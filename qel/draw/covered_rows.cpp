// Sub-pixel rows gathered by pixel rows.

#include "qel/draw/covered_rows.h"

#include <algorithm>
#include <span>

#include "qel/draw/coordinates.h"
#include "qel/lines/coverage.h"

using qel::draw::kSubPixels;

namespace {

constexpr int kGlobalStore = 1;  // its pages are always there

}  // namespace

/// The pixels under a row's runs, with `base` as they were at the snapshot.
struct PQel::CoveredRows::Line {
  long first;
  unsigned char *pixels;
  const unsigned char *base;
};

bool PQel::CoveredRows::Suits(const PQel &image) {
  const int nType = image.m_nImageType;
  return image.m_bAntiAlias && !image.m_bRepeat && image.m_pfnHook == nullptr &&
         (nType == 1 || nType == 5 || nType == 8);
}

PQel::CoveredRows::CoveredRows(PQel &image, long long llColor, long lTop, long lBottom)
    : m_image(image),
      m_llColor(llColor),
      m_nChannels(image.GetBitCount() <= 8 ? 1 : 3),
      m_bMirror(image.m_pMem->GetMirrorMem() != nullptr),
      m_bInPlace(image.m_nMemType == kGlobalStore && !image.m_bBlock && !m_bMirror && image.m_nImageType != 8),
      m_lTop(std::max(lTop, 0L) / kSubPixels),
      m_lBottom(std::min(lBottom / kSubPixels, image.m_lHeight - 1)),
      m_pRows(nullptr) {
  const auto dwWidth = static_cast<unsigned long>(image.GetImageWidth());
  if (!m_bInPlace && m_lines.AllocMemory(GMEM_MOVEABLE, 2 * 3 * dwWidth) == nullptr) return;
  const auto dwRows = static_cast<unsigned long>(std::max(m_lBottom - m_lTop + 1, 1L));
  m_pRows = reinterpret_cast<Row *>(m_memRows.AllocMemory(GHND, dwRows * sizeof(Row)));
}

PQel::CoveredRows::~CoveredRows() {
  if (m_pRows == nullptr) return;
  const bool bTopDown = m_image.m_pBIH->biHeight < 0;
  for (long i = m_lTop; i <= m_lBottom; ++i) Draw(bTopDown ? i : m_lTop + m_lBottom - i);
}

void PQel::CoveredRows::Add(long x1, long x2, long y) {
  if (y < kSubPixels * m_lTop || y / kSubPixels > m_lBottom) return;
  x1 = std::max(x1, 0L);
  x2 = std::min(x2, kSubPixels * m_image.GetImageWidth() - 1);
  if (x1 > x2) return;
  Row &row = m_pRows[y / kSubPixels - m_lTop];
  const long p1 = x1 / kSubPixels, p2 = x2 / kSubPixels;
  // Pixels that no run touches are not to be written: 32-bit ones would lose their fourth byte.
  if (row.runs == kMostRuns || p1 > row.last + 1 || p2 < row.first - 1) Draw(y / kSubPixels);
  row.first = row.runs == 0 ? p1 : std::min(row.first, p1);
  row.last = row.runs == 0 ? p2 : std::max(row.last, p2);
  row.run[row.runs++] = {x1, x2};
}

void PQel::CoveredRows::Draw(long y) {
  Row &row = m_pRows[y - m_lTop];
  if (row.runs == 0) return;
  const long lFirst = row.first, lLast = row.last;
  long lFullFirst = row.run[0].x1, lFullEnd = row.run[0].x2 + 1;
  for (const Run &run : std::span(row.run).first(static_cast<std::size_t>(row.runs))) {
    lFullFirst = std::max(lFullFirst, run.x1), lFullEnd = std::min(lFullEnd, run.x2 + 1);
  }
  lFullFirst = (lFullFirst + kSubPixels - 1) / kSubPixels, lFullEnd /= kSubPixels;

  if (m_bInPlace) {
    unsigned char *const pLine = m_image.m_pMem->GetPointer() + m_image.xGetRowOffset(lFirst * m_nChannels, y);
    m_image.InvalidateLine(lFirst, lLast, y);
    DrawRuns(row, {lFirst, pLine, pLine}, lFullFirst, lFullEnd);
  } else if (unsigned char *const pLine = m_lines.GetPointer(); pLine != nullptr) {
    unsigned char *const pBase = m_bMirror ? pLine + m_nChannels * m_image.GetImageWidth() : pLine;
    if (m_image.xReadForCover({lFirst, lLast, y, false}, pLine, pBase)) {
      DrawRuns(row, {lFirst, pLine, pBase}, lFullFirst, lFullEnd);
      if (m_nChannels == 1)
        m_image.PutGrayHorLine(lFirst, lLast, y, pLine);
      else
        m_image.Put24bitHorLine(lFirst, lLast, y, pLine);
    }
  }
  row.runs = 0;
}

/// Draws a row's runs, the pixels that all of them cover in full at once.
void PQel::CoveredRows::DrawRuns(const Row &row, const Line &line, long lFullFirst, long lFullEnd) const {
  if (lFullFirst >= lFullEnd) return DrawPart(line, row, row.first, row.last);
  DrawPart(line, row, row.first, lFullFirst - 1);
  const long lAt = (lFullFirst - line.first) * m_nChannels;
  qel::lines::CoverFully(line.pixels + lAt, line.base + lAt, m_llColor, row.runs, lFullEnd - lFullFirst, m_nChannels);
  DrawPart(line, row, lFullEnd, row.last);
}

/// Draws the runs one by one into the pixels lFirst to lLast: outer pixels by the part that a run holds, others in
/// full.
void PQel::CoveredRows::DrawPart(const Line &line, const Row &row, long lFirst, long lLast) const {
  const auto blend = [&](long p, long lEnd, long lCovered) {
    if (p >= lEnd) return;
    const long lAt = (p - line.first) * m_nChannels;
    (m_nChannels == 1 ? BlendGrayCoverage : Blend24bitCoverage)(line.pixels + lAt, line.base + lAt, m_llColor,
                                                                static_cast<int>(4 * lCovered), lEnd - p);
  };
  for (const Run &run : std::span(row.run).first(static_cast<std::size_t>(row.runs))) {
    const long x1 = std::max(run.x1, kSubPixels * lFirst), x2 = std::min(run.x2, kSubPixels * lLast + kSubPixels - 1);
    if (x1 > x2) continue;
    const long p1 = x1 / kSubPixels, p2 = x2 / kSubPixels;
    if (p1 == p2) {
      blend(p1, p1 + 1, x2 - x1 + 1);
      continue;
    }
    const long lFullFirst = (x1 + kSubPixels - 1) / kSubPixels, lFullEnd = (x2 + 1) / kSubPixels;
    blend(p1, lFullFirst, kSubPixels - x1 % kSubPixels);
    blend(lFullFirst, lFullEnd, kSubPixels);
    blend(lFullEnd, p2 + 1, (x2 + 1) % kSubPixels);
  }
}

// Sub-pixel rows gathered by pixel rows.

#include "qel/draw/covered_rows.h"

#include <algorithm>

#include "qel/draw/coordinates.h"
#include "qel/lines/coverage.h"

using qel::draw::kSubPixels;

namespace {

constexpr int kGlobalStore = 1;  // its pages are always there

}  // namespace

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
  for (int i = 0; i < row.runs; ++i) row.run[i].first -= kSubPixels * lFirst, row.run[i].last -= kSubPixels * lFirst;
  const auto cover = [&](unsigned char *pLine, const unsigned char *pBase) {
    qel::lines::CoverRuns(pLine, pBase, m_llColor, row.run, row.runs, lLast - lFirst + 1, m_nChannels);
  };
  if (m_bInPlace) {
    unsigned char *const pLine = m_image.m_pMem->GetPointer() + m_image.xGetRowOffset(lFirst * m_nChannels, y);
    m_image.InvalidateLine(lFirst, lLast, y);
    cover(pLine, pLine);
  } else if (unsigned char *const pLine = m_lines.GetPointer(); pLine != nullptr) {
    unsigned char *const pBase = m_bMirror ? pLine + m_nChannels * m_image.GetImageWidth() : pLine;
    if (m_image.xReadForCover({lFirst, lLast, y, false}, pLine, pBase)) {
      cover(pLine, pBase);
      if (m_nChannels == 1)
        m_image.PutGrayHorLine(lFirst, lLast, y, pLine);
      else
        m_image.Put24bitHorLine(lFirst, lLast, y, pLine);
    }
  }
  row.runs = 0;
}

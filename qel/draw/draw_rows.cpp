// Brush rows, rectangles and block transfers.
//
// A row is the image's pixels, the brush's colours and the weights (shield, texture and mask; 0 without them), mixed.
// Without weights and where nobody sees the pixels read, the colours are written as they are: that is what the mix of
// weight 0 gives in every format.

#include <algorithm>
#include <cstring>
#include <typeinfo>

#include "qel/draw/brush.h"
#include "qel/draw/color_line.h"
#include "qel/draw/draw.h"
#include "qel/draw/shield.h"
#include "qel/lines/convert.h"
#include "qel/mem/store_access.h"
#include "qel/ops/mixes.h"

namespace {

/// No coordinate of a block that anything can be seen of lies further away; sums of a few of them do not overflow.
constexpr long kFar = 1L << 40;

bool IsFar(long n) {
  return n < -kFar || n > kFar;
}

}  // namespace

/// The lines of a row.
struct PQelDraw::WorkLines {
  PMem memory;
  unsigned char *pImage = nullptr, *pColors = nullptr, *pWeights = nullptr;

  bool Alloc(long lPixels, int nBits) {
    if (lPixels < 1 || lPixels > kFar) return false;
    const long lLineBytes = lPixels * nBits / 8 + 8;
    pImage = memory.AllocMemory(GMEM_MOVEABLE, static_cast<unsigned long>(2 * lLineBytes + lPixels));
    if (pImage == nullptr) return false;
    pColors = pImage + lLineBytes;
    pWeights = pColors + lLineBytes;
    return true;
  }
};

// Rows ---------------------------------------------------------------------------------------------------------------

int PQelDraw::FillBrushHorLine(long x1, long x2, long y) {
  if (m_poCurBrush == nullptr || IsEmpty() || x1 > x2) return 0;
  if (!m_bRepeat) {
    if (x1 >= GetImageWidth() || x2 < 0 || y < 0 || y >= m_lHeight) return 0;
    x1 = std::max(x1, 0L);
    x2 = std::min(x2, GetImageWidth() - 1);
  }
  if (IsFar(x1) || IsFar(x2)) return 0;
  if (xPaintsPlainly()) return xFillPlainly(x1, x2, y);
  WorkLines lines;
  return lines.Alloc(x2 - x1 + 1, GetBitCount()) && xPaintBrushRow(x1, x2, y, lines);
}

bool PQelDraw::xPaintsPlainly() const {
  return xIsUnweighted() && m_pfnHook == nullptr && m_poCurBrush->m_poPattern == nullptr;
}

int PQelDraw::xFillPlainly(long x1, long x2, long y) {
  return xFillSpan({x1, x2, y, false}, qel::draw::ToolColor(GetBitCount(), m_poCurBrush->m_llForeColor));
}

/// A derived class may replace brush rows; then each run is its own.
bool PQelDraw::xFillsRunsInStore() const {
  return m_poCurBrush != nullptr && !IsEmpty() && typeid(*this) == typeid(PQelDraw) && xPaintsPlainly() &&
         GetBitCount() >= 8 && m_pMem->GetMirrorMem() == nullptr;
}

bool PQelDraw::xFillRunsInStore(const long *pRuns, long lPairs, long y) {
  const long lWidth = GetImageWidth(), lBytes = GetBitCount() / 8;
  while (lPairs > 0 && pRuns[1] < 0) pRuns += 2, --lPairs;
  while (lPairs > 0 && pRuns[2 * lPairs - 2] >= lWidth) --lPairs;
  if (lPairs < 1) return true;
  unsigned char *const pRow = xGetStoredSpan(0, lWidth, y);
  if (pRow == nullptr) return false;
  const auto first = [=](long k) { return std::max(pRuns[2 * k], 0L); };
  const auto last = [=](long k) { return std::min(pRuns[2 * k + 1], lWidth - 1); };
  InvalidateLine(first(0), last(lPairs - 1), y);
  const long long llColor = qel::draw::ToolColor(GetBitCount(), m_poCurBrush->m_llForeColor);
  const int nBits = GetBitCount();
  qel::mem::StoreGroup stores = {{m_pMem}};
  qel::mem::AccessStores(stores, [=] {
    for (long k = 0; k < lPairs; ++k)
      qel::draw::FillColorLine(pRow + first(k) * lBytes, nBits, last(k) - first(k) + 1, llColor);
  });
  return true;
}

int PQelDraw::xPaintBrushRow(long x1, long x2, long y, WorkLines &lines) {
  if (m_poCurBrush->m_nBitCount != GetBitCount()) return 0;  // the image has another depth than when it was selected
  if (!GetHorLine(x1, x2, y, lines.pImage) || !m_poCurBrush->GetColorLine(x1, x2, y, lines.pColors)) return 0;
  xMakeWeights(x1, x2, y, lines.pWeights);
  MixHorLineWithGrayMask(x1, x2, y, lines.pColors, lines.pImage, lines.pWeights);
  return 1;
}

void PQelDraw::xMakeWeights(long x1, long x2, long y, BYTE *pWeights) {
  if (m_poCurShield == nullptr || !m_poCurShield->ReadMaskLine(x1, x2, y, pWeights))
    std::memset(pWeights, 0, static_cast<std::size_t>(x2 - x1 + 1));
  xRaiseWeights(x1, x2, y, pWeights);
}

// Rectangles ---------------------------------------------------------------------------------------------------------

int PQelDraw::FillRect(RECT *pRect) {
  if (m_poCurBrush == nullptr || IsEmpty()) return 0;
  const long lWidth = GetImageWidth();
  long lLeft = 0, lTop = 0, lRight = lWidth, lBottom = m_lHeight;
  if (pRect != nullptr) lLeft = pRect->left, lTop = pRect->top, lRight = pRect->right, lBottom = pRect->bottom;
  if (!m_bRepeat) {
    lLeft = std::max(lLeft, 0L), lRight = std::min(lRight, lWidth);
    lTop = std::max(lTop, 0L), lBottom = std::min(lBottom, m_lHeight);
  }
  if (lLeft >= lRight || lTop >= lBottom) return 0;
  const bool bPlain = xPaintsPlainly();
  WorkLines lines;
  if (!bPlain && !lines.Alloc(lRight - lLeft, GetBitCount())) return 0;
  for (long y = lBottom - 1; y >= lTop; --y) {
    if (bPlain)
      xFillPlainly(lLeft, lRight - 1, y);
    else
      xPaintBrushRow(lLeft, lRight - 1, y, lines);
  }
  return 1;
}

// Blocks -------------------------------------------------------------------------------------------------------------

namespace {

/// One direction of a block transfer.
struct BlockSpan {
  long to, from, count;

  /// Cuts the block to `size` pixels of one side, counted from its place there.
  static void Cut(long &place, long &other, long &count, long size) {
    if (place < 0) count += place, other -= place, place = 0;
    count = std::min(count, size - place);
  }
  void CutTo(long size) { Cut(to, from, count, size); }
  void CutFrom(long size) { Cut(from, to, count, size); }
};

}  // namespace

int PQelDraw::BitBlt(long x, long y, long lWidth, long lHeight, PQelDraw *pSource, long sx, long sy) {
  if (pSource == nullptr || IsEmpty() || pSource->m_nImageType != m_nImageType) return 0;
  if (IsFar(x) || IsFar(y) || IsFar(lWidth) || IsFar(lHeight) || IsFar(sx) || IsFar(sy)) return 1;
  BlockSpan across = {x, sx, lWidth}, down = {y, sy, lHeight};
  if (!m_bRepeat) across.CutTo(GetImageWidth()), down.CutTo(m_lHeight);
  if (!pSource->m_bRepeat) across.CutFrom(pSource->GetImageWidth()), down.CutFrom(pSource->m_lHeight);
  if (across.count < 1 || down.count < 1) return 1;
  WorkLines lines;
  if (!lines.Alloc(across.count, GetBitCount())) return 0;
  const long x2 = across.to + across.count - 1, sx2 = across.from + across.count - 1;
  for (long i = down.count - 1; i >= 0; --i) {
    const long lRow = down.to + i;
    if (!GetHorLine(across.to, x2, lRow, lines.pImage) ||
        !pSource->GetUnMaskHorLine(across.from, sx2, down.from + i, lines.pImage, lines.pColors))
      return 0;
    xMakeWeights(across.to, x2, lRow, lines.pWeights);
    MixHorLineWithGrayMask(across.to, x2, lRow, lines.pColors, lines.pImage, lines.pWeights);
  }
  return 1;
}

int PQelDraw::GetUnMaskHorLine(long x1, long x2, long y, BYTE *pDst, BYTE *pResult) {
  if (pDst == nullptr || pResult == nullptr || x2 < x1 || m_nImageType < 0 || m_nImageType > 9) return 0;
  if (!GetHorLine(x1, x2, y, pResult)) return 0;
  if (m_poCurMask == nullptr) return 1;
  const int nMaskBits = m_poCurMask->GetBitCount();
  if (nMaskBits != 1 && nMaskBits != 8) return 0;  // it has become another image
  const long n = x2 - x1 + 1;
  PMem memory;  // the mask's pixels, and what they weigh
  if (IsFar(n) || !memory.AllocMemory(GHND, static_cast<unsigned long>(2 * n + 8))) return 0;
  unsigned char *const pMask = memory.GetPointer(), *pWeights = pMask;
  if (!m_poCurMask->GetHorLine(x1, x2, y, pMask)) return 0;
  if (nMaskBits != 8) qel::lines::BitsToGray(pWeights = pMask + n + 8, pMask, n, false);
  qel::ops::kMixes[m_nImageType](pResult, pDst, pWeights, n);
  return 1;
}

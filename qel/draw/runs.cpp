// Runs of rows and columns, solid and anti-aliased.
//
// A solid run is a line filled once and written with one line operation; where nobody watches the line pass, the store
// is filled in place. An anti-aliased run is one row (or column) of sub-pixels, eight to a pixel: it blends the colour
// into the pixels it touches by the part of it that they hold, over the picture of the undo copy, so that eight runs
// make a full row.

#include <algorithm>
#include <climits>

#include "qel/draw/color_line.h"
#include "qel/draw/coordinates.h"
#include "qel/image/image.h"
#include "qel/lines/coverage.h"
#include "qel/lines/run_fill.h"

using qel::draw::kSubPixels;

namespace {

constexpr int kFullWeight = 32;  // of one sub-pixel row: eight of them are 256

/// Fills pixels of 8 bits and more where they lie.
int FillStore(PMem &store, unsigned long dwOffset, int nBits, long lPixels, long long llColor) {
  const auto dwCount = static_cast<unsigned long>(lPixels);
  const auto dwColor = static_cast<unsigned long>(llColor) & 0xFFFFFFFF;
  switch (nBits) {
    case 8:
      return store.SetBlockBYTE(dwOffset, dwCount, static_cast<unsigned char>(llColor));
    case 16:
      return store.SetBlockWORD(dwOffset, dwCount, static_cast<unsigned short>(llColor));
    case 24:
      return store.SetBlockTRIO(dwOffset, dwCount, dwColor);
    case 32:
      return store.SetBlockDWORD(dwOffset, dwCount, dwColor);
    default:
      return store.SetBlockDLONG(dwOffset, dwCount, llColor);
  }
}

/// The pixels of a sub-pixel run and how much of the outer ones it holds.
struct Coverage {
  long first, last;  // pixels
  int firstWeight;   // 0: in full
  int lastWeight;    // 0: in full

  Coverage(long x1, long x2) : first(x1 / kSubPixels), last(x2 / kSubPixels) {
    const long lFirst = kSubPixels - x1 % kSubPixels, lLast = (x2 + 1) % kSubPixels;
    firstWeight = static_cast<int>(4 * (lFirst == kSubPixels ? 0 : lFirst));
    lastWeight = static_cast<int>(4 * (first == last ? x2 - x1 + 1 : lLast));
  }

  long Pixels() const { return last - first + 1; }

  /// Blends a line of these pixels.
  void Apply(unsigned char *pLine, const unsigned char *pBase, long long llColor, long lPixelBytes) const {
    const auto blend = [=](long i, int nWeight, long lCount) {
      (lPixelBytes == 1 ? BlendGrayCoverage : Blend24bitCoverage)(pLine + i * lPixelBytes, pBase + i * lPixelBytes,
                                                                  llColor, nWeight, lCount);
    };
    long n = Pixels();
    if (lastWeight != 0) blend(--n, lastWeight, 1);
    if (firstWeight == 0)
      blend(0, kFullWeight, n);
    else if (n >= 1) {
      blend(0, firstWeight, 1);
      blend(1, kFullWeight, n - 1);
    }
  }
};

}  // namespace

// Solid runs ---------------------------------------------------------------------------------------------------------

int PQel::xFillSpan(const LineSpan &span, long long llColor) {
  const int nBits = GetBitCount();
  long lPixels = 0, lBits = 0;
  if (__builtin_sub_overflow(span.Last() + 1, span.First(), &lPixels) ||
      __builtin_mul_overflow(lPixels, static_cast<long>(nBits), &lBits))
    return 0;
  if (!span.vertical && !m_bBlock && !m_bRepeat && m_pfnHook == nullptr && nBits >= 8) {
    InvalidateLine(span.a, span.b, span.c);
    return FillStore(*m_pMem, xGetRowOffset(span.a * (nBits / 8), span.c), nBits, lPixels, llColor);
  }
  PMem line;
  if (!line.AllocMemory(GMEM_MOVEABLE, static_cast<unsigned long>(lBits / 8 + 8))) return 0;
  qel::draw::FillColorLine(line.GetPointer(), nBits, lPixels, llColor);
  return span.vertical ? PutVerLine(span.a, span.b, span.c, line.GetPointer())
                       : PutHorLine(span.a, span.b, span.c, line.GetPointer());
}

// Anti-aliased runs --------------------------------------------------------------------------------------------------

/// Reads the pixels under a run, and as they were at the snapshot: one byte each from gray images, three from others.
int PQel::xReadForCover(const LineSpan &pixels, unsigned char *pLine, unsigned char *pBase) {
  const auto [a, b, c, bVertical] = pixels;
  if (GetBitCount() <= 8)
    return bVertical ? xGetUndoGrayVerLine(a, b, c, pBase) && GetGrayVerLine(a, b, c, pLine, nullptr)
                     : xGetUndoGrayHorLine(a, b, c, pBase) && GetGrayHorLine(a, b, c, pLine, nullptr);
  return bVertical ? xGetUndo24bitVerLine(a, b, c, pBase) && Get24bitVerLine(a, b, c, pLine, nullptr)
                   : xGetUndo24bitHorLine(a, b, c, pBase) && Get24bitHorLine(a, b, c, pLine, nullptr);
}

int PQel::xCoverSpan(const LineSpan &span, long long llColor) {
  const Coverage coverage(span.First(), span.Last());
  const bool bVertical = span.vertical, bGray = GetBitCount() <= 8;
  const LineSpan pixels = bVertical ? LineSpan{span.a / kSubPixels, coverage.first, coverage.last, true}
                                    : LineSpan{coverage.first, coverage.last, span.c / kSubPixels, false};
  long lBytes = 0;
  if (__builtin_mul_overflow(coverage.Pixels() + 2, 3, &lBytes)) return 0;
  PMem line, base;
  if (!line.AllocMemory(GMEM_MOVEABLE, static_cast<unsigned long>(lBytes)) ||
      !base.AllocMemory(GMEM_MOVEABLE, static_cast<unsigned long>(lBytes)) ||
      !xReadForCover(pixels, line.GetPointer(), base.GetPointer()))
    return 0;
  coverage.Apply(line.GetPointer(), base.GetPointer(), llColor, bGray ? 1 : 3);
  if (bVertical)
    return bGray ? PutGrayVerLine(pixels.a, pixels.b, pixels.c, line.GetPointer())
                 : Put24bitVerLine(pixels.a, pixels.b, pixels.c, line.GetPointer());
  return bGray ? PutGrayHorLine(pixels.a, pixels.b, pixels.c, line.GetPointer())
               : Put24bitHorLine(pixels.a, pixels.b, pixels.c, line.GetPointer());
}

// Runs ---------------------------------------------------------------------------------------------------------------

/// Clips a run to the image, unless it repeats, and draws what is left of it.
int PQel::xDrawRun(LineSpan span, long long llColor) {
  long &lFirst = span.vertical ? span.b : span.a, &lLast = span.vertical ? span.c : span.b;
  if (IsEmpty()) return 1;
  if (!m_bRepeat) {
    const long lScale = m_bAntiAlias ? kSubPixels : 1;
    const long lWidth = lScale * GetImageWidth(), lHeight = lScale * m_lHeight;
    const long lAcross = span.vertical ? span.a : span.c;
    if (lAcross < 0 || lAcross >= (span.vertical ? lWidth : lHeight)) return 1;
    lFirst = std::max(lFirst, 0L);
    lLast = std::min(lLast, (span.vertical ? lHeight : lWidth) - 1);
  }
  if (lFirst > lLast) return 1;
  if (lLast == LONG_MAX) return 0;  // it has no end that could be counted to
  return m_bAntiAlias ? xCoverSpan(span, llColor) : xFillSpan(span, llColor);
}

int PQel::xDrawHorLine(long x1, long x2, long y, long long llColor) {
  return xDrawRun({x1, x2, y, false}, llColor);
}

int PQel::xDrawVerLine(long x, long y1, long y2, long long llColor) {
  return xDrawRun({x, y1, y2, true}, llColor);
}

int PQel::DrawHorLine(long x1, long x2, long y, long long llColor) {
  return m_bAntiAlias ? xDrawWideLine(kSubPixels, x1, y, x2, y, llColor) : xDrawHorLine(x1, x2, y, llColor);
}

int PQel::DrawVerLine(long x, long y1, long y2, long long llColor) {
  return m_bAntiAlias ? xDrawWideLine(kSubPixels, x, y1, x, y2, llColor) : xDrawVerLine(x, y1, y2, llColor);
}

// The seed fill (after Smith 1979), run by run: a stack of seeds, and an image of bits for the pixels that are filled
// or that the mask forbids. A run is painted with the brush, and the open pixels above and below it that show the
// seed's colour give new seeds; the row that the last run lay on is searched only beside that run.

#include <algorithm>

#include "qel/draw/draw.h"
#include "qel/draw/point_stack.h"
#include "qel/lines/flood.h"

namespace {

using qel::lines::BoxTest;
using qel::lines::ColorBox;

constexpr int kMonochrome = 0, kTrueColor = 1, kOpenOnly = 255;

BoxTest BoxAround(const unsigned char *pColor, int nTolerance) {
  ColorBox box;
  for (int c = 0; c < 3; ++c) {
    box.low[c] = static_cast<unsigned char>(std::max(pColor[c] - nTolerance, 0));
    box.high[c] = static_cast<unsigned char>(std::min(pColor[c] + nTolerance, 255));
  }
  return BoxTest(box);
}

/// Pixels x to last of a row, which the region reaches; `ends` tells where it may go on.
struct Seed {
  long x, y, last;
  int ends;
};
constexpr int kOpenLeft = 1, kOpenRight = 2, kOpenEnds = kOpenLeft | kOpenRight;

/// Rows of an image: in its store where that can be, else through a line.
class Rows {
 public:
  /// `bColors`: 24-bit pixels, else the image's own bits.
  Rows(PQel &image, bool bColors) : m_image(image), m_bColors(bColors) {
    if (bColors && image.GetImageType() != kTrueColor) return;
    m_pRows = image.xGetStoredRows(&m_lRowStep);
    m_bStored = m_pRows != nullptr || image.xGetStoredSpan(0, image.GetImageWidth(), 0) != nullptr;
  }

  bool IsStored() const { return m_bStored; }

  bool Alloc(long lWidth) {
    return m_line.AllocMemory(GHND, static_cast<unsigned long>(m_bColors ? 3 * lWidth + 4 : lWidth / 8 + 8)) != nullptr;
  }

  /// Pixels x1 .. x2 of row y, from a place whose column is *pFrom; null when they cannot be read. Rows of the store
  /// start at the first column.
  unsigned char *Get(long x1, long x2, long y, long *pFrom) {
    *pFrom = 0;
    if (m_pRows != nullptr) return m_pRows + y * m_lRowStep;
    if (m_bStored) return m_image.xGetStoredSpan(0, m_image.GetImageWidth(), y);
    *pFrom = x1;
    unsigned char *const pLine = m_line.GetPointer();
    return (m_bColors ? m_image.Get24bitHorLine(x1, x2, y, pLine, nullptr) : m_image.GetHorLine(x1, x2, y, pLine))
               ? pLine
               : nullptr;
  }

  /// Columns x1 to x2 of row y may be asked for soon. Regions are walked down and up through narrow columns of rows,
  /// where the processor does not guess what comes next.
  void Expect(long x1, long x2, long y) const {
    if (m_pRows != nullptr && y >= 0 && y < m_image.GetImageHeight())
      qel::lines::Prefetch(m_pRows + y * m_lRowStep + 3 * x1, 3 * (x2 - x1 + 1));
  }

 private:
  PQel &m_image;
  bool m_bColors;
  unsigned char *m_pRows = nullptr;  // all of them, where they are always committed
  long m_lRowStep = 0;
  bool m_bStored = false;
  PMem m_line;
};

}  // namespace

int PQelDraw::xMakeVisited(PQel &visited) {
  PQel &like = m_poCurMask != nullptr ? *m_poCurMask : *this;
  if (!like.IsEnableRepeat() && (like.GetImageWidth() != GetImageWidth() || like.GetImageHeight() != m_lHeight))
    return 0;  // the mask has become another image
  if (!visited.CreateImage(kMonochrome, like.GetImageWidth(), like.GetImageHeight(), 0, nullptr, 0, 0, 1, 0, 0))
    return 0;
  if (m_poCurMask != nullptr ? !visited.ConvertImage(m_poCurMask, 0, kOpenOnly, 0) : !visited.Clear(0)) return 0;
  visited.SetSameRepeat(&like);
  return 1;
}

int PQelDraw::FloodFill(CPoint ptSeed, short nTolerance, PQel *pReference) {
  PQel &reference = pReference != nullptr ? *pReference : *this;
  const long lWidth = GetImageWidth(), lHeight = m_lHeight;
  if (IsEmpty() || reference.GetImageWidth() != lWidth || reference.GetImageHeight() != lHeight) return 0;
  if (ptSeed.x < 0 || ptSeed.y < 0 || ptSeed.x >= lWidth || ptSeed.y >= lHeight || nTolerance < 0) return 1;
  unsigned char bySeed[4];
  if (!reference.Get24bitHorLine(ptSeed.x, ptSeed.x, ptSeed.y, bySeed, nullptr)) return 0;
  const BoxTest box = BoxAround(bySeed, nTolerance);

  PQel visited;
  PPointStack stack;
  PMem ones;  // for runs of visited pixels
  if (!xMakeVisited(visited) || !ones.AllocMemory(GMEM_MOVEABLE, static_cast<unsigned long>(lWidth / 8 + 8))) return 0;
  std::fill_n(ones.GetPointer(), lWidth / 8 + 8, static_cast<unsigned char>(0xFF));
  Rows colors(reference, true), bits(visited, false);
  // Where rows stay where they are and nothing but runs changes them, the pixels that a seed was found with need not be
  // looked at again: they are filled all at once or not at all.
  const bool bInStore = xFillsRunsInStore(), bKeepRuns = bInStore && colors.IsStored() && bits.IsStored();
  const auto push = [&](const Seed &seed) { return stack.Push(seed.x, seed.y) && stack.Push(seed.last, seed.ends); };
  if (!colors.Alloc(lWidth) || !bits.Alloc(lWidth) || !push({ptSeed.x, ptSeed.y, ptSeed.x, kOpenEnds})) return 0;

  struct {
    long y, left, right;
  } last = {ptSeed.y - 2L, 0, -1};
  const auto seed = [&](long x1, long x2, long y) {
    long lColorFrom, lBitFrom;
    if (x1 > x2) return true;
    const unsigned char *const pColors = colors.Get(x1, x2, y, &lColorFrom), *const pBits =
                                                                                 bits.Get(x1, x2, y, &lBitFrom);
    if (pColors == nullptr || pBits == nullptr) return true;
    const long n = x2 - x1 + 1;
    bool bPushed = true;
    qel::lines::ForEachRun(pColors + 3 * (x1 - lColorFrom), pBits, x1 - lBitFrom, n, box, [&](long first, long end) {
      const int nEnds = (first == 0 ? kOpenLeft : 0) | (end == n - 1 ? kOpenRight : 0);
      bPushed &= bKeepRuns ? push({x1 + first, y, x1 + end, nEnds}) : push({x1 + first, y, x1 + first, kOpenEnds});
    });
    return bPushed;
  };
  const auto seedBeside = [&](long left, long right, long y) {
    if (y < 0 || y >= lHeight) return true;
    if (last.y != y) return seed(left, right, y);
    return seed(left, std::min(right, last.left - 1), y) && seed(std::max(left, last.right + 1), right, y);
  };

  POINT pt, known;
  while (stack.Pop(&known) && stack.Pop(&pt)) {
    const long x = pt.x, y = pt.y;
    long lBitFrom, lColorFrom, left = 0, right = lWidth - 1;
    unsigned char *const pBits = bits.Get(0, lWidth - 1, y, &lBitFrom);
    if (pBits == nullptr || !qel::lines::IsOpen(pBits, x)) continue;
    if (!colors.IsStored()) {  // no more than this is read
      left = qel::lines::FirstOpen(pBits, x, left);
      right = qel::lines::LastOpen(pBits, x, right);
    }
    const unsigned char *pColors = colors.Get(left, right, y, &lColorFrom);
    if (pColors == nullptr) continue;
    pColors -= 3 * lColorFrom;
    if (!bKeepRuns && !qel::lines::IsInBox(pColors, x, box)) continue;
    left = known.y & kOpenLeft ? qel::lines::FirstOpen(pBits, x, qel::lines::FirstInBox(pColors, x, left, box)) : x;
    right = known.y & kOpenRight
                ? qel::lines::LastOpen(pBits, known.x, qel::lines::LastInBox(pColors, known.x, right, box))
                : known.x;
    colors.Expect(left, right, last.y < y ? y + 2 : y - 2);
    const long run[2] = {left, right};
    if (!bInStore || !xFillRunsInStore(run, 1, y)) FillBrushHorLine(left, right, y);
    if (bits.IsStored())
      qel::lines::Close(pBits, left, right);
    else if (!visited.PutHorLine(left, right, y, ones.GetPointer()))
      return 0;
    if (!seedBeside(left, right, y - 1) || !seedBeside(left, right, y + 1)) return 0;
    last = {y, left, right};
  }
  return 1;
}

// Runs ---------------------------------------------------------------------------------------------------------------

int PQelDraw::xFindMaskBound(long *pLeft, long *pRight, long x, long lWidth, BYTE *pBits) {
  const bool bOpen = qel::lines::IsOpen(pBits, x);
  *pLeft = bOpen ? qel::lines::FirstOpen(pBits, x, 0) : x + 1;
  *pRight = bOpen ? qel::lines::LastOpen(pBits, x, lWidth - 1) : x - 1;
  return bOpen;
}

int PQelDraw::xFindImageBound(long *pLeft, long *pRight, long x, BYTE *pLine, BYTE byRedLow, BYTE byRedHigh,
                              BYTE byGreenLow, BYTE byGreenHigh, BYTE byBlueLow, BYTE byBlueHigh) {
  const BoxTest box({{byBlueLow, byGreenLow, byRedLow}, {byBlueHigh, byGreenHigh, byRedHigh}});
  const long lFrom = *pLeft;
  const unsigned char *const pFirst = pLine - 3 * lFrom;
  *pRight = qel::lines::LastInBox(pFirst, x, *pRight, box);
  *pLeft = qel::lines::FirstInBox(pFirst, x, lFrom, box);
  return *pRight >= *pLeft;
}

void PQelDraw::xFindNewPoint(long x1, long x2, long y, BYTE *pLine, BYTE *pBits, BYTE byRedLow, BYTE byRedHigh,
                             BYTE byGreenLow, BYTE byGreenHigh, BYTE byBlueLow, BYTE byBlueHigh, PPointStack &stack) {
  const BoxTest box({{byBlueLow, byGreenLow, byRedLow}, {byBlueHigh, byGreenHigh, byRedHigh}});
  qel::lines::ForEachRun(pLine, pBits, 0, x2 - x1 + 1, box, [&](long first, long) { stack.Push(x1 + first, y); });
}

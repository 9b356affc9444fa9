// Quarter turns, tile by tile, so that in block layout each tile touches few blocks.
//
// A tile is read in strips of rows, transposed in memory and written in strips of rows: written column by column, every
// pixel would touch another row of the store. With a hook it is columns all the same, since the hook is told of each,
// and in repeat mode too, where a row of the plane is cut into runs in another way than a column.

#include <algorithm>
#include <utility>

#include "qel/image/image.h"
#include "qel/lines/transpose.h"

namespace {

constexpr long kTileEdge = 256;         // pixels, where the layout has no blocks
constexpr long kUnseenTileBytes = 512;  // at least, in a row of a tile that is no block and that nobody sees
constexpr long kStripBytes = 384;       // of a destination row that a strip of source rows makes
constexpr long kLongestStrip = 2048;    // rows

/// A rectangle and where it goes, in 64 bits.
struct Tile {
  long left, top, width, height, x, y;

  Tile(const RECT &rc, const POINT &pt)
      : left(rc.left),
        top(rc.top),
        width(static_cast<long>(rc.right) - rc.left),
        height(static_cast<long>(rc.bottom) - rc.top),
        x(pt.x),
        y(pt.y) {}

  /// Whether it lies in the source, and turned in the destination.
  bool Fits(const PQel &source, const PQel &dest) const {
    return left >= 0 && top >= 0 && width >= 0 && height >= 0 && left + width <= source.GetImageWidth() &&
           top + height <= source.GetImageHeight() && x >= 0 && y >= 0 && x + height <= dest.GetImageWidth() &&
           y + width <= dest.GetImageHeight();
  }
};

/// Rows of `lPixels` pixels, each with room to spare for work a whole byte or word at a time.
long BufferBytes(int nBits, long lPixels) {
  return (nBits * lPixels + 63) / 32 * 4;
}

/// Turns a tile in strips. To the left, source columns become rows from the bottom up; to the right, source rows become
/// columns from the right.
int TurnStrips(PQel &dest, PQel &source, const Tile &tile, bool bLeft) {
  const int nBits = dest.GetBitCount();
  const long lStrip = std::min(kStripBytes / nBits * 8, kLongestStrip);
  const long lSrcBytes = BufferBytes(nBits, tile.width), lDstBytes = BufferBytes(nBits, lStrip);
  PMem from, to;
  if (!from.AllocMemory(GMEM_MOVEABLE, static_cast<unsigned long>(lSrcBytes * lStrip)) ||
      !to.AllocMemory(GMEM_MOVEABLE, static_cast<unsigned long>(lDstBytes * tile.width)))
    return 0;
  for (long i = 0; i < tile.height; i += lStrip) {
    const long lRows = std::min(lStrip, tile.height - i);
    // The source rows of the strip, so that the first becomes its leftmost column.
    for (long k = 0; k < lRows; ++k)
      source.GetHorLine(tile.left, tile.left + tile.width - 1, tile.top + (bLeft ? i + k : tile.height - 1 - i - k),
                        from.GetPointer() + k * lSrcBytes);
    qel::lines::Transpose(to.GetPointer(), lDstBytes, from.GetPointer(), lSrcBytes, tile.width, lRows, nBits);
    for (long k = 0; k < tile.width; ++k)
      dest.PutHorLine(tile.x + i, tile.x + i + lRows - 1, tile.y + (bLeft ? tile.width - 1 - k : k),
                      to.GetPointer() + k * lDstBytes);
  }
  return 1;
}

/// Turns a tile column by column, from its last row to its first.
int TurnColumns(PQel &dest, PQel &source, const Tile &tile, bool bLeft) {
  const auto dwBytes = static_cast<unsigned long>(BufferBytes(dest.GetBitCount(), tile.width));
  PMem line, work;
  if (!line.AllocMemory(GHND, dwBytes) || (bLeft && !work.AllocMemory(GHND, dwBytes))) return 0;
  const long lRight = tile.left + tile.width - 1, lBottom = tile.y + tile.width - 1;
  for (long i = tile.height - 1; i >= 0; --i) {
    if (bLeft)
      source.GetRevHorLine(tile.left, lRight, tile.top + i, line.GetPointer(), work.GetPointer());
    else
      source.GetHorLine(tile.left, lRight, tile.top + i, line.GetPointer());
    dest.PutVerLine(tile.x + (bLeft ? i : tile.height - 1 - i), tile.y, lBottom, line.GetPointer());
  }
  return 1;
}

}  // namespace

/// Whether a turn writes columns: a hook is told of each, and a repeating plane cuts a row into runs in another way.
bool PQel::xTurnsByColumns(const PQel *pSource) const {
  return m_bRepeat || m_pfnHook != nullptr || pSource->m_bRepeat || pSource->m_pfnHook != nullptr;
}

int PQel::xRotateBlock(PQel *pSource, POINT *pDest, RECT *pRect, bool bLeft) {
  if (pSource == nullptr || pSource == this || pDest == nullptr || pRect == nullptr || IsEmpty()) return 0;
  const Tile tile(*pRect, *pDest);
  if (pSource->GetBitCount() != GetBitCount() || !tile.Fits(*pSource, *this)) return 0;
  if (tile.width == 0 || tile.height == 0) return 1;
  return xTurnsByColumns(pSource) ? TurnColumns(*this, *pSource, tile, bLeft)
                                  : TurnStrips(*this, *pSource, tile, bLeft);
}

int PQel::xRotateBlockLeft(PQel *pSource, POINT *pDest, RECT *pRect) {
  return xRotateBlock(pSource, pDest, pRect, true);
}

int PQel::xRotateBlockRight(PQel *pSource, POINT *pDest, RECT *pRect) {
  return xRotateBlock(pSource, pDest, pRect, false);
}

/// Turns the source tile by tile, those of its columns outside, those of its rows inside.
int PQel::xRotateImage(PQel *pSource, bool bLeft) {
  if (pSource == nullptr || pSource == this || IsEmpty() || GetBitCount() != pSource->GetBitCount() ||
      GetImageWidth() != pSource->m_lHeight || m_lHeight != pSource->GetImageWidth())
    return 0;
  // Where nobody sees the tiles, they may be larger: short runs of bytes cost more than what they hold.
  const long lUnseenEdge = std::max(kUnseenTileBytes * 8 / GetBitCount(), kUnseenTileBytes);
  const long lLinearEdge = xTurnsByColumns(pSource) ? kTileEdge : lUnseenEdge;
  const long lEdge = m_bBlock ? m_lBlockSize : lLinearEdge;
  const long lWidth = GetImageWidth();
  for (long a = 0; a < m_lHeight; a += lEdge)
    for (long b = 0; b < lWidth; b += lEdge) {
      const long lColumns = std::min(lEdge, m_lHeight - a), lRows = std::min(lEdge, lWidth - b);
      const long lLeft = bLeft ? a : m_lHeight - a - lColumns, lTop = bLeft ? b : lWidth - b - lRows;
      RECT rc = {static_cast<LONG>(lLeft), static_cast<LONG>(lTop), static_cast<LONG>(lLeft + lColumns),
                 static_cast<LONG>(lTop + lRows)};
      POINT pt = {static_cast<LONG>(b), static_cast<LONG>(m_lHeight - a - lColumns)};
      if (!(bLeft ? xRotateBlockLeft(pSource, &pt, &rc) : xRotateBlockRight(pSource, &pt, &rc))) return 0;
    }
  std::swap(m_pBIH->biXPelsPerMeter, m_pBIH->biYPelsPerMeter);
  return 1;
}

int PQel::RotateImageLeft(PQel *pSource) {
  return xRotateImage(pSource, true);
}

int PQel::RotateImageRight(PQel *pSource) {
  return xRotateImage(pSource, false);
}

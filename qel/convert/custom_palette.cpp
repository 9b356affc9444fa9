// A palette of 256 colours made for one picture.
//
// The picture is counted into 512 cells of eight levels a channel; a cell's colour is the average of its pixels. The
// palette starts with the 16 standard colours. A picture of fewer than 240 cells gets shades around its most used cells
// besides the cells' own colours; of one with more, cells near the standard colours are dropped and the rarest merged
// into similar neighbours. White marks a cell that is not there.

#include <algorithm>

#include "qel/convert/itc.h"
#include "qel/lines/histogram.h"

namespace {

namespace lines = qel::lines;
using lines::kColorCells;

constexpr int kPaletteSize = 256;
constexpr int kStandardColors = 16;
constexpr int kOwnColors = kPaletteSize - kStandardColors;
constexpr long kBatchPixels = 20480;  // rows are counted several at once

// Levels -------------------------------------------------------------------------------------------------------------

constexpr int LevelCentre(int level) {
  return (255 * level + 3) / 7;
}

constexpr int CellOf(int r, int g, int b) {
  return r * 64 + g * 8 + b;
}

bool IsWhite(const unsigned char *color) {
  return color[0] == 255 && color[1] == 255 && color[2] == 255;
}

void MakeWhite(unsigned char *color) {
  std::fill_n(color, 3, static_cast<unsigned char>(255));
}

// The palette being made ---------------------------------------------------------------------------------------------

struct CustomPalette {
  RGBQUAD entries[kPaletteSize];
  int count = 0;

  void Append(int red, int green, int blue) {
    entries[count++] = {static_cast<BYTE>(blue), static_cast<BYTE>(green), static_cast<BYTE>(red), 0};
  }
};

/// What a picture's cells hold after counting: colours as red, green, blue triples.
struct Cells {
  unsigned char colors[3 * kColorCells];
  long counts[kColorCells];
  int occupied;  // cells that hold a pixel
};

/// Counts a picture from its last row to its first. False when memory is short.
bool CountPicture(PQel *pImage, lines::ColorCell *cells) {
  const long lWidth = pImage->GetImageWidth();
  const long lRows = std::max(kBatchPixels / lWidth, 1L);
  PMem batch;
  if (!batch.AllocMemory(GMEM_MOVEABLE | GMEM_ZEROINIT, static_cast<unsigned long>(3 * lWidth * lRows + 4)))
    return false;
  for (long y = pImage->GetImageHeight() - 1; y >= 0;) {
    unsigned char *pRow = batch.GetPointer();
    long lCounted = 0;
    for (; lCounted < lRows && y >= 0; ++lCounted, --y, pRow += 3 * lWidth)
      if (!pImage->Get24bitHorLine(0, lWidth - 1, y, pRow, nullptr)) return false;
    lines::CountColors(cells, batch.GetPointer(), lCounted * lWidth);
  }
  return true;
}

void AverageCells(const lines::ColorCell *cells, Cells &averages) {
  averages.occupied = 0;
  for (int i = 0; i < kColorCells; ++i) {
    const lines::ColorCell &cell = cells[i];
    unsigned char *const color = averages.colors + 3 * i;
    averages.counts[i] = cell.count;
    MakeWhite(color);
    if (cell.count < 1) continue;
    ++averages.occupied;
    color[0] = static_cast<unsigned char>(cell.red / cell.count);
    color[1] = static_cast<unsigned char>(cell.green / cell.count);
    color[2] = static_cast<unsigned char>(cell.blue / cell.count);
  }
}

// Shades of the most used cells --------------------------------------------------------------------------------------

/// Appends up to `count` shades, spread evenly about the centre of a colour's cell; returns how many differ.
int AppendShades(CustomPalette &palette, const unsigned char *color, int count) {
  float step[3], value[3];
  int previous[3];
  for (int c = 0; c < 3; ++c) {
    const int centre = LevelCentre(lines::ColorLevel(color[c]));
    const int low = std::max(centre - 18, 0), high = std::min(centre + 18, 255);
    step[c] = static_cast<float>(high - low) / static_cast<float>(count + 1);
    value[c] = static_cast<float>(low) + step[c];
    previous[c] = low;
  }
  int appended = 0;
  for (int i = 0; i < count; ++i) {
    int shade[3];
    for (int c = 0; c < 3; ++c) {
      shade[c] = static_cast<int>(value[c] - 0.5F);
      value[c] += step[c];
    }
    if (std::equal(shade, shade + 3, previous)) continue;
    palette.Append(shade[0], shade[1], shade[2]);
    std::copy_n(shade, 3, previous);
    ++appended;
  }
  return appended;
}

// Standard colours ---------------------------------------------------------------------------------------------------

/// The cells from one combination of levels to another, in cell order, that a standard colour stands for.
struct StandardCells {
  short from[3], to[3];
  short color[3];
};

constexpr StandardCells kStandardCells[] = {
    {{0, 0, 0}, {0, 0, 0}, {0, 0, 0}},       {{0, 0, 3}, {0, 0, 4}, {0, 0, 128}},
    {{0, 0, 7}, {0, 0, 7}, {0, 0, 255}},     {{0, 3, 0}, {0, 4, 0}, {0, 128, 0}},
    {{0, 7, 0}, {0, 7, 0}, {0, 255, 0}},     {{3, 0, 0}, {4, 0, 0}, {128, 0, 0}},
    {{7, 0, 0}, {7, 0, 0}, {255, 0, 0}},     {{0, 3, 3}, {0, 4, 4}, {0, 128, 128}},
    {{0, 7, 7}, {0, 7, 7}, {0, 255, 255}},   {{3, 0, 3}, {4, 0, 4}, {128, 0, 128}},
    {{7, 0, 7}, {7, 0, 7}, {255, 0, 255}},   {{3, 3, 0}, {4, 4, 0}, {128, 128, 0}},
    {{7, 7, 0}, {7, 7, 0}, {255, 255, 0}},   {{3, 3, 3}, {4, 4, 4}, {128, 128, 128}},
    {{5, 5, 5}, {6, 6, 6}, {192, 192, 192}}, {{7, 7, 7}, {7, 7, 7}, {255, 255, 255}},
};

/// Calls f(r, g, b) for every cell of a range.
template <class F>
void ForEachCell(const StandardCells &range, F f) {
  for (short r = range.from[0]; r <= range.to[0]; ++r)
    for (short g = range.from[1]; g <= range.to[1]; ++g)
      for (short b = range.from[2]; b <= range.to[2]; ++b) f(r, g, b);
}

/// The cell with the smallest count above 0, the first of equals; -1 when there is none.
int RarestCell(const long *plCounts) {
  int nRarest = -1;
  for (int i = 0; i < kColorCells; ++i)
    if (plCounts[i] > 0 && (nRarest < 0 || plCounts[i] < plCounts[nRarest])) nRarest = i;
  return nRarest;
}

/// The neighbours of a cell, in the order in which it is offered to them.
constexpr signed char kNeighbours[26][3] = {
    {1, 0, 0},  {-1, 0, 0}, {0, 1, 0},   {0, -1, 0},  {0, 0, 1},   {0, 0, -1},  {1, 1, 0},   {1, -1, 0},   {1, 0, 1},
    {1, 0, -1}, {-1, 1, 0}, {-1, -1, 0}, {-1, 0, 1},  {-1, 0, -1}, {0, 1, 1},   {0, 1, -1},  {0, -1, 1},   {0, -1, -1},
    {1, 1, 1},  {1, 1, -1}, {1, -1, 1},  {1, -1, -1}, {-1, 1, 1},  {-1, 1, -1}, {-1, -1, 1}, {-1, -1, -1},
};

}  // namespace

// Fewer cells --------------------------------------------------------------------------------------------------------

int PItc::xRemoveStandardColor(unsigned char *pColors, long *plCounts, short r, short g, short b, short nRed,
                               short nGreen, short nBlue) {
  const int nCell = CellOf(r, g, b);
  unsigned char *const pColor = pColors + 3 * nCell;
  const auto isNear = [](int value, int standard) { return standard - 8 < value && value < standard + 8; };
  if (!isNear(pColor[0], nRed) || !isNear(pColor[1], nGreen) || !isNear(pColor[2], nBlue)) return 0;
  MakeWhite(pColor);
  plCounts[nCell] = 0;
  return 1;
}

int PItc::xCheckRGB(short nRed1, short nGreen1, short nBlue1, short nRed2, short nGreen2, short nBlue2, long lCount) {
  const int nTolerance = lCount <= 256 ? 64 : 20;
  const auto isWithin = [nTolerance](int first, int second) {
    return std::max(first - nTolerance, 0) <= second && second <= std::min(first + nTolerance, 255);
  };
  return isWithin(nRed1, nRed2) && isWithin(nGreen1, nGreen2) && isWithin(nBlue1, nBlue2);
}

int PItc::xCheckNearPixel(unsigned char *pColors, long *plCounts, long nCell, short r, short g, short b, short nRed,
                          short nGreen, short nBlue, long lCount) {
  const auto isLevel = [](short level) { return level >= 0 && level <= 7; };
  if (!isLevel(r) || !isLevel(g) || !isLevel(b)) return 0;
  const int nNear = CellOf(r, g, b);
  const long lNear = plCounts[nNear];
  unsigned char *const pNear = pColors + 3 * nNear;
  if (lNear < 1 || !xCheckRGB(nRed, nGreen, nBlue, pNear[0], pNear[1], pNear[2], lCount)) return 0;
  const auto mix = [=](long near, long own) {
    return static_cast<unsigned char>((near * lNear + own * lCount) / (lNear + lCount));
  };
  pNear[0] = mix(pNear[0], nRed);
  pNear[1] = mix(pNear[1], nGreen);
  pNear[2] = mix(pNear[2], nBlue);
  plCounts[nNear] = lNear + lCount;
  MakeWhite(pColors + 3 * nCell);
  return 1;
}

int PItc::xCanCombineColors(unsigned char *pColors, long *plCounts, int nCell, long lCount) {
  const int r = nCell / 64, g = nCell / 8 % 8, b = nCell % 8;
  const unsigned char *const pColor = pColors + 3 * nCell;
  for (const auto &step : kNeighbours)
    if (xCheckNearPixel(pColors, plCounts, nCell, static_cast<short>(r + step[0]), static_cast<short>(g + step[1]),
                        static_cast<short>(b + step[2]), pColor[0], pColor[1], pColor[2], lCount))
      return 1;
  return 0;
}

// Most used ----------------------------------------------------------------------------------------------------------

int PItc::xCntMax(long *plCounts, int nCount) {
  int nMost = -1;
  for (int i = 0; i < nCount; ++i)
    if (plCounts[i] > 0 && (nMost < 0 || plCounts[i] > plCounts[nMost])) nMost = i;
  return nMost;
}

short PItc::xGetMostUsedColor(int *pIndex, long *plCounts) {
  short nFilled = 0;
  while (nFilled < kOwnColors - 1) {
    const int nMost = xCntMax(plCounts, 4096);
    if (nMost < 0) break;
    pIndex[kStandardColors + nFilled++] = nMost;
    plCounts[nMost] = -1;
  }
  return nFilled;
}

// The palette --------------------------------------------------------------------------------------------------------

HPALETTE PItc::CreateCustomPalette(PQel *pImage) {
  if (pImage == nullptr || pImage->IsEmpty() || pImage->GetBitCount() <= 8) return nullptr;
  PMem work;
  constexpr unsigned long kWorkBytes = kColorCells * sizeof(lines::ColorCell);
  if (!work.AllocMemory(GMEM_MOVEABLE | GMEM_ZEROINIT, kWorkBytes)) return nullptr;
  auto *const counted = reinterpret_cast<lines::ColorCell *>(work.GetPointer());
  if (!CountPicture(pImage, counted)) return nullptr;
  Cells cells;
  AverageCells(counted, cells);
  int n = cells.occupied;

  CustomPalette palette;
  for (const PALETTEENTRY &entry : PQel::m_palEntryStd) palette.Append(entry.peRed, entry.peGreen, entry.peBlue);

  if (n < kOwnColors) {
    const long lExtra = kOwnColors - n, lPixels = pImage->GetImageWidth() * pImage->GetImageHeight();
    for (long lSpare = lExtra; lSpare > 0;) {
      const int nCell = xCntMax(cells.counts, kColorCells);
      if (nCell < 0) break;
      const long lShades = std::min(cells.counts[nCell] * lExtra / lPixels + 1, lSpare);
      cells.counts[nCell] = 0;
      lSpare -= AppendShades(palette, cells.colors + 3 * nCell, static_cast<int>(lShades));
    }
  } else if (n > kOwnColors) {
    for (const StandardCells &range : kStandardCells)
      ForEachCell(range, [&](short r, short g, short b) {
        n -= xRemoveStandardColor(cells.colors, cells.counts, r, g, b, range.color[0], range.color[1], range.color[2]);
      });
    while (n > kOwnColors) {
      const int nCell = RarestCell(cells.counts);
      if (nCell < 0) break;  // no two of the rest are alike
      n -= xCanCombineColors(cells.colors, cells.counts, nCell, cells.counts[nCell]);
      cells.counts[nCell] = 0;
    }
    n = std::min(n, kOwnColors);  // more do not fit: the first in cell order stay
  }

  for (int i = 0; i < kColorCells && n > 0; ++i) {
    const unsigned char *const color = cells.colors + 3 * i;
    if (IsWhite(color)) continue;
    palette.Append(color[0], color[1], color[2]);
    --n;
  }
  while (palette.count < kPaletteSize) palette.Append(255, 255, 255);
  return PQel::CreateLogPal(kPaletteSize, palette.entries);
}

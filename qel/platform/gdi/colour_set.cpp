// Which colours a depth shows, and which of them stands for any other: default tables, the nearest of a set, the words
// of high colour.

#include "qel/platform/gdi/colour_set.h"

#include <algorithm>
#include <limits>

namespace qel::gdi {

namespace {

// The static colours of 8-bit screens; those of 4-bit screens are the first 8 and the last 8, with plain gray between.
constexpr PALETTEENTRY kStaticColours[20] = {
    {0, 0, 0, 0},       {128, 0, 0, 0},     {0, 128, 0, 0},     {128, 128, 0, 0},   {0, 0, 128, 0},
    {128, 0, 128, 0},   {0, 128, 128, 0},   {192, 192, 192, 0}, {192, 220, 192, 0}, {166, 202, 240, 0},
    {255, 251, 240, 0}, {160, 160, 164, 0}, {128, 128, 128, 0}, {255, 0, 0, 0},     {0, 255, 0, 0},
    {255, 255, 0, 0},   {0, 0, 255, 0},     {255, 0, 255, 0},   {0, 255, 255, 0},   {255, 255, 255, 0}};

int Square(int n) {
  return n * n;
}

const ChannelFields &HighColour(int nDepth) {
  static const ChannelFields fields[2] = {{MakeField(0x7C00), MakeField(0x03E0), MakeField(0x001F)},
                                          {MakeField(0xF800), MakeField(0x07E0), MakeField(0x001F)}};
  return fields[nDepth == 15 ? 0 : 1];
}

}  // namespace

const Entries &DefaultColours(int nDepth) {
  static const Entries mono = {{0, 0, 0, 0}, {255, 255, 255, 0}};
  static const Entries all(kStaticColours, kStaticColours + 20);
  static const Entries plain = [] {
    Entries entries(all.begin(), all.begin() + 8);
    entries.insert(entries.end(), all.begin() + 12, all.end());
    return entries;
  }();
  return nDepth == 1 ? mono : nDepth <= 4 ? plain : all;
}

UINT NearestEntry(const Entries &entries, COLORREF rgb) {
  UINT nNearest = 0;
  int nLeast = std::numeric_limits<int>::max();
  for (UINT i = 0; i < entries.size(); ++i) {
    const int nDistance = Square(entries[i].peRed - GetRValue(rgb)) + Square(entries[i].peGreen - GetGValue(rgb)) +
                          Square(entries[i].peBlue - GetBValue(rgb));
    if (nDistance < nLeast) nLeast = nDistance, nNearest = i;
  }
  return nNearest;
}

// Sets ---------------------------------------------------------------------------------------------------------------

UINT ColourSet::Nearest(Pixel pixel) {
  constexpr size_t kSlots = 4096;
  constexpr Pixel kNoPixel = 0xFFFFFFFF;
  if (m_found.empty()) m_found.assign(kSlots, {kNoPixel, 0});
  Found &found = m_found[(pixel * 0x9E3779B1u) >> 20];
  if (found.pixel != pixel) found = {pixel, NearestEntry(m_entries, SwapRedBlue(pixel))};
  return found.nIndex;
}

void ColourSet::Indices(BYTE *dst, const Pixel *src, long n) {
  for (long i = 0; i < n; ++i) dst[i] = static_cast<BYTE>(Nearest(src[i]));
}

ColourSet ScreenColours(const Entries &palette, int nDepth) {
  const size_t nRoom = size_t{1} << nDepth;
  const Entries &defaults = DefaultColours(nDepth);
  Entries entries(palette.begin(), palette.begin() + static_cast<long>(std::min(palette.size(), nRoom)));
  if (entries.size() + defaults.size() <= nRoom || entries.empty())
    entries.insert(entries.end(), defaults.begin(),
                   defaults.begin() + static_cast<long>(std::min(defaults.size(), nRoom)));
  return ColourSet(std::move(entries));
}

// Depths -------------------------------------------------------------------------------------------------------------

Pixel Shown::Colour(Pixel pixel) const {
  Line(&pixel, 1);
  return pixel;
}

void Shown::Line(Pixel *line, long n) const {
  if (ShowsAll()) return;
  if (m_nDepth > 8) {
    lines::RoundToWords(line, n, HighColour(m_nDepth));
  } else if (m_nDepth > 0) {
    for (long i = 0; i < n; ++i) line[i] = m_pSet->NearestColour(line[i]);
  } else {
    lines::ToBlackAndWhite(line, n);
  }
}

}  // namespace qel::gdi

// Which colours a depth shows, and which of them stands for any other. Internal.
#pragma once

#include <vector>

#include "qel/platform/gdi/pixel.h"
#include "qel/platform/types.h"

namespace qel::gdi {

using Entries = std::vector<PALETTEENTRY>;

/// The colours that a depth of 1, 4 or 8 bits has without a palette: black and white, the 16 of plain displays, the 20
/// static ones.
const Entries &DefaultColours(int nDepth);

/// Index of the entry nearest to a colour: least sum of squared differences, the first of equals. `entries` is not
/// empty.
UINT NearestEntry(const Entries &entries, COLORREF rgb);

constexpr Pixel ToPixel(const PALETTEENTRY &entry) {
  return MakePixel(entry.peRed, entry.peGreen, entry.peBlue);
}

/// A set of colours with a search for the nearest that remembers what it found.
class ColourSet {
 public:
  ColourSet() = default;
  explicit ColourSet(Entries entries) : m_entries(std::move(entries)) {}

  const Entries &Colours() const { return m_entries; }

  UINT Nearest(Pixel pixel);
  Pixel NearestColour(Pixel pixel) { return ToPixel(m_entries[Nearest(pixel)]); }

  /// The index of the nearest colour for each pixel; sets of up to 256 colours.
  void Indices(BYTE *dst, const Pixel *src, long n);

 private:
  struct Found {
    Pixel pixel;
    UINT nIndex;
  };

  Entries m_entries;
  std::vector<Found> m_found;  // by a hash of the pixel; a later one replaces an earlier one
};

/// The colours of a screen of up to 8 bits: the palette's first 2^nDepth, then the default ones where all fit.
ColourSet ScreenColours(const Entries &palette, int nDepth);

/// What a depth shows of any colour. Depth 0 is a monochrome bitmap.
class Shown {
 public:
  /// `pSet` are the colours for depths of 1 to 8 bits.
  Shown(int nDepth, ColourSet *pSet) : m_nDepth(nDepth), m_pSet(pSet) {}

  bool ShowsAll() const { return m_nDepth > 16; }
  Pixel Colour(Pixel pixel) const;
  void Line(Pixel *line, long n) const;

 private:
  int m_nDepth;
  ColourSet *m_pSet;
};

}  // namespace qel::gdi

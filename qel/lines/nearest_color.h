// The nearest entry of a palette. Colours are triples of bytes.
#pragma once

namespace qel::lines {

/// Gives each of `count` colours the index (its low byte) of the nearest of `paletteCount` palette colours: the
/// smallest sum of squared differences, the lower index of equals. A colour that no entry is nearer to than black is to
/// white repeats the index before it, 0 at first.
void FindNearestColors(unsigned char *map, const unsigned char *colors, long count, const unsigned char *palette,
                       long paletteCount);

namespace plain {

/// The same, entry by entry.
void FindNearestColors(unsigned char *map, const unsigned char *colors, long count, const unsigned char *palette,
                       long paletteCount);

}  // namespace plain
}  // namespace qel::lines

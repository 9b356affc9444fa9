// Hue, saturation and lightness of 24-bit lines, and pixels that meet rules on colour, as bits.
#pragma once

#include "qel/export.h"
#include "qel/lines/color_box.h"

/// Converts `lCount` 24-bit pixels in place. A pixel with a hue becomes three bytes: the saturation with the highest
/// bit of the hue (degrees, 0 to 359) as its lowest, the low byte of the hue, and the lightness; a gray 0x01, 0x68
/// (that is hue 360) and its level. (After the double hexcone of Joblove and Greenberg 1978.)
QEL_API void ConvertLineToHsl(unsigned char *pLine, long lCount);

namespace qel::lines {

/// Set the bits (most significant first) of n 24-bit pixels that lie in a box.
void MarkBox(unsigned char *bits, const unsigned char *line, long n, const ColorBox &box);

/// The same for pixels of ConvertLineToHsl: a hue within `tolerance` degrees around the circle, the grays, and a
/// lightness from low to high.
void MarkHue(unsigned char *bits, const unsigned char *line, long n, int hue, int tolerance);
void MarkGrays(unsigned char *bits, const unsigned char *line, long n);
void MarkLightness(unsigned char *bits, const unsigned char *line, long n, int low, int high);

namespace plain {

void MarkBox(unsigned char *bits, const unsigned char *line, long n, const ColorBox &box);

}  // namespace plain

}  // namespace qel::lines

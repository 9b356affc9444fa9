// Error diffusion for the screen: lines of colours to indices of the screen's palette, always from left to right, with
// shares truncated toward zero and values that may leave 0 .. 255 (a variant of Floyd and Steinberg 1976).
#pragma once

#include <cstdint>

namespace qel::lines {

/// What a line is diffused with. Palette entries are four bytes: red, green, blue and one more.
struct DisplayPalettes {
  const unsigned char *map;     // 4096 screen indices by key red >> 4, green >> 4, blue >> 4 (red in the high bits)
  const unsigned char *source;  // of lines of 8 and 4 bits
  const unsigned char *screen;
};

/// Diffuses a line of `width` pixels of 24, 8 or 4 bits to one of 8, 4 or 1 bits. `current` holds what is carried into
/// the line and `next` receives what it hands down, three entries a pixel in the order red, green, blue; `next` need
/// not be cleared, and what is carried along the line is added to `current`. Nothing is written behind the entries of
/// the last pixel.
void DiffuseDisplayLine(unsigned char *dst, int dstBits, const unsigned char *src, int srcBits, std::int32_t *current,
                        std::int32_t *next, const DisplayPalettes &palettes, long width);

}  // namespace qel::lines

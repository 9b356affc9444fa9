// Zooms of a line by whole steps: each pixel repeated, or only every so-manyth kept. Lines are packed by the DIB rule
// and start at the most significant bit of their first byte; nothing behind the last byte of either span is touched.
// Bit counts other than 1, 4, 8, 16, 24, 32 and 48 do nothing.
#pragma once

namespace qel::lines {

/// Writes each of `count` pixels `times` times (2 and up). When a 4-bit line ends inside a byte, the low nibble behind
/// it is the source's; the bits behind a 1-bit line are 0.
void ReplicatePixels(unsigned char *dst, const unsigned char *src, long count, long times, int bits);

/// Writes pixels 0, step, 2 x step ... of the source, `count` in all (step 1 and up). The bits behind the last pixel of
/// a 1- or 4-bit line are 0.
void SkipPixels(unsigned char *dst, const unsigned char *src, long count, long step, int bits);

}  // namespace qel::lines

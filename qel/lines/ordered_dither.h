// Ordered dither of whole lines: every pixel is held against a threshold that repeats along the line. 24-bit pixels are
// blue, green, red; 1-bit pixels are packed most significant bit first, 4-bit pixels high nibble first.
//
// `thresholds` are those of eight pixels: pixel i is held against entry i mod 8. The bits behind the last pixel are 0.
#pragma once

namespace qel::lines {

/// n 24-bit pixels to 1 bit: 1 where (30 red + 59 green + 11 blue) / 100, truncated, is at or above the threshold.
void DitherTo2(unsigned char *dst, const unsigned char *src, long n, const unsigned char *thresholds);

/// n 24-bit pixels to the bright half of the standard 16 colours: each channel is full where it is at or above the
/// threshold. Black is entry 0, the other mixtures are 8 + 4 red + 2 green + blue.
void DitherTo16(unsigned char *dst, const unsigned char *src, long n, const unsigned char *thresholds);

/// n 24-bit pixels to the 6 x 6 x 6 cube of the standard 256 colours, 16 + 36 red + 6 green + blue: a channel c becomes
/// c / 51, one more where the remainder is above the threshold.
void DitherTo216(unsigned char *dst, const unsigned char *src, long n, const unsigned char *thresholds);

}  // namespace qel::lines

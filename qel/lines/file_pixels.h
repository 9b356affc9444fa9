// Conversions of whole lines between what picture files hold and the engine's own pixel formats, beyond those of
// convert.h. Lines and `n` are as there.
#pragma once

#include <cstdint>

namespace qel::lines {

/// Cyan, magenta, yellow, black as amounts of ink, or (`inverted`) as amounts of light, to 24 bits.
void CmykTo24(unsigned char *dst, const unsigned char *src, long n, bool inverted);

/// 2-bit pixels to 4-bit ones, each times `factor` (1 or 5). The lines may start at the same byte.
void CrumbsToNibbles(unsigned char *dst, const unsigned char *src, long n, int factor);

/// Red, green, blue and blue, green, red, with a fourth byte that stays or without: each to the other.
void SwapRedAndBlue24(unsigned char *dst, const unsigned char *src, long n);
void SwapRedAndBlue32(unsigned char *dst, const unsigned char *src, long n);

/// Pixels of `samples` words, low byte first, to 48 bits: their first word three times, or their first three (red,
/// green, blue; of three words this is its own reverse).
void Gray16To48(unsigned char *dst, const unsigned char *src, long n, int samples);
void Rgb16To48(unsigned char *dst, const unsigned char *src, long n, int samples);

/// One channel of n pixels: bytes that stand so many bytes apart, or words of 48-bit pixels.
void PutChannel(unsigned char *dst, int dstStep, const unsigned char *src, int srcStep, long n);
void PutChannel16(unsigned char *dst, const unsigned char *src, long n);

/// n bytes, in turn the one and the other.
void FillAlternating(unsigned char *dst, long n, unsigned char even, unsigned char odd);

/// Pixels of 3 or 4 bytes from numbers with red in the low byte, `step` of them apart.
void RasterToPixels(unsigned char *dst, const std::uint32_t *src, long n, long step, int bytes);

/// Makes 32-bit pixels whose colours are multiplied by their fourth byte such as are not: each channel c becomes
/// c x 255 / alpha, rounded, at most 255; with an alpha of 0 it stays.
void DivideByAlpha(unsigned char *line, long n);

/// 48-bit pixels to 24 bits by the high byte of each channel, so that the fine steps of a deep picture are dropped.
void HighBytesOf48(unsigned char *dst, const unsigned char *src, long n);

/// Makes 16-bit pixels of 5-5-5 such of 5-6-5, in place; the top bit of green becomes its lowest too, so that black and
/// white stay what they are.
void Rgb555To565(unsigned char *line, long n);

/// Sets the fourth byte of n 32-bit pixels to 255.
void MakeOpaque(unsigned char *line, long n);

/// True when the fourth byte of one of n 32-bit pixels is not 0.
bool HasAlpha(const unsigned char *line, long n);

/// The largest of n bytes; 0 for none.
int LargestByte(const unsigned char *line, long n);

}  // namespace qel::lines

// The plain loops behind the vector conversions: their tails, and the truth that tests hold them against.
#pragma once

namespace qel::lines::plain {

void Rgb24ToGray(unsigned char *dst, const unsigned char *src, long n);
void Rgb24ToLuma(unsigned char *dst, const unsigned char *src, long n);
void GrayToBits(unsigned char *dst, const unsigned char *src, long n, bool invert, unsigned char threshold);
void GrayTo24(unsigned char *dst, const unsigned char *src, long n);
void Rgb24To32(unsigned char *dst, const unsigned char *src, long n);
void Rgb32To24(unsigned char *dst, const unsigned char *src, long n);

void Rgb24To555(unsigned char *dst, const unsigned char *src, long n);
void Rgb24To565(unsigned char *dst, const unsigned char *src, long n);
void Rgb555To24(unsigned char *dst, const unsigned char *src, long n);
void Rgb565To24(unsigned char *dst, const unsigned char *src, long n);
void Reverse24(unsigned char *dst, const unsigned char *src, long n);
void Reverse8(unsigned char *dst, const unsigned char *src, long n);

}  // namespace qel::lines::plain

namespace qel::lines {

/// Pixels of 24 and 8 bits in reverse order.
void Reverse24(unsigned char *dst, const unsigned char *src, long n);
void Reverse8(unsigned char *dst, const unsigned char *src, long n);

}  // namespace qel::lines

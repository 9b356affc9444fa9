// Bitwise operations over whole lines of bytes.
#pragma once

namespace qel::lines {

/// Inverts every byte.
void InvertBytes(unsigned char *line, long bytes);

/// Inverts the first three bytes of every group of four; a rest below four bytes stays.
void InvertColorOf32(unsigned char *line, long bytes);

/// dst = dst AND / OR / XOR src, byte by byte.
void AndBytes(unsigned char *dst, const unsigned char *src, long bytes);
void OrBytes(unsigned char *dst, const unsigned char *src, long bytes);
void XorBytes(unsigned char *dst, const unsigned char *src, long bytes);

}  // namespace qel::lines

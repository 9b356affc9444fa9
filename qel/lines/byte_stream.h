// Run-length packing of bytes: literal blocks and runs, each behind a control byte.
//
//   1..127     that many bytes as they are
//   129..255   c - 128 copies of the byte that follows
//   128        a count of two bytes, low byte first, then a byte: that many copies of it
#pragma once

namespace qel::lines {

/// Room that `n` bytes may take when they are packed.
constexpr long PackedRoom(long n) {
  return n + n / 127 + 1;
}

/// Packs `n` bytes into `dst`, which has PackedRoom(n) bytes; returns the bytes written.
long PackBytes(unsigned char *dst, const unsigned char *src, long n);

/// Carries out commands until `n` bytes are made; the last one is cut there. Reads no byte behind that command.
void UnpackBytes(unsigned char *dst, const unsigned char *src, long n);

/// Bytes that `n` bytes of commands make; -1 when they end inside a command.
long UnpackedBytes(const unsigned char *src, long n);

}  // namespace qel::lines

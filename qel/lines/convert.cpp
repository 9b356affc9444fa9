// Conversions of whole lines between pixel formats whose plain loops are as fast as they need to be; the others have
// vector forms.

#include "qel/lines/convert.h"

#include <array>
#include <cstdint>
#include <cstring>

#include "qel/lines/convert_plain.h"

namespace qel::lines {

namespace {

/// Writes the three colour bytes of a table entry; all four where another pixel follows, whose store then covers the
/// fourth.
void StoreEntry(unsigned char *dst, const RGBQUAD &entry, bool isLast) {
  std::memcpy(dst, &entry, isLast ? 3 : 4);
}

}  // namespace

// To gray levels -----------------------------------------------------------------------------------------------------

namespace {

/// The eight levels of every byte of a 1-bit line.
constexpr auto kLevelsOfBits = [] {
  std::array<std::array<unsigned char, 8>, 256> table{};
  for (unsigned v = 0; v < 256; ++v)
    for (unsigned k = 0; k < 8; ++k) table[v][k] = v >> (7 - k) & 1 ? 255 : 0;
  return table;
}();

}  // namespace

void BitsToGray(unsigned char *dst, const unsigned char *src, long n, bool invert) {
  const int flip = invert ? 0xFF : 0;
  for (; n >= 8; n -= 8, dst += 8) std::memcpy(dst, kLevelsOfBits[*src++ ^ flip].data(), 8);
  if (n > 0) std::memcpy(dst, kLevelsOfBits[*src ^ flip].data(), static_cast<std::size_t>(n));
}

void NibblesToGray(unsigned char *dst, const unsigned char *src, long n) {
  for (long i = 0; i + 1 < n; i += 2, ++src) {
    dst[i] = static_cast<unsigned char>((*src >> 4) * 17);
    dst[i + 1] = static_cast<unsigned char>((*src & 0x0F) * 17);
  }
  if (n % 2) dst[n - 1] = static_cast<unsigned char>((*src >> 4) * 17);
}

// From gray levels ---------------------------------------------------------------------------------------------------

void GrayToNibbles(unsigned char *dst, const unsigned char *src, long n) {
  for (long i = 0; i + 1 < n; i += 2) *dst++ = static_cast<unsigned char>((src[i] / 17) << 4 | src[i + 1] / 17);
  if (n % 2) *dst = static_cast<unsigned char>((src[n - 1] / 17) << 4);
}

// To 24 bits ---------------------------------------------------------------------------------------------------------

void BitsTo24(unsigned char *dst, const unsigned char *src, long n, const RGBQUAD *table) {
  for (long i = 0; i < n - 1; ++i) StoreEntry(dst + 3 * i, table[src[i / 8] >> (7 - i % 8) & 1], false);
  if (n > 0) StoreEntry(dst + 3 * (n - 1), table[src[(n - 1) / 8] >> (7 - (n - 1) % 8) & 1], true);
}

void NibblesTo24(unsigned char *dst, const unsigned char *src, long n, const RGBQUAD *table) {
  const auto nibble = [src](long i) { return i % 2 ? src[i / 2] & 0x0F : src[i / 2] >> 4; };
  for (long i = 0; i < n - 1; ++i) StoreEntry(dst + 3 * i, table[nibble(i)], false);
  if (n > 0) StoreEntry(dst + 3 * (n - 1), table[nibble(n - 1)], true);
}

void BytesTo24(unsigned char *dst, const unsigned char *src, long n, const RGBQUAD *table) {
  for (long i = 0; i < n - 1; ++i) StoreEntry(dst + 3 * i, table[src[i]], false);
  if (n > 0) StoreEntry(dst + 3 * (n - 1), table[src[n - 1]], true);
}

void IndicesTo24(unsigned char *dst, const unsigned char *src, int bits, long n, const RGBQUAD *table) {
  (bits == 1 ? BitsTo24 : bits == 4 ? NibblesTo24 : BytesTo24)(dst, src, n, table);
}

void Rgb48To24(unsigned char *dst, const unsigned char *src, long n) {
  for (long i = 0; i < 3 * n; ++i) dst[i] = src[2 * i];
}

// From 24 bits -------------------------------------------------------------------------------------------------------

void Rgb24To48(unsigned char *dst, const unsigned char *src, long n) {
  for (long i = 0; i < 3 * n; ++i) dst[2 * i] = dst[2 * i + 1] = src[i];
}

// Reversal -----------------------------------------------------------------------------------------------------------

namespace {

template <int Bytes>
void ReverseUnits(unsigned char *dst, const unsigned char *src, long n) {
  for (long i = 0; i < n; ++i) std::memcpy(dst + i * Bytes, src + (n - 1 - i) * Bytes, Bytes);
}

/// The bits of each byte turned round: neighbours, then pairs, then nibbles change places.
std::uint64_t TurnBytes(std::uint64_t v) {
  v = (v >> 1 & 0x5555555555555555) | (v & 0x5555555555555555) << 1;
  v = (v >> 2 & 0x3333333333333333) | (v & 0x3333333333333333) << 2;
  return (v >> 4 & 0x0F0F0F0F0F0F0F0F) | (v & 0x0F0F0F0F0F0F0F0F) << 4;
}

/// Output byte i: the input's eight pixels that end at pixel n - 1 - 8i, reversed. They start `rest` bits into a byte
/// when the line ends inside one; what lies before pixel 0 reads as 0. Eight bytes a step while they lie in the line.
void ReverseBits(unsigned char *dst, const unsigned char *src, long n) {
  const long bytes = (n + 7) / 8;
  const int rest = static_cast<int>(n % 8);
  long i = 0;
  for (; i + 8 < bytes; i += 8) {
    const long last = bytes - 1 - i;  // the source byte with the last of these pixels
    std::uint64_t gathered;
    std::memcpy(&gathered, src + last - 7, 8);
    gathered = __builtin_bswap64(gathered);
    if (rest != 0) gathered = gathered >> (8 - rest) | std::uint64_t{src[last - 8]} << (56 + rest);
    gathered = TurnBytes(gathered);
    std::memcpy(dst + i, &gathered, 8);
  }
  for (; i < bytes; ++i) {
    const long last = bytes - 1 - i;
    unsigned gathered = src[last];
    if (rest != 0) gathered = (src[last] >> (8 - rest)) | (last > 0 ? src[last - 1] << rest : 0);
    dst[i] = static_cast<unsigned char>(TurnBytes(gathered & 0xFF));
  }
}

void ReverseNibbles(unsigned char *dst, const unsigned char *src, long n) {
  const auto nibble = [src](long i) { return i % 2 ? src[i / 2] & 0x0F : src[i / 2] >> 4; };
  for (long i = 0; i < n; i += 2) {
    const int low = i + 1 < n ? nibble(n - 2 - i) : 0;
    *dst++ = static_cast<unsigned char>(nibble(n - 1 - i) << 4 | low);
  }
}

}  // namespace

bool ReversePixels(unsigned char *dst, const unsigned char *src, long n, int bits) {
  switch (bits) {
    case 1:
      return ReverseBits(dst, src, n), true;
    case 4:
      return ReverseNibbles(dst, src, n), true;
    case 8:
      return Reverse8(dst, src, n), true;
    case 16:
      return ReverseUnits<2>(dst, src, n), true;
    case 24:
      return Reverse24(dst, src, n), true;
    case 32:
      return ReverseUnits<4>(dst, src, n), true;
    case 48:
      return ReverseUnits<6>(dst, src, n), true;
    default:
      return false;
  }
}

}  // namespace qel::lines

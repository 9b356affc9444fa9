// Mixes, masks and channels whose plain loops are as fast as they need to be; the others have vector forms. Lines of
// bits are worked on as lines of bytes, or made of them, a piece at a time.

#include "qel/lines/mix.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

#include "qel/lines/bits.h"
#include "qel/lines/convert.h"
#include "qel/lines/divide_by_255.h"

namespace qel::lines {

namespace {

constexpr long kPiece = 512;         // pixels of a line of bits that are worked on at once, a multiple of 8
constexpr unsigned kTakeUpTo = 128;  // the highest level at which an index is taken

/// Old and fresh channel of up to 16 bits mixed.
unsigned MixChannel(unsigned old, unsigned fresh, unsigned level) {
  return (old * level + fresh * (255 - level)) / 255;
}

template <class Unit>
Unit Load(const unsigned char *p) {
  Unit unit;
  std::memcpy(&unit, p, sizeof unit);
  return unit;
}

}  // namespace

// Channels -----------------------------------------------------------------------------------------------------------

void Mix48(unsigned char *line, const unsigned char *fresh, const unsigned char *mask, long n) {
  for (long i = 0; i < n; ++i) {
    for (int c = 0; c < 3; ++c, line += 2, fresh += 2) {
      const auto mixed =
          static_cast<std::uint16_t>(MixChannel(Load<std::uint16_t>(line), Load<std::uint16_t>(fresh), mask[i]));
      std::memcpy(line, &mixed, 2);
    }
  }
}

void Mix32(unsigned char *line, const unsigned char *fresh, const unsigned char *mask, long n) {
  for (long i = 0; i < n; ++i, line += 4, fresh += 4) {
    const auto old = Load<std::uint32_t>(line), taken = Load<std::uint32_t>(fresh);
    std::uint32_t mixed = 0;
    for (int shift = 0; shift < 24; shift += 8)
      mixed |= DivideBy255((old >> shift & 0xFF) * mask[i] + (taken >> shift & 0xFF) * (255u - mask[i])) << shift;
    if (mask[i] == 0) mixed = taken;
    if (mask[i] == 255) mixed = old;
    std::memcpy(line, &mixed, 4);
  }
}

namespace {

template <unsigned kGreenBits>
void MixHigh(unsigned char *line, const unsigned char *fresh, const unsigned char *mask, long n) {
  constexpr unsigned kGreen = (1u << kGreenBits) - 1, kRedShift = 5 + kGreenBits;
  for (long i = 0; i < n; ++i, line += 2, fresh += 2) {
    const unsigned old = Load<std::uint16_t>(line), taken = Load<std::uint16_t>(fresh), level = mask[i];
    unsigned mixed = MixChannel(old & 31, taken & 31, level) |
                     MixChannel(old >> 5 & kGreen, taken >> 5 & kGreen, level) << 5 |
                     MixChannel(old >> kRedShift & 31, taken >> kRedShift & 31, level) << kRedShift;
    if (level == 0) mixed = taken;
    if (level == 255) mixed = old;
    const auto pixel = static_cast<std::uint16_t>(mixed);
    std::memcpy(line, &pixel, 2);
  }
}

}  // namespace

void Mix555(unsigned char *line, const unsigned char *fresh, const unsigned char *mask, long n) {
  MixHigh<5>(line, fresh, mask, n);
}
void Mix565(unsigned char *line, const unsigned char *fresh, const unsigned char *mask, long n) {
  MixHigh<6>(line, fresh, mask, n);
}

// Indices ------------------------------------------------------------------------------------------------------------

void MixBits(unsigned char *line, const unsigned char *fresh, const unsigned char *mask, long n) {
  unsigned char taken[kPiece / 8];  // a bit for each pixel to take; those behind the last one are 0
  for (; n > 0; n -= kPiece, line += kPiece / 8, fresh += kPiece / 8, mask += kPiece) {
    const long count = std::min(n, kPiece);
    QelAsmConvert8to1(taken, const_cast<unsigned char *>(mask), static_cast<unsigned long>(count), 1, kTakeUpTo + 1);
    for (long i = 0; i < (count + 7) / 8; ++i) line[i] = MergeBits(fresh[i], line[i], taken[i]);
  }
}

void MixNibbles(unsigned char *line, const unsigned char *fresh, const unsigned char *mask, long n) {
  for (long i = 0; i < n; i += 2) {
    const unsigned high = mask[i] <= kTakeUpTo ? 0xF0 : 0;
    const unsigned low = i + 1 < n && mask[i + 1] <= kTakeUpTo ? 0x0F : 0;
    line[i / 2] = MergeBits(fresh[i / 2], line[i / 2], high | low);
  }
}

void MixIndices(unsigned char *line, const unsigned char *fresh, const unsigned char *mask, long n) {
  for (long i = 0; i < n; ++i) line[i] = mask[i] <= kTakeUpTo ? fresh[i] : line[i];
}

// Masks --------------------------------------------------------------------------------------------------------------

void CombineMasks(unsigned char *mask, const unsigned char *levels, long n) {
  for (long i = 0; i < n; ++i)
    mask[i] = static_cast<unsigned char>(255 - DivideBy255((255u - mask[i]) * (255u - levels[i])));
}

namespace {

/// Runs over a line of bits a piece at a time, as bytes of 0 and 255.
template <class Change>
void ForBits(const unsigned char *bits, long n, bool invert, Change change) {
  unsigned char levels[kPiece];
  for (long done = 0; done < n; done += kPiece) {
    const long count = std::min(n - done, kPiece);
    BitsToGray(levels, bits + done / 8, count, invert);
    change(done, count, levels);
  }
}

}  // namespace

void CombineMaskBits(unsigned char *mask, const unsigned char *bits, long n) {
  ForBits(bits, n, false, [mask](long done, long count, const unsigned char *levels) {
    for (long i = 0; i < count; ++i) mask[done + i] |= levels[i];
  });
}

void ClearUnderBits(unsigned char *line, const unsigned char *bits, long n) {
  ForBits(bits, n, true, [line](long done, long count, const unsigned char *levels) {
    for (long i = 0; i < count; ++i) line[done + i] &= levels[i];
  });
}

// Bytes --------------------------------------------------------------------------------------------------------------

void ScaleBytes(unsigned char *line, long n, unsigned char factor) {
  for (long i = 0; i < n; ++i) line[i] = static_cast<unsigned char>(DivideBy255(unsigned{line[i]} * factor));
}

void ReplaceChannel24(unsigned char *line, const unsigned char *plane, long n, long channel) {
  for (long i = 0; i < n; ++i) line[3 * i + channel] = plane[i];
}

}  // namespace qel::lines

// Display diffusion in spans of three passes, of which only the second goes from pixel to pixel: what a pixel can
// become is gathered, the pixels are quantised one after the other, what remains is spread over both rows. The second
// pass is bound by its longest chain of dependent operations: from a palette entry over its share for the next pixel,
// the limits and the key to the next entry. Both limits of a value, that of what is carried and that of the key, are
// known beforehand as intervals, so that the value and its key are limited side by side.

#include "qel/lines/display_diffuse.h"

#include <algorithm>

#include "qel/lines/colour_map.h"
#include "qel/lines/diffuse_errors.h"

namespace qel::lines {

namespace {

constexpr long kSpan = 512;  // a multiple of 8: spans start at a byte of every depth

/// Of each pixel red, green, blue.
struct Span {
  unsigned char buffer[3 * kSpan];
  std::int16_t sums[3 * kSpan], least[3 * kSpan], greatest[3 * kSpan], leastKey[3 * kSpan], greatestKey[3 * kSpan];
  std::int16_t errors[3 * (kSpan + 2)];
  unsigned char indices[kSpan];
};

/// The screen's colours that the map names, times 7 too.
struct ScreenColors {
  std::int16_t color[256][4];
  std::uint16_t sevenfold[256][4];

  explicit ScreenColors(const DisplayPalettes &palettes) {
    unsigned char last = 0;
    for (int key = 0; key < 4096; ++key) last = std::max(last, palettes.map[key]);
    for (int i = 0; i <= last; ++i) {
      for (int c = 0; c < 3; ++c) {
        color[i][c] = palettes.screen[4 * i + c];
        sevenfold[i][c] = static_cast<std::uint16_t>(7 * color[i][c]);
      }
    }
  }
};

// Colours ------------------------------------------------------------------------------------------------------------

/// n pixels from a place as 24-bit pixels: the line itself, or the buffer.
const unsigned char *ReadColors(unsigned char *buffer, const unsigned char *src, int bits, long from, long n,
                                const unsigned char *palette) {
  if (bits == 24) return src + 3 * from;
  unsigned char *to = buffer;
  for (long i = from; i < from + n; ++i, to += 3) {
    const int index = bits == 8 ? src[i] : i % 2 == 0 ? src[i / 2] >> 4 : src[i / 2] & 0x0F;
    const unsigned char *const entry = palette + 4 * index;
    to[0] = entry[2], to[1] = entry[1], to[2] = entry[0];
  }
  return buffer;
}

// Quantising ---------------------------------------------------------------------------------------------------------

/// A value within limits. Differences without a sign, because then their sign bits decide, and a selection by that bit
/// takes one cycle where one by an order takes two.
inline int Limited(unsigned value, int least, int greatest) {
  const auto low = static_cast<unsigned>(least), high = static_cast<unsigned>(greatest);
  const unsigned raised = static_cast<int>(value - low) < 0 ? low : value;
  return static_cast<int>(static_cast<int>(high - value) < 0 ? high : raised);
}

/// sum + share of the error ready - taken of the pixel before, times 16; a negative share is rounded up.
inline unsigned Ready(int sum, unsigned ready, unsigned taken) {
  const unsigned share = ready - taken;
  return static_cast<unsigned>(sum) + share + (static_cast<unsigned>(static_cast<int>(share) >> 31) & 15);
}

/// Quantises pixels from place i up to, but without, `end`. `carry`: what is carried into the first one, a channel.
void Quantise(Span &span, long i, long end, const int *carry, const unsigned char *map, const ScreenColors &screen) {
  unsigned red7 = 16 * static_cast<unsigned>(carry[0]), green7 = 16 * static_cast<unsigned>(carry[1]),
           blue7 = 16 * static_cast<unsigned>(carry[2]), redTaken = 0, greenTaken = 0, blueTaken = 0;
  const auto key = [&span](long at, unsigned value) { return Limited(value, span.leastKey[at], span.greatestKey[at]); };
  const auto value = [&span](long at, unsigned v) { return Limited(v, span.least[at], span.greatest[at]) >> 4; };
  for (; i < end; ++i) {
    const long at = 3 * i;
    const unsigned red = Ready(span.sums[at], red7, redTaken), green = Ready(span.sums[at + 1], green7, greenTaken),
                   blue = Ready(span.sums[at + 2], blue7, blueTaken);
    const long index = map[(key(at, red) & 0xF00) + (key(at + 2, blue) >> 8) + (key(at + 1, green) >> 4 & 0xF0)];
    span.indices[i] = static_cast<unsigned char>(index);
    redTaken = screen.sevenfold[index][0];
    greenTaken = screen.sevenfold[index][1];
    blueTaken = screen.sevenfold[index][2];
    const int values[3] = {value(at, red), value(at + 1, green), value(at + 2, blue)};
    red7 = static_cast<unsigned>(7 * values[0]);
    green7 = static_cast<unsigned>(7 * values[1]);
    blue7 = static_cast<unsigned>(7 * values[2]);
    for (int c = 0; c < 3; ++c) span.errors[at + c] = static_cast<std::int16_t>(values[c] - screen.color[index][c]);
  }
}

// Spreading ----------------------------------------------------------------------------------------------------------

/// The rows of a line at the entries of one of its places.
struct Rows {
  std::int32_t *current, *next;
};

/// Whatever the entry held, without overflow of the signed kind.
void AddTo(std::int32_t &entry, int share) {
  entry = static_cast<std::int32_t>(static_cast<std::uint32_t>(entry) + static_cast<std::uint32_t>(share));
}

/// The first pixel of a line: a quarter to the right, which `carry` takes too, and below there, the rest below.
void SpreadFirst(Rows rows, const std::int16_t *errors, bool isAlone, int *carry) {
  for (int c = 0; c < 3; ++c) {
    carry[c] = (errors[c] + 2) / 4;
    rows.next[c] = errors[c] - 2 * carry[c];
    if (isAlone) continue;
    AddTo(rows.current[3 + c], carry[c]);
    rows.next[3 + c] = carry[c];
  }
}

/// Inner pixels, `count` of them, and the last one of a line when it follows them.
void SpreadRest(Rows rows, std::int16_t *errors, long count, bool isLast) {
  const long n = 3 * count;
  const std::int16_t last[3] = {errors[n], errors[n + 1], errors[n + 2]};
  std::fill_n(errors + n, 6, std::int16_t{0});
  for (int c = 0; c < 3 && count > 0; ++c) {
    AddTo(rows.next[c - 3], 3 * errors[c] / 16);
    AddTo(rows.next[c], 5 * errors[c] / 16 + 3 * errors[c + 3] / 16);
  }
  SpreadDisplayErrors(rows.current, rows.next, errors, n);
  for (int c = 0; c < 3 && isLast; ++c) {
    AddTo(rows.next[n + c - 3], last[c] / 2);
    AddTo(rows.next[n + c], (last[c] + 1) / 2);
  }
}

void Pack(unsigned char *dst, int bits, long from, const unsigned char *indices, long n) {
  if (bits == 4 && n % 2 != 0) dst[(from + n) / 2] = 0;  // the half byte behind the line
  PackIndices(dst + from * bits / 8, bits, indices, n);
}

}  // namespace

void DiffuseDisplayLine(unsigned char *dst, int dstBits, const unsigned char *src, int srcBits, std::int32_t *current,
                        std::int32_t *next, const DisplayPalettes &palettes, long width) {
  const ScreenColors screen(palettes);
  Span span;
  for (long from = 0; from < width; from += kSpan) {
    const long n = std::min(kSpan, width - from);
    const Rows rows = {current + 3 * from, next + 3 * from};
    GatherDisplayErrors({span.sums, span.least, span.greatest, span.leastKey, span.greatestKey},
                        ReadColors(span.buffer, src, srcBits, from, n, palettes.source), rows.current, n);
    int carry[3] = {};  // into a later span it has come through the row
    const long first = from == 0 ? 1 : 0, inner = from + n == width ? std::max(n - 1, first) : n;
    if (first == 1) {
      Quantise(span, 0, 1, carry, palettes.map, screen);
      SpreadFirst(rows, span.errors, width == 1, carry);
    }
    Quantise(span, first, n, carry, palettes.map, screen);
    SpreadRest({rows.current + 3 * first, rows.next + 3 * first}, span.errors + 3 * first, inner - first, inner < n);
    Pack(dst, dstBits, from, span.indices, n);
  }
}

}  // namespace qel::lines

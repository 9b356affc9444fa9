// Error diffusion of colours. A span goes in three passes, of which only the second runs from pixel to pixel: the
// errors carried into the pixels are gathered, the pixels are quantised one after the other, what remains is spread
// over the line below.
//
// The second pass is bound by its longest chain of dependent operations, so it is arranged for that chain alone. With
// sums of colour and carried error times 16, value v and colour p of the pixel before, the next value is
//   (sum + 7 v - 7 p) >> 4, limited to least .. greatest;
// the limits of what is carried and of the value itself are one interval, known beforehand. When 7 p arrives from the
// palette, sum + 7 v stands ready, so that only a subtraction, a comparison and two selections lie between the palette
// and the next key.

#include "qel/lines/diffuse.h"

#include <algorithm>
#include <cstring>

#include "qel/lines/diffuse_errors.h"
#include "qel/lines/diffuse_search.h"

namespace qel::lines {

namespace {

constexpr long kMargin = 2;  // pixels without error on either side

struct SpanBuffers {
  std::int16_t sums[3 * kDiffuseSpan], least[3 * kDiffuseSpan], greatest[3 * kDiffuseSpan];
  std::int16_t errors[3 * (kMargin + kDiffuseSpan + kMargin)];
};

/// ready - taken within its limits. Differences without a sign, because then their sign bits decide, and a selection by
/// that bit takes one cycle where one by an order takes two.
inline unsigned Limited(unsigned ready, unsigned taken, int least, int greatest) {
  const unsigned value = ready - taken;
  const unsigned raised =
      static_cast<int>(value - static_cast<unsigned>(least)) < 0 ? static_cast<unsigned>(least) : value;
  return static_cast<int>(static_cast<unsigned>(greatest) - value) < 0 ? static_cast<unsigned>(greatest) : raised;
}

/// Quantises pixels from place i up to, but without, `end`; stops at one whose key is not known. `carried` holds 7
/// times the error of the pixel before. Returns the place where it stopped.
template <bool AllKnown, int Step>
long Quantise(unsigned char *indices, SpanBuffers &span, long i, long end, unsigned *carried,
              const DiffuseColorTable &table) {
  const unsigned char *const map = table.palette.map, *const done = table.palette.done;
  unsigned red7 = carried[0], green7 = carried[1], blue7 = carried[2], redTaken = 0, greenTaken = 0, blueTaken = 0;
  const auto limited = [&span](long at, unsigned seven, unsigned taken) {
    return Limited(static_cast<unsigned>(span.sums[at]) + seven, taken, span.least[at], span.greatest[at]);
  };
  const auto remains = [&span](long at, unsigned value, std::int16_t color) {
    span.errors[3 * kMargin + at] = static_cast<std::int16_t>(static_cast<int>(value) - color);
  };
  for (; i != end; i += Step) {
    unsigned red = limited(3 * i, red7, redTaken), green = limited(3 * i + 1, green7, greenTaken),
             blue = limited(3 * i + 2, blue7, blueTaken);
    const unsigned long key = (red & 0xF00) + (blue >> 8) + (green >> 4 & 0xF0);
    if (!AllKnown && !(done[key >> 3] & 0x80 >> (key & 7))) break;
    const unsigned long index = map[key];
    indices[i] = static_cast<unsigned char>(index);
    redTaken = table.sevenfold[index][0];
    greenTaken = table.sevenfold[index][1];
    blueTaken = table.sevenfold[index][2];
    red >>= 4, green >>= 4, blue >>= 4;
    red7 = 7 * red, green7 = 7 * green, blue7 = 7 * blue;
    remains(3 * i, red, table.color[index][0]);
    remains(3 * i + 1, green, table.color[index][1]);
    remains(3 * i + 2, blue, table.color[index][2]);
  }
  carried[0] = red7 - redTaken;
  carried[1] = green7 - greenTaken;
  carried[2] = blue7 - blueTaken;
  return i;
}

template <bool AllKnown>
long Quantise(unsigned char *indices, SpanBuffers &span, long i, long end, long step, unsigned *carried,
              const DiffuseColorTable &table) {
  return step > 0 ? Quantise<AllKnown, 1>(indices, span, i, end, carried, table)
                  : Quantise<AllKnown, -1>(indices, span, i, end, carried, table);
}

}  // namespace

void PrepareDiffusion(DiffuseColorTable &table, const DiffusePalette &palette) {
  table.palette = palette;
  const int colors = std::clamp(palette.colors, 0, 256);
  for (int i = 0; i < colors; ++i) {
    for (int c = 0; c < 3; ++c) {
      table.color[i][c] = palette.rgb[3 * i + c];
      table.sevenfold[i][c] = static_cast<std::uint16_t>(7 * palette.rgb[3 * i + c]);
    }
  }
  const auto rest = static_cast<std::size_t>(256 - colors);
  std::memset(table.color + colors, 0, rest * sizeof table.color[0]);
  std::memset(table.sevenfold + colors, 0, rest * sizeof table.sevenfold[0]);
}

void DiffuseColors(unsigned char *indices, const unsigned char *colors, long from, long to, DiffuseRow &row,
                   const DiffuseColorTable &table) {
  SpanBuffers span;
  const long n = to - from, step = row.toLeft ? -1 : 1;
  GatherErrors(span.sums, span.least, span.greatest, colors, row.current + 3 * from, n);

  unsigned carried[3];
  for (int c = 0; c < 3; ++c) carried[c] = static_cast<unsigned>(16 * row.carry[c]);
  long i = row.toLeft ? n - 1 : 0;
  const long end = row.toLeft ? -1 : n;
  if (table.palette.done == nullptr) {
    Quantise<true>(indices, span, i, end, step, carried, table);
  } else {
    while ((i = Quantise<false>(indices, span, i, end, step, carried, table)) != end) {
      int value[3];
      for (int c = 0; c < 3; ++c)
        value[c] = static_cast<int>(
            Limited(span.sums[3 * i + c] + carried[c], 0, span.least[3 * i + c], span.greatest[3 * i + c]) >> 4);
      LearnKey(table.palette, value, row.toLeft);
    }
  }
  for (int c = 0; c < 3; ++c) row.carry[c] = static_cast<int>(carried[c]) >> 4;

  std::memset(span.errors, 0, 3 * kMargin * sizeof span.errors[0]);
  std::memset(span.errors + 3 * (kMargin + n), 0, 3 * kMargin * sizeof span.errors[0]);
  const long first = std::max(from - 1, 0L), last = std::min(to, row.width - 1);
  SpreadErrors(row.next + 3 * first, span.errors + 3 * (kMargin + first - from), 3 * (last - first + 1), 3 * step);
}

}  // namespace qel::lines

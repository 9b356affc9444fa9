// Error diffusion (Floyd and Steinberg 1976) of lines of colours to indices of a palette, in serpentine order: every
// other line runs from right to left, and its neighbours are mirrored.
//
// Each pixel takes what is carried into it, limited to -128 .. 128 a channel, becomes a value of 0 .. 255 and, through
// a map from keys of 4 bits a channel, an index. The error that remains goes on in sixteenths, each share rounded down:
// 7 to the next pixel, 3, 5 and 1 to the pixels before, below and after it in the line below; what would leave the line
// is dropped. Values and colours lie in 0 .. 255, so an error is -255 .. 255, an entry of a row that was filled here
// lies in -144 .. 141, and with the share of its neighbour in -256 .. 252. Rows that hold anything else are taken as
// they are.
//
// A line goes through in spans that follow each other in its direction.
#pragma once

#include <cstdint>

namespace qel::lines {

constexpr long kDiffuseSpan = 512;  // most pixels of a span

/// The colours to which lines are diffused.
struct DiffusePalette {
  const unsigned char *rgb;  // red, green, blue
  int colors;                // how many; an index behind them counts as black
  unsigned char *map;        // 4096 indices by key red >> 4, green >> 4, blue >> 4 (red in the high bits)
  unsigned char *done;       // 4096 bits, most significant first: which are known; the others are searched for when
                             // they are first needed. Null: all are known
};

/// A line on its way.
struct DiffuseRow {
  std::int32_t *current;       // errors carried into this line, red, green, blue a pixel; 0 where it is done
  std::int32_t *next;          // errors carried into the line below, which are added to
  long width;                  // pixels of the line
  bool toLeft;                 // from right to left
  std::int32_t carry[3] = {};  // shares for the pixel that comes next
};

// Colours ------------------------------------------------------------------------------------------------------------

/// What the loops look up, made once a line.
struct DiffuseColorTable {
  DiffusePalette palette;
  std::int16_t color[256][4];       // red, green, blue by index
  std::uint16_t sevenfold[256][4];  // 7 times as much
};

void PrepareDiffusion(DiffuseColorTable &table, const DiffusePalette &palette);

/// Diffuses pixels from .. to - 1 of a line of 24-bit pixels, of which `colors` and `indices` hold these alone.
void DiffuseColors(unsigned char *indices, const unsigned char *colors, long from, long to, DiffuseRow &row,
                   const DiffuseColorTable &table);

// Gray levels --------------------------------------------------------------------------------------------------------

/// What the loops look up, made once a line: by a value not yet limited to 0 .. 255, behind kBelow, the index, the
/// error that remains and its share for the next pixel.
struct DiffuseLevelTable {
  static constexpr int kBelow = 128, kValues = kBelow + 256 + kBelow;
  static constexpr int kLargestShare = 56;
  static constexpr std::int16_t kUnknown = -256;  // instead of an error

  DiffusePalette palette;
  bool usable;  // one channel stands for all, and no error is so large that what is carried must be limited
  std::int16_t error[kValues];
  unsigned char share[kValues];  // bytes, which load without a sign to extend in the shortest time
  unsigned char index[kValues];
};

void PrepareDiffusion(DiffuseLevelTable &table, const DiffusePalette &palette);

/// Diffuses pixels from .. to - 1 of a line of gray levels, of which `levels` and `indices` hold these alone. One
/// channel stands for all three where the palette and what is carried into the line are gray.
void DiffuseLevels(unsigned char *indices, const unsigned char *levels, long from, long to, DiffuseRow &row,
                   DiffuseLevelTable &table);

}  // namespace qel::lines

// Error diffusion of gray levels. Where all channels are equal, one goes through, and every value of it has one share
// for the next pixel: the chain from pixel to pixel is a sum and a look-up, as long as no limit of what is carried
// comes in between. With errors of at most 128 none does: their shares are at most 56, 24, 40 and 8, together 128.

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "qel/lines/convert.h"
#include "qel/lines/diffuse.h"
#include "qel/lines/diffuse_errors.h"
#include "qel/lines/diffuse_search.h"

namespace qel::lines {

namespace {

using Table = DiffuseLevelTable;

constexpr int kSteps = 16;  // values of a step have the same key
constexpr int kLargestError = 128, kLargestBelow = 24 + 40 + 8;
constexpr int kOffset = Table::kBelow - Table::kLargestShare;
constexpr long kMargin = 2;  // pixels without error on either side

int GrayOf(const DiffusePalette &palette, int index) {
  return index < palette.colors ? palette.rgb[3 * index] : 0;
}

bool IsGray(const DiffusePalette &palette) {
  for (int i = 0; i < palette.colors; ++i)
    if (palette.rgb[3 * i] != palette.rgb[3 * i + 1] || palette.rgb[3 * i] != palette.rgb[3 * i + 2]) return false;
  return true;
}

/// True when the errors of a step's values are small enough if they become this gray.
bool IsSmallError(int step, int gray) {
  return std::abs(16 * step - gray) <= kLargestError && std::abs(16 * step + 15 - gray) <= kLargestError;
}

/// True when no error of a step is too large; when its key is not known yet, for each gray that it may be learnt with.
bool IsSmallStep(const DiffusePalette &palette, int step) {
  if (IsKeyKnown(palette, step * 0x111)) return IsSmallError(step, GrayOf(palette, palette.map[step * 0x111]));
  for (int i = 0; i < palette.colors; ++i) {
    const int gray = GrayOf(palette, i);
    if (IsSmallError(step, gray)) continue;
    for (int v = 16 * step; v < 16 * step + 16; ++v) {  // learnt from a value to which the gray is the nearest
      bool isNearest = true;
      for (int j = 0; j < palette.colors; ++j) isNearest &= std::abs(v - gray) <= std::abs(v - GrayOf(palette, j));
      if (isNearest) return false;
    }
  }
  return true;
}

/// Enters the values of a step, and with the first and last step those beyond.
void FillStep(Table &table, int step) {
  const int key = step * 0x111;
  const bool isKnown = IsKeyKnown(table.palette, key);
  const int index = isKnown ? table.palette.map[key] : 0, gray = GrayOf(table.palette, index);
  const int first = step == 0 ? -Table::kBelow : 16 * step,
            last = step == kSteps - 1 ? 255 + Table::kBelow : 16 * step + 15;
  for (int v = first; v <= last; ++v) {
    const int error = std::clamp(v, 0, 255) - gray;
    table.error[v + Table::kBelow] = isKnown ? static_cast<std::int16_t>(error) : Table::kUnknown;
    table.share[v + Table::kBelow] = static_cast<unsigned char>(Table::kLargestShare + (error * 7 >> 4));
    table.index[v + Table::kBelow] = static_cast<unsigned char>(index);
  }
}

/// Quantises pixels from place i up to, but without, `end`; stops at one whose key is not known. `share` is
/// kLargestShare + the share for pixel i, before and after. Returns the place where it stopped.
template <int Step>
long Quantise(unsigned char *indices, std::int16_t *errors, const std::int16_t *sums, long i, long end,
              unsigned long &share, const Table &table) {
  unsigned long carried = share;
  for (; i != end; i += Step) {
    const unsigned long place = static_cast<unsigned short>(sums[i]) + carried;
    const std::int16_t error = table.error[place];
    if (error == Table::kUnknown) break;
    carried = table.share[place];
    errors[i] = error;
    indices[i] = table.index[place];
  }
  share = carried;
  return i;
}

/// False, with nothing done, when the three channels are needed.
bool DiffuseOneChannel(unsigned char *indices, const unsigned char *levels, long from, long to, DiffuseRow &row,
                       Table &table) {
  std::int16_t sums[kDiffuseSpan], errors[kMargin + kDiffuseSpan + kMargin];
  const long n = to - from, step = row.toLeft ? -1 : 1;
  const int share = row.carry[0];
  if (!table.usable || share != row.carry[1] || share != row.carry[2] || std::abs(share) > Table::kLargestShare ||
      !GatherGrayErrors(sums, levels, row.current + 3 * from, n, kLargestBelow, kOffset))
    return false;

  long i = row.toLeft ? n - 1 : 0;
  const long end = row.toLeft ? -1 : n;
  auto carried = static_cast<unsigned long>(Table::kLargestShare + share);
  const auto quantise = row.toLeft ? Quantise<-1> : Quantise<1>;
  while ((i = quantise(indices, errors + kMargin, sums, i, end, carried, table)) != end) {
    const int level = std::clamp(sums[i] + static_cast<int>(carried) - Table::kBelow, 0, 255);
    const int value[3] = {level, level, level};
    LearnKey(table.palette, value, row.toLeft);
    FillStep(table, level / 16);
  }
  std::fill_n(row.carry, 3, static_cast<int>(carried) - Table::kLargestShare);

  std::memset(errors, 0, kMargin * sizeof errors[0]);
  std::memset(errors + kMargin + n, 0, kMargin * sizeof errors[0]);
  const long first = std::max(from - 1, 0L), last = std::min(to, row.width - 1);
  SpreadGrayErrors(row.next + 3 * first, errors + kMargin + first - from, last - first + 1, step);
  return true;
}

}  // namespace

void PrepareDiffusion(DiffuseLevelTable &table, const DiffusePalette &palette) {
  table.palette = palette;
  table.usable = palette.colors > 0 && IsGray(palette);
  for (int step = 0; step < kSteps && table.usable; ++step) {
    FillStep(table, step);
    table.usable = IsSmallStep(palette, step);
  }
}

void DiffuseLevels(unsigned char *indices, const unsigned char *levels, long from, long to, DiffuseRow &row,
                   DiffuseLevelTable &table) {
  if (DiffuseOneChannel(indices, levels, from, to, row, table)) return;
  unsigned char colors[3 * kDiffuseSpan];
  GrayTo24(colors, levels, to - from);
  DiffuseColorTable three;
  PrepareDiffusion(three, table.palette);
  DiffuseColors(indices, colors, from, to, row, three);
  if (table.usable && table.palette.done != nullptr) PrepareDiffusion(table, table.palette);  // keys were learnt
}

}  // namespace qel::lines

// The colour histogram.

#include "qel/lines/histogram.h"

namespace qel::lines {

void CountColors(ColorCell *cells, const unsigned char *line, long n) {
  for (long i = 0; i < n; ++i, line += 3) {
    ColorCell &cell = cells[ColorLevel(line[2]) * 64 + ColorLevel(line[1]) * 8 + ColorLevel(line[0])];
    if (cell.count >= kMostCellPixels) continue;
    cell.blue += line[0];
    cell.green += line[1];
    cell.red += line[2];
    ++cell.count;
  }
}

}  // namespace qel::lines

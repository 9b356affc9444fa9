// Lines of one colour, through the run fills.

#include "qel/draw/color_line.h"

#include <algorithm>

#include "qel/lines/run_fill.h"

namespace qel::draw {

void FillColorLine(unsigned char *pLine, int nBits, long lPixels, long long llColor) {
  const auto dwCount = static_cast<unsigned long>(lPixels);
  const auto dwColor = static_cast<unsigned long>(llColor) & 0xFFFFFFFF;
  const unsigned long dwNibble = dwColor & 0xF;
  switch (nBits) {
    case 1:
      std::fill_n(pLine, lPixels / 8 + 1, static_cast<unsigned char>(dwColor != 0 ? 0xFF : 0));
      break;
    case 4:
      std::fill_n(pLine, lPixels / 2 + 1, static_cast<unsigned char>(dwNibble << 4 | dwNibble));
      break;
    case 8:
      std::fill_n(pLine, lPixels, static_cast<unsigned char>(llColor));
      break;
    case 16:
      FillRunWord(pLine, static_cast<unsigned short>(llColor), dwCount);
      break;
    case 24:
      FillRunTrio(pLine, dwColor, dwCount);
      break;
    case 32:
      FillRunDword(pLine, dwColor, dwCount);
      break;
    default:
      FillRunDlong(pLine, llColor, dwCount);
  }
}

}  // namespace qel::draw

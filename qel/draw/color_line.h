// Lines of one colour in every pixel format, and colour references as pixel values.
#pragma once

namespace qel::draw {

/// Fills a line with pixels of one value; lines of 1 and 4 bits whole bytes of them (up to one more than the pixels
/// need), so that where a byte starts does not matter.
void FillColorLine(unsigned char *pLine, int nBits, long lPixels, long long llColor);

/// The pixel value of a tool's colour: at 24 and 32 bits the first and third byte are exchanged, at 1 bit every value
/// but 0 is 1.
constexpr long long ToolColor(int nBits, long long llColor) {
  if (nBits == 1) return llColor != 0;
  if (nBits != 24 && nBits != 32) return llColor;
  return (llColor & ~0xFF00FFLL) | (llColor & 0xFF) << 16 | (llColor >> 16 & 0xFF);
}

}  // namespace qel::draw

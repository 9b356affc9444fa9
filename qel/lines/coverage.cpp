// Coverage blends, in 16-bit arithmetic: with weights of magnitude 64 and below no step leaves 16 bits, so that
// compilers keep a line in narrow lanes. Colours of three bytes go in runs of 48 bytes, a whole number of pixels and of
// vectors.
#include "qel/lines/coverage.h"

#include <algorithm>
#include <cstdint>

namespace {

constexpr long kRun = 48;  // bytes

inline unsigned char Blend(unsigned char v, unsigned char o, unsigned char c, int nWeight) {
  const int nNew = v + (((c - o) * nWeight + 127) >> 8);
  return static_cast<unsigned char>(
      std::clamp(nNew, static_cast<int>(std::min(o, c)), static_cast<int>(std::max(o, c))));
}

/// A whole run, with a fixed length and 16-bit lanes for the compiler to see.
inline void BlendRun(unsigned char *pLine, const unsigned char *pBase, const std::int16_t *pColors,
                     std::int16_t nWeight) {
  for (long i = 0; i < kRun; ++i) {
    const std::int16_t o = pBase[i], c = pColors[i];
    const auto nStep = static_cast<std::int16_t>(static_cast<std::int16_t>((c - o) * nWeight + 127) >> 8);
    const std::int16_t low = std::min(o, c), high = std::max(o, c);
    pLine[i] = static_cast<unsigned char>(std::clamp(static_cast<std::int16_t>(pLine[i] + nStep), low, high));
  }
}

/// Bytes whose colour repeats every 1 or 3 of them.
void BlendBytes(unsigned char *pLine, const unsigned char *pBase, const unsigned char (&color)[3], int nWeight,
                long lBytes) {
  long i = 0;
  if (nWeight >= -64 && nWeight <= 64) {
    std::int16_t colors[kRun];
    for (long k = 0; k < kRun; ++k) colors[k] = color[k % 3];
    for (; i + kRun <= lBytes; i += kRun) BlendRun(pLine + i, pBase + i, colors, static_cast<std::int16_t>(nWeight));
  }
  for (; i < lBytes; ++i) pLine[i] = Blend(pLine[i], pBase[i], color[i % 3], nWeight);
}

}  // namespace

void BlendGrayCoverage(unsigned char *pLine, const unsigned char *pBase, long long llColor, int nWeight, long lCount) {
  const auto c = static_cast<unsigned char>(llColor);
  BlendBytes(pLine, pBase, {c, c, c}, nWeight, lCount);
}

void Blend24bitCoverage(unsigned char *pLine, const unsigned char *pBase, long long llColor, int nWeight, long lCount) {
  BlendBytes(pLine, pBase,
             {static_cast<unsigned char>(llColor), static_cast<unsigned char>(llColor >> 8),
              static_cast<unsigned char>(llColor >> 16)},
             nWeight, 3 * lCount);
}

// Ordered dither: the thresholds of a matrix for a destination, and dithered lines.
//
// A matrix of 4 or 8 columns repeats with every eight pixels, so that a line needs eight thresholds, turned to the
// phase of its first pixel. Palette pixels become 24-bit pixels, a chunk at a time, and take the way of true colour.

#include <algorithm>
#include <array>
#include <cstring>

#include "qel/convert/itc.h"
#include "qel/convert/source_line.h"
#include "qel/lines/colour_map.h"
#include "qel/lines/ordered_dither.h"

unsigned char PItc::m_pbyPattern[64];

namespace {

using Thresholds = std::array<unsigned char, 8>;
using Dither = void (*)(unsigned char *dst, const unsigned char *src, long n, const unsigned char *thresholds);

constexpr long kChunk = 1024;  // pixels; a multiple of 8, so that each chunk starts at a whole byte with threshold 0

long Modulo(long x, long size) {
  return (x % size + size) % size;
}

/// Thresholds of the eight pixels from (x0, y0) on. Any size but 4 is 8, the other one that the pattern is made for.
Thresholds PhaseOf(const unsigned char *pattern, int size, long x0, long y0) {
  if (size != 4) size = 8;
  const long row = size * Modulo(y0, size), phase = Modulo(x0, size);
  Thresholds thresholds;
  for (long k = 0; k < 8; ++k) thresholds[static_cast<std::size_t>(k)] = pattern[row + (phase + k) % size];
  return thresholds;
}

constexpr auto kSame = [] {
  std::array<unsigned char, 256> map{};
  for (std::size_t v = 0; v < 256; ++v) map[v] = static_cast<unsigned char>(v);
  return map;
}();

/// Dithers n pixels into a destination of `dstBits` a pixel. `bits` are those that the line function packs; a deeper
/// destination, whose palette has fewer colours than its pixels could name, takes them through a chunk.
void DitherLine(Dither dither, int bits, unsigned char *dst, int dstBits, const qel::convert::SourceLine &source,
                long n, const Thresholds &thresholds) {
  unsigned char packed[kChunk], colors[3 * kChunk];
  const bool isPacked = bits == dstBits;
  const long step = isPacked && source.IsTrueColor() ? n : kChunk;
  for (long i = 0; i < n; i += step) {
    const long count = std::min(step, n - i);
    unsigned char *const to = dst + i * dstBits / 8;
    dither(isPacked ? to : packed, source.Colors(i, count, colors), count, thresholds.data());
    if (!isPacked) qel::lines::MapPixels(to, dstBits, packed, bits, count, kSame.data());
  }
}

}  // namespace

// Thresholds ---------------------------------------------------------------------------------------------------------

int PItc::xSetDitherFunc() {
  if (m_nSrcColors <= m_nDstColors && m_nSrcBits != 24) return 0;
  const int nSize = m_cvtMethod.wDitherSize;
  if ((nSize != 4 && nSize != 8) || m_cvtMethod.wDitherType > 5) return 0;  // there is no matrix
  switch (m_nDstColors) {
    case 2:
      m_pfnDither = &PItc::xDitherTo2;
      break;
    case 16:
      m_pfnDither = &PItc::xDitherTo16;
      break;
    case 256:
      m_pfnDither = &PItc::xDitherTo256;
      break;
    default:
      return 0;
  }
  const unsigned char *const pbyMatrix = (nSize == 4 ? m_pMethodLo : m_pMethodHi)[m_cvtMethod.wDitherType];
  for (int i = 0; i < nSize * nSize; ++i) {
    const int v = pbyMatrix[i];
    if (m_nDstColors == 256)
      m_pbyPattern[i] = static_cast<unsigned char>(nSize == 4 ? 3 * v : 51 * (v + 1) / 65);
    else
      m_pbyPattern[i] = static_cast<unsigned char>(nSize == 4 ? 16 * v - 8 : 4 * v + 2);
  }
  return 1;
}

// Lines --------------------------------------------------------------------------------------------------------------

// The matrix of a line's routine is the one chosen last by any agent, read in the size of this agent's method.

void PItc::xDitherTo2(long x0, long y0) {
  std::memset(m_pbyDstLine, 0, static_cast<std::size_t>((m_lDstWidth + 7) / 8));
  DitherLine(qel::lines::DitherTo2, 1, m_pbyDstLine, m_nDstBits, {m_pbySrcLine, m_nSrcBits, m_pbySrcRGB, m_nSrcColors},
             m_lSrcWidth, PhaseOf(m_pbyPattern, m_cvtMethod.wDitherSize, x0, y0));
}

void PItc::xDitherTo16(long x0, long y0) {
  std::memset(m_pbyDstLine, 0, static_cast<std::size_t>((m_lDstWidth + 1) / 2));
  DitherLine(qel::lines::DitherTo16, 4, m_pbyDstLine, m_nDstBits, {m_pbySrcLine, m_nSrcBits, m_pbySrcRGB, m_nSrcColors},
             m_lSrcWidth, PhaseOf(m_pbyPattern, m_cvtMethod.wDitherSize, x0, y0));
}

void PItc::xDitherTo256(long x0, long y0) {
  DitherLine(qel::lines::DitherTo216, 8, m_pbyDstLine, m_nDstBits,
             {m_pbySrcLine, m_nSrcBits, m_pbySrcRGB, m_nSrcColors}, m_lSrcWidth,
             PhaseOf(m_pbyPattern, m_cvtMethod.wDitherSize, x0, y0));
}

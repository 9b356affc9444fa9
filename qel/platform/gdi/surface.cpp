// Pixels in memory, as colours or as single bits.

#include "qel/platform/gdi/surface.h"

#include <algorithm>
#include <cstring>
#include <new>

namespace qel::gdi {

namespace {

constexpr Pixel kBitColours[2] = {kBlack, kWhite};

}  // namespace

std::shared_ptr<Surface> Surface::Make(int nWidth, int nHeight, bool bPacked) {
  if (nWidth < 0 || nHeight < 0) return nullptr;
  const size_t nColumns = static_cast<size_t>(nWidth);
  const size_t nRowBytes = bPacked ? (nColumns + 31) / 32 * 4 : nColumns * sizeof(Pixel);  // below 2^33
  // Cleared pages cost nothing before they are drawn on. The product stays below 2^64.
  BYTE *const pBytes =
      static_cast<BYTE *>(std::calloc(std::max<size_t>(nRowBytes * static_cast<size_t>(nHeight), 1), 1));
  if (pBytes == nullptr) return nullptr;
  return std::shared_ptr<Surface>(new Surface(nWidth, nHeight, bPacked, nRowBytes, pBytes));
}

void Surface::Load(Pixel *dst, int x, int y, int n) const {
  if (m_bPacked) {
    lines::IndicesToPixels(dst, Row(y), 1, x, n, kBitColours);
  } else {
    std::memcpy(dst, Pixels(y) + x, sizeof(Pixel) * static_cast<size_t>(n));
  }
}

void Surface::Store(int x, int y, int n, const Pixel *src) {
  if (m_bPacked) {
    lines::PackBits(Row(y), x, src, n, kWhite);
  } else {
    std::memcpy(Pixels(y) + x, src, sizeof(Pixel) * static_cast<size_t>(n));
  }
}

void Surface::Fill(const RECT &rc, Pixel pixel) {
  for (int y = rc.top; y < rc.bottom; ++y) {
    if (m_bPacked) {
      lines::FillBits(Row(y), rc.left, rc.right - rc.left, pixel == kWhite);
    } else {
      std::fill(Pixels(y) + rc.left, Pixels(y) + rc.right, pixel);
    }
  }
}

void Surface::PaintBits(int x, int y, int n, const BYTE *pBits, long nBit, Pixel pixel) {
  if (m_bPacked) {
    lines::PaintBitsOnBits(Row(y), x, pBits, nBit, n, pixel == kWhite);
  } else {
    lines::PaintSetBits(Pixels(y) + x, pBits, nBit, n, pixel);
  }
}

}  // namespace qel::gdi

// Pixels in memory, as colours or as single bits. Internal.
#pragma once

#include <cstdlib>
#include <memory>

#include "qel/platform/gdi/pixel.h"

namespace qel::gdi {

class Surface {
 public:
  /// A surface cleared to 0, of pixels or, when `bPacked`, of bits (0 black, 1 white). Null for a negative size and
  /// without memory; a side may be 0.
  static std::shared_ptr<Surface> Make(int nWidth, int nHeight, bool bPacked);

  int Width() const { return m_nWidth; }
  int Height() const { return m_nHeight; }
  bool IsPacked() const { return m_bPacked; }
  size_t RowBytes() const { return m_nRowBytes; }

  BYTE *Row(int y) const { return m_bytes.get() + m_nRowBytes * static_cast<size_t>(y); }
  Pixel *Pixels(int y) const { return reinterpret_cast<Pixel *>(Row(y)); }

  /// n pixels from (x, y) on, whatever the kind of surface; they lie inside it.
  void Load(Pixel *dst, int x, int y, int n) const;
  void Store(int x, int y, int n, const Pixel *src);
  void Fill(const RECT &rc, Pixel pixel);

  /// Sets those of n pixels from (x, y) on whose bits, from bit `nBit` on, are set.
  void PaintBits(int x, int y, int n, const BYTE *pBits, long nBit, Pixel pixel);

 private:
  struct Release {
    void operator()(BYTE *p) const { std::free(p); }
  };

  Surface(int nWidth, int nHeight, bool bPacked, size_t nRowBytes, BYTE *pBytes)
      : m_nWidth(nWidth), m_nHeight(nHeight), m_bPacked(bPacked), m_nRowBytes(nRowBytes), m_bytes(pBytes) {}

  const int m_nWidth, m_nHeight;
  const bool m_bPacked;
  const size_t m_nRowBytes;
  const std::unique_ptr<BYTE, Release> m_bytes;
};

}  // namespace qel::gdi

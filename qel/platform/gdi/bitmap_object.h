// What stands behind a bitmap handle. Internal.
#pragma once

#include <memory>

#include "qel/platform/gdi/object_table.h"
#include "qel/platform/gdi/surface.h"

namespace qel::gdi {

struct Bitmap final : Object {
  std::shared_ptr<Surface> surface;
  WORD wPlanes = 1;
  WORD wBitsPixel = 1;

  /// Bits of a pixel, 0 for a monochrome bitmap (a bitmap of a 1-bit screen has colours).
  int Depth() const { return surface->IsPacked() ? 0 : wPlanes * wBitsPixel; }

  int Describe(int nBytes, void *pBuf) const override;
};

/// A cleared bitmap; null without memory. Of one plane and one bit it is monochrome.
std::shared_ptr<Bitmap> MakeBitmap(int nWidth, int nHeight, bool bMonochrome, WORD wPlanes, WORD wBitsPixel);

/// The monochrome bitmap of one pixel that contexts in memory start with.
HGDIOBJ StartingBitmap();

}  // namespace qel::gdi

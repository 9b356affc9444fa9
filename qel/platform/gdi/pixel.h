// Pixels of surfaces, and the loops over lines of them that the surface layer takes from qel/lines. Internal.
#pragma once

#include "qel/lines/convert.h"
#include "qel/lines/pixels.h"

namespace qel::gdi {

using lines::ChannelFields;
using lines::kBlack;
using lines::kWhite;
using lines::MakeField;
using lines::MakePixel;
using lines::Pixel;
using lines::SwapRedBlue;

inline void Rgb24ToPixels(Pixel *dst, const BYTE *src, long n) {
  lines::Rgb24To32(reinterpret_cast<BYTE *>(dst), src, n);
}
inline void PixelsToRgb24(BYTE *dst, const Pixel *src, long n) {
  lines::Rgb32To24(dst, reinterpret_cast<const BYTE *>(src), n);
}

}  // namespace qel::gdi

// What the pixels of a TIFF file are, and what becomes of them.
#pragma once

#include <vector>

#include "codecs/common/format.h"
#include "codecs/tif/tif_file.h"

namespace qel::codecs {

enum class TiffPixels {
  kAsStored,  // bits, nibbles and bytes that are indices or levels
  kCrumbs,    // the same of 2 bits
  kRgb,       // bytes
  kRgba,
  kCmyk,
  kGray16,  // words
  kRgb16,
  kRaster,  // whatever else libtiff makes colours of
};

struct TiffLayout {
  TiffPixels pixels = TiffPixels::kRaster;
  int type = 1;                // the engine's
  long width = 0, height = 0;  // as stored: of a picture that lies on its side the height is the width
  int orientation = ORIENTATION_TOPLEFT;
  int bits = 8;                // of a sample
  int samples = 1;             // that stand together in a pixel of a line
  int planes = 1;              // that the file has the picture's channels in, one behind the other
  bool is_inverted = false;    // the lowest level is white
  bool is_associated = false;  // colours are multiplied by their alpha
  std::vector<RGBQUAD> palette;
  std::uint64_t least_bytes = 0;  // of a file of it

  /// Bytes that n pixels of a line take in the file.
  std::uint64_t LineBytes(long n) const {
    return (static_cast<std::uint64_t>(n) * static_cast<unsigned>(bits * samples) + 7) / 8;
  }

  bool LiesOnItsSide() const { return orientation >= ORIENTATION_LEFTTOP; }
};

/// Judges the directory at hand; false, with a reason in `error`, for what libtiff makes no colours of.
bool JudgeTiff(const TiffFile &file, TiffLayout &layout, std::string &error);

}  // namespace qel::codecs

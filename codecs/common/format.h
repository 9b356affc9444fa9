// What a picture format offers: the one interface that each folder of codecs/ implements, and that the entry points of
// its shared object (common/entry_points.cpp) and the reader library are written against.
//
// A format works on an open file descriptor, read from its start, and moves whole rows of pixels in the engine's own
// formats (bit count, byte order, white and black as the palette tells), so nothing above it converts pixels.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "qel/platform/types.h"

namespace qel::codecs {

/// A picture as its file tells it, or as it is to be saved.
struct PictureInfo {
  int type = 10;                 // the engine's type code, 0 to 9
  long width = 0;                // pixels
  long height = 0;               // rows
  std::vector<RGBQUAD> palette;  // colour table of types of 8 bits and fewer; empty: the type's standard one
  long dpm_x = 0;                // dots per metre; 0: not told
  long dpm_y = 0;
  std::uint64_t least_bytes = 0;  // that no file of it can do without (common/plausible.h); 0: none are known
};

/// The rows of a picture in the image's store: `top` is the first byte of the top row, and the next row down starts
/// `stride` bytes further (negative in a store that begins with the bottom row).
struct PixelRows {
  unsigned char *top;
  std::ptrdiff_t stride;
  long width;
  long height;
  int bit_count;
  bool is_own = false;  // in pages that the process has for itself, which read as 0 once they are given back

  unsigned char *Row(long y) const { return top + y * stride; }
};

/// Told of rows done out of all; true asks the transfer to stop.
using Progress = std::function<bool(long done, long all)>;

/// Reads one picture. Every fault ends in false with a reason in `error`, in a few words without a full stop; the rows
/// that came in before it stay.
class Decoder {
 public:
  virtual ~Decoder() = default;
  /// Reads as much as tells what the picture is; false when the file is not of this format, or broken before that.
  virtual bool ReadInfo(PictureInfo &info) = 0;
  /// Reads all pixels into rows made after ReadInfo's answer. Called at most once.
  virtual bool ReadPixels(const PixelRows &rows, const Progress &progress) = 0;

  std::string error;
  /// Set by a ReadPixels that leaves 0 what belongs to no pixel, so that rows which it did not touch need not be.
  bool clears_padding = false;
};

/// Writes one picture, by the rules of Decoder. Nothing is written before WritePixels, so that an encoder also serves
/// to ask whether a picture can be saved at all.
class Encoder {
 public:
  virtual ~Encoder() = default;
  /// False for a picture that the format cannot hold.
  virtual bool WriteInfo(const PictureInfo &info) = 0;
  virtual bool WritePixels(const PixelRows &rows, const Progress &progress) = 0;

  std::string error;
};

/// A format. Each shared object has one and exports the function "zulFormat", which returns its address, for the reader
/// library.
struct Format {
  const char *name;  // as users write it: "PNG"
  /// True when a file that begins with these bytes (64 of them, fewer in a shorter file) is of this format.
  bool (*matches)(const unsigned char *pbyHead, std::size_t nBytes);
  std::unique_ptr<Decoder> (*open)(int nFile);
  std::unique_ptr<Encoder> (*create)(int nFile);  // null: pictures are only read
};

/// The format of this shared object; each format's folder defines it.
extern const Format kFormat;

}  // namespace qel::codecs

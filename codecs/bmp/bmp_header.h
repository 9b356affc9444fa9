// The headers of BMP files: a file header of 14 bytes, an information header whose first field is its own size, channel
// masks, a colour table. All fields are low byte first, at any address.
#pragma once

#include <string>
#include <vector>

#include "codecs/common/file_bytes.h"
#include "qel/fileio/dib_format.h"

namespace qel::codecs {

constexpr DWORD kCoreHeaderBytes = 12, kMostHeaderBytes = 124;

constexpr bool IsBmpHeaderSize(DWORD bytes) {
  return bytes == kCoreHeaderBytes || (bytes >= fileio::kInfoHeaderBytes && bytes <= kMostHeaderBytes);
}

struct BmpMasks {
  DWORD red = 0, green = 0, blue = 0, alpha = 0;
  bool operator==(const BmpMasks &) const = default;
};

struct BmpHeader {
  long width = 0, height = 0;
  bool is_top_down = false;
  bool is_packed = false;  // runs of indices
  bool has_masks = false;
  int bits = 0;    // of a stored pixel
  BmpMasks masks;  // of words of 16 and 32 bits; all 0 for plain rows of 32
  std::vector<RGBQUAD> palette;
  long dpm_x = 0, dpm_y = 0;
  std::size_t gap = 0;  // bytes between the reader's place and the rows
};

/// Reads everything before the rows; false, with a reason in `error`, for headers that are not sound.
bool ReadBmpHeader(FileReader &reader, BmpHeader &header, std::string &error);

}  // namespace qel::codecs

// Nothing that a file or a memory record says is believed before it has been checked here.
#include "codecs/common/reading.h"

#include <utility>

#include "codecs/common/file_bytes.h"
#include "codecs/common/store.h"
#include "qel/platform/gdi/palette.h"

namespace qel::codecs {

int BitsOfType(int type) {
  constexpr int kBits[] = {1, 24, 4, 8, 4, 8, 16, 16, 32, 48};
  return type >= 0 && type <= 9 ? kBits[type] : 0;
}

HPALETTE MakePalette(const std::vector<RGBQUAD> &colors) {
  if (colors.empty() || colors.size() > kMaxColors) return nullptr;
  struct {
    WORD palVersion = 0x300;
    WORD palNumEntries;
    PALETTEENTRY palPalEntry[kMaxColors];
  } logical;
  logical.palNumEntries = static_cast<WORD>(colors.size());
  for (std::size_t i = 0; i < colors.size(); ++i)
    logical.palPalEntry[i] = {colors[i].rgbRed, colors[i].rgbGreen, colors[i].rgbBlue, 0};
  return CreatePalette(reinterpret_cast<const LOGPALETTE *>(&logical));
}

std::size_t ReadHead(int nFile, unsigned char *pbyHead) {
  return ReadAt(nFile, pbyHead, kHeadBytes, 0);
}

Reading BeginReading(const Format &format, int nFile, long largestSide, std::string &error) {
  Reading reading{format.open(nFile), {}};
  const PictureInfo &info = reading.info;
  if (!reading.decoder || !reading.decoder->ReadInfo(reading.info)) {
    if (reading.decoder) error = reading.decoder->error;
    if (error.empty()) error = "the file's headers are not sound";
  } else if (BitsOfType(info.type) == 0 || info.width < 1 || info.height < 1) {
    error = "the file's headers are not sound";
  } else if (info.width > largestSide || info.height > largestSide) {
    error = "the picture is too large";
  } else {
    return reading;
  }
  return {};
}

Transfer ReadInto(const Reading &reading, const tagLmmInfo &memory, std::size_t offset, const Progress &progress,
                  std::string &error) {
  Store store(memory);
  if (!store.Find(offset)) return error = "the image has no room for the picture", Transfer::kRefused;
  const PictureInfo &info = reading.info;
  const PixelRows &rows = store.Rows();
  if (rows.width != info.width || rows.height != info.height || rows.bit_count != BitsOfType(info.type))
    return error = "the image does not have the picture's format", Transfer::kRefused;
  const bool complete = reading.decoder->ReadPixels(rows, progress);
  ClearPadding(rows);
  if (complete) return Transfer::kWhole;
  error = reading.decoder->error;
  if (error.empty()) error = "the picture is incomplete";
  return Transfer::kPartial;
}

}  // namespace qel::codecs

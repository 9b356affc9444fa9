// Nothing that a file or a memory record says is believed before it has been checked here.
#include "codecs/common/reading.h"

#include <algorithm>
#include <utility>

#include "codecs/common/file_bytes.h"
#include "codecs/common/plausible.h"
#include "codecs/common/store.h"

namespace qel::codecs {

std::vector<RGBQUAD> PaletteColors(HPALETTE hPal) {
  std::vector<RGBQUAD> colors(kMaxColors);
  const bool known = PQel::GetPaletteRGBQuad(hPal, colors.data()) != 0;
  colors.resize(known ? std::min(static_cast<std::size_t>(PQel::GetColorNum(hPal)), kMaxColors) : 0);
  for (RGBQUAD &color : colors) color.rgbReserved = 0;
  return colors;
}

HPALETTE PaletteOf(std::vector<RGBQUAD> colors) {
  const std::size_t count = std::min(colors.size(), kMaxColors + 1);  // more are too many
  return PQel::CreateLogPal(static_cast<int>(count), colors.data());
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
  } else if (PQel::GetBitCount(info.type) == 0 || info.width < 1 || info.height < 1) {
    error = "the file's headers are not sound";
  } else if (info.width > largestSide || info.height > largestSide) {
    error = "the picture is too large";
  } else if (!IsPlausible(info, FileBytes(nFile))) {
    error = "the file claims more pixels than its bytes can hold";
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
  if (rows.width != info.width || rows.height != info.height || rows.bit_count != PQel::GetBitCount(info.type))
    return error = "the image does not have the picture's format", Transfer::kRefused;
  const bool complete = reading.decoder->ReadPixels(rows, progress);
  if (!reading.decoder->clears_padding) ClearPadding(rows);
  if (complete) return Transfer::kWhole;
  error = reading.decoder->error;
  if (error.empty()) error = "the picture is incomplete";
  return Transfer::kPartial;
}

}  // namespace qel::codecs

#include "codecs/bmp/bmp_header.h"

#include <algorithm>
#include <cstdlib>

namespace qel::codecs {

using namespace fileio;

namespace {

constexpr DWORD kRuns8 = 1, kRuns4 = 2, kMasksWithAlpha = 6;
constexpr BmpMasks k555 = {0x7C00, 0x3E0, 0x1F, 0};

/// Sizes and kinds, from the information header.
bool ParseInfo(const unsigned char *p, DWORD bytes, BmpHeader &header, DWORD &compression, DWORD &colors) {
  const bool isCore = bytes == kCoreHeaderBytes;
  compression = colors = 0;
  if (isCore) {
    header.width = LoadWord(p + 4);
    header.height = LoadWord(p + 6);
    header.bits = LoadWord(p + 10);
  } else {
    const DibInfo info = ParseInfoHeader(p);
    header.width = info.lWidth;
    header.is_top_down = info.lHeight < 0;
    header.height = std::labs(long{info.lHeight});
    header.bits = info.nBitCount;
    compression = info.nCompression;
    header.dpm_x = std::max(static_cast<LONG>(info.nDpmX), LONG{0});
    header.dpm_y = std::max(static_cast<LONG>(info.nDpmY), LONG{0});
    colors = info.nClrUsed;
  }
  constexpr int kBits[] = {1, 4, 8, 16, 24, 32};
  return header.width > 0 && header.height > 0 &&
         std::find(std::begin(kBits), std::end(kBits), header.bits) != std::end(kBits);
}

bool IsCompressionKnown(DWORD compression, BmpHeader &header) {
  header.is_packed = compression == kRuns8 || compression == kRuns4;
  if (header.is_packed) return header.bits == (compression == kRuns8 ? 8 : 4);
  if (compression == BI_BITFIELDS || compression == kMasksWithAlpha) return header.bits == 16 || header.bits == 32;
  return compression == BI_RGB;
}

BmpMasks LoadMasks(const unsigned char *p, bool hasAlpha) {
  return {LoadDword(p), LoadDword(p + 4), LoadDword(p + 8), hasAlpha ? LoadDword(p + 12) : 0};
}

}  // namespace

bool ReadBmpHeader(FileReader &reader, BmpHeader &header, std::string &error) {
  unsigned char bytes[kFileHeaderBytes + kMostHeaderBytes] = {};
  unsigned char *const info = bytes + kFileHeaderBytes;
  error = "the file's headers are not sound";
  std::size_t at = kFileHeaderBytes + 4;
  if (reader.Read(bytes, at) != at || bytes[0] != 'B' || bytes[1] != 'M') return false;
  const DWORD size = LoadDword(info);
  if (!IsBmpHeaderSize(size) || reader.Read(info + 4, size - 4) != size - 4) return false;
  at += size - 4;

  DWORD compression, colors;
  if (!ParseInfo(info, size, header, compression, colors)) return false;
  if (!IsCompressionKnown(compression, header)) return error = "the file's compression is not supported", false;
  if (header.bits == 16) header.masks = k555;
  if (compression == BI_BITFIELDS || compression == kMasksWithAlpha) {
    constexpr DWORD kMasksEnd = kInfoHeaderBytes + 12;
    unsigned char behind[16];
    const std::size_t behindBytes = size > kInfoHeaderBytes ? 0 : compression == kMasksWithAlpha ? 16 : 12;
    if (reader.Read(behind, behindBytes) != behindBytes || (size > kInfoHeaderBytes && size < kMasksEnd)) return false;
    at += behindBytes;
    header.masks = behindBytes > 0 ? LoadMasks(behind, behindBytes == 16)
                                   : LoadMasks(info + kInfoHeaderBytes, size >= kMasksEnd + 4);
  }

  // The table ends where the rows begin, whatever its count says.
  const DWORD rowsAt = LoadDword(bytes + 10);
  const std::size_t entryBytes = size == kCoreHeaderBytes ? 3 : 4;
  if (header.bits <= 8) {
    const std::size_t most = std::size_t{1} << header.bits;
    std::size_t count = colors == 0 ? most : std::min<std::size_t>(colors, most);
    if (rowsAt > at) count = std::min(count, (rowsAt - at) / entryBytes);
    unsigned char table[256 * 4];
    if (reader.Read(table, count * entryBytes) != count * entryBytes) return false;
    at += count * entryBytes;
    for (const unsigned char *p = table; p < table + count * entryBytes; p += entryBytes)
      header.palette.push_back({p[0], p[1], p[2], 0});
  }
  header.gap = rowsAt > at ? rowsAt - at : 0;
  error.clear();
  return true;
}

}  // namespace qel::codecs

#include "codecs/bmp/bmp_header.h"

#include <algorithm>
#include <cstdlib>
#include <utility>

namespace qel::codecs {

using namespace fileio;

namespace {

constexpr DWORD kRuns8 = 1, kRuns4 = 2, kMasksWithAlpha = 6;
constexpr BmpMasks k555 = {0x7C00, 0x3E0, 0x1F, 0};

constexpr char kCutShort[] = "is cut short within its headers";

/// Reads the fields of the headers one after another and tells what is wrong with them.
class HeaderReader {
 public:
  HeaderReader(FileReader &reader, BmpHeader &header) : m_reader(reader), m_header(header) {}

  bool Read() { return xReadInfo() && xReadMasks() && xReadTable(); }

  std::string reason;  // when Read said false

 private:
  bool xFail(std::string words) {
    reason = std::move(words);
    return false;
  }
  bool xTake(unsigned char *dst, std::size_t bytes) {
    m_at += bytes;
    return m_reader.Read(dst, bytes) == bytes || xFail(kCutShort);
  }
  bool xReadInfo();
  bool xJudge(long height);
  bool xReadMasks();
  bool xReadTable();

  FileReader &m_reader;
  BmpHeader &m_header;
  std::size_t m_at = 0;
  DWORD m_size = 0, m_rowsAt = 0, m_compression = BI_RGB, m_colors = 0;
  unsigned char m_info[kMostHeaderBytes] = {};
};

/// The file header and the information header.
bool HeaderReader::xReadInfo() {
  unsigned char file[kFileHeaderBytes];
  if (!xTake(file, sizeof file) || !xTake(m_info, 4)) return false;
  m_rowsAt = LoadDword(file + 10);
  m_size = LoadDword(m_info);
  if (file[0] != 'B' || file[1] != 'M' || !IsBmpHeaderSize(m_size)) return xFail("is no bitmap file");
  if (!xTake(m_info + 4, m_size - 4)) return false;
  if (m_size == kCoreHeaderBytes) {
    m_header.width = LoadWord(m_info + 4);
    m_header.bits = LoadWord(m_info + 10);
    return xJudge(LoadWord(m_info + 6));
  }
  const DibInfo info = ParseInfoHeader(m_info);
  m_header.width = info.lWidth;
  m_header.bits = info.nBitCount;
  m_header.dpm_x = std::max(static_cast<LONG>(info.nDpmX), LONG{0});
  m_header.dpm_y = std::max(static_cast<LONG>(info.nDpmY), LONG{0});
  m_compression = info.nCompression;
  m_colors = info.nClrUsed;
  return xJudge(info.lHeight);
}

/// Whether there is a picture of this kind and size; negative heights mean the top row first.
bool HeaderReader::xJudge(long height) {
  const int bits = m_header.bits;
  m_header.height = std::labs(height);
  m_header.is_top_down = height < 0;
  m_header.is_packed = m_compression == kRuns8 || m_compression == kRuns4;
  m_header.has_masks = m_compression == BI_BITFIELDS || m_compression == kMasksWithAlpha;
  if (m_compression != BI_RGB && !m_header.is_packed && !m_header.has_masks)
    return xFail("holds compressed rows, which are not read");
  constexpr int kBits[] = {1, 4, 8, 16, 24, 32};
  if (std::find(std::begin(kBits), std::end(kBits), bits) == std::end(kBits))
    return xFail("has " + std::to_string(bits) + " bits a pixel, which is not read");
  if (m_header.width < 1 || height == 0)
    return xFail("has no size: " + std::to_string(m_header.width) + " x " + std::to_string(height) + " pixels");
  if (m_header.is_packed && bits != (m_compression == kRuns8 ? 8 : 4)) return xFail("has packed rows of another depth");
  if (m_header.has_masks && bits != 16 && bits != 32) return xFail("has channel masks without channels");
  return true;
}

/// Masks lie in longer headers and behind those of the usual length.
bool HeaderReader::xReadMasks() {
  if (m_header.bits == 16) m_header.masks = k555;
  if (!m_header.has_masks) return true;
  const bool isWithin = m_size > kInfoHeaderBytes;
  unsigned char masks[16] = {};
  if (isWithin)
    std::copy_n(m_info + kInfoHeaderBytes, sizeof masks, masks);  // 0 behind the end of a shorter header
  else if (!xTake(masks, m_compression == kMasksWithAlpha ? 16 : 12))
    return false;
  m_header.masks = {LoadDword(masks), LoadDword(masks + 4), LoadDword(masks + 8), LoadDword(masks + 12)};
  return true;
}

/// The table ends where the rows begin, whatever its count says.
bool HeaderReader::xReadTable() {
  if (m_header.bits <= 8) {
    const std::size_t entryBytes = m_size == kCoreHeaderBytes ? 3 : 4;
    const std::size_t most = std::size_t{1} << m_header.bits;
    std::size_t count = m_colors == 0 ? most : std::min<std::size_t>(m_colors, most);
    if (m_rowsAt > m_at) count = std::min(count, (m_rowsAt - m_at) / entryBytes);
    unsigned char table[256 * 4];
    if (!xTake(table, count * entryBytes)) return false;
    for (const unsigned char *p = table; p < table + count * entryBytes; p += entryBytes)
      m_header.palette.push_back({p[0], p[1], p[2], 0});
  }
  m_header.gap = m_rowsAt > m_at ? m_rowsAt - m_at : 0;
  return true;
}

}  // namespace

bool ReadBmpHeader(FileReader &reader, BmpHeader &header, std::string &error) {
  HeaderReader headers(reader, header);
  if (headers.Read()) return true;
  error = headers.reason;
  return false;
}

}  // namespace qel::codecs

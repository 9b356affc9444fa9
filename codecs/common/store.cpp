// Rows of a store: packed, each padded to a multiple of four bytes, the bottom row first unless the header's height is
// negative.
#include "codecs/common/store.h"

#include <cstdlib>
#include <cstring>

#include "qel/platform/kernel/global_memory.h"

namespace qel::codecs {
namespace {

constexpr WORD kGlobalHandle = 1, kAddress = 2;
constexpr DWORD kRedOf555 = 0x7C00;

}  // namespace

// Store --------------------------------------------------------------------------------------------------------------

Store::Store(const tagLmmInfo &info) : m_info(info), m_start(nullptr) {
  if (info.wMemKind == kGlobalHandle) m_start = static_cast<unsigned char *>(GlobalLock(info.pvMem));
  if (info.wMemKind == kAddress) m_start = static_cast<unsigned char *>(info.pvMem);
}

Store::~Store() {
  if (m_start != nullptr && m_info.wMemKind == kGlobalHandle) GlobalUnlock(m_info.pvMem);
}

bool Store::Find(std::size_t offset) {
  const std::size_t size = m_info.dwSize;
  if (m_start == nullptr || size < sizeof m_header || offset < sizeof m_header || offset > size) return false;
  std::memcpy(&m_header, m_start, sizeof m_header);
  const long width = m_header.biWidth;
  const long height = std::labs(static_cast<long>(m_header.biHeight));
  const int bits = m_header.biBitCount;
  if (width < 1 || height < 1 || bits < 1 || bits > 48) return false;

  // Neither product passes 2^31 * 48 / 8 * 2^31.
  const long stride = (width * bits + 31) / 32 * 4;
  if (static_cast<std::size_t>(height) > (size - offset) / static_cast<std::size_t>(stride)) return false;

  DWORD red = kRedOf555;
  if (m_header.biCompression == BI_BITFIELDS && offset >= sizeof m_header + sizeof red)
    std::memcpy(&red, m_start + sizeof m_header, sizeof red);
  m_is555 = red == kRedOf555;

  unsigned char *const rows = m_start + offset;
  const bool topDown = m_header.biHeight < 0;
  m_rows = {topDown ? rows : rows + (height - 1) * stride, topDown ? stride : -stride, width, height, bits};
  return true;
}

// Clearing -----------------------------------------------------------------------------------------------------------

void ClearRowsFrom(const PixelRows &rows, long y) {
  for (; y < rows.height; ++y) std::memset(rows.Row(y), 0, static_cast<std::size_t>(std::labs(rows.stride)));
}

void ClearPadding(const PixelRows &rows) {
  const std::size_t used = RowBytes(rows);
  const std::size_t padding = static_cast<std::size_t>(std::labs(rows.stride)) - used;
  const int loose = static_cast<int>(used * 8 - static_cast<std::size_t>(rows.width * rows.bit_count));
  if (padding == 0 && loose == 0) return;
  for (long y = 0; y < rows.height; ++y) {
    unsigned char *const end = rows.Row(y) + used;
    end[-1] = static_cast<unsigned char>(end[-1] >> loose << loose);
    std::memset(end, 0, padding);
  }
}

}  // namespace qel::codecs

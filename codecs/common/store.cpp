// Rows of a store: packed, each padded to a multiple of four bytes, the bottom row first unless the header's height is
// negative.
#include "codecs/common/store.h"

#include <sys/mman.h>

#include <algorithm>
#include <cstdint>
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
  m_rows = {topDown ? rows : rows + (height - 1) * stride,
            topDown ? stride : -stride,
            width,
            height,
            bits,
            m_info.wMemKind == kGlobalHandle};
  return true;
}

// Clearing -----------------------------------------------------------------------------------------------------------

namespace {

constexpr std::uintptr_t kHugePage = 2 << 20;
constexpr std::size_t kManyBytes = 4 * kHugePage;

/// Clears memory of the process's own by giving its pages back, whole huge ones, as untouched memory reads as 0. A
/// picture of gigabytes that its file does not bring takes no memory so. (Looking whether it is clear already would
/// make the system provide the pages.)
void GiveBack(unsigned char *bytes, std::size_t count) {
  const auto address = reinterpret_cast<std::uintptr_t>(bytes);
  const std::size_t before = (0 - address) % kHugePage;
  const std::size_t inside = (count - before) / kHugePage * kHugePage;
  unsigned char *const pages = bytes + before;
  std::memset(bytes, 0, before);
  if (madvise(pages, inside, MADV_DONTNEED) != 0) std::memset(pages, 0, inside);
  std::memset(pages + inside, 0, count - before - inside);
}

}  // namespace

void ClearRowsFrom(const PixelRows &rows, long y) {
  if (y >= rows.height) return;
  unsigned char *const start = std::min(rows.Row(y), rows.Row(rows.height - 1));
  const std::size_t bytes = static_cast<std::size_t>(std::labs(rows.stride) * (rows.height - y));
  if (rows.is_own && bytes >= kManyBytes)
    GiveBack(start, bytes);
  else
    std::memset(start, 0, bytes);
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

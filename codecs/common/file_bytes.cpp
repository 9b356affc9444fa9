// Buffered bytes of files. A read or write that a signal interrupts goes on.
#include "codecs/common/file_bytes.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace qel::codecs {
namespace {

constexpr std::size_t kBufferBytes = 64 * 1024;

}  // namespace

// Reading ------------------------------------------------------------------------------------------------------------

std::size_t ReadAt(int nFile, void *dst, std::size_t bytes, std::uint64_t offset) {
  std::size_t done = 0;
  while (done < bytes) {
    const ssize_t got = pread(nFile, static_cast<char *>(dst) + done, bytes - done, static_cast<off_t>(offset + done));
    if (got < 0 && errno == EINTR) continue;
    if (got <= 0) break;
    done += static_cast<std::size_t>(got);
  }
  return done;
}

std::size_t FileBytes(int nFile) {
  struct stat status;
  const bool known = fstat(nFile, &status) == 0 && S_ISREG(status.st_mode) && status.st_size > 0;
  return known ? static_cast<std::size_t>(status.st_size) : 0;
}

bool FileReader::xFill() {
  if (m_buffer.empty()) m_buffer.resize(kBufferBytes);
  m_at = 0;
  m_end = ReadAt(m_nFile, m_buffer.data(), m_buffer.size(), m_offset);
  m_offset += m_end;
  return m_end > 0;
}

std::size_t FileReader::Read(void *dst, std::size_t bytes) {
  auto *to = static_cast<unsigned char *>(dst);
  std::size_t done = 0;
  while (done < bytes && (m_at < m_end || xFill())) {
    const std::size_t part = std::min(bytes - done, m_end - m_at);
    std::memcpy(to + done, m_buffer.data() + m_at, part);
    m_at += part;
    done += part;
  }
  return done;
}

std::size_t FileReader::Next(const unsigned char **data) {
  if (m_at == m_end && !xFill()) return 0;
  *data = m_buffer.data() + m_at;
  const std::size_t bytes = m_end - m_at;
  m_at = m_end;
  return bytes;
}

void FileReader::Skip(std::size_t bytes) {
  const std::size_t held = std::min(bytes, m_end - m_at);
  m_at += held;
  m_offset += bytes - held;  // the buffer is empty then, or nothing is left to pass over
}

// Writing ------------------------------------------------------------------------------------------------------------

bool FileWriter::xWriteThrough(const unsigned char *src, std::size_t bytes) {
  while (m_good && bytes > 0) {
    const ssize_t written = write(m_nFile, src, bytes);
    if (written > 0) {
      src += written;
      bytes -= static_cast<std::size_t>(written);
    } else if (written == 0 || errno != EINTR) {
      m_good = false;
    }
  }
  return m_good;
}

bool FileWriter::Write(const void *src, std::size_t bytes) {
  const auto *from = static_cast<const unsigned char *>(src);
  if (m_buffer.size() + bytes > kBufferBytes) Flush();
  if (bytes >= kBufferBytes) return xWriteThrough(from, bytes);
  m_buffer.insert(m_buffer.end(), from, from + bytes);
  return m_good;
}

bool FileWriter::Flush() {
  xWriteThrough(m_buffer.data(), m_buffer.size());
  m_buffer.clear();
  return m_good;
}

}  // namespace qel::codecs

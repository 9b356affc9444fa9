// The bytes of a file as the decoders and encoders of formats take and give them: read from the start through a
// descriptor whose position stays where it is, written behind what was written before.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace qel::codecs {

/// Copies up to `bytes` bytes that stand at an offset of a file; fewer at its end, or when it cannot be read.
std::size_t ReadAt(int nFile, void *dst, std::size_t bytes, std::uint64_t offset);

/// Bytes of a whole file; 0 for what is none of a fixed size.
std::size_t FileBytes(int nFile);

class FileReader {
 public:
  explicit FileReader(int nFile) : m_nFile(nFile) {}

  /// Copies up to `bytes` bytes; fewer at the end of the file, or when it cannot be read.
  std::size_t Read(void *dst, std::size_t bytes);

  /// Hands out the bytes that follow, as many as one read brings, in a buffer of the reader's; 0 at the end.
  std::size_t Next(const unsigned char **data);

  std::size_t Size() const { return FileBytes(m_nFile); }

  /// Passes over bytes.
  void Skip(std::size_t bytes);

 private:
  bool xFill();

  int m_nFile;
  std::uint64_t m_offset = 0;  // of the byte behind the buffer
  std::vector<unsigned char> m_buffer;
  std::size_t m_at = 0, m_end = 0;
};

class FileWriter {
 public:
  explicit FileWriter(int nFile) : m_nFile(nFile) {}

  /// False, now and from then on, when the bytes of this or an earlier call did not all reach the file.
  bool Write(const void *src, std::size_t bytes);

  /// Hands what is buffered to the file.
  bool Flush();

 private:
  bool xWriteThrough(const unsigned char *src, std::size_t bytes);

  int m_nFile;
  bool m_good = true;
  std::vector<unsigned char> m_buffer;
};

}  // namespace qel::codecs

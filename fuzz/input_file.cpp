// Files in memory, so that a fuzzer's thousands of files a second cost no disk.
#include "fuzz/input_file.h"

#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <vector>

namespace fuzz {
namespace {

constexpr long kRows = 64;  // that are looked at

/// Calls `visit` for about kRows rows from the first to the last.
template <class Visit>
void ForSomeRows(PQel &image, Visit visit) {
  const long height = image.GetImageHeight(), step = std::max(1L, height / kRows);
  for (long y = 0; y < height; y += step) visit(y);
  if (height > 0) visit(height - 1);
}

std::vector<unsigned char> RowBytes(PQel &image) {
  return std::vector<unsigned char>(static_cast<std::size_t>(image.GetLineBytes()));
}

}  // namespace

InputFile::InputFile() : m_file(memfd_create("fuzz", MFD_CLOEXEC)) {
  if (m_file < 0) std::perror("memfd_create"), std::exit(1);
  m_name = "/proc/./self/fd/" + std::to_string(m_file);
}

InputFile::~InputFile() {
  close(m_file);
}

void InputFile::Fill(const unsigned char *data, std::size_t size) {
  if (ftruncate(m_file, 0) != 0 || pwrite(m_file, data, size, 0) != static_cast<ssize_t>(size))
    std::perror("memory file"), std::exit(1);
}

void Find(const char *what) {
  std::fprintf(stderr, "found: %s\n", what);
  std::abort();
}

void ReadRows(PQel &image) {
  std::vector<unsigned char> row = RowBytes(image);
  ForSomeRows(image, [&](long y) {
    if (!image.GetHorLine(0, image.GetImageWidth() - 1, y, row.data())) Find("a row of an open picture cannot be read");
  });
}

bool AreSame(PQel &a, PQel &b) {
  if (a.GetImageType() != b.GetImageType() || a.GetImageWidth() != b.GetImageWidth() ||
      a.GetImageHeight() != b.GetImageHeight())
    return false;
  // Reading leaves the bits behind the last pixel alone, so both rows end in the same zeros.
  std::vector<unsigned char> first = RowBytes(a), second(first.size());
  bool same = true;
  ForSomeRows(a, [&](long y) {
    const long last = a.GetImageWidth() - 1;
    same = same && a.GetHorLine(0, last, y, first.data()) && b.GetHorLine(0, last, y, second.data()) && first == second;
  });
  return same;
}

}  // namespace fuzz

// DIB files into every store and layout. A file that is read comes back from what is written of it.
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "fuzz/input_file.h"
#include "qel/platform/mfc/file.h"

namespace {

constexpr int kStores[] = {1, 2, 4, 15};
constexpr std::size_t kSizeField = 18;          // of the width, which the height follows
constexpr std::uint64_t kMostPixels = 1 << 19;  // that are worth the time

/// False for files that claim far more pixels than they hold: padding them takes a second each.
bool IsSmall(const unsigned char *data, std::size_t size) {
  std::int32_t sides[2] = {};
  if (size >= kSizeField + sizeof sides) std::memcpy(sides, data + kSizeField, sizeof sides);
  const auto length = [](std::int64_t side) { return static_cast<std::uint64_t>(std::abs(side)); };
  return length(sides[0]) * length(sides[1]) <= kMostPixels;
}

int Read(const char *name, PQel &image, int store, int block) {
  CFile file;
  if (!file.Open(name, CFile::modeRead)) fuzz::Find("the file does not open");
  int done = 0;
  try {
    done = image.ReadDIBFile(file, store, block, 0);
  } catch (CFileException *problem) {
    problem->Delete();
  }
  file.Close();
  return done;
}

void Write(const char *name, PQel &image) {
  CFile file;
  if (!file.Open(name, CFile::modeReadWrite)) fuzz::Find("the file does not open");
  if (!image.WriteDIBFile(file)) fuzz::Find("a picture that was read is not written");
  file.Close();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char *data, std::size_t size) {
  static fuzz::InputFile file, copy;
  if (!IsSmall(data, size)) return 0;
  file.Fill(data, size);
  const unsigned way = size > 0 ? data[size - 1] : 0;
  PQel image, again;
  if (!Read(file.Name(), image, kStores[way % 4], way >> 2 & 1)) return 0;
  fuzz::ReadRows(image);
  copy.Fill(nullptr, 0);
  Write(copy.Name(), image);
  if (!again.OpenDIBImage(copy.Name()) || !fuzz::AreSame(image, again))
    fuzz::Find("a picture changes by being written and read");
  return 0;
}

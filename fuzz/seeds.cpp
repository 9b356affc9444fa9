// fuzz_seeds FOLDER: writes small pictures of every type in every format that can be written, each into the subfolder
// of its format where there is one.
#include <cstdio>
#include <filesystem>
#include <string>

#include "qel/fileio/reader_library.h"
#include "qel/image/image.h"

namespace {

constexpr int kTypes = 10;
constexpr long kWidth = 37, kHeight = 23;

std::string PlaceOf(const std::string &folder, const std::string &target, int type) {
  return folder + '/' + target + "/type" + std::to_string(type) + '.' + target;
}

/// Runs, gradients and single pixels, so that packings of every kind have something to do.
bool Paint(PQel &image, int type) {
  if (!image.CreateImage(type, kWidth, kHeight, 0, nullptr, 3780, 3780, 15, 0, 0)) return false;
  for (long y = 0; y < kHeight; ++y)
    for (long x = 0; x < kWidth; ++x) {
      const long long value = y % 3 == 0 ? y * 0x010305 : y % 3 == 1 ? x * 0x070302 : (x * x + y * 31) * 0x1D3;
      image.SetPixel(x, y, value & ((1LL << image.GetBitCount()) - 1));
    }
  return true;
}

void Write(PQel &image, const std::string &folder, int type) {
  image.SaveDIB(PlaceOf(folder, "dib", type).c_str(), 0);
  image.SaveMask(PlaceOf(folder, "mask", type).c_str(), 0);
  AllFormat format;
  for (int i = 0; AllGetFormat(i, &format); ++i) {
    const std::string extension = format.pszExtension;
    if (format.bWrites && std::filesystem::is_directory(folder + '/' + extension))
      image.SaveImage(PlaceOf(folder, extension, type).c_str(), ("zul" + extension + "32.dll").c_str());
  }
}

}  // namespace

int main(int argc, char **argv) {
  if (argc != 2) return std::fputs("usage: fuzz_seeds FOLDER\n", stderr), 2;
  for (int type = 0; type < kTypes; ++type) {
    PQel image;
    if (!Paint(image, type)) return 1;
    Write(image, argv[1], type);
  }
}

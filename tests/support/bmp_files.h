// Bitmap files of others, and the PNG files that show their pictures.
#pragma once

#include <filesystem>
#include <map>
#include <string>
#include <vector>

namespace test {

inline std::vector<std::filesystem::path> BmpFilesOf(const std::string &folder) {
  std::vector<std::filesystem::path> files;
  for (const auto &entry : std::filesystem::directory_iterator(folder))
    if (entry.path().extension() == ".bmp") files.push_back(entry.path());
  return files;
}

/// The PNG file beside a file of the well-known collection that shows its picture.
inline std::string NeighbourOf(const std::filesystem::path &path) {
  static const std::map<std::string, std::string> kOfOtherNames = {
      {"pal1wb", "pal1"},      {"pal4rle", "pal4"},     {"pal8-0", "pal8"},
      {"pal8os2", "pal8"},     {"pal8rle", "pal8"},     {"pal8topdown", "pal8"},
      {"pal8v4", "pal8"},      {"pal8v5", "pal8"},      {"rgb16-565pal", "rgb16-565"},
      {"rgb16bfdef", "rgb16"}, {"rgb24pal", "rgb24"},   {"rgb32", "rgb24"},
      {"rgb32bf", "rgb24"},    {"rgb32bfdef", "rgb24"},
  };
  const auto other = kOfOtherNames.find(path.stem().string());
  return path.parent_path() / ((other == kOfOtherNames.end() ? path.stem().string() : other->second) + ".png");
}

}  // namespace test

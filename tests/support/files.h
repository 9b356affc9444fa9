// Files of tests: a folder that goes with its test, whole files as bytes or text.
#pragma once

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <string_view>
#include <vector>

namespace test {

/// A folder that goes with everything in it.
class Scratch {
 public:
  Scratch() {
    std::string name = (std::filesystem::temp_directory_path() / "qel-test-XXXXXX").string();
    if (mkdtemp(name.data())) m_folder = name;
  }
  ~Scratch() { std::filesystem::remove_all(m_folder); }
  Scratch(const Scratch &) = delete;
  Scratch &operator=(const Scratch &) = delete;

  std::string operator/(const std::string &name) const { return m_folder + "/" + name; }

  /// Names in a folder inside, in order.
  std::vector<std::string> List(const std::string &folder = "") const {
    std::vector<std::string> names;
    for (const auto &entry : std::filesystem::directory_iterator(*this / folder))
      names.push_back(entry.path().filename().string());
    std::sort(names.begin(), names.end());
    return names;
  }

 private:
  std::string m_folder;
};

/// A file as text or, on request, as another row of bytes.
template <class Content = std::string>
Content ReadFile(const std::string &path) {
  std::ifstream file(path, std::ios::binary);
  return Content(std::istreambuf_iterator<char>(file), {});
}

/// Writes a file, and the folder that it lies in.
inline void WriteFile(const std::string &path, std::string_view content) {
  std::filesystem::create_directories(std::filesystem::path(path).parent_path());
  std::ofstream(path, std::ios::binary) << content;
}
inline void WriteFile(const std::string &path, const std::vector<unsigned char> &content) {
  WriteFile(path, {reinterpret_cast<const char *>(content.data()), content.size()});
}

}  // namespace test

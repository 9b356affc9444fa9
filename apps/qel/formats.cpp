// qel formats: what can be read and written. The library itself reads and writes BMP and mask files.
#include "apps/qel/formats.h"

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <filesystem>

#include "apps/qel/verbs.h"
#include "qel/fileio/reader_library.h"

namespace app {
namespace {

void AddExtension(std::vector<Format> &formats, const std::string &name, const std::string &extension, bool writes) {
  const auto IsIt = [&name](const Format &format) { return format.name == name; };
  auto at = std::find_if(formats.begin(), formats.end(), IsIt);
  if (at == formats.end()) at = formats.insert(at, Format{name, {}, writes});
  std::vector<std::string> &extensions = at->extensions;
  if (std::find(extensions.begin(), extensions.end(), extension) == extensions.end()) extensions.push_back(extension);
}

int Run() {
  for (const Format &format : KnownFormats()) {
    std::string extensions;
    for (const std::string &extension : format.extensions) extensions.append(extension).append(" ");
    std::printf("%-8s%-16s%s\n", format.name.c_str(), extensions.c_str(), format.writes ? "read, write" : "read");
  }
  return 0;
}

}  // namespace

std::vector<Format> KnownFormats() {
  std::vector<Format> formats = {{"BMP", {"bmp", "dib"}, true}, {"mask", {"msk"}, true}};
  AllFormat format;
  for (int i = 0; AllGetFormat(i, &format); ++i)
    AddExtension(formats, format.pszName, format.pszExtension, format.bWrites != 0);
  std::sort(formats.begin(), formats.end(), [](const Format &a, const Format &b) { return a.name < b.name; });
  return formats;
}

std::string ExtensionOf(const std::string &path) {
  std::string extension = std::filesystem::path(path).extension().string();
  if (!extension.empty()) extension.erase(0, 1);
  std::transform(extension.begin(), extension.end(), extension.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return extension;
}

bool NamesPicture(const std::string &path) {
  const std::string extension = ExtensionOf(path);
  for (const Format &format : KnownFormats())
    for (const std::string &known : format.extensions)
      if (known == extension) return format.writes;
  return false;
}

void AddFormats(CLI::App &app, int &status) {
  CLI::App *verb = app.add_subcommand("formats", "Lists the formats that pictures are read from and written to");
  verb->callback([&status] { status = Run(); });
}

}  // namespace app

// A format library is a file "zul" + extension + "32.so" beside the running executable or in the engine's library
// folder. Each is loaded once and stays, since pictures come in numbers and its format is used by address; the folders
// are looked through again whenever the libraries at hand do not know a file, so that one installed later is found too.
#include "codecs/all/format_libraries.h"

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <map>
#include <mutex>

#include "qel/platform/kernel/module.h"

namespace fs = std::filesystem;

namespace qel::codecs {
namespace {

constexpr char kPrefix[] = "zul", kSuffix[] = "32.so";

/// Both belong together and are never destroyed: other libraries may read pictures while the program ends.
struct Loaded {
  std::mutex mutex;
  std::map<std::string, const Format *> formats;  // by extension
};

Loaded &GetLoaded() {
  static Loaded &loaded = *new Loaded;
  return loaded;
}

std::string LowerCase(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return text;
}

/// Loads the library of an extension; null when there is none that offers its format. The mutex is held.
const Format *Load(Loaded &loaded, const std::string &extension) {
  const auto known = loaded.formats.find(extension);
  if (known != loaded.formats.end()) return known->second;
  const HINSTANCE hModule = LoadLibraryA((kPrefix + extension + kSuffix).c_str());
  if (hModule == nullptr) return nullptr;
  const auto pfnFormat = reinterpret_cast<const Format *(*)()>(GetProcAddress(hModule, "zulFormat"));
  const Format *const format = pfnFormat != nullptr ? pfnFormat() : nullptr;
  if (format == nullptr)
    FreeLibrary(hModule);
  else
    loaded.formats[extension] = format;
  return format;
}

void LoadAll(Loaded &loaded) {
  for (const std::string &folder : {kernel::FolderOf(kernel::ModulePath(nullptr)), kernel::EngineLibraryFolder()}) {
    std::error_code error;
    for (fs::directory_iterator it(folder, error), end; !error && it != end; it.increment(error)) {
      const std::string name = LowerCase(it->path().filename().string());
      if (name.starts_with(kPrefix) && name.ends_with(kSuffix) && name.size() > sizeof kPrefix + sizeof kSuffix - 2)
        Load(loaded, name.substr(sizeof kPrefix - 1, name.size() - (sizeof kPrefix + sizeof kSuffix - 2)));
    }
  }
}

std::string ExtensionOf(const std::string &path) {
  const std::string extension = LowerCase(fs::path(path).extension().string());
  return extension.empty() ? extension : extension.substr(1);
}

}  // namespace

std::vector<FormatLibrary> AllFormatLibraries() {
  Loaded &loaded = GetLoaded();
  const std::lock_guard lock(loaded.mutex);
  LoadAll(loaded);
  std::vector<FormatLibrary> libraries;
  for (const auto &[extension, format] : loaded.formats) libraries.push_back({extension.c_str(), format});
  return libraries;
}

const Format *FindFormat(const std::string &path, const unsigned char *pbyHead, std::size_t nBytes) {
  Loaded &loaded = GetLoaded();
  const std::lock_guard lock(loaded.mutex);
  const auto Matches = [=](const Format *format) { return format != nullptr && format->matches(pbyHead, nBytes); };
  const auto FindLoaded = [&]() -> const Format * {
    for (const auto &entry : loaded.formats)
      if (Matches(entry.second)) return entry.second;
    return nullptr;
  };
  const std::string extension = ExtensionOf(path);
  const Format *const named = extension.empty() ? nullptr : Load(loaded, extension);
  if (Matches(named)) return named;
  if (const Format *const format = FindLoaded()) return format;
  LoadAll(loaded);
  return FindLoaded();
}

}  // namespace qel::codecs

// The formats that pictures are read from and written to: those of the library itself and those of its format
// libraries.
#pragma once

#include <string>
#include <vector>

namespace app {

struct Format {
  std::string name;
  std::vector<std::string> extensions;  // in lower case
  bool writes;
};

/// All of them, by name.
std::vector<Format> KnownFormats();

/// The extension of a file's name in lower case; empty without one.
std::string ExtensionOf(const std::string &path);

/// True when a picture can be written to a file of this name.
bool NamesPicture(const std::string &path);

}  // namespace app

// Names of the image types, for people, file names and options.
#pragma once

#include <optional>
#include <string>

namespace app {

constexpr int kImageTypes = 10;

struct ImageTypeName {
  const char *option;  // for command lines
  const char *slug;    // for file names
  const char *text;
};

/// The names of a type code from 0 to 9.
const ImageTypeName &NameOfType(int type);

/// The type code of an option's text.
std::optional<int> FindType(const std::string &option);

}  // namespace app

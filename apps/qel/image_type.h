// Names of the image types, for people and for file names.
#pragma once

namespace app {

constexpr int kImageTypes = 10;

struct ImageTypeName {
  const char *slug;  // for file names
  const char *text;
};

/// The names of a type code from 0 to 9.
const ImageTypeName &NameOfType(int type);

}  // namespace app

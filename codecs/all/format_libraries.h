// The format libraries that are installed, and which of them knows a file.
#pragma once

#include <string>
#include <vector>

#include "codecs/common/format.h"

namespace qel::codecs {

/// A format library under one of its names.
struct FormatLibrary {
  const char *extension;  // lower case, lasts as long as the program
  const Format *format;
};

/// Those that can be loaded now, in the order of their extensions.
std::vector<FormatLibrary> AllFormatLibraries();

/// The format of a file that begins with these bytes, null when none knows it. The library of the file's extension is
/// asked first, for speed alone.
const Format *FindFormat(const std::string &path, const unsigned char *pbyHead, std::size_t nBytes);

}  // namespace qel::codecs

// Options with texts of their own: sizes (640x480), pairs (8,4), rectangles (10,20,300,200).
#pragma once

#include <CLI/CLI.hpp>
#include <string>
#include <vector>

#include "qel/platform/types.h"

namespace app {

/// The decimal numbers of a text, parted by one character each, exactly `count` of them. Throws CLI::ValidationError
/// for anything else, for numbers below `least` and for numbers that do not fit 32 bits.
std::vector<LONG> ParseNumbers(const std::string &option, const std::string &text, char parting, std::size_t count,
                               LONG least);

/// A size from the text width x height.
SIZE ParseBox(const std::string &option, const std::string &text);

/// A rectangle from the text left, top, width, height.
RECT ParseArea(const std::string &option, const std::string &text);

/// An option whose text is read into `target` by `parse` while the command line is parsed.
template <class Target, class Parse>
CLI::Option *AddParsed(CLI::App &verb, const std::string &name, Target &target, const std::string &help, Parse parse) {
  return verb.add_option_function<std::string>(
      name, [&target, name, parse](const std::string &text) { target = parse(name, text); }, help);
}

}  // namespace app

// Numbers in options: sizes (640x480), pairs (8,4) and rectangles (10,20,300,200).
#pragma once

#include <string>
#include <vector>

#include "qel/platform/types.h"

namespace app {

/// The decimal numbers of a text, parted by one character each, exactly `count` of them. Throws CLI::ValidationError
/// for anything else, for numbers below `least` and for numbers that do not fit 32 bits.
std::vector<LONG> ParseNumbers(const std::string &option, const std::string &text, char parting, std::size_t count,
                               LONG least);

}  // namespace app

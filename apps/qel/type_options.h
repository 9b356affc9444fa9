// The image type of a result: the options --type, --palette, --method, --dither, --size and --threshold.
#pragma once

#include <CLI/CLI.hpp>
#include <optional>
#include <string>

#include "apps/qel/recolour.h"

namespace app {

struct TypeChoice {
  std::optional<int> type;
  std::string palette;  // as given: a name or a file
  std::optional<unsigned short> dither, size;
  Reduction reduction;  // its palette is read by Complete
};

/// Adds the options to a verb; they are written to `choice`.
void AddTypeOptions(CLI::App &verb, TypeChoice &choice);

/// Reads the palette and derives the type from the other options where it is not given. Throws a CLI::ValidationError
/// for options that do not go together, a Failure for a palette that cannot be read or is too large for the type.
void Complete(TypeChoice &choice);

/// The picture in the type asked for; nothing happens to one that has it already, unless a palette, method or threshold
/// is asked for too.
void ApplyType(Picture &picture, const TypeChoice &choice, const Course &course);

}  // namespace app

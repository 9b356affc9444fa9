// How a verb keeps pictures in memory: the options --store and --layout.
#pragma once

#include <CLI/CLI.hpp>

namespace app {

struct Keeping {
  int store = 1;       // creation flag: 1 global memory, 4 reserved memory, 8 named mapping
  bool block = false;  // square-block layout
};

/// Adds --store and --layout to a verb; they are written to `keeping`.
void AddKeepingOptions(CLI::App &verb, Keeping &keeping);

/// The name of a store code, as a person reads it.
const char *NameOfStore(int store);

}  // namespace app

// The engine as a module: the handle under which its strings are found.
#pragma once

#include "qel/platform/types.h"

namespace qel::module {

/// The handle of the module that holds the engine (the shared library, or the executable that it is linked into), with
/// the engine's string table; null when the registration at load failed.
HINSTANCE EngineModule();

}  // namespace qel::module

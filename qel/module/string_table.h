// The engine's string table.
#pragma once

#include "qel/platform/kernel/resource.h"

namespace qel::module {

constexpr WORD kPaletteMapName = 130;
constexpr WORD kNoMemoryMessage = 131;
constexpr WORD kApplicationTitle = 0xE000;

/// The strings above as a resource table.
extern const QelModuleResource g_strings[];

}  // namespace qel::module

// The engine's string table. It is handed to the module's registration and not exported by name, so that it stands
// beside an executable's own table wherever the engine is linked.

#include "qel/module/string_table.h"

#include <string_view>

namespace {

constexpr QelModuleResource StringEntry(WORD wId, std::string_view text) {
  return {6, wId, nullptr, text.data(), text.size()};
}

}  // namespace

const QelModuleResource qel::module::g_strings[] = {
    StringEntry(kPaletteMapName, "palette.map"),
    StringEntry(kNoMemoryMessage, "Memory not enough!"),
    StringEntry(kApplicationTitle, "QEL"),
    {},
};

// Names of the image types, by code.
#include "apps/qel/image_type.h"

namespace app {

const ImageTypeName &NameOfType(int type) {
  static constexpr ImageTypeName kNames[kImageTypes] = {
      {"mono", "mono", "monochrome"},
      {"rgb", "rgb24", "true colour"},
      {"16", "palette16", "16-colour palette"},
      {"256", "palette256", "256-colour palette"},
      {"gray16", "gray16", "16 gray levels"},
      {"gray256", "gray256", "256 gray levels"},
      {"555", "rgb555", "high colour 5-5-5"},
      {"565", "rgb565", "high colour 5-6-5"},
      {"32", "rgb32", "true colour with a fourth byte"},
      {"48", "rgb48", "48-bit colour"},
  };
  return kNames[type];
}

std::optional<int> FindType(const std::string &option) {
  for (int type = 0; type < kImageTypes; ++type)
    if (option == NameOfType(type).option) return type;
  return std::nullopt;
}

}  // namespace app

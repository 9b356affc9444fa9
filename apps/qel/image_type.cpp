// Names of the image types, by code.
#include "apps/qel/image_type.h"

namespace app {

const ImageTypeName &NameOfType(int type) {
  static constexpr ImageTypeName kNames[kImageTypes] = {
      {"mono", "monochrome"},
      {"rgb24", "true colour"},
      {"palette16", "16-colour palette"},
      {"palette256", "256-colour palette"},
      {"gray16", "16 gray levels"},
      {"gray256", "256 gray levels"},
      {"rgb555", "high colour 5-5-5"},
      {"rgb565", "high colour 5-6-5"},
      {"rgb32", "true colour with a fourth byte"},
      {"rgb48", "48-bit colour"},
  };
  return kNames[type];
}

}  // namespace app

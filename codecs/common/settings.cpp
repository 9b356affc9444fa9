// The settings file is the engine's, so its own reader is used: the quality is the one that PQel::SetJPGQuality wrote.
#include "codecs/common/settings.h"

#include <algorithm>
#include <limits>

#include "qel/platform/kernel/profile.h"

namespace qel::codecs {

int QualitySetting(const char *section, int fallback) {
  constexpr int kUnset = std::numeric_limits<int>::min();
  const int quality = static_cast<int>(GetPrivateProfileIntA(section, "QFACTOR", kUnset, "zulall.ini"));
  return quality == kUnset ? fallback : std::clamp(quality, 1, 100);
}

}  // namespace qel::codecs

// The screen's mode: one record that the application sets before it makes contexts.
//
// There is no lock: like the rest of the engine's process-wide state it is set and read by one thread at a time.

#include "qel/platform/screen.h"

#include <initializer_list>

namespace {

ScreenMode g_mode = {32, 1, 1920, 1080, 96, 96};

}  // namespace

void SetScreenMode(const ScreenMode &mode) {
  for (const int nField : {mode.nBitsPixel, mode.nPlanes, mode.nWidth, mode.nHeight, mode.nDpiX, mode.nDpiY})
    if (nField < 1) return;
  g_mode = mode;
}

ScreenMode qel::CurrentScreenMode() {
  return g_mode;
}

// Reads one map as any program does: read_palette_map TYPE. Prints a line "shown: TEXT" for every message, then the
// result and the map's bytes as numbers.

#include <cstdio>
#include <cstdlib>

#include "qel/convert/itc.h"
#include "qel/platform/message_box.h"

int main(int, char **argv) {
  SetMessageBoxHandler([](HWND, const char *pszText, const char *, UINT nType) {
    std::printf("shown: %s%s\n", pszText, nType == MB_OK ? "" : " (not an OK box)");
    return IDOK;
  });
  unsigned char map[4096];
  for (auto &entry : map) entry = 0xEE;
  std::printf("%d\n", PItc::ReadStdPaletteMap(map, std::atoi(argv[1])));
  for (const auto entry : map) std::printf("%d\n", entry);
}

// Makes palette.map, the file of colour maps that the engine reads: make_palette_map FILE. The maps stand at the
// engine's offsets and are made by its own map builder; the bytes before the first one are 0.

#include <cstdio>
#include <vector>

#include "qel/convert/palette_map.h"

int main(int argc, char **argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: %s FILE\n", argv[0]);
    return 2;
  }
  std::vector<unsigned char> bytes;
  for (int type = 0; type < 6; ++type) {
    const auto position = static_cast<std::size_t>(qel::convert::kMapPositions[type]);
    if (bytes.size() < position + qel::convert::kMapSize) bytes.resize(position + qel::convert::kMapSize);
    qel::convert::ComputeStdPaletteMap(bytes.data() + position, type);
  }
  std::FILE *const file = std::fopen(argv[1], "wb");
  const bool written = file != nullptr && std::fwrite(bytes.data(), 1, bytes.size(), file) == bytes.size();
  if ((file != nullptr && std::fclose(file) != 0) || !written) {
    std::perror(argv[1]);
    return 1;
  }
  return 0;
}

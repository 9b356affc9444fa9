// The plain loops behind the vector maps: their tails, and the truth that tests hold them against.
#pragma once

namespace qel::lines::plain {

inline void MapBytes(unsigned char *line, long n, const unsigned char *map) {
  for (long i = 0; i < n; ++i) line[i] = map[line[i]];
}

inline void Map24(unsigned char *line, long n, const unsigned char *map) {
  for (long i = 0; i < n; ++i, line += 3) {
    line[0] = map[512 + line[0]];
    line[1] = map[256 + line[1]];
    line[2] = map[line[2]];
  }
}

}  // namespace qel::lines::plain

// A naive image to hold the engine's against: one number a pixel, no layout, no packing.
#pragma once

#include <cstdint>
#include <cstring>
#include <random>
#include <vector>

#include "qel/image/image.h"

namespace test {

/// Pixel i of a packed line as a number (48-bit pixels in the low six bytes).
inline std::uint64_t GetPacked(const unsigned char *line, int bits, long i) {
  if (bits == 1) return line[i / 8] >> (7 - i % 8) & 1;
  if (bits == 4) return i % 2 ? line[i / 2] & 0xF : line[i / 2] >> 4;
  std::uint64_t value = 0;
  std::memcpy(&value, line + i * (bits / 8), static_cast<std::size_t>(bits / 8));
  return value;
}

/// Sets pixel i of a packed line and touches no other bit.
inline void SetPacked(unsigned char *line, int bits, long i, std::uint64_t value) {
  if (bits == 1) {
    const int bit = 0x80 >> i % 8;
    line[i / 8] = static_cast<unsigned char>(value & 1 ? line[i / 8] | bit : line[i / 8] & ~bit);
  } else if (bits == 4) {
    const int v = static_cast<int>(value & 0xF);
    line[i / 2] = static_cast<unsigned char>(i % 2 ? (line[i / 2] & 0xF0) | v : (line[i / 2] & 0x0F) | v << 4);
  } else {
    std::memcpy(line + i * (bits / 8), &value, static_cast<std::size_t>(bits / 8));
  }
}

/// Bytes of n packed pixels, without padding.
inline long PackedBytes(int bits, long n) { return (bits * n + 7) / 8; }

/// Width x height pixels as numbers, row 0 at the top.
struct NaiveImage {
  long width = 0, height = 0;
  int bits = 0;
  std::vector<std::uint64_t> pixels;

  NaiveImage(long w, long h, int b) : width(w), height(h), bits(b), pixels(static_cast<std::size_t>(w * h)) {}
  std::uint64_t &At(long x, long y) { return pixels[static_cast<std::size_t>(y * width + x)]; }

  void Randomise(std::mt19937 &random) {
    const std::uint64_t mask = (std::uint64_t{1} << bits) - 1;
    for (auto &p : pixels) p = (std::uint64_t{random()} << 32 | random()) & mask;
  }

  /// Row y as a packed line, padded with zeros to a multiple of 4 bytes.
  std::vector<unsigned char> Row(long y) {
    std::vector<unsigned char> line(static_cast<std::size_t>((bits * width + 31) / 32 * 4));
    for (long x = 0; x < width; ++x) SetPacked(line.data(), bits, x, At(x, y));
    return line;
  }

  /// Writes every pixel into an image of the same size and depth.
  void Store(PQel &image) {
    for (long y = 0; y < height; ++y) image.PutHorLine(y, Row(y).data());
  }

  /// Reads every pixel of an image of the same size and depth.
  void Load(PQel &image) {
    std::vector<unsigned char> line(static_cast<std::size_t>(image.GetLineBytes()) + 4);
    for (long y = 0; y < height; ++y) {
      image.GetHorLine(0, width - 1, y, line.data());
      for (long x = 0; x < width; ++x) At(x, y) = GetPacked(line.data(), bits, x);
    }
  }

  bool operator==(const NaiveImage &) const = default;
};

/// One way of keeping an image: store (1, 4, 8, with or without 0x100), block layout, top-down.
struct Keeping {
  int memFlags;
  int block;
  bool topDown;
};

/// Every store with every layout.
inline std::vector<Keeping> AllKeepings() {
  std::vector<Keeping> all;
  for (int memFlags : {0x001, 0x004, 0x104, 0x008})
    for (int block : {0, 1})
      for (bool topDown : {false, true}) all.push_back({memFlags, block, topDown});
  return all;
}

/// An image of a type in a keeping, its block size set beforehand (0: the default).
inline int Create(PQel &image, int type, long width, long height, const Keeping &keeping) {
  return image.CreateImage(type, width, keeping.topDown ? -height : height, 0, nullptr, 3780, 3780, keeping.memFlags,
                           keeping.block, 0);
}

}  // namespace test

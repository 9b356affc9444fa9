// Display diffusion beside a loop that takes one pixel after the other.
#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <vector>

#include "qel/lines/display_diffuse.h"
#include "support/targets.h"

namespace {

using Bytes = std::vector<unsigned char>;
using Errors = std::vector<std::int32_t>;

int KeyPart(int v) {
  return v < 0 ? 0 : v > 255 ? 15 : v >> 4;
}

/// One line by the definition, pixel by pixel; the rows have room for one pixel more.
void DiffuseSlowly(Bytes &dst, int dstBits, const Bytes &src, int srcBits, Errors &current, Errors &next,
                   const qel::lines::DisplayPalettes &palettes, long width) {
  std::fill_n(next.begin(), 3, 0);
  for (long x = 0; x < width; ++x) {
    const auto u = static_cast<std::size_t>(x);
    const unsigned char *entry = palettes.source;
    if (srcBits == 8) entry += 4 * src[u];
    if (srcBits == 4) entry += 4 * (x % 2 ? src[u / 2] & 15 : src[u / 2] >> 4);
    int value[3];
    for (int c = 0; c < 3; ++c) {
      const int color = srcBits == 24 ? src[3 * u + 2 - static_cast<std::size_t>(c)] : entry[c];
      value[c] = color + std::clamp(current[3 * u + static_cast<std::size_t>(c)], -128, 128);
    }
    const int index = palettes.map[KeyPart(value[0]) << 8 | KeyPart(value[1]) << 4 | KeyPart(value[2])];
    if (dstBits == 8) dst[u] = static_cast<unsigned char>(index);
    if (dstBits == 4) dst[u / 2] = static_cast<unsigned char>(x % 2 ? dst[u / 2] | (index & 15) : index << 4 & 0xF0);
    if (dstBits == 1) {
      const int bit = 0x80 >> (x % 8);
      dst[u / 8] = static_cast<unsigned char>(index ? dst[u / 8] | bit : dst[u / 8] & ~bit);
    }
    for (std::size_t c = 0; c < 3; ++c) {
      const int e = value[c] - palettes.screen[4 * index + static_cast<int>(c)];
      std::int32_t *const right = &current[3 * (u + 1) + c], *const below = &next[3 * u + c];
      if (x == 0) {
        *below += e - 2 * ((e + 2) / 4);
        if (width > 1) *right += (e + 2) / 4, below[3] = (e + 2) / 4;
      } else if (x < width - 1) {
        *right += 7 * e / 16, below[-3] += 3 * e / 16, *below += 5 * e / 16, below[3] = e / 16;
      } else {
        below[-3] += e / 2, *below += (e + 1) / 2;
      }
    }
  }
}

void CompareAllFormats() {
  std::mt19937 random(81);
  for (const int srcBits : {24, 8, 4}) {
    for (const int dstBits : {8, 4, 1}) {
      for (const long width : {1L, 2L, 3L, 9L, 511L, 512L, 513L, 1030L}) {
        SCOPED_TRACE(testing::Message() << srcBits << " to " << dstBits << " bits, " << width);
        const int colors = 1 << dstBits;
        Bytes map(4096), source(1024), screen(static_cast<std::size_t>(4 * colors));
        for (auto &v : map) v = static_cast<unsigned char>(random() % static_cast<unsigned>(colors));
        for (auto &v : source) v = static_cast<unsigned char>(random());
        for (auto &v : screen) v = static_cast<unsigned char>(random());
        const qel::lines::DisplayPalettes palettes = {map.data(), source.data(), screen.data()};
        const auto entries = static_cast<std::size_t>(3 * width);
        Errors current(entries), next(entries), slowCurrent(entries + 3), slowNext(entries + 3);
        for (std::size_t i = 0; i < entries; ++i) {
          current[i] = slowCurrent[i] = static_cast<int>(random() % 601) - 300;
          next[i] = slowNext[i] = static_cast<int>(random());
        }
        if (width > 1) current[4] = slowCurrent[4] = 2000000000;  // a caller's own
        const auto dstBytes = static_cast<std::size_t>((width * dstBits + 7) / 8);
        for (int line = 0; line < 3; ++line) {
          Bytes pixels(static_cast<std::size_t>((width * srcBits + 7) / 8)), dst(dstBytes, 0xA5), slow = dst;
          for (auto &v : pixels) v = static_cast<unsigned char>(random());
          qel::lines::DiffuseDisplayLine(dst.data(), dstBits, pixels.data(), srcBits, current.data(), next.data(),
                                         palettes, width);
          DiffuseSlowly(slow, dstBits, pixels, srcBits, slowCurrent, slowNext, palettes, width);
          ASSERT_EQ(dst, slow) << "line " << line;
          ASSERT_TRUE(std::equal(current.begin(), current.end(), slowCurrent.begin())) << "line " << line;
          ASSERT_TRUE(std::equal(next.begin(), next.end(), slowNext.begin())) << "line " << line;
          current.swap(next), slowCurrent.swap(slowNext);
        }
      }
    }
  }
}

TEST(DisplayDiffusion, GoesPixelByPixelAtEveryDepthAndWidth) {
  test::ForEachTarget(CompareAllFormats);
}

}  // namespace

// Transposed squares of every depth and size against pixels moved one by one.

#include "qel/lines/transpose.h"

#include <gtest/gtest.h>

#include <random>
#include <vector>

#include "support/pixels.h"
#include "support/targets.h"

namespace {

TEST(Transpose, MovesEveryPixelToItsPlace) {
  test::ForEachTarget([] {
    std::mt19937 random(11);
    for (const int bits : {1, 4, 8, 16, 24, 32, 48})
      for (const long width : {1L, 3L, 8L, 16L, 17L, 40L, 135L})
        for (const long height : {1L, 2L, 7L, 15L, 16L, 33L, 200L})
          for (const bool fromBottom : {false, true}) {
            const long srcBytes = test::PackedBytes(bits, width), dstBytes = test::PackedBytes(bits, height);
            // Exactly as long as the pixels, so that a byte touched behind them is a byte behind the vector.
            std::vector<unsigned char> src(static_cast<std::size_t>(srcBytes * height)),
                dst(static_cast<std::size_t>(dstBytes * width), 0xAA);
            for (auto &b : src) b = static_cast<unsigned char>(random());
            std::vector<unsigned char> expected(dst.size(), 0);
            for (long y = 0; y < height; ++y)
              for (long x = 0; x < width; ++x)
                test::SetPacked(expected.data() + (fromBottom ? width - 1 - x : x) * dstBytes, bits, y,
                                test::GetPacked(src.data() + y * srcBytes, bits, x));
            qel::lines::Transpose(fromBottom ? dst.data() + (width - 1) * dstBytes : dst.data(),
                                  fromBottom ? -dstBytes : dstBytes, src.data(), srcBytes, width, height, bits);
            ASSERT_EQ(dst, expected) << bits << " bits, " << width << " x " << height;
          }
  });
}

}  // namespace

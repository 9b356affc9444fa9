// Lines through a colour map against the pixels one by one, for every pair of depths and vector width.

#include "qel/lines/colour_map.h"

#include <gtest/gtest.h>

#include <random>
#include <vector>

#include "support/pixels.h"
#include "support/targets.h"

namespace {

using Line = std::vector<unsigned char>;

std::mt19937 g_random{7};

Line Noise(long n) {
  Line line(static_cast<std::size_t>(n));
  for (auto &b : line) b = static_cast<unsigned char>(g_random());
  return line;
}

void CheckLine(int srcBits, int dstBits, long n) {
  const Line src = Noise(test::PackedBytes(srcBits, n)), map = Noise(srcBits == 24 ? 4096 : 1 << srcBits);
  Line dst = Noise(test::PackedBytes(dstBits, n)), expected = dst;
  for (long i = 0; i < n; ++i) {
    std::uint64_t v = test::GetPacked(src.data(), srcBits, i);
    if (srcBits == 24) v = (v >> 20) << 8 | (v >> 12 & 15) << 4 | (v >> 4 & 15);
    test::SetPacked(expected.data(), dstBits, i, dstBits == 1 ? map[v] != 0 : map[v]);
  }
  qel::lines::MapPixels(dst.data(), dstBits, src.data(), srcBits, n, map.data());
  ASSERT_EQ(dst, expected) << srcBits << " to " << dstBits << ", " << n << " pixels";
}

TEST(ColourMap, MapsEveryPairOfDepths) {
  test::ForEachTarget([] {
    for (int srcBits : {1, 4, 8, 24})
      for (int dstBits : {1, 4, 8}) {
        for (long n = 0; n <= 140; ++n) CheckLine(srcBits, dstBits, n);
        for (long n : {1023, 1024, 1025, 3000}) CheckLine(srcBits, dstBits, n);  // several stretches
      }
  });
}

}  // namespace

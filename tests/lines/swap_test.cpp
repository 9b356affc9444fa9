// The exchange of two ranges, at every remainder of a word and every alignment.
#include "qel/lines/swap.h"

#include <gtest/gtest.h>

#include <numeric>
#include <vector>

namespace {

TEST(SwapBytes, ExchangesTheRangeAndNothingElse) {
  for (unsigned long count = 0; count < 80; ++count) {
    for (unsigned long shift = 0; shift < 8; ++shift) {
      std::vector<unsigned char> a(100), b(100);
      std::iota(a.begin(), a.end(), static_cast<unsigned char>(0));
      std::iota(b.begin(), b.end(), static_cast<unsigned char>(120));
      auto wantA = a, wantB = b;
      std::swap_ranges(wantA.begin() + static_cast<long>(shift), wantA.begin() + static_cast<long>(shift + count),
                       wantB.begin() + 3);
      qel::lines::SwapBytes(a.data() + shift, b.data() + 3, count);
      ASSERT_EQ(a, wantA);
      ASSERT_EQ(b, wantB);
    }
  }
}

}  // namespace

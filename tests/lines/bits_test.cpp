// Packing and spreading of sub-byte columns against single pixels, over every count that ends a line byte differently.
#include "qel/lines/bits.h"

#include <gtest/gtest.h>

#include <random>
#include <vector>

#include "support/pixels.h"

namespace {

using Bytes = std::vector<unsigned char>;

Bytes RandomBytes(long n) {
  static std::mt19937 random(11);
  Bytes bytes(static_cast<std::size_t>(n));
  for (auto &by : bytes) by = static_cast<unsigned char>(random());
  return bytes;
}

class ColumnBits : public testing::TestWithParam<int> {};

TEST_P(ColumnBits, PacksAndSpreads) {
  const int bits = GetParam();
  const unsigned mask = bits == 1 ? 1 : 0xF;
  for (int shift = 0; shift < 8; shift += bits) {
    for (long count = 0; count <= 35; ++count) {
      const Bytes column = RandomBytes(count);
      const Bytes before = RandomBytes(test::PackedBytes(bits, count));
      Bytes line = before, want = before;
      if (bits == 1 && count % 8 != 0) want.back() = 0;
      for (long i = 0; i < count; ++i)
        test::SetPacked(want.data(), bits, i, column[static_cast<std::size_t>(i)] >> shift & mask);
      (bits == 1 ? qel::lines::PackColumn1 : qel::lines::PackColumn4)(line.data(), column.data(), count, shift);
      EXPECT_EQ(line, want) << "shift " << shift << ", count " << count;

      Bytes spread = column, wantSpread = column;
      for (long i = 0; i < count; ++i) {
        auto &by = wantSpread[static_cast<std::size_t>(i)];
        by = static_cast<unsigned char>((by & ~(mask << shift)) | test::GetPacked(before.data(), bits, i) << shift);
      }
      (bits == 1 ? qel::lines::SpreadColumn1 : qel::lines::SpreadColumn4)(spread.data(), before.data(), count, shift);
      EXPECT_EQ(spread, wantSpread) << "shift " << shift << ", count " << count;
    }
  }
}

INSTANTIATE_TEST_SUITE_P(, ColumnBits, testing::Values(1, 4));

}  // namespace

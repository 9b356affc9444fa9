// Shifted copies against bit arithmetic, for every shift and count, in buffers that end where the line ends.
#include "qel/lines/shift_copy.h"

#include <gtest/gtest.h>

#include <memory>
#include <random>
#include <vector>

namespace {

using Bytes = std::vector<unsigned char>;

Bytes RandomBytes(std::size_t n) {
  static std::mt19937 random(7);
  Bytes bytes(n);
  for (auto &by : bytes) by = static_cast<unsigned char>(random());
  return bytes;
}

/// The bytes on a heap block of exactly their number, so that a sanitizer sees any step beyond.
std::unique_ptr<unsigned char[]> Exactly(const Bytes &bytes) {
  auto block = std::make_unique<unsigned char[]>(bytes.size());
  std::copy(bytes.begin(), bytes.end(), block.get());
  return block;
}

Bytes Shifted(const Bytes &src, long count, int shift, bool ahead) {
  Bytes dst;
  for (long i = 0; i < count; ++i) {
    const bool last = i == count - 1 && !ahead;
    const unsigned next = last ? 0 : src[static_cast<std::size_t>(i + 1)];
    dst.push_back(static_cast<unsigned char>((src[static_cast<std::size_t>(i)] << 8 | next) >> (8 - shift)));
  }
  return dst;
}

TEST(ShiftCopy, EveryShiftAndCount) {
  for (const bool ahead : {false, true}) {
    for (int shift = 1; shift <= 7; ++shift) {
      for (long count = 0; count <= 41; ++count) {
        const auto copy = ahead ? ShiftCopyAhead : ShiftCopyExact;
        const Bytes src = RandomBytes(static_cast<std::size_t>(count + ahead));
        const Bytes want = Shifted(src, count, shift, ahead);

        const auto from = Exactly(src);
        const auto to = Exactly(RandomBytes(want.size()));
        copy(to.get(), from.get(), count, shift);
        EXPECT_EQ(Bytes(to.get(), to.get() + count), want) << "shift " << shift << ", count " << count;

        const auto same = Exactly(src);
        copy(same.get(), same.get(), count, shift);
        EXPECT_EQ(Bytes(same.get(), same.get() + count), want) << "in place, shift " << shift << ", count " << count;
      }
    }
  }
}

}  // namespace

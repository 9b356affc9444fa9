// Run fills against a byte-by-byte oracle: every count through several patterns, every alignment, nothing beyond the
// run.
#include "qel/lines/run_fill.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

namespace {

constexpr unsigned long kMargin = 16;

/// Fills `count` units at `shift` through `fill` and checks the whole neighbourhood.
template <class Fill>
void CheckFill(unsigned long unit, unsigned long count, unsigned long shift, std::uint64_t value, Fill fill) {
  std::vector<unsigned char> line(kMargin + shift + unit * count + kMargin, 0xA5), expected = line;
  for (unsigned long i = 0; i < unit * count; ++i)
    expected[kMargin + shift + i] = static_cast<unsigned char>(value >> 8 * (i % unit));
  fill(line.data() + kMargin + shift);
  ASSERT_EQ(line, expected) << "unit " << unit << " count " << count << " shift " << shift;
}

TEST(RunFill, WritesEveryUnitAndNothingElse) {
  for (unsigned long count = 0; count < 150; ++count) {
    for (unsigned long shift = 0; shift < 8; ++shift) {
      const std::uint64_t value = 0x8877665544332211u * (count + 1) + shift;
      CheckFill(2, count, shift, value,
                [&](unsigned char *p) { FillRunWord(p, static_cast<unsigned short>(value), count); });
      CheckFill(3, count, shift, value, [&](unsigned char *p) { FillRunTrio(p, value, count); });
      CheckFill(4, count, shift, value, [&](unsigned char *p) { FillRunDword(p, value, count); });
      CheckFill(6, count, shift, value,
                [&](unsigned char *p) { FillRunDlong(p, static_cast<long long>(value), count); });
    }
  }
}

TEST(RunFill, CountZeroTouchesNoAddress) {
  FillRunWord(nullptr, 1, 0);
  FillRunTrio(nullptr, 1, 0);
  FillRunDword(nullptr, 1, 0);
  FillRunDlong(nullptr, 1, 0);
}

}  // namespace

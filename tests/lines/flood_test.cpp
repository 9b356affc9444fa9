// Runs of seed fills, bit by bit and pixel by pixel, on every vector width.
#include <gtest/gtest.h>

#include <random>
#include <vector>

#include "qel/lines/flood.h"
#include "support/targets.h"

namespace {

using namespace qel::lines;

TEST(Flood, RunsEndWhereTheFirstUnlikePixelIs) {
  test::ForEachTarget([] {
    std::mt19937 random(21);
    for (int round = 0; round < 3000; ++round) {
      const long n = 1 + static_cast<long>(random() % 400);
      const unsigned rare = 1 + random() % 60;
      std::vector<unsigned char> line(static_cast<std::size_t>(3 * n)), bits(static_cast<std::size_t>((n + 7) / 8));
      for (auto &v : line) v = static_cast<unsigned char>(random() % (3 * rare) ? 100 + random() % 11 : random());
      for (auto &v : bits) v = static_cast<unsigned char>(random() % rare ? (round % 2 ? 0 : 0xFF) : random());
      const BoxTest box({{100, 99, 100}, {110, 111, 110}});
      const auto inBox = [&](long x) { return IsInBox(line.data(), x, box); };
      const auto open = [&](long x) { return IsOpen(bits.data(), x); };
      const long x = static_cast<long>(random() % static_cast<unsigned>(n)),
                 first = static_cast<long>(random() % static_cast<unsigned>(x + 1)),
                 last = x + static_cast<long>(random() % static_cast<unsigned>(n - x));
      const auto end = [](long at, long limit, long step, auto like) {
        while (at != limit && like(at + step)) at += step;
        return at;
      };
      if (open(x)) {
        ASSERT_EQ(FirstOpen(bits.data(), x, first), end(x, first, -1, open)) << round;
        ASSERT_EQ(LastOpen(bits.data(), x, last), end(x, last, 1, open)) << round;
      } else {
        ASSERT_EQ(LastClosed(bits.data(), x, last), end(x, last, 1, [&](long i) { return !open(i); })) << round;
      }
      if (inBox(x)) {
        ASSERT_EQ(FirstInBox(line.data(), x, first, box), end(x, first, -1, inBox)) << round;
        ASSERT_EQ(LastInBox(line.data(), x, last, box), end(x, last, 1, inBox)) << round;
      }
      std::vector<long> found, expected;
      const auto isIn = [&](long i) { return i >= first && i <= last && inBox(i) && open(i); };
      for (long i = first; i <= last; ++i) {
        if (isIn(i) && !isIn(i - 1)) expected.push_back(i - first);
        if (isIn(i) && !isIn(i + 1)) expected.push_back(i - first);
      }
      ForEachRun(line.data() + 3 * first, bits.data(), first, last - first + 1, box, [&](long i, long end) {
        found.insert(found.end(), {i, end});
      });
      ASSERT_EQ(found, expected) << round;
      std::vector<unsigned char> closed = bits;
      Close(closed.data(), first, last);
      for (long i = 0; i < n; ++i)
        ASSERT_EQ(IsOpen(closed.data(), i), (i < first || i > last) && open(i)) << i << ", round " << round;
    }
  });
}

}  // namespace

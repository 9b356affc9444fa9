// Coverage blends against the rule applied byte by byte, for every value, base and colour, on every processor target.

#include "qel/lines/coverage.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <optional>
#include <random>
#include <vector>

#include "support/targets.h"

namespace {

using Bytes = std::vector<unsigned char>;

unsigned char Moved(int v, int o, int c, int weight) {
  const int moved = v + static_cast<int>(std::floor(static_cast<double>((c - o) * weight + 127) / 256));
  return static_cast<unsigned char>(std::clamp(moved, std::min(o, c), std::max(o, c)));
}

/// Full rows over a gray line that holds every value thrice (its ends go another way), over one base or over itself.
void ExpectFullRows(int color, int rows, std::optional<int> base) {
  Bytes line(768), expected(768), bases(768, static_cast<unsigned char>(base.value_or(0)));
  for (std::size_t i = 0; i < line.size(); ++i) {
    line[i] = expected[i] = static_cast<unsigned char>(i);
    for (int r = 0; r < rows; ++r) expected[i] = Moved(expected[i], base.value_or(expected[i]), color, 32);
  }
  const std::vector<qel::lines::SubPixelRun> runs(static_cast<std::size_t>(rows), {0, 8 * 768 - 1});
  qel::lines::CoverRuns(line.data(), (base ? bases : line).data(), color, runs.data(), rows, 768, 1);
  ASSERT_EQ(line, expected) << "colour " << color << ", " << rows << " rows, base " << base.value_or(-1);
}

TEST(Coverage, FullRowsOverEveryValueBaseAndColour) {
  test::ForEachTarget([] {
    for (int c = 0; c < 256; ++c)
      for (const int rows : {1, 2, 8, 70}) ExpectFullRows(c, rows, {});
    for (int c = 0; c < 256; c += 3)
      for (int o = 0; o < 256; o += 5) ExpectFullRows(c, 8, o);
  });
}

TEST(Coverage, LinesOfEveryLengthAndWeight) {
  test::ForEachTarget([] {
    std::mt19937 random(9);
    for (long count = 0; count < 150; ++count)
      for (const int channels : {1, 3}) {
        const long long color = static_cast<long long>(random());
        const int weight = count % 7 == 0 ? 200 - static_cast<int>(random() % 400) : static_cast<int>(random() % 33);
        Bytes line(static_cast<std::size_t>(count * channels) + 8), base(line.size());
        for (auto *bytes : {&line, &base})
          for (auto &b : *bytes) b = static_cast<unsigned char>(random());
        Bytes expected = line;
        for (std::size_t i = 0; i < static_cast<std::size_t>(count * channels); ++i)
          expected[i] =
              Moved(line[i], base[i], static_cast<unsigned char>(color >> (channels == 1 ? 0 : 8 * (i % 3))), weight);
        (channels == 1 ? BlendGrayCoverage : Blend24bitCoverage)(line.data(), base.data(), color, weight, count);
        ASSERT_EQ(line, expected) << count << " pixels of " << channels << ", weight " << weight;
      }
  });
}

TEST(Coverage, RunsOneAfterTheOther) {
  test::ForEachTarget([] {
    std::mt19937 random(11);
    const auto below = [&](long n) { return static_cast<long>(random() % static_cast<unsigned long>(n)); };
    for (int round = 0; round < 3000; ++round) {
      const long pixels = 1 + below(round % 3 ? 200 : 12), start = below(64);
      const int channels = round % 2 ? 3 : 1, rows = 1 + static_cast<int>(below(10));
      const bool ownBase = round % 5 < 2;
      const long long color = static_cast<long long>(random());
      std::vector<qel::lines::SubPixelRun> runs;
      for (int r = 0; r < rows; ++r) {
        // Most runs reach from end to end, as those of a shape do.
        long first = below(r && round % 4 ? std::min(30L, 8 * pixels) : 8 * pixels),
             last = 8 * pixels - 1 - below(8 * pixels);
        if (round % 4) last = std::max(first, 8 * pixels - 1 - below(30));
        if (first > last) std::swap(first, last);
        runs.push_back({first, last});
      }
      Bytes line(static_cast<std::size_t>(start + pixels * channels) + 70), base(line.size());
      for (auto *bytes : {&line, &base})
        for (auto &b : *bytes) b = static_cast<unsigned char>(random());
      Bytes expected = line;
      for (const auto &[first, last] : runs)
        for (long p = first / 8; p <= last / 8; ++p)
          for (long k = 0; k < channels; ++k) {
            const auto i = static_cast<std::size_t>(start + p * channels + k);
            const long covered = std::min(last, 8 * p + 7) - std::max(first, 8 * p) + 1;
            const auto c = static_cast<unsigned char>(color >> 8 * k);
            expected[i] = Moved(expected[i], ownBase ? base[i] : expected[i], c, 4 * static_cast<int>(covered));
          }
      qel::lines::CoverRuns(line.data() + start, (ownBase ? base : line).data() + start, color, runs.data(), rows,
                            pixels, channels);
      ASSERT_EQ(line, expected) << "round " << round;
    }
  });
}

}  // namespace

// Coverage blends against the rule applied byte by byte, for every value, base and colour, on every processor target.

#include "qel/lines/coverage.h"

#include <gtest/gtest.h>
#include <hwy/targets.h>

#include <algorithm>
#include <cmath>
#include <random>
#include <vector>

namespace {

using Bytes = std::vector<unsigned char>;

unsigned char Moved(int v, int o, int c, int weight) {
  const int moved = v + static_cast<int>(std::floor(static_cast<double>((c - o) * weight + 127) / 256));
  return static_cast<unsigned char>(std::clamp(moved, std::min(o, c), std::max(o, c)));
}

template <class Check>
void OnEveryTarget(Check check) {
  for (std::int64_t left = hwy::SupportedTargets(); left != 0; left &= left - 1) {
    hwy::SetSupportedTargetsForTest(left & -left);
    hwy::GetChosenTarget().Update(hwy::SupportedTargets());
    check();
    hwy::SetSupportedTargetsForTest(0);
  }
  hwy::GetChosenTarget().Update(hwy::SupportedTargets());
}

TEST(Coverage, FullRowsOverEveryValueBaseAndColour) {
  OnEveryTarget([] {
    for (int c = 0; c < 256; ++c)
      for (const int rows : {1, 2, 8, 11}) {
        Bytes line(256), expected(256);
        for (int v = 0; v < 256; ++v) {
          line[static_cast<std::size_t>(v)] = static_cast<unsigned char>(v);
          int moved = v;
          for (int r = 0; r < rows; ++r) moved = Moved(moved, moved, c, 32);
          expected[static_cast<std::size_t>(v)] = static_cast<unsigned char>(moved);
        }
        qel::lines::CoverFully(line.data(), line.data(), c, rows, 256, 1);
        ASSERT_EQ(line, expected) << "colour " << c << ", " << rows << " rows";
      }
    for (int c = 0; c < 256; c += 3)
      for (int o = 0; o < 256; o += 5) {
        Bytes line(256), base(256, static_cast<unsigned char>(o)), expected(256);
        for (int v = 0; v < 256; ++v) {
          line[static_cast<std::size_t>(v)] = static_cast<unsigned char>(v);
          int moved = v;
          for (int r = 0; r < 8; ++r) moved = Moved(moved, o, c, 32);
          expected[static_cast<std::size_t>(v)] = static_cast<unsigned char>(moved);
        }
        qel::lines::CoverFully(line.data(), base.data(), c, 8, 256, 1);
        ASSERT_EQ(line, expected) << "colour " << c << ", base " << o;
      }
  });
}

TEST(Coverage, LinesOfEveryLengthAndWeight) {
  OnEveryTarget([] {
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

}  // namespace

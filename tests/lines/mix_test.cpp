// Vector forms of mixes against their plain loops: every vector width that the processor has, every remainder length,
// exactly sized heap buffers, all pairs of levels with all bytes.

#include "qel/lines/mix.h"

#include <gtest/gtest.h>

#include <random>
#include <vector>

#include "qel/lines/mix_plain.h"
#include "support/targets.h"

namespace {

namespace lines = qel::lines;
using Line = std::vector<unsigned char>;
using test::ForEachTarget;

class MixLines : public testing::Test {
 protected:
  std::mt19937 random{5};

  Line Noise(long n) {
    Line line(static_cast<std::size_t>(n));
    for (auto &b : line) b = static_cast<unsigned char>(random());
    return line;
  }

  /// Levels in runs of 0, 255 or anything, as masks have them.
  Line Levels(long n) {
    Line levels;
    while (static_cast<long>(levels.size()) < n) {
      const unsigned kind = random() % 3;
      for (unsigned run = random() % 200; run > 0; --run)
        levels.push_back(static_cast<unsigned char>(kind == 0 ? 0 : kind == 1 ? 255 : random()));
    }
    levels.resize(static_cast<std::size_t>(n));
    return Line(levels);  // no more room than it needs
  }
};

TEST_F(MixLines, VectorsMixAsThePlainLoops) {
  ForEachTarget([&] {
    for (long n = 0; n <= 400; ++n) {
      const Line mask = Levels(n), fresh = Noise(3 * n), below = Levels(n);
      Line line = Noise(3 * n), expected = line;
      lines::Mix24(line.data(), fresh.data(), mask.data(), n);
      lines::plain::Mix24(expected.data(), fresh.data(), mask.data(), n);
      ASSERT_EQ(line, expected) << n;

      Line gray = Noise(n), expectedGray = gray;
      lines::MixGray(gray.data(), fresh.data(), mask.data(), n);
      lines::plain::MixGray(expectedGray.data(), fresh.data(), mask.data(), n);
      ASSERT_EQ(gray, expectedGray) << n;

      Line levels = mask, expectedLevels = mask;
      lines::CompositeLayers24(line.data(), levels.data(), fresh.data(), below.data(), n);
      lines::plain::CompositeLayers24(expected.data(), expectedLevels.data(), fresh.data(), below.data(), n);
      ASSERT_EQ(line, expected) << n;
      ASSERT_EQ(levels, expectedLevels) << n;
    }
  });
}

TEST_F(MixLines, EveryLevelMixesEveryByte) {
  Line old(65536), fresh(65536), mask(65536), expected(65536);
  ForEachTarget([&] {
    for (unsigned level = 0; level < 256; ++level) {
      for (unsigned i = 0; i < 65536; ++i) {
        old[i] = static_cast<unsigned char>(i >> 8);
        fresh[i] = static_cast<unsigned char>(i);
        mask[i] = static_cast<unsigned char>(level);
        expected[i] = static_cast<unsigned char>((old[i] * level + fresh[i] * (255 - level)) / 255);
      }
      lines::MixGray(old.data(), fresh.data(), mask.data(), 65536);
      ASSERT_EQ(old, expected) << level;
    }
  });
}

/// All pairs of transparencies; each quotient is right when the smallest, the largest and random bytes are.
TEST_F(MixLines, EveryPairOfTransparenciesDividesExactly) {
  ForEachTarget([&] {
    Line upper = Noise(3 * 65536), layer = Noise(3 * 65536), a(65536), b(65536);
    for (std::size_t i = 0; i < 65536; ++i) {
      a[i] = static_cast<unsigned char>(i >> 8), b[i] = static_cast<unsigned char>(i);
      upper[3 * i] = layer[3 * i] = 255;
      upper[3 * i + 1] = i % 2 ? 0 : 255;
    }
    Line line = upper, levels = a;
    lines::CompositeLayers24(line.data(), levels.data(), layer.data(), b.data(), 65536);
    for (std::size_t i = 0; i < 65536; ++i) {
      const unsigned top = a[i], below = b[i];
      const bool kept = top == 0 || below == 255;
      ASSERT_EQ(levels[i], kept ? top : top * below / 255);
      for (std::size_t k = 3 * i; k < 3 * i + 3; ++k)
        ASSERT_EQ(
            line[k],
            kept ? upper[k] : (layer[k] * top * (255 - below) + upper[k] * 255 * (255 - top)) / (65025 - top * below))
            << top << ' ' << below;
    }
  });
}

}  // namespace

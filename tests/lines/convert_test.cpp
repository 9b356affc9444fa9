// Line conversions against their rules: every vector width that the processor has, every remainder length, exactly
// sized heap buffers at every misalignment, all 65536 high-colour pixels, all gray levels and a dense set of colours.

#include "qel/lines/convert.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <functional>
#include <random>
#include <vector>

#include "support/pixels.h"
#include "support/targets.h"

namespace {

using Line = std::vector<unsigned char>;
using test::ForEachTarget;
using Conversion = std::function<void(unsigned char *, const unsigned char *, long)>;

class Convert : public testing::Test {
 protected:
  std::mt19937 random{11};

  Line Noise(long n) {
    Line line(static_cast<std::size_t>(n));
    for (auto &b : line) b = static_cast<unsigned char>(random());
    return line;
  }

  /// `fast` against `naive` pixel for pixel, at every length up to 200 and at offsets within exactly sized blocks.
  void Compare(const Conversion &fast, int srcBits, int dstBits,
               const std::function<std::uint64_t(std::uint64_t)> &naive) {
    ForEachTarget([&] {
      for (long n = 0; n <= 200; ++n) {
        const long srcBytes = test::PackedBytes(srcBits, n), dstBytes = test::PackedBytes(dstBits, n);
        const long off = n % 5;  // where the lines start in their blocks; they end with them
        const Line block = Noise(off + srcBytes);
        Line out(static_cast<std::size_t>(off + dstBytes), 0xA5);
        fast(out.data() + off, block.data() + off, n);
        for (long i = 0; i < off; ++i) ASSERT_EQ(out[static_cast<std::size_t>(i)], 0xA5);
        for (long i = 0; i < n; ++i)
          ASSERT_EQ(test::GetPacked(out.data() + off, dstBits, i),
                    naive(test::GetPacked(block.data() + off, srcBits, i)))
              << "pixel " << i << " of " << n;
      }
    });
  }
};

unsigned Blue(std::uint64_t v) {
  return v & 0xFF;
}
unsigned Green(std::uint64_t v) {
  return v >> 8 & 0xFF;
}
unsigned Red(std::uint64_t v) {
  return v >> 16 & 0xFF;
}
std::uint64_t Bgr(unsigned b, unsigned g, unsigned r) {
  return b | g << 8 | r << 16;
}
std::uint64_t GrayLevel(std::uint64_t v) {
  return (77 * Red(v) + 150 * Green(v) + 28 * Blue(v)) / 255;
}
std::uint64_t LumaLevel(std::uint64_t v) {
  return (30 * Red(v) + 59 * Green(v) + 11 * Blue(v)) / 100;
}
std::uint64_t To555(std::uint64_t v) {
  return (Red(v) * 31 / 255) << 10 | (Green(v) * 31 / 255) << 5 | Blue(v) * 31 / 255;
}
std::uint64_t To565(std::uint64_t v) {
  return (Red(v) * 31 / 255) << 11 | (Green(v) * 63 / 255) << 5 | Blue(v) * 31 / 255;
}
std::uint64_t From555(std::uint64_t v) {
  return Bgr((v & 31) * 255 / 31, (v >> 5 & 31) * 255 / 31, (v >> 10 & 31) * 255 / 31);
}
std::uint64_t From565(std::uint64_t v) {
  return Bgr((v & 31) * 255 / 31, (v >> 5 & 63) * 255 / 63, (v >> 11 & 31) * 255 / 31);
}

void ToGray(unsigned char *dst, const unsigned char *src, long n) {
  QelAsmConvert24to8G(dst, const_cast<unsigned char *>(src), static_cast<unsigned long>(n));
}

TEST_F(Convert, EveryLengthAndMisalignment) {
  namespace lines = qel::lines;
  Compare(ToGray, 24, 8, GrayLevel);
  Compare(lines::Rgb24ToLuma, 24, 8, LumaLevel);
  Compare(lines::Rgb24To555, 24, 16, To555);
  Compare(lines::Rgb24To565, 24, 16, To565);
  Compare(lines::Rgb555To24, 16, 24, From555);
  Compare(lines::Rgb565To24, 16, 24, From565);
  Compare(lines::Rgb24To32, 24, 32, [](std::uint64_t v) { return v; });
  Compare(lines::Rgb32To24, 32, 24, [](std::uint64_t v) { return v & 0xFFFFFF; });
  Compare(lines::Rgb24To48, 24, 48, [](std::uint64_t v) -> std::uint64_t {
    return std::uint64_t{Blue(v)} * 257 | std::uint64_t{Green(v)} * 257 << 16 | std::uint64_t{Red(v)} * 257 << 32;
  });
  Compare(lines::Rgb48To24, 48, 24, [](std::uint64_t v) { return Bgr(v & 0xFF, v >> 16 & 0xFF, v >> 32 & 0xFF); });
  Compare(lines::GrayTo24, 8, 24, [](std::uint64_t v) { return v * 0x010101; });
  Compare(lines::NibblesToGray, 4, 8, [](std::uint64_t v) { return v * 17; });
  Compare(lines::GrayToNibbles, 8, 4, [](std::uint64_t v) { return v / 17; });
  for (const bool invert : {false, true})
    Compare([invert](auto *dst, auto *src, long n) { lines::BitsToGray(dst, src, n, invert); }, 1, 8,
            [invert](std::uint64_t v) { return (v != 0) != invert ? 255 : 0; });
}

TEST_F(Convert, ThroughTables) {
  namespace lines = qel::lines;
  RGBQUAD table[256];
  for (auto &entry : table) {
    const Line c = Noise(4);
    std::memcpy(&entry, c.data(), 4);
  }
  const auto entryOf = [&](std::uint64_t v) { return Bgr(table[v].rgbBlue, table[v].rgbGreen, table[v].rgbRed); };
  Compare([&](auto *dst, auto *src, long n) { lines::BitsTo24(dst, src, n, table); }, 1, 24, entryOf);
  Compare([&](auto *dst, auto *src, long n) { lines::NibblesTo24(dst, src, n, table); }, 4, 24, entryOf);
  Compare([&](auto *dst, auto *src, long n) { lines::BytesTo24(dst, src, n, table); }, 8, 24, entryOf);
  const Line map = Noise(768);
  Compare(
      [&](auto *dst, auto *src, long n) {
        std::copy_n(src, 3 * n, dst);
        lines::Map24(dst, n, map.data());
      },
      24, 24, [&](std::uint64_t v) { return Bgr(map[512 + Blue(v)], map[256 + Green(v)], map[Red(v)]); });
  Compare(
      [&](auto *dst, auto *src, long n) {
        std::copy_n(src, n, dst);
        lines::MapBytes(dst, n, map.data());
      },
      8, 8, [&](std::uint64_t v) { return map[v]; });
}

TEST_F(Convert, ThresholdWithTheBitsBehind) {
  ForEachTarget([&] {
    for (long n = 0; n <= 150; ++n) {
      for (const int threshold : {0, 1, 127, 128, 200, 255}) {
        for (const int invert : {0, 1, 255}) {
          Line levels = Noise(n), bits(static_cast<std::size_t>(test::PackedBytes(1, n)));
          QelAsmConvert8to1(bits.data(), levels.data(), static_cast<unsigned long>(n),
                            static_cast<unsigned char>(invert), static_cast<unsigned char>(threshold));
          for (long i = 0; i < 8 * static_cast<long>(bits.size()); ++i) {
            const bool high = i >= n || levels[static_cast<std::size_t>(i)] >= threshold;
            ASSERT_EQ(test::GetPacked(bits.data(), 1, i), high != (invert != 0)) << i << " of " << n;
          }
        }
      }
    }
  });
}

TEST_F(Convert, WholeRanges) {
  namespace lines = qel::lines;
  Line words(2 * 65536), colours(3 * 65536);
  for (unsigned v = 0; v < 65536; ++v) words[2 * v] = static_cast<unsigned char>(v), words[2 * v + 1] = v >> 8;
  // every value of one channel beside a sweep of the other two
  Line dense;
  for (unsigned a = 0; a < 256; ++a)
    for (unsigned b = 0; b < 256; b += 3)
      for (const unsigned c : {0u, 1u, b, 255 - a, 254u, 255u})
        for (const unsigned char v : {a, b, c}) dense.push_back(v);
  std::vector<bool> reached(25501);  // and a colour for every weighted sum behind a luma
  for (unsigned c = 0; c < 1u << 24; ++c) {
    const unsigned sum = 30 * Red(c) + 59 * Green(c) + 11 * Blue(c);
    if (!reached[sum])
      for (const unsigned v : {Blue(c), Green(c), Red(c)}) dense.push_back(static_cast<unsigned char>(v));
    reached[sum] = true;
  }
  const long n = static_cast<long>(dense.size() / 3);
  ForEachTarget([&] {
    for (const auto &[convert, naive] : {std::pair{&lines::Rgb555To24, &From555}, {&lines::Rgb565To24, &From565}}) {
      convert(colours.data(), words.data(), 65536);
      for (long v = 0; v < 65536; ++v)
        ASSERT_EQ(test::GetPacked(colours.data(), 24, v), naive(static_cast<std::uint64_t>(v)));
    }
    Line out(static_cast<std::size_t>(2 * n));
    for (const auto &[convert, bits, naive] : {std::tuple{&ToGray, 8, &GrayLevel},
                                               {&lines::Rgb24ToLuma, 8, &LumaLevel},
                                               {&lines::Rgb24To555, 16, &To555},
                                               {&lines::Rgb24To565, 16, &To565}}) {
      convert(out.data(), dense.data(), n);
      for (long i = 0; i < n; ++i)
        ASSERT_EQ(test::GetPacked(out.data(), bits, i), naive(test::GetPacked(dense.data(), 24, i)));
    }
  });
}

TEST_F(Convert, Reversal) {
  ForEachTarget([&] {
    for (const int bits : {1, 4, 8, 16, 24, 32, 48}) {
      for (long n = 0; n <= 130; ++n) {
        const Line src = Noise(test::PackedBytes(bits, n));
        Line dst(src.size());
        ASSERT_TRUE(qel::lines::ReversePixels(dst.data(), src.data(), n, bits));
        for (long i = 0; i < n; ++i)
          ASSERT_EQ(test::GetPacked(dst.data(), bits, i), test::GetPacked(src.data(), bits, n - 1 - i))
              << bits << " bits, " << i << " of " << n;
      }
    }
  });
  EXPECT_FALSE(qel::lines::ReversePixels(nullptr, nullptr, 0, 7));
}

}  // namespace

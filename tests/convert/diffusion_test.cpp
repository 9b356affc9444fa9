// Error diffusion: whole pictures through an agent against a picture diffused number by number.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <random>
#include <string>
#include <vector>

#include "qel/convert/itc.h"
#include "support/pixels.h"
#include "support/targets.h"

namespace {

using Bytes = std::vector<unsigned char>;

/// An agent whose fields are set by hand, as they stand after it was built.
class Diffuser : public PItc {
 public:
  Bytes map, done, srcRgb, dstRgb;
  std::vector<std::int32_t> rows[2];

  Diffuser(long width, int srcBits, Bytes srcColors, int dstBits, Bytes dstColors, const Bytes *standardMap)
      : map(4096, 0xEE), done(512), srcRgb(std::move(srcColors)), dstRgb(std::move(dstColors)) {
    for (auto &row : rows) row.assign(static_cast<std::size_t>(3 * (width + 1)), 0);
    m_lSrcWidth = m_lDstWidth = width;
    m_nSrcBits = srcBits, m_nDstBits = dstBits;
    m_nSrcColors = static_cast<int>(srcRgb.size() / 3), m_nDstColors = static_cast<int>(dstRgb.size() / 3);
    m_bDstStdPal = standardMap != nullptr;
    if (standardMap) map = *standardMap;
    m_pbyMap = map.data(), m_pbyMapDone = done.data();
    m_pbySrcRGB = srcRgb.data(), m_pbyDstRGB = dstRgb.data();
    m_plErrCur = reinterpret_cast<long *>(rows[0].data()), m_plErrNext = reinterpret_cast<long *>(rows[1].data());
  }
  ~Diffuser() override { m_plErrCur = m_plErrNext = nullptr; }

  void Line(bool toLeft, unsigned char *src, unsigned char *dst) {
    m_pbySrcLine = src, m_pbyDstLine = dst;
    toLeft ? xDiffuse2Line() : xDiffuse1Line();
    m_pbySrcLine = m_pbyDstLine = nullptr;
  }
  std::int32_t *Current() { return reinterpret_cast<std::int32_t *>(m_plErrCur); }
  std::int32_t *Next() { return reinterpret_cast<std::int32_t *>(m_plErrNext); }
};

/// The same, one number at a time.
struct NaiveDiffuser {
  long width;
  bool toGray, standard;
  Bytes palette, map;
  std::vector<bool> known = std::vector<bool>(4096);
  std::vector<long> carried = std::vector<long>(3 * static_cast<std::size_t>(width)), below = carried;

  int Search(const int *v, bool toLeft) const {
    int best = -1, bestSquare = 320000, bestSum = 768;
    for (int j = 0; j < static_cast<int>(palette.size() / 3); ++j) {
      int square = 0, sum = 0;
      for (int c = 0; c < 3; ++c) {
        const int d = v[c] - palette[static_cast<std::size_t>(3 * j + c)];
        square += d * d, sum += std::abs(d);
      }
      if (toLeft ? square < bestSquare : sum == 0 || (sum <= bestSum && square < bestSquare))
        best = j, bestSquare = square, bestSum = sum;
      if (sum == 0) break;
    }
    return best;
  }

  /// Colours as red, green, blue.
  std::vector<int> Line(const std::vector<int> &colors, bool toLeft) {
    std::vector<int> indices(static_cast<std::size_t>(width));
    const long step = toLeft ? -1 : 1;
    for (long x = toLeft ? width - 1 : 0; x >= 0 && x < width; x += step) {
      int v[3];
      for (int c = 0; c < 3; ++c) v[c] = colors[static_cast<std::size_t>(3 * x + c)];
      if (toGray) v[0] = v[1] = v[2] = (30 * v[0] + 59 * v[1] + 11 * v[2]) / 100;
      for (int c = 0; c < 3; ++c) {
        const long carry = std::clamp(carried[static_cast<std::size_t>(3 * x + c)], -128L, 128L);
        v[c] = std::clamp(v[c] + static_cast<int>(carry), 0, 255);
      }
      const std::size_t key = static_cast<std::size_t>(v[0] / 16 * 256 + v[1] / 16 * 16 + v[2] / 16);
      if (!standard && !known[key]) {
        map[key] = static_cast<unsigned char>(Search(v, toLeft));
        known[key] = true;
      }
      const int index = indices[static_cast<std::size_t>(x)] = map[key];
      for (int c = 0; c < 3; ++c) {
        const auto entry = static_cast<std::size_t>(3 * index + c);
        const int error = v[c] - (entry < palette.size() ? palette[entry] : 0);
        const auto give = [&](std::vector<long> &row, long to, int weight) {
          if (to >= 0 && to < width) row[static_cast<std::size_t>(3 * to + c)] += (error * weight) >> 4;
        };
        give(carried, x + step, 7);
        give(below, x - step, 3);
        give(below, x, 5);
        give(below, x + step, 1);
      }
    }
    carried.swap(below);
    std::fill(below.begin(), below.end(), 0);
    return indices;
  }
};

struct Case {
  std::string name;
  int srcBits, srcColors;
  int dstBits, dstColors;
  enum { kNoise, kGrays, kBlackAndWhite } palette;
  enum { kLazy, kMapped, kBroken } map;
};

class Diffusion : public testing::Test {
 protected:
  std::mt19937 random{5};

  Bytes Noise(std::size_t n) {
    Bytes bytes(n);
    for (auto &b : bytes) b = static_cast<unsigned char>(random());
    return bytes;
  }

  Bytes Palette(const Case &kind) {
    Bytes rgb = Noise(static_cast<std::size_t>(3 * kind.dstColors));
    if (kind.palette == Case::kNoise) return rgb;
    for (std::size_t i = 0; i < rgb.size(); ++i)
      rgb[i] = kind.palette == Case::kGrays ? rgb[i / 3 * 3] : static_cast<unsigned char>(i / 3 * 255);
    return rgb;
  }

  /// A line of the source: noise, a slow gradient, or black and white stretches that drive the errors to their limits.
  Bytes SourceLine(int bits, long width, int y) {
    Bytes line = Noise(static_cast<std::size_t>((width * bits + 7) / 8));
    if (bits == 24 && y % 3 != 0)
      for (std::size_t i = 0; i < line.size(); ++i)
        line[i] = static_cast<unsigned char>(y % 3 == 1 ? i / 5 + i % 3 * 20 : i / 50 % 2 * 255);
    return line;
  }

  /// Rows of a picture, each against the naive one: indices, bytes that stay, errors handed on.
  void Compare(const Case &kind, long width, int rows, int carriedIn = 0, bool isGrayCarried = false) {
    SCOPED_TRACE(kind.name + ", width " + std::to_string(width));
    const Bytes palette = Palette(kind), srcRgb = Noise(static_cast<std::size_t>(3 * kind.srcColors));
    Bytes map = Noise(4096);
    if (kind.map == Case::kMapped)
      for (auto &index : map) index = static_cast<unsigned char>(index % kind.dstColors);
    Diffuser fast(width, kind.srcBits, srcRgb, kind.dstBits, palette, kind.map == Case::kLazy ? nullptr : &map);
    NaiveDiffuser naive{width, kind.dstBits == 1, kind.map != Case::kLazy, palette, map};
    // up to pixel 500, so that a long line has ordinary spans too
    for (std::size_t i = 0; carriedIn != 0 && i < 1500; ++i) {
      const bool again = isGrayCarried && i % 3 != 0;
      naive.carried[i] = again ? naive.carried[i - 1] : static_cast<std::int32_t>(random()) % carriedIn;
      fast.Current()[i] = static_cast<std::int32_t>(naive.carried[i]);
    }

    for (int y = 0; y < rows; ++y) {
      Bytes src = SourceLine(kind.srcBits, width, y);
      std::vector<int> colors;
      for (long x = 0; x < width; ++x) {
        const auto v = test::GetPacked(src.data(), kind.srcBits, x);
        for (int c = 0; c < 3; ++c) {
          const std::size_t entry = 3 * v + static_cast<std::size_t>(c);
          colors.push_back(kind.srcBits == 24 ? static_cast<int>(v >> (16 - 8 * c) & 0xFF)
                                              : (entry < srcRgb.size() ? srcRgb[entry] : 0));
        }
      }
      Bytes dst = Noise(static_cast<std::size_t>((width * kind.dstBits + 7) / 8)), wanted = dst;
      const bool toLeft = y % 2 != 0;
      const auto indices = naive.Line(colors, toLeft);
      for (long x = 0; x < width; ++x) {
        const auto index = static_cast<unsigned>(indices[static_cast<std::size_t>(x)]);
        test::SetPacked(wanted.data(), kind.dstBits, x, kind.dstBits == 1 ? index != 0 : index);
      }
      fast.Line(toLeft, src.data(), dst.data());
      ASSERT_EQ(dst, wanted) << "row " << y;
      for (long i = 0; i < 3 * width; ++i) {
        ASSERT_EQ(fast.Current()[i], naive.carried[static_cast<std::size_t>(i)]) << "row " << y << ", entry " << i;
        ASSERT_EQ(fast.Next()[i], 0);
      }
    }
    if (kind.map != Case::kLazy) return;
    for (std::size_t key = 0; key < 4096; ++key) {
      ASSERT_EQ(fast.done[key / 8] >> (7 - key % 8) & 1, naive.known[key]) << "key " << key;
      if (naive.known[key]) ASSERT_EQ(fast.map[key], naive.map[key]) << "key " << key;
    }
  }
};

const Case kCases[] = {
    {"24 bits to 256 colours", 24, 0, 8, 256, Case::kNoise, Case::kLazy},
    {"24 bits to 200 colours, mapped", 24, 0, 8, 200, Case::kNoise, Case::kMapped},
    {"24 bits to 200 colours, indices behind them", 24, 0, 8, 200, Case::kNoise, Case::kBroken},
    {"24 bits to 256 grays", 24, 0, 8, 256, Case::kGrays, Case::kLazy},
    {"24 bits to 16 colours", 24, 0, 4, 16, Case::kNoise, Case::kLazy},
    {"24 bits to 16 colours, mapped", 24, 0, 4, 16, Case::kNoise, Case::kMapped},
    {"24 bits to 16 colours, indices behind them", 24, 0, 4, 16, Case::kNoise, Case::kBroken},
    {"24 bits to black and white", 24, 0, 1, 2, Case::kBlackAndWhite, Case::kLazy},
    {"24 bits to black and white, mapped", 24, 0, 1, 2, Case::kBlackAndWhite, Case::kMapped},
    {"24 bits to two grays", 24, 0, 1, 2, Case::kGrays, Case::kLazy},
    {"24 bits to two grays, mapped", 24, 0, 1, 2, Case::kGrays, Case::kMapped},
    {"24 bits to two grays, indices behind them", 24, 0, 1, 2, Case::kGrays, Case::kBroken},
    {"24 bits to two colours", 24, 0, 1, 2, Case::kNoise, Case::kLazy},
    {"24 bits to two colours, mapped", 24, 0, 1, 2, Case::kNoise, Case::kMapped},
    {"200 colours to 16", 8, 200, 4, 16, Case::kNoise, Case::kLazy},
    {"16 colours to 256", 4, 16, 8, 256, Case::kNoise, Case::kMapped},
    {"2 colours to 16", 1, 2, 4, 16, Case::kNoise, Case::kLazy},
    {"256 colours to two grays", 8, 256, 1, 2, Case::kGrays, Case::kLazy},
};

TEST_F(Diffusion, WholePicturesAtEveryWidth) {
  test::ForEachTarget([&] {
    for (const Case &kind : kCases) {
      for (long width = 1; width <= 34; ++width) Compare(kind, width, 5);
      for (long width : {511, 512, 513, 1029, 3000}) Compare(kind, width, 6);
      if (HasFatalFailure()) return;
    }
  });
}

TEST_F(Diffusion, WhateverTheRowsHold) {
  test::ForEachTarget([&] {
    for (const Case &kind : kCases)
      for (int carriedIn : {2, 72, 100, 150, 700, 40000, 2000000000})
        for (bool isGray : {false, true}) Compare(kind, 1101, 4, carriedIn, isGray);
  });
}

TEST_F(Diffusion, SharesRoundDown) {
  const Bytes map(4096, 0);
  const struct {
    int carried;
    std::vector<std::int32_t> below;
  } kRed[] = {{-1, {-1, -2, -2}}, {1, {0, 0, 0}}, {16, {3, 5 + 1, 1 + 2}}};  // the third pixel hands on its share too
  for (const auto &[carried, below] : kRed) {
    Diffuser agent(3, 24, {}, 8, {100, 100, 100}, &map);
    Bytes src(9, 100), dst(3);
    agent.Current()[3] = carried;  // red of the second pixel
    agent.Line(false, src.data(), dst.data());
    EXPECT_EQ((std::vector{agent.Current()[0], agent.Current()[3], agent.Current()[6]}), below) << carried;
  }
}

}  // namespace

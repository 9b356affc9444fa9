// Rectangles and lines through agents: every pair and pixel method against a naive conversion, diffusion and dither
// against their own lines, rectangles that leave either image.

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <climits>

#include "support/agent.h"
#include "support/pixels.h"

namespace {

using test::Agent;
using test::NaiveImage;
using Line = std::vector<unsigned char>;
using Colors = std::vector<std::array<int, 3>>;

Colors ColorsOf(HPALETTE hPal) {
  unsigned char rgb[768];
  Colors colors;
  PQel::GetPaletteRGB(hPal, rgb);
  for (int i = 0; i < PQel::GetColorNum(hPal); ++i) colors.push_back({rgb[3 * i], rgb[3 * i + 1], rgb[3 * i + 2]});
  DeleteObject(hPal);
  return colors;
}

std::uint64_t Nearest(const Colors &colors, int red, int green, int blue) {
  const auto distance = [=](const std::array<int, 3> &c) {
    return (c[0] - red) * (c[0] - red) + (c[1] - green) * (c[1] - green) + (c[2] - blue) * (c[2] - blue);
  };
  return static_cast<std::uint64_t>(
      std::min_element(colors.begin(), colors.end(),
                       [&](const auto &a, const auto &b) { return distance(a) < distance(b); }) -
      colors.begin());
}

class Driver : public testing::Test {
 protected:
  std::mt19937 random{31};
  PQel source, target;
  NaiveImage from{0, 0, 1}, to{0, 0, 1};
  Colors sourceColors, targetColors;
  Agent agent;

  LONG Between(long lo, long hi) { return static_cast<LONG>(lo + static_cast<long>(random() % (hi - lo + 1ul))); }

  /// Images of two types with random pixels; palettes: 0 standard, 1 random and full, 2 random and short, 3 the
  /// standard one of fewer bits.
  void Prepare(int s, int sPalette, long sw, long sh, int d, int dPalette, long dw, long dh) {
    Fill(source, from, s, sPalette, sw, sh);
    Fill(target, to, d, dPalette, dw, dh);
    sourceColors = ColorsOf(source.GetPalette(nullptr));
    targetColors = ColorsOf(target.GetPalette(nullptr));
  }
  void Fill(PQel &image, NaiveImage &naive, int type, int palette, long w, long h) {
    const int bits = PQel::GetBitCount(type);
    const int nShort = palette == 2 ? (1 << bits) * 3 / 5 : bits == 8 ? 16 : 2;
    const int nColors = palette == 0 || bits > 8 ? 0 : palette == 1 ? 1 << bits : nShort;
    RGBQUAD table[256];
    for (RGBQUAD &q : table) q = {static_cast<BYTE>(random()), static_cast<BYTE>(random()), 77, 0};
    if (palette == 3) PQel::BuildStdPalette(bits == 8 ? 2 : 0, table);
    image.EnableBlock(0, 8);
    ASSERT_TRUE(image.CreateImage(type, w, random() % 2 ? h : -h, nColors, nColors ? table : nullptr, 1, 1, 1,
                                  random() % 2, 0));
    naive = NaiveImage(w, h, bits);
    naive.Randomise(random);
    naive.Store(image);
  }
  int Build(int method, int type = 0, int size = 8) {
    return agent.BuildAgent(&target, &source,
                            {static_cast<WORD>(method), static_cast<WORD>(type), static_cast<WORD>(size)});
  }

  /// What a pixel becomes by colour map, expansion or gray; colors: the palette that true colour is mapped to.
  std::uint64_t Converted(std::uint64_t pixel, const Colors &colors) {
    if (from.bits <= 8) {
      if (pixel >= sourceColors.size()) pixel = 0;
      const auto [red, green, blue] = sourceColors[pixel];
      if (to.bits == 24) return static_cast<std::uint64_t>(red << 16 | green << 8 | blue);
      return sourceColors == colors ? pixel : Nearest(colors, red, green, blue);
    }
    const int red = pixel >> 16 & 255, green = pixel >> 8 & 255, blue = pixel & 255;
    if (target.GetImageType() == 5) return static_cast<std::uint64_t>(30 * red + 59 * green + 11 * blue) / 100;
    return Nearest(colors, red / 16 * 17, green / 16 * 17, blue / 16 * 17);
  }

  /// Copies what of a picture lies inside `to`, moved to a point.
  void Paste(NaiveImage picture, POINT at) {
    for (long y = std::max<long>(0, at.y); y < std::min(to.height, at.y + picture.height); ++y)
      for (long x = std::max<long>(0, at.x); x < std::min(to.width, at.x + picture.width); ++x)
        to.At(x, y) = picture.At(x - at.x, y - at.y);
  }
  NaiveImage Stored() {
    NaiveImage image(to.width, to.height, to.bits);
    image.Load(target);
    return image;
  }
};

TEST_F(Driver, ConvertsEveryPairPixelByPixel) {
  for (int s = 0; s < 6; ++s)
    for (int d = 0; d < 6; ++d)
      for (int round = 0; round < 20; ++round) {
        // 4 and 5 are grays by their standard palette alone
        const int sPalette = s > 3 ? 0 : round % 3, dPalette = d > 3 ? 0 : round / 3 % 4;
        Prepare(s, sPalette, Between(1, 70), Between(1, 9), d, dPalette, Between(1, 70), Between(1, 9));
        if (!Build(round % 5)) continue;
        const int method = agent.m_cvtMethod.wMethod;
        if (method == 2 || method == 3) continue;
        SCOPED_TRACE(testing::Message() << s << " to " << d << " method " << method << " round " << round);
        const bool custom = method == 1 && dPalette == 1;
        const Colors colors = custom ? ColorsOf(PItc::CreateCustomPalette(&source)) : targetColors;

        const LONG left = Between(0, from.width - 1), top = Between(0, from.height - 1);
        RECT rect = {left, top, Between(left, from.width - 1), Between(top, from.height - 1)};
        NaiveImage part(rect.right - left + 1, rect.bottom - top + 1, from.bits);
        NaiveImage picture(part.width, part.height, to.bits);
        for (long y = 0; y < part.height; ++y)
          for (long x = 0; x < part.width; ++x) {
            part.At(x, y) = from.At(left + x, top + y);
            if (method != 4) picture.At(x, y) = Converted(part.At(x, y), colors);
          }
        for (long y = 0; y < part.height && method == 4; ++y)
          for (long x = 0; x < part.width; ++x) picture.At(x, y) = test::GetPacked(part.Row(y).data(), to.bits, x);
        POINT at = {Between(-20, 60), Between(-4, 8)};
        Paste(picture, at);
        ASSERT_EQ(agent.ConvertImg(&rect, &at), 1);
        ASSERT_EQ(Stored(), to);

        // lines that end with their buffers; the bits behind the last pixel stay
        Line in = from.Row(0), out(static_cast<std::size_t>(test::PackedBytes(to.bits, from.width)), 0xA5);
        in.resize(static_cast<std::size_t>(test::PackedBytes(from.bits, from.width)));
        const Line before = in;
        Line expected = out;
        for (long x = 0; x < from.width && method != 4; ++x)
          test::SetPacked(expected.data(), to.bits, x, Converted(from.At(x, 0), colors));
        ASSERT_EQ(agent.ConvertLineImg(0, in.data(), out.data()), 1);
        ASSERT_EQ(out, expected);
        ASSERT_EQ(in, before);
      }
}

TEST_F(Driver, LinesGiveTheRectangleOfDiffusionAndDither) {
  for (const auto &[s, d, palette] : {std::tuple{1, 0, 0}, {1, 2, 2}, {1, 3, 0}, {1, 3, 1}, {3, 2, 0}, {2, 0, 0}})
    for (int method : {2, 3}) {
      SCOPED_TRACE(testing::Message() << s << " to " << d << " method " << method);
      Prepare(s, 2, 37, 11, d, palette, 37, 11);
      ASSERT_EQ(Build(method, 1), 1);
      for (long y = 0; y < from.height; ++y) {
        Line in = from.Row(y), out = to.Row(y);
        ASSERT_EQ(agent.ConvertLineImg(static_cast<int>(y), in.data(), out.data()), 1);
        for (long x = 0; x < to.width; ++x) to.At(x, y) = test::GetPacked(out.data(), to.bits, x);
      }
      ASSERT_EQ(agent.ConvertImg(nullptr, nullptr), 1);
      ASSERT_EQ(Stored(), to);
      // errors start anew; moved by whole matrices it is the same picture, cut off outside
      const NaiveImage picture = to;
      POINT at = {8 * Between(-2, 2), 8 * Between(-1, 1)};
      Paste(picture, at);
      ASSERT_EQ(agent.ConvertImg(nullptr, &at), 1);
      ASSERT_EQ(Stored(), to);
    }
}

TEST_F(Driver, GoesOnFromRowsThatFellOutside) {
  Prepare(1, 0, 37, 11, 2, 1, 37, 11);
  const auto lineAfter = [&](LONG x, LONG y) {
    POINT at = {x, y};
    EXPECT_TRUE(Build(2) && agent.ConvertImg(nullptr, &at));
    Line in = from.Row(0), out(20);
    agent.ConvertLineImg(11, in.data(), out.data());
    return out;
  };
  for (const auto &[x, y] : {std::pair{5, 0}, {0, 4}, {0, -4}, {40, 0}, {0, 11}, {0, -11}})
    EXPECT_EQ(lineAfter(x, y), lineAfter(0, 0)) << x << ", " << y;
}

TEST_F(Driver, RefusesWhatCannotBeConverted) {
  constexpr RECT kOutside[] = {{-1, 0, 5, 5}, {0, -1, 5, 5}, {0, 0, 20, 5}, {0, 0, 19, 6}, {INT_MIN, 0, INT_MAX, 5}};
  constexpr RECT kEmpty[] = {{5, 0, 4, 5}, {0, 5, 5, 4}, {INT_MAX, INT_MAX, INT_MIN, INT_MIN}};
  constexpr POINT kFar[] = {{20, 0}, {0, 6}, {-20, 0}, {0, -6}, {INT_MAX, INT_MAX}, {INT_MIN, INT_MIN}};
  for (const auto &[s, d, method] :
       {std::tuple{1, 3, 0}, {1, 5, 0}, {3, 2, 4}, {0, 5, 5}, {2, 1, 6}, {1, 2, 2}, {1, 2, 3}}) {
    Prepare(s, 0, 20, 6, d, 0, 20, 6);
    agent.FreeAgent(0);
    EXPECT_EQ(agent.ConvertImg(nullptr, nullptr), 0);
    ASSERT_EQ(Build(method), 1);
    for (RECT rect : kOutside) EXPECT_EQ(agent.ConvertImg(&rect, nullptr), 0);
    for (RECT rect : kEmpty) EXPECT_EQ(agent.ConvertImg(&rect, nullptr), 1);
    for (POINT at : kFar) EXPECT_EQ(agent.ConvertImg(nullptr, &at), 1);
    RECT narrow = {0, 0, 18, 5};
    if (method == 2 || method == 3) EXPECT_EQ(agent.ConvertImg(&narrow, nullptr), 0);
    if (method == 5) EXPECT_EQ(agent.ConvertImg(nullptr, nullptr), 1);  // told to do nothing
    EXPECT_EQ(Stored(), to);
    Line line(80);
    EXPECT_EQ(agent.ConvertLineImg(0, nullptr, line.data()), 0);
    EXPECT_EQ(agent.ConvertLineImg(0, line.data(), nullptr), 0);

    Prepare(s, 0, 20, 7, d, 0, 20, 6);  // no longer what the agent was built for
    EXPECT_EQ(agent.ConvertImg(nullptr, nullptr), 0);
    Prepare(s, 0, 20, 6, 8, 0, 20, 6);
    EXPECT_EQ(agent.ConvertImg(nullptr, nullptr), 0);
    Prepare(s, 0, 20, 6, d, 0, 21, 6);
    if (method == 2 || method == 3) EXPECT_EQ(Build(method) && agent.ConvertImg(nullptr, nullptr), 0);
    EXPECT_EQ(Stored(), to);
  }
  // no routine dithers few colours to more, not even the one of the agent before
  RGBQUAD few[5] = {};
  ASSERT_TRUE(source.CreateImage(3, 21, 6, 5, few, 1, 1, 1, 0, 0));
  ASSERT_EQ(Build(3), 1);
  EXPECT_EQ(agent.ConvertImg(nullptr, nullptr), 0);
  Line line(80);
  EXPECT_EQ(agent.ConvertLineImg(0, line.data(), line.data()), 0);
}

TEST_F(Driver, RepeatingImagesHaveNoOutside) {
  Prepare(5, 0, 7, 5, 3, 0, 6, 4);
  source.SetRepeat(0, 0);
  target.SetRepeat(0, 0);
  ASSERT_EQ(Build(4), 1);
  RECT rect = {-3, -2, 2, 1};
  POINT at = {-5, 9};
  ASSERT_EQ(agent.ConvertImg(&rect, &at), 1);
  for (long y = 0; y < 4; ++y)
    for (long x = 0; x < 6; ++x) to.At((x + 1) % 6, (y + 9) % 4) = from.At((x + 4) % 7, (y + 3) % 5);
  target.EnableRepeat(0);
  EXPECT_EQ(Stored(), to);
}

}  // namespace

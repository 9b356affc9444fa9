// Drawing tools: dabs along strokes, footprints, hatches, the rules of shields, and who is selected where.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <memory>
#include <random>
#include <vector>

#include "qel/qel.h"
#include "support/pixels.h"

namespace {

/// A context that notes where its pen is stamped.
class Recorder : public PQelDraw {
 public:
  std::vector<CPoint> dabs;

 protected:
  int xDrawPixel(POINT *pPoint) override {
    dabs.push_back(*pPoint);
    return 1;
  }
};

struct OpenPen : PPen {
  using PPen::m_nShape, PPen::m_poShapeImage, PPen::xDrawShape;
};
struct OpenShield : PShield {
  using PShield::m_poMask;
};
struct OpenBrush : PBrush {
  using PBrush::m_poPattern;
};

void Make(PQel &image, int nType, long lWidth, long lHeight) {
  ASSERT_TRUE(image.CreateImage(nType, lWidth, lHeight, 0, nullptr, 0, 0, 1, 0, 0));
}

TEST(Strokes, StampAtEqualDistancesInThePatternOfTheirStyle) {
  constexpr unsigned kPatterns[] = {0xFFFF, 0xF00F, 0xCCCC, 0xFF18, 0xFF24};
  std::mt19937 random(1);
  Recorder draw;
  Make(draw, 1, 20, 20);
  PPen pen;
  for (int round = 0; round < 200; ++round) {
    const int nSize = 1 + static_cast<int>(random() % 9), nStyle = static_cast<int>(random() % 5);
    const double spacing = 0.05 * (1 + random() % 40);
    ASSERT_TRUE(pen.SetShape(1, nSize) && pen.SetSpacing(spacing));
    draw.SelectPen(&pen);
    ASSERT_TRUE(draw.IsSelect(&pen));
    draw.SetLineStyle(nStyle);
    draw.dabs.clear();
    std::vector<CPoint> expected;
    POINT at = {3, 4};
    draw.MoveTo(&at);
    double t = 0;
    int phase = 0;
    for (int k = 0; k < 5; ++k) {
      POINT to = {static_cast<int>(random() % 60) - 20, static_cast<int>(random() % 60) - 20};
      if (k == 2) to = at;
      const double dx = to.x - at.x, dy = to.y - at.y, length = std::sqrt(dx * dx + dy * dy);
      for (; t <= length; t += nSize * spacing, phase = (phase + static_cast<int>(256 * spacing)) % 4096) {
        if (!(kPatterns[nStyle] >> (15 - phase / 256) & 1)) continue;
        const double part = length != 0 ? t : 0;
        expected.push_back({static_cast<int>(std::round(part != 0 ? at.x + part * dx / length : at.x)),
                            static_cast<int>(std::round(part != 0 ? at.y + part * dy / length : at.y))});
      }
      t -= length;
      ASSERT_TRUE(draw.LineTo(&to));
      at = to;
    }
    ASSERT_EQ(draw.dabs, expected) << "size " << nSize << ", spacing " << spacing << ", style " << nStyle;
    draw.SelectPen(nullptr);
  }
  EXPECT_FALSE(pen.LineTo(1, 1, nullptr));  // selected nowhere
  draw.SelectPen(&pen);
  for (const double spacing : {1e-300, 1.7e308}) {  // endless, and a single dab
    draw.dabs.clear();
    pen.SetLineStyle(0);
    ASSERT_TRUE(pen.SetSpacing(spacing));
    EXPECT_EQ(pen.DrawLine(0, 0, 2147483647, -2147483647), spacing > 1);
    EXPECT_EQ(draw.dabs.size(), spacing > 1 ? 1U : 0U);
  }
  EXPECT_FALSE(pen.SetSpacing(0) || pen.SetSpacing(NAN) || pen.SetShape(7, 5) || pen.SetShape(10, 5) ||
               pen.SetShape(0, 0));
}

/// A context that deselects its pen while a frame is drawn.
struct Quitter : PQelDraw {
  int xDrawPixel(POINT *) override { return SelectPen(nullptr) != nullptr; }
};

TEST(Strokes, EndWhenTheirContextDeselectsThePen) {
  Quitter draw;
  Make(draw, 1, 20, 20);
  PPen pen;
  RECT rc = {2, 2, 15, 15};
  draw.SelectPen(&pen);
  draw.FrameRect(&rc);
  EXPECT_FALSE(draw.IsSelect(&pen));
  draw.SelectPen(&pen);
  EXPECT_TRUE(draw.FrameEllipse(&rc));
  EXPECT_FALSE(draw.IsSelect(&pen));
}

TEST(Footprints, AverageTheirShapeAtEverSmallerSizes) {
  PQel tiles;
  Make(tiles, 5, 64, 32);
  for (long y = 0; y < 32; ++y)
    for (long x = 0; x < 64; ++x) tiles.SetPixel(x, y, x * 4 % 256);
  ASSERT_TRUE(PPen::LoadShapeLibrary(&tiles, 32));
  for (const int nShape : {0, 1, 2, 3, 4, 5, 11}) {
    for (const int nSize : {1, 7, 12, 33}) {
      for (const int nFeather : {0, 100, 255}) {
        SCOPED_TRACE(testing::Message() << "shape " << nShape << ", size " << nSize << ", feather " << nFeather);
        OpenPen pen;
        ASSERT_TRUE(pen.SetShape(nShape, nSize));
        pen.SetFeather(nFeather);
        std::vector<long> sums(static_cast<std::size_t>(nSize * nSize));
        long lPasses = 0;
        for (long s = 8L * nSize; s >= std::max((255L - nFeather) * 8 * nSize / 255, 1L); s -= 32, ++lPasses) {
          PQel one;
          Make(one, 5, nSize, nSize);
          one.Clear(255);
          one.EnableUndo(1);
          one.EnableAntiAlias(1);
          ASSERT_TRUE(pen.xDrawShape(&one, s));
          for (long i = 0; i < nSize * nSize; ++i)
            sums[static_cast<std::size_t>(i)] += 255 - static_cast<long>(one.GetPixel(i % nSize, i / nSize, nullptr));
        }
        for (long i = 0; i < nSize * nSize; ++i)
          ASSERT_EQ(static_cast<long>(pen.m_poShapeImage->GetPixel(i % nSize, i / nSize, nullptr)),
                    255 - sums[static_cast<std::size_t>(i)] / lPasses)
              << i;
      }
    }
  }
  PPen tile;
  BYTE before[12], after[12];
  ASSERT_TRUE(tile.SetShape(11, 12) && tile.GetShapeLine(0, 11, 5, before));
  EXPECT_TRUE(PPen::LoadShapeLibrary(nullptr, 0));
  tile.SetFeather(100);  // nothing is left to render it from
  ASSERT_TRUE(tile.GetShapeLine(0, 11, 5, after));
  EXPECT_TRUE(std::equal(before, before + 12, after) && tile.GetFeather() == 0);
  PPen round;
  ASSERT_TRUE(round.SetShape(0, 40));
  BYTE line[40];
  ASSERT_TRUE(round.GetShapeLine(0, 39, 20, line));
  EXPECT_EQ(line[20], 0);  // inside
  ASSERT_TRUE(round.GetShapeLine(0, 39, 0, line));
  EXPECT_EQ(line[0], 255);  // the corner is outside
}

TEST(Hatches, RepeatTheirTileAtEveryDepth) {
  constexpr unsigned char kRows[6][8] = {
      {0, 0, 0, 0, 0, 0, 0, 255},    {1, 1, 1, 1, 1, 1, 1, 1},   {128, 64, 32, 16, 8, 4, 2, 1},
      {1, 2, 4, 8, 16, 32, 64, 128}, {1, 1, 1, 1, 1, 1, 1, 255}, {0x81, 0x42, 0x24, 0x18, 0x18, 0x24, 0x42, 0x81}};
  for (const int nType : {0, 2, 3, 5, 6, 7, 1, 8, 9}) {
    for (int nStyle = 0; nStyle < 6; ++nStyle) {
      SCOPED_TRACE(testing::Message() << "type " << nType << ", style " << nStyle);
      PQelDraw draw;
      Make(draw, nType, 40, 30);
      draw.Clear(0);
      PBrush brush;
      ASSERT_TRUE(brush.SetColors(1, 0) && brush.SetOrigin(3, 5) && brush.SetStyle(nStyle));
      draw.SelectBrush(&brush);
      ASSERT_TRUE(draw.IsSelect(&brush) && draw.FillRect(nullptr));
      const unsigned long dwOne = nType == 1 || nType == 8 ? 0x10000 : 1;  // red in the low byte
      for (long y = 0; y < 30; ++y) {
        for (long x = 0; x < 40; ++x) {
          long long llDeep = 0;
          const unsigned long dwPixel = draw.GetPixel(x, y, &llDeep);
          const bool bFore = kRows[nStyle][(y + 5) % 8] >> (7 - (x + 3) % 8) & 1;
          ASSERT_EQ(nType == 9 ? static_cast<unsigned long>(llDeep) : dwPixel, bFore ? dwOne : 0UL) << x << ", " << y;
        }
      }
    }
  }
  PQelDraw draw;
  Make(draw, 1, 10, 10);
  OpenBrush brush;
  PQel small, gray;
  Make(small, 1, 16, 16);
  Make(gray, 5, 200, 200);
  brush.m_poPattern = &small;
  ASSERT_TRUE(brush.SetStyle(2));
  draw.SelectBrush(&brush);
  EXPECT_FALSE(draw.IsSelect(&brush));  // the caller's pattern is too small for a hatch
  ASSERT_TRUE(brush.SetPattern(&gray));
  draw.SelectBrush(&brush);
  EXPECT_FALSE(draw.IsSelect(&brush));  // and of another depth
}

// Shields ------------------------------------------------------------------------------------------------------------

struct Hsl {
  int hue, lightness;  // hue 360: none
};

Hsl SlowHsl(int B, int G, int R) {
  const int mx = std::max({R, G, B}), mn = std::min({R, G, B}), d = mx - mn;
  if (d == 0) return {360, mx};
  const int h = mx == R ? G - B : mx == G ? (B - R) + 2 * d : (R - G) + 4 * d, H = h * 60 / d;
  return {H < 0 ? H + 360 : H, (mx + mn) / 2};
}

bool IsProtected(const ShieldRule &rule, const unsigned char *p) {
  const int t = rule.m_wTolerance, v = static_cast<int>(rule.m_dwValue);
  const int value[3] = {v >> 16 & 255, v >> 8 & 255, v & 255};
  bool inBox = true;
  for (int c = 0; c < 3; ++c) inBox &= std::abs(p[c] - value[c]) <= (rule.m_wKind == 2 ? t : 0);
  const Hsl hsl = SlowHsl(p[0], p[1], p[2]);
  const int apart = std::min((hsl.hue - v + 720) % 360, (v - hsl.hue + 720) % 360);
  switch (rule.m_wKind) {
    case 1:
    case 2:
      return inBox;
    case 3:
      return v == 360 ? hsl.hue == 360 : hsl.hue != 360 && apart <= t;
    case 4:
      return std::abs(hsl.lightness - v) <= t;
    default:
      return false;
  }
}

TEST(Shields, ProtectWhatTheirRulesNameAndFollowThePicture) {
  std::mt19937 random(3);
  for (int round = 0; round < 60; ++round) {
    PQelDraw draw;
    Make(draw, 1, 37, 11);
    const auto paint = [&](long x0, long x1, long y) {
      std::vector<unsigned char> line(static_cast<std::size_t>(3 * (x1 - x0 + 1)));
      for (auto &v : line) v = static_cast<unsigned char>(random() % 4 * 85);
      draw.PutHorLine(x0, x1, y, line.data());
    };
    for (long y = 0; y < 11; ++y) paint(0, 36, y);
    OpenShield shield;
    std::vector<ShieldRule> rules;
    for (int i = 0; i < 3; ++i) {
      const auto wKind = static_cast<WORD>(1 + random() % 4);
      const DWORD dwValue =
          wKind <= 2   ? static_cast<DWORD>(random() % 4 * 85 | (random() % 4 * 85) << 8 | (random() % 4 * 85) << 16)
          : wKind == 3 ? (random() % 4 == 0 ? 360 : random() % 360)
                       : random() % 256;
      rules.push_back({wKind, dwValue, static_cast<WORD>(random() % 90)});
      ASSERT_TRUE(shield.SetRule(3 * i, wKind, dwValue, rules.back().m_wTolerance));
    }
    draw.SelectShield(&shield);
    ASSERT_TRUE(draw.IsSelect(&shield));
    const auto check = [&] {
      for (long y = 0; y < 11; ++y) {
        unsigned char line[112], weights[37];  // a row with its padding
        draw.GetHorLine(y, line);
        ASSERT_TRUE(shield.ReadMaskLine(0, 36, y, weights));
        for (long x = 0; x < 37; ++x) {
          const bool bExpected = std::any_of(rules.begin(), rules.end(),
                                             [&](const ShieldRule &rule) { return IsProtected(rule, line + 3 * x); });
          ASSERT_EQ(weights[x], bExpected ? 255 : 0) << x << ", " << y << ", round " << round;
        }
      }
    };
    check();
    draw.Update();
    paint(5, 20, 4);
    paint(9, 30, 7);
    draw.Update();
    check();
  }
  PQelDraw draw;
  Make(draw, 1, 8, 1);
  OpenShield shield;
  ASSERT_TRUE(shield.SetRule(0, 4, 0xFFFFFFF0, 3));  // a lightness that no pixel has
  draw.SelectShield(&shield);
  unsigned char weights[8] = {9};
  ASSERT_TRUE(shield.ReadMaskLine(0, 7, 0, weights));
  EXPECT_EQ(std::count(weights, weights + 8, 0), 8);
  EXPECT_FALSE(shield.SetRule(10, 1, 0, 0) || shield.SetRule(0, 5, 0, 0) || shield.SetRule(0, 3, 361, 0));
}

TEST(Shields, KeepSaturationAndHueInThreeBytes) {
  unsigned char line[] = {0, 0, 255, 255, 128, 0, 90, 90, 90, 10, 200, 220};
  ConvertLineToHsl(line, 4);
  const unsigned char expected[] = {0xFE, 0, 127, 0xFE, 209, 127, 0x01, 0x68, 90, 0xF0 | 0x0, 54, 115};
  for (int i = 0; i < 9; ++i) EXPECT_EQ(line[i], expected[i]) << i;
  EXPECT_EQ(line[11], 115);
}

// Selection ----------------------------------------------------------------------------------------------------------

TEST(Selection, BelongsToContextsOfOneDepthAndEndsWithToolOrContext) {
  auto first = std::make_unique<PQelDraw>(), second = std::make_unique<PQelDraw>(),
       third = std::make_unique<PQelDraw>();
  EXPECT_EQ(PQelDraw::m_poQelDrawFirst, first.get());
  EXPECT_EQ(PQelDraw::m_poQelDrawLast, third.get());
  Make(*first, 1, 10, 10);
  Make(*second, 3, 10, 10);
  Make(*third, 1, 20, 20);
  auto pen = std::make_unique<PPen>();
  PShield shield;
  EXPECT_EQ(first->SelectPen(pen.get()), nullptr);
  second->SelectPen(pen.get());
  EXPECT_FALSE(second->IsSelect(pen.get()));
  third->SelectPen(pen.get());
  EXPECT_TRUE(first->IsSelect(pen.get()) && third->IsSelect(pen.get()));
  EXPECT_EQ(first->UnSelect(&shield), nullptr);
  first->SelectShield(&shield);
  EXPECT_EQ(first->UnSelect(&shield), &shield);
  first->SelectShield(&shield);
  first.reset();  // the shield goes on without it
  EXPECT_EQ(PQelDraw::m_poQelDrawFirst, second.get());
  EXPECT_TRUE(shield.SetRule(0, 3, 10, 5));
  EXPECT_TRUE(third->DrawLine(0, 0, 5, 5));
  pen.reset();
  EXPECT_FALSE(third->DrawLine(0, 0, 5, 5));
  EXPECT_EQ(third->DrawPixel(1, 1), 0);
  PQel mask;
  Make(mask, 5, 7, 7);
  EXPECT_EQ(third->SelectMask(&mask), nullptr);
  mask.EnableRepeat(1);
  third->SelectMask(&mask);
  EXPECT_EQ(third->SelectMask(nullptr), &mask);
}

/// A context, and every image that its tools point at, become other images while all of them are selected.
TEST(Selection, OutlivesOtherImagesInTheSameObjects) {
  constexpr int kTypes[] = {0, 2, 5, 6, 1, 8, 9};
  std::mt19937 random(7);
  const auto any = [&](int nLimit) { return static_cast<int>(random() % static_cast<unsigned>(nLimit)); };
  for (int round = 0; round < 150; ++round) {
    PQelDraw draw, source;
    PQel colors, footprint, pattern, texture, mask;
    PPen pen;
    PBrush brush;
    PTexture weights;
    PShield shield;
    const int nType = kTypes[any(7)];
    Make(draw, nType, 20, 20), Make(source, nType, 20, 20), Make(colors, nType, 9, 9), Make(footprint, 5, 9, 9);
    Make(pattern, nType, 7, 5), Make(texture, 5, 6, 6), Make(mask, 5, 20, 20);
    ASSERT_TRUE(pen.SetShapeImage(&footprint) && pen.SetColorImage(any(2) ? &colors : nullptr));
    ASSERT_TRUE(brush.SetPattern(any(2) ? &pattern : nullptr) && weights.SetTexture(&texture));
    ASSERT_TRUE(shield.SetRule(0, 4, 100, 30));
    draw.SelectPen(&pen), draw.SelectBrush(&brush);
    if (any(2)) draw.SelectTexture(&weights);
    if (any(2)) draw.SelectShield(&shield);
    if (any(2)) draw.SelectMask(&mask), source.SelectMask(&mask);
    ASSERT_TRUE(draw.IsSelect(&pen) && draw.IsSelect(&brush));
    PQel *const kImages[] = {&draw, &source, &colors, &footprint, &pattern, &texture, &mask};
    const int nOther = kTypes[any(7)], nSize = 1 + any(60);
    for (PQel *pImage : kImages) {
      if (any(2)) Make(*pImage, any(3) ? nOther : kTypes[any(7)], nSize, 1 + any(60));
      if (any(12) == 0) pImage->DeleteImage(1);
    }
    for (int k = 0; k < 4; ++k) {
      draw.DrawLine(any(70) - 5, any(70) - 5, any(70) - 5, any(70) - 5);
      draw.PQelDraw::FillRect(nullptr);
      draw.BitBlt(any(30) - 5, any(30) - 5, 40, 40, &source, any(9) - 4, any(9) - 4);
      draw.FloodFill(CPoint(any(30), any(30)), 40, nullptr);
      draw.Update();
    }
    draw.SetRepeat(0, 0);
    draw.DrawLine(-50, -20, 70, 90);
    brush.SetStyle(any(6));
    draw.FillBrushHorLine(-5, 70, 3);
    if (draw.GetBitCount() != PQel::GetBitCount(nType))
      EXPECT_EQ(draw.DrawPixel(3, 3), 0);  // selected at another depth
  }
}

TEST(Selection, FindsRoomForALargerPenAtALowerDepth) {
  PQelDraw deep, bits;
  Make(deep, 9, 40, 40);
  Make(bits, 0, 40, 40);
  bits.Clear(0);
  for (int nSize = 1; nSize < 12; ++nSize) {  // the work buffer of the deep context is kept if it is large enough
    PPen pen;
    ASSERT_TRUE(pen.SetShape(1, nSize));
    deep.SelectPen(&pen), deep.DrawPixel(3, 3), deep.SelectPen(nullptr);
    ASSERT_TRUE(pen.SetShape(1, 6 * nSize) && pen.ChangeColor(1));
    bits.SelectPen(&pen);
    EXPECT_TRUE(bits.DrawPixel(20, 20));
    EXPECT_EQ(bits.GetPixel(20, 20, nullptr), 1U);
  }
}

TEST(Selection, ColoursBecomeValuesOfTheContext) {
  const struct {
    int nType;
    long long llColor, llExpected;
  } kCases[] = {{7, 255, 0xF800},
                {7, 0xFFFFFF, 0xFFFF},
                {7, 8, 0},
                {6, 255, 31 << 10},
                {6, 0xFF00, 31 << 5},
                {1, 0x123456, 0x123456},
                {8, 0x123456, 0x123456},
                {0, 0xF0F0F0, 1},
                {5, 0x404040, 0x40},
                {9, 0x010203, 0x0101LL | 0x0202LL << 16 | 0x0303LL << 32}};
  for (const auto &c : kCases) {
    PQelDraw draw;
    Make(draw, c.nType, 2, 2);
    EXPECT_EQ(draw.GetColorRef(c.llColor), c.llExpected) << "type " << c.nType;
  }
}

}  // namespace

// Text in images of every type against the same line drawn straight into a bitmap.

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "qel/image/image.h"
#include "qel/platform/gdi/bitmap.h"
#include "qel/platform/gdi/blit.h"
#include "qel/platform/gdi/text.h"
#include "qel/platform/mfc/dc.h"
#include "qel/platform/mfc/font.h"
#include "support/pixels.h"

namespace {

struct TextFont : CFont {
  explicit TextFont(int nHeight) {
    LOGFONTA description = {};
    description.lfHeight = nHeight;
    std::strcpy(description.lfFaceName, "DejaVu Sans");
    EXPECT_TRUE(CreateFontIndirect(&description));
  }
};

// Ink of a line centred in a rectangle and cut there, row by row over a sheet.
std::vector<bool> Ink(const TextFont &font, const std::string &text, RECT rc, int nWidth, int nHeight) {
  CDC dc;
  dc.Attach(CreateCompatibleDC(nullptr));
  const HBITMAP hBitmap = CreateBitmap(nWidth, nHeight, 1, 1, nullptr);
  const HGDIOBJ hOldBitmap = SelectObject(dc, hBitmap), hOldFont = SelectObject(dc, font);
  const RECT rcAll = {0, 0, nWidth, nHeight};
  FillRect(dc, &rcAll, static_cast<HBRUSH>(GetStockObject(WHITE_BRUSH)));
  EXPECT_GT(dc.DrawText(text.c_str(), -1, &rc, 0x25), 0);
  std::vector<bool> ink;
  for (int i = 0; i < nWidth * nHeight; ++i) ink.push_back(GetPixel(dc, i % nWidth, i / nWidth) == 0);
  SelectObject(dc, hOldBitmap), SelectObject(dc, hOldFont);
  EXPECT_TRUE(DeleteObject(hBitmap));
  return ink;
}

long Count(const std::vector<bool> &bits) {
  return std::count(bits.begin(), bits.end(), true);
}

TEST(TextTest, AtScaleOneTheColourReplacesThePixelsOfTheLine) {
  std::mt19937 random(65);
  const int kBits[] = {1, 24, 4, 8, 4, 8, 16, 16, 32, 48};
  for (int nType = 0; nType <= 9; ++nType)
    for (const int nHeight : {13, 24, 31})
      for (const RECT &rc : {RECT{5, 3, 70, 41}, RECT{-20, 10, 41, 28}, RECT{30, 20, 140, 70}}) {
        test::NaiveImage expected(97, 53, kBits[nType]);
        expected.Randomise(random);
        PQel image;
        ASSERT_EQ(test::Create(image, nType, 97, 53, test::AllKeepings()[random() % 16]), 1);
        expected.Store(image);
        const DWORD dwColor = nType == 0                 ? 1
                              : nType == 2 || nType == 4 ? 11
                                                         : 0x123456 & (kBits[nType] < 16    ? 0xFF
                                                                       : kBits[nType] == 16 ? 0xFFFF
                                                                                            : 0xFFFFFF);
        const std::uint64_t stored = kBits[nType] == 24 || kBits[nType] == 32 ? 0x563412 : dwColor;
        const TextFont font(nHeight);
        const std::vector<bool> ink = Ink(font, "Qu\xC3\xADz", rc, 97, 53);
        for (size_t i = 0; i < ink.size(); ++i)
          if (ink[i]) expected.pixels[i] = stored | (kBits[nType] == 32 ? expected.pixels[i] & 0xFF000000 : 0);
        RECT rcTaken = rc;
        ASSERT_EQ(image.DrawTextA("Qu\xC3\xADz", &rcTaken, const_cast<TextFont *>(&font), dwColor, 1), 1);
        test::NaiveImage read(97, 53, kBits[nType]);
        read.Load(image);
        if (kBits[nType] == 32)
          for (size_t i = 0; i < ink.size(); ++i)
            if (ink[i]) read.pixels[i] = (read.pixels[i] & 0xFFFFFF) | (expected.pixels[i] & 0xFF000000);
        ASSERT_TRUE(read == expected) << "type " << nType << ", height " << nHeight << ", left " << rc.left;
        EXPECT_GT(Count(ink), 20);
      }
}

TEST(TextTest, LargerScalesSmoothTheEdgesAndKeepTheInk) {
  for (const int nScale : {2, 3, 4, 8}) {
    PQel image;
    ASSERT_EQ(test::Create(image, 5, 120, 50, {1, 0, false}), 1);
    image.Clear(255);
    TextFont font(30), large(30 * nScale);
    ASSERT_EQ(image.DrawTextA("Sigma", nullptr, &font, 0, nScale), 1);
    test::NaiveImage read(120, 50, 8);
    read.Load(image);
    long lDark = 0, lBetween = 0, lLeft = 0;
    for (long x = 0; x < 120; ++x)
      for (long y = 0; y < 50; ++y) {
        const long lLevel = 255 - static_cast<long>(read.At(x, y));
        lDark += lLevel, lLeft += lLevel * (2 * x - 119);
        lBetween += lLevel > 0 && lLevel < 255;
      }
    const long lInk = Count(Ink(large, "Sigma", {0, 0, 120 * nScale, 50 * nScale}, 120 * nScale, 50 * nScale));
    EXPECT_NEAR(lDark * nScale * nScale / 255.0 / lInk, 1, 0.03) << nScale;
    EXPECT_GT(lBetween, 100) << nScale;
    EXPECT_NEAR(lLeft / 2.0 / lDark, 0, 3) << nScale;  // in the middle
  }
}

TEST(TextTest, BadInputChangesNothing) {
  PQel image, empty;
  ASSERT_EQ(test::Create(image, 1, 40, 30, {1, 0, false}), 1);
  image.Clear(0);
  TextFont font(20);
  CFont none;
  const auto draws = [&](PQel &on, const char *psz, RECT rc, CFont *pFont, int nScale) {
    return on.DrawTextA(psz, &rc, pFont, 0xFFFFFF, nScale);
  };
  const RECT rc = {0, 0, 40, 30};
  EXPECT_EQ(draws(empty, "a", rc, &font, 1), 0);
  EXPECT_EQ(draws(image, nullptr, rc, &font, 1), 0);
  EXPECT_EQ(draws(image, "", rc, &font, 1), 0);
  EXPECT_EQ(draws(image, "a", rc, nullptr, 1), 0);
  EXPECT_EQ(draws(image, "a", rc, &none, 1), 0);
  for (const int nScale : {0, -1, INT_MIN, INT_MAX, 1000}) EXPECT_EQ(draws(image, "a", rc, &font, nScale), 0) << nScale;
  for (const RECT &bad : {RECT{0, 0, 0, 30}, RECT{0, 9, 40, 8}, RECT{INT_MIN, 0, INT_MAX, 30},
                          RECT{0, INT_MIN, 9, INT_MAX}, RECT{INT_MAX - 9, 0, INT_MAX, 9}})
    EXPECT_EQ(draws(image, "a", bad, &font, 1), 0);
  test::NaiveImage read(40, 30, 24);
  read.Load(image);
  EXPECT_TRUE(read == test::NaiveImage(40, 30, 24));
  EXPECT_EQ(image.DrawTextA("a", nullptr, &font, 0xFFFFFF, 1), 1);
  read.Load(image);
  EXPECT_FALSE(read == test::NaiveImage(40, 30, 24));
}

}  // namespace

// Images in windows beside a picture painted pixel by pixel: every depth of image and screen, zooms, scrolls, gamma and
// repeat mode, and device bitmaps both ways.
#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <vector>

#include "display/screens.h"
#include "support/pixels.h"

namespace {

using test::OpenScreen;
using test::Screen;
using test::Window;

constexpr COLORREF kUntouched = 0;

void MakeRandom(PQel &image, int nType, long lWidth, long lHeight, std::mt19937 &random, int bBlock = 0) {
  ASSERT_TRUE(image.CreateImage(nType, lWidth, lHeight, 0, nullptr, 0, 0, 1, bBlock, 0));
  test::NaiveImage pixels(lWidth, lHeight, image.GetBitCount());
  pixels.Randomise(random);
  pixels.Store(image);
}

COLORREF ColorOf(PQel &image, long x, long y) {
  unsigned char p[4];
  image.Get24bitHorLine(x, x, y, p, nullptr);
  return RGB(p[2], p[1], p[0]);
}

TEST(Display, ShowsImagesOfEveryTypeZoomedAndScrolled) {
  std::mt19937 random(31);
  const Screen mode(32);
  OpenScreen screen;
  screen.DoInitial();
  for (int round = 0; round < 160; ++round) {
    const int nType = round % 10, nZoom = std::vector<int>{1, 0, 2, 3, 5, -2, -3, -1}[random() % 8];
    const bool bRepeat = random() % 3 == 0;
    PQel image;
    MakeRandom(image, nType, 31, 23, random, random() % 3 == 0);
    if (bRepeat) image.SetRepeat(0, 0);
    const long lBy = std::max(nZoom, 1), lStep = std::max(-nZoom, 1);
    CPoint scroll(static_cast<int>(random() % 40) - 8, static_cast<int>(random() % 30) - 8);
    scroll.x = static_cast<int>(scroll.x / lStep * lStep), scroll.y = static_cast<int>(scroll.y / lStep * lStep);
    CRect update(static_cast<int>(random() % 30) - 6, static_cast<int>(random() % 20) - 6,
                 static_cast<int>(random() % 40) + 20, static_cast<int>(random() % 40) + 15);
    SCOPED_TRACE(testing::Message() << "type " << nType << ", zoom " << nZoom << ", scroll " << scroll.x << ", "
                                    << scroll.y << ", update " << update.left << ", " << update.top << ", repeat "
                                    << bRepeat);
    const Window window(50, 40);
    screen.ShowImage(&image, scroll, window.hWnd, update, nZoom, window.hdc);
    const std::vector<COLORREF> colors = window.Colors();
    for (long y = 0; y < 40; ++y) {
      for (long x = 0; x < 50; ++x) {
        COLORREF expected = kUntouched;
        const long px = x - update.left, py = y - update.top;
        if (px >= 0 && py >= 0 && x < update.right && y < update.bottom) {
          const long ix = px / lBy * lStep + scroll.x, iy = py / lBy * lStep + scroll.y;
          if (bRepeat || (ix >= 0 && iy >= 0 && ix < 31 && iy < 23)) expected = ColorOf(image, ix, iy);
        }
        ASSERT_EQ(colors[static_cast<std::size_t>(50 * y + x)], expected) << x << ", " << y;
      }
    }
  }
}

TEST(Display, DiffusesWhatTheScreenCannotShow) {
  std::mt19937 random(37);
  for (const int nBits : {1, 4, 8}) {
    const Screen mode(nBits, 20);  // narrower than the window: the error rows grow
    OpenScreen screen;
    screen.DoInitial();
    screen.UseCommonPal(1);
    for (const int nType : {1, 3, 4, 7, 8}) {
      SCOPED_TRACE(testing::Message() << "type " << nType << " on " << nBits << " bits");
      PQel image;
      MakeRandom(image, nType, 45, 30, random);
      const int nDepth = std::min(image.GetBitCount(), 24) <= 8 ? image.GetBitCount() : 24;
      if (nDepth == 4 && nBits == 8) continue;  // shown with its own palette
      const Window window(45, 30);
      CPoint scroll(0, 0);
      CRect update(0, 0, 45, 30);
      CDC dc;
      dc.Attach(window.hdc);
      screen.ShowImage(&image, scroll, window.hWnd, update, 1, dc);
      dc.Detach();
      PALETTEENTRY entries[256] = {};
      if (nDepth <= 8) {
        CPalette palette;
        palette.Attach(image.GetPalette(nullptr));
        palette.GetPaletteEntries(0, 256, entries);
      }
      std::vector<int> current(135), next(135);
      for (long y = 0; y < 30; ++y) {
        unsigned char line[135], shown[45] = {};
        if (nDepth == 24)
          image.Get24bitHorLine(0, 44, y, line, nullptr);
        else
          image.GetHorLine(0, 44, y, line);
        screen.Diffuse1Line(shown, line, current.data(), next.data(), screen.m_pbyPalMap,
                            reinterpret_cast<unsigned char *>(entries),
                            reinterpret_cast<unsigned char *>(screen.m_pPalEntryStd), nDepth, nBits, 45);
        current.swap(next);
        for (int x = 0; x < 45; ++x) {
          const PALETTEENTRY &e = screen.m_pPalEntryStd[test::GetPacked(shown, nBits, x)];
          ASSERT_EQ(GetPixel(window.hdc, x, static_cast<int>(y)), RGB(e.peRed, e.peGreen, e.peBlue)) << x << ", " << y;
        }
      }
    }
  }
}

TEST(Display, TakesGammaMapsAndColourBlocksAlong) {
  std::mt19937 random(41);
  const Screen mode(32);
  OpenScreen screen;
  screen.DoInitial();
  screen.SetNewGamma(300, 200, 256);
  const auto gamma = [&screen](COLORREF c) {
    return RGB(screen.m_pbyGammaMap[GetRValue(c)], screen.m_pbyGammaMap[256 + GetGValue(c)],
               screen.m_pbyGammaMap[512 + GetBValue(c)]);
  };
  unsigned char map[1024];
  for (auto &v : map) v = static_cast<unsigned char>(random());
  CPoint scroll(2, 1);
  CRect update(3, 2, 200, 200);
  for (const int nType : {1, 3}) {
    PQel image;
    MakeRandom(image, nType, 40, 30, random);
    const Window window(50, 40), mapped(50, 40);
    screen.ShowImage(&image, scroll, window.hWnd, update, 1, window.hdc);
    screen.ShowImage(&image, scroll, mapped.hWnd, update, map, mapped.hdc);
    for (int y = 2; y < 31; ++y) {
      for (int x = 3; x < 41; ++x) {
        const COLORREF c = ColorOf(image, x - 1, y - 1);
        ASSERT_EQ(GetPixel(window.hdc, x, y), gamma(c)) << x << ", " << y;
        const COLORREF m =
            RGB(map[768 + map[GetRValue(c)]], map[768 + map[256 + GetGValue(c)]], map[768 + map[512 + GetBValue(c)]]);
        ASSERT_EQ(GetPixel(mapped.hdc, x, y), nType == 1 ? gamma(m) : kUntouched) << x << ", " << y;
      }
    }
  }
  const Window window(50, 40);
  RECT block = {10, 5, 90, 9};
  CDC dc;
  dc.Attach(window.hdc);
  screen.ShowColorBlock(dc, window.hWnd, &block, RGB(200, 100, 50));
  EXPECT_EQ(GetPixel(window.hdc, 49, 8), gamma(RGB(200, 100, 50)));
  EXPECT_EQ(GetPixel(window.hdc, 9, 8), kUntouched);
  EXPECT_EQ(GetPixel(window.hdc, 20, 9), kUntouched);
  PQel image;
  MakeRandom(image, 3, 20, 10, random);
  const COLORREF corner = ColorOf(image, 19, 9);
  void *const hDIB = image.Detach();
  RECT all = {0, 0, 50, 40};
  screen.SetNewGamma(0, 0, 0);
  screen.ShowImage(dc, static_cast<HBITMAP>(hDIB), window.hWnd, &all);
  EXPECT_EQ(GetPixel(window.hdc, 19, 9), corner);
  ASSERT_TRUE(image.Attach(hDIB));  // it is still the caller's
  dc.Detach();
}

TEST(Display, ShowsImagesWithoutAScreenContext) {
  std::mt19937 random(43);
  const Screen mode(32);
  for (int nType = 0; nType < 10; ++nType) {
    for (const int bBlock : {0, 1}) {
      SCOPED_TRACE(testing::Message() << "type " << nType << ", block " << bBlock);
      PQel image;
      MakeRandom(image, nType, 37, 21, random, bBlock);
      const Window window(60, 40), part(60, 40);
      RECT rc = {5, 4, 30, 40};
      image.ShowImage(window.hdc, &rc, 0, nullptr);
      POINT scroll = {6, 3};
      RECT area = {-2, 1, 50, 40};
      image.ShowImage(part.hWnd, part.hdc, &area, &scroll, 0, nullptr, nullptr);
      for (int y = 0; y < 40; ++y) {
        for (int x = 0; x < 60; ++x) {
          const bool bWhole = x >= 5 && x < 30 && y >= 4 && y < 25;
          const COLORREF shown = GetPixel(window.hdc, x, y), partShown = GetPixel(part.hdc, x, y);
          // 16-bit pixels are widened by the platform's rule
          if (nType != 6 && nType != 7)
            ASSERT_EQ(shown, bWhole ? ColorOf(image, x - 5, y - 4) : kUntouched) << x << ", " << y;
          const int ix = x + 2 + 6, iy = y - 1 + 3;
          ASSERT_EQ(partShown, y >= 1 && x < 50 && ix < 37 && iy < 21 ? ColorOf(image, ix, iy) : kUntouched)
              << x << ", " << y;
        }
      }
    }
  }
  PQel empty;
  const Window window(10, 10);
  empty.ShowImage(window.hdc, nullptr, 0, nullptr);
  OpenScreen screen;
  CPoint scroll(0, 0);
  CRect update(0, 0, 10, 10);
  screen.ShowImage(&empty, scroll, window.hWnd, update, 1, window.hdc);
  EXPECT_EQ(GetPixel(window.hdc, 0, 0), kUntouched);
}

TEST(Display, TurnsImagesIntoDeviceBitmapsAndBack) {
  std::mt19937 random(47);
  const Screen mode(32);
  for (const int nType : {0, 2, 3, 5, 1, 8}) {
    SCOPED_TRACE(nType);
    PQel image, back;
    MakeRandom(image, nType, 33, 19, random);
    const HBITMAP hBitmap = image.GetDDB();
    ASSERT_NE(hBitmap, nullptr);
    ASSERT_TRUE(back.CreateImage(hBitmap, nullptr, 1, 0));
    ASSERT_EQ(back.GetImageType(), 8);
    for (long y = 0; y < 19; ++y)
      for (long x = 0; x < 33; ++x) ASSERT_EQ(ColorOf(back, x, y), ColorOf(image, x, y)) << x << ", " << y;
  }
  PQel image;
  EXPECT_EQ(image.GetDDB(), nullptr);
  EXPECT_FALSE(image.CreateImage(static_cast<HBITMAP>(nullptr), nullptr, 0, 0));
  MakeRandom(image, 9, 4, 4, random);
  EXPECT_EQ(image.GetDDB(), nullptr);

  const Screen small(8);
  PQel palette, shown;
  MakeRandom(palette, 3, 33, 19, random);
  const HBITMAP hBitmap = palette.GetDDB();
  ASSERT_TRUE(shown.CreateImage(hBitmap, palette.GetPalette(nullptr), 1, 0));
  EXPECT_EQ(shown.GetImageType(), 3);
  for (long x = 0; x < 33; ++x) EXPECT_EQ(ColorOf(shown, x, 7), ColorOf(palette, x, 7)) << x;

  POINT pt = {3, 5};
  palette.LPtoIP(&pt);
  EXPECT_EQ(pt.x, 3);
  PQel smooth;
  MakeRandom(smooth, 1, 4, 4, random);
  ASSERT_TRUE(smooth.EnableAntiAlias(1));
  smooth.LPtoIP(&pt);
  EXPECT_TRUE(pt.x == 24 && pt.y == 40);
}

}  // namespace

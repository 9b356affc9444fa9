// Device contexts, bitmaps and windows: every screen depth and DIB format against a naive picture, one pixel at a time.

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cstring>
#include <random>
#include <tuple>
#include <utility>
#include <vector>

#include "qel/platform/gdi/blit.h"
#include "qel/platform/gdi/dib_transfer.h"
#include "qel/platform/gdi/palette.h"
#include "qel/platform/gdi/text.h"
#include "qel/platform/gdi/window.h"
#include "qel/platform/mfc/dc.h"
#include "qel/platform/screen.h"
#include "support/dib.h"

namespace {

constexpr ScreenMode kStandardMode = {32, 1, 1920, 1080, 96, 96};

ScreenMode Mode(int nBits, int nPlanes = 1) {
  return {nBits, nPlanes, 640, 480, 96, 96};
}

// A window, its context and a bitmap in memory of one size, in a mode of their own.
struct Desk {
  explicit Desk(const ScreenMode &mode, int nWidth = 64, int nHeight = 48) {
    SetScreenMode(mode);
    hWnd = CreateSurfaceWindow(nWidth, nHeight);
    hDC = GetDC(hWnd);
    hMemory = CreateCompatibleDC(hDC);
    hBitmap = CreateCompatibleBitmap(hDC, nWidth, nHeight);
    hFirst = SelectObject(hMemory, hBitmap);
  }
  ~Desk() {
    SelectObject(hMemory, hFirst);
    EXPECT_TRUE(DeleteObject(hBitmap) && DeleteDC(hMemory) && ReleaseDC(hWnd, hDC) && DestroyWindow(hWnd));
    SetScreenMode(kStandardMode);
  }

  HWND hWnd;
  HDC hDC, hMemory;
  HBITMAP hBitmap;
  HGDIOBJ hFirst;
};

using Colours = std::vector<PALETTEENTRY>;

Colours RandomColours(std::mt19937 &random, size_t nCount) {
  Colours colours(nCount);
  for (auto &c : colours) c = {BYTE(random()), BYTE(random()), BYTE(random()), 0};
  return colours;
}

HPALETTE MakePalette(const Colours &colours) {
  std::vector<DWORD> log(colours.size() + 1, 0x300 | static_cast<DWORD>(colours.size()) << 16);
  std::memcpy(log.data() + 1, colours.data(), 4 * colours.size());
  return CreatePalette(reinterpret_cast<const LOGPALETTE *>(log.data()));
}

COLORREF Rgb(const PALETTEENTRY &c) {
  return RGB(c.peRed, c.peGreen, c.peBlue);
}

COLORREF NearestOf(const Colours &colours, COLORREF rgb) {
  const auto distance = [&](const PALETTEENTRY &c) {
    const int r = c.peRed - GetRValue(rgb), g = c.peGreen - GetGValue(rgb), b = c.peBlue - GetBValue(rgb);
    return r * r + g * g + b * b;
  };
  return Rgb(*std::min_element(colours.begin(), colours.end(),
                               [&](const auto &a, const auto &b) { return distance(a) < distance(b); }));
}

// The colour that a screen shows: `colours` are those of its realised palette.
COLORREF ShownOn(int nDepth, const Colours &colours, COLORREF rgb) {
  const auto cut = [](int level, int bits) { return (level >> (8 - bits)) * 255 / ((1 << bits) - 1); };
  if (nDepth <= 8) return NearestOf(colours, rgb);
  if (nDepth > 16) return rgb & 0xFFFFFF;
  return RGB(cut(GetRValue(rgb), 5), cut(GetGValue(rgb), nDepth == 15 ? 5 : 6), cut(GetBValue(rgb), 5));
}

// A DIB of random content, and the colour of each of its pixels.
struct Picture {
  test::DibShape shape;
  std::vector<BYTE> dib;
  UINT nUsage;
  Colours palette;  // for indices

  Picture(std::mt19937 &random, test::DibShape s, UINT usage, const Colours &pal)
      : shape(std::move(s)), dib(test::BuildDib(shape, random)), nUsage(usage), palette(pal) {
    if (nUsage != DIB_PAL_COLORS || shape.bits > 8) return;
    for (size_t i = 0; i < size_t{1} << shape.bits; ++i) {
      const WORD wIndex = static_cast<WORD>(random() % (palette.size() + 2));
      std::memcpy(dib.data() + 40 + 2 * i, &wIndex, 2);
    }
  }

  BITMAPINFO *Info() { return reinterpret_cast<BITMAPINFO *>(dib.data()); }
  long Height() const { return std::abs(shape.height); }
  size_t Stride() const { return test::NaiveRowBytes(shape.bits, shape.width); }
  BYTE *Line(long l) { return dib.data() + dib.size() - (static_cast<size_t>(Height() - l)) * Stride(); }

  COLORREF At(long x, long y) {
    const auto value = test::GetPacked(Line(shape.height < 0 ? y : Height() - 1 - y), shape.bits, x);
    if (shape.bits <= 8 && nUsage == DIB_PAL_COLORS) {
      WORD wIndex;
      std::memcpy(&wIndex, dib.data() + 40 + 2 * value, 2);
      return wIndex < palette.size() ? Rgb(palette[wIndex]) : 0;
    }
    if (shape.bits <= 8) {
      const BYTE *quad = dib.data() + 40 + 4 * value;
      return RGB(quad[2], quad[1], quad[0]);
    }
    std::vector<DWORD> masks = shape.masks;
    if (masks.empty())
      masks = shape.bits == 16 ? std::vector<DWORD>{0x7C00, 0x3E0, 0x1F} : std::vector<DWORD>{0xFF0000, 0xFF00, 0xFF};
    unsigned levels[3];
    for (int c = 0; c < 3; ++c) levels[c] = static_cast<unsigned>((value & masks[c]) * 255 / masks[c]);
    return RGB(levels[0], levels[1], levels[2]);
  }
};

const std::vector<test::DibShape> kShapes = {{1, 37, 21},
                                             {4, 37, 21},
                                             {8, 37, -21},
                                             {16, 37, 21},
                                             {16, 37, -21, {0xF800, 0x7E0, 0x1F}},
                                             {24, 37, 21},
                                             {24, 37, -21},
                                             {32, 37, 21},
                                             {32, 37, 21, {0xFF, 0xFF00, 0xFF0000}}};

// Screens ------------------------------------------------------------------------------------------------------------

TEST(GdiTest, EveryScreenShowsEveryDibThroughItsPalette) {
  std::mt19937 random(81);
  for (const ScreenMode &mode : {Mode(1), Mode(4), Mode(1, 4), Mode(8), Mode(15), Mode(16), Mode(24), Mode(32)}) {
    const int nDepth = mode.nBitsPixel * mode.nPlanes;
    const Colours colours = RandomColours(random, nDepth <= 8 ? size_t{1} << nDepth : 200);
    for (const auto &shape : kShapes)
      for (const UINT nUsage : {DIB_RGB_COLORS, DIB_PAL_COLORS}) {
        const Desk desk(mode);
        const HPALETTE hPal = MakePalette(colours);
        const HPALETTE hOld = SelectPalette(desk.hDC, hPal, FALSE);
        EXPECT_EQ(RealizePalette(desk.hDC), nDepth <= 8 ? colours.size() : 0u);
        EXPECT_EQ(RealizePalette(desk.hDC), 0u);
        EXPECT_FALSE(DeleteObject(hPal));
        Picture picture(random, shape, nUsage, colours);
        ASSERT_EQ(SetDIBits(desk.hDC, desk.hBitmap, 0, 1000, picture.Line(0), picture.Info(), nUsage), 21);
        ASSERT_TRUE(BitBlt(desk.hDC, 5, 3, 37, 21, desk.hMemory, 0, 0, SRCCOPY));
        for (int y = 0; y < 21; ++y)
          for (int x = 0; x < 37; ++x)
            ASSERT_EQ(GetPixel(desk.hDC, x + 5, y + 3), ShownOn(nDepth, colours, picture.At(x, y)))
                << nDepth << " bits, DIB of " << shape.bits << " at " << x << ", " << y;
        EXPECT_EQ(GetPixel(desk.hDC, 4, 3) | GetPixel(desk.hDC, 42, 3) | GetPixel(desk.hDC, 5, 24), 0u);
        EXPECT_EQ(SetPixel(desk.hDC, 0, 0, 0xFF123456), ShownOn(nDepth, colours, 0x123456));
        EXPECT_EQ(SelectPalette(desk.hDC, hOld, TRUE), hPal);
        EXPECT_TRUE(DeleteObject(hPal));
      }
  }
}

TEST(GdiTest, ScreensWithoutAPaletteShowTheStaticColours) {
  for (const auto &[nBits, rgb, shown] :
       std::vector<std::tuple<int, COLORREF, COLORREF>>{{1, RGB(200, 90, 93), RGB(255, 255, 255)},
                                                        {1, RGB(120, 120, 120), 0},
                                                        {4, RGB(140, 130, 10), RGB(128, 128, 0)},
                                                        {8, RGB(160, 200, 240), RGB(166, 202, 240)},
                                                        {16, RGB(7, 4, 255), RGB(0, 4, 255)}}) {
    const Desk desk(Mode(nBits));
    EXPECT_EQ(SetPixel(desk.hDC, 1, 1, rgb), shown);
  }
  // A small palette leaves room for the static colours; one that is not realised changes nothing that is shown.
  const Desk desk(Mode(8));
  const HPALETTE hPal = MakePalette({{1, 2, 3, 0}});
  const HPALETTE hOld = SelectPalette(desk.hDC, hPal, FALSE);
  EXPECT_EQ(SetPixel(desk.hDC, 1, 1, RGB(1, 2, 3)), 0u);
  RealizePalette(desk.hDC);
  EXPECT_EQ(SetPixel(desk.hDC, 1, 1, RGB(1, 2, 3)), RGB(1, 2, 3));
  EXPECT_EQ(SetPixel(desk.hDC, 2, 1, RGB(255, 255, 255)), RGB(255, 255, 255));
  SelectPalette(desk.hDC, hOld, FALSE);
  EXPECT_EQ(RealizePalette(desk.hDC), 20u);
  EXPECT_EQ(GetPixel(desk.hDC, 1, 1), RGB(1, 2, 3));
  EXPECT_TRUE(DeleteObject(hPal));
}

// DIBs ---------------------------------------------------------------------------------------------------------------

TEST(GdiTest, LinesComeBackInEveryFormat) {
  std::mt19937 random(82);
  const Colours colours = RandomColours(random, 256);
  const Desk desk(Mode(32));
  const HPALETTE hPal = MakePalette(colours);
  const HPALETTE hOld = SelectPalette(desk.hDC, hPal, FALSE);
  for (const auto &shape : kShapes) {
    Picture source(random, {24, 37, 21}, DIB_RGB_COLORS, {});
    ASSERT_EQ(SetDIBits(desk.hDC, desk.hBitmap, 0, 21, source.Line(0), source.Info(), DIB_RGB_COLORS), 21);
    Picture read(random, shape, DIB_RGB_COLORS, {});
    // In two parts of lines that are not the first and last; the others stay.
    const std::vector<BYTE> before = read.dib;
    ASSERT_EQ(GetDIBits(desk.hDC, desk.hBitmap, 2, 5, read.Line(2), read.Info(), DIB_RGB_COLORS), 5);
    ASSERT_EQ(GetDIBits(desk.hDC, desk.hBitmap, 7, 100, read.Line(7), read.Info(), DIB_RGB_COLORS), 14);
    EXPECT_EQ(std::memcmp(read.Line(0), before.data() + (read.Line(0) - read.dib.data()), 2 * read.Stride()), 0);
    const Colours table(colours.begin(), colours.begin() + (shape.bits <= 8 ? 1 << shape.bits : 0));
    for (long l = 2; l < 21; ++l)
      for (int x = 0; x < 37; ++x) {
        const long y = shape.height < 0 ? l : 20 - l;
        const COLORREF rgb = source.At(x, y);
        const COLORREF wanted = shape.bits <= 8
                                    ? NearestOf(table, rgb)
                                    : ShownOn(shape.bits == 16 && shape.masks.empty() ? 15 : shape.bits, {}, rgb);
        ASSERT_EQ(read.At(x, y), wanted) << shape.bits << " bits at " << x << ", " << y;
      }
  }
  SelectPalette(desk.hDC, hOld, FALSE);
  EXPECT_TRUE(DeleteObject(hPal));
}

TEST(GdiTest, PartsOfPicturesLandWhereTheWholeOnesWould) {
  std::mt19937 random(83);
  for (const long lHeight : {60L, -60L, 30L, -30L}) {  // taller and lower than the bitmap
    const Desk desk(Mode(32));
    Picture picture(random, {24, 80, lHeight}, DIB_RGB_COLORS, {});
    const long lLines = picture.Height();
    EXPECT_EQ(SetDIBits(desk.hDC, desk.hBitmap, 0, 10, picture.Line(0), picture.Info(), DIB_RGB_COLORS), 10);
    EXPECT_EQ(SetDIBits(desk.hDC, desk.hBitmap, 10, 9999, picture.Line(10), picture.Info(), DIB_RGB_COLORS),
              lLines - 10);
    for (int y = 0; y < 48; ++y)
      for (int x = 0; x < 64; ++x) ASSERT_EQ(GetPixel(desk.hMemory, x, y), y < lLines ? picture.At(x, y) : 0u);
    EXPECT_EQ(SetDIBits(desk.hDC, desk.hBitmap, static_cast<UINT>(lLines), 1, picture.Line(0), picture.Info(), 0), 0);
    EXPECT_EQ(GetDIBits(desk.hDC, desk.hBitmap, 0, 999, picture.Line(0), picture.Info(), 0), std::min(lLines, 48L));
  }
}

TEST(GdiTest, DescribesBitmapsAndWritesOnlyTheTableThatIsThere) {
  const Desk desk(Mode(4), 30, 20);
  BITMAP description;
  EXPECT_EQ(GetObjectA(desk.hBitmap, sizeof description, &description), static_cast<int>(sizeof description));
  EXPECT_EQ(description.bmWidth * 1000 + description.bmHeight, 30020);
  EXPECT_EQ(description.bmPlanes * description.bmBitsPixel * 100 + description.bmWidthBytes, 416);
  struct {
    BITMAPINFOHEADER header;
    RGBQUAD table[16];
  } info = {};
  BITMAPINFO *pInfo = reinterpret_cast<BITMAPINFO *>(&info);
  info.header.biSize = 40;
  EXPECT_EQ(GetDIBits(desk.hDC, desk.hBitmap, 0, 0, nullptr, pInfo, DIB_RGB_COLORS), 20);
  EXPECT_EQ(info.header.biBitCount * 10000 + info.header.biWidth * 100 + info.header.biHeight, 43020);
  EXPECT_EQ(info.header.biSizeImage, 320u);
  info.header.biClrUsed = 5;
  std::memset(info.table, 0x77, sizeof info.table);
  EXPECT_EQ(GetDIBits(desk.hDC, desk.hBitmap, 0, 0, nullptr, pInfo, DIB_RGB_COLORS), 20);
  EXPECT_EQ(info.table[4].rgbBlue * 1000 + info.table[5].rgbReserved, 128119);
  EXPECT_EQ(GetDIBits(desk.hDC, desk.hBitmap, 0, 0, nullptr, pInfo, DIB_PAL_COLORS), 20);
  EXPECT_EQ(info.table[1].rgbBlue * 10 + info.table[1].rgbRed, 23);
}

TEST(GdiTest, UnsoundTransfersAreRefused) {
  std::mt19937 random(84);
  const Desk desk(Mode(32));
  const Picture sound(random, {24, 8, 8}, DIB_RGB_COLORS, {});
  const auto refuses = [&](auto change) {
    Picture picture = sound;
    change(picture.Info()->bmiHeader);
    return SetDIBits(desk.hDC, desk.hBitmap, 0, 8, picture.Line(0), picture.Info(), DIB_RGB_COLORS) == 0 &&
           GetDIBits(desk.hDC, desk.hBitmap, 0, 8, picture.Line(0), picture.Info(), DIB_RGB_COLORS) == 0;
  };
  EXPECT_FALSE(refuses([](BITMAPINFOHEADER &) {}));
  EXPECT_TRUE(refuses([](BITMAPINFOHEADER &h) { h.biSize = 12; }));
  EXPECT_TRUE(refuses([](BITMAPINFOHEADER &h) { h.biWidth = 0; }));
  EXPECT_TRUE(refuses([](BITMAPINFOHEADER &h) { h.biWidth = INT_MIN; }));
  EXPECT_TRUE(refuses([](BITMAPINFOHEADER &h) { h.biHeight = INT_MIN; }));
  EXPECT_TRUE(refuses([](BITMAPINFOHEADER &h) { h.biPlanes = 2; }));
  EXPECT_TRUE(refuses([](BITMAPINFOHEADER &h) { h.biBitCount = 48; }));
  EXPECT_TRUE(refuses([](BITMAPINFOHEADER &h) { h.biCompression = BI_RLE8; }));
  EXPECT_TRUE(refuses([](BITMAPINFOHEADER &h) { h.biCompression = BI_BITFIELDS; }));
  Picture picture = sound;
  EXPECT_EQ(SetDIBits(desk.hDC, desk.hBitmap, 0, 8, nullptr, picture.Info(), 0), 0);
  EXPECT_EQ(SetDIBits(desk.hDC, desk.hBitmap, 0, 8, picture.Line(0), nullptr, 0), 0);
  EXPECT_EQ(SetDIBits(desk.hDC, desk.hBitmap, 0, 8, picture.Line(0), picture.Info(), 2), 0);
  EXPECT_EQ(SetDIBits(nullptr, desk.hBitmap, 0, 8, picture.Line(0), picture.Info(), 0), 0);
  EXPECT_EQ(CreateDIBitmap(desk.hDC, &picture.Info()->bmiHeader, CBM_INIT, nullptr, picture.Info(), 0), nullptr);
  const HBITMAP hMade =
      CreateDIBitmap(desk.hDC, &picture.Info()->bmiHeader, CBM_INIT, picture.Line(0), picture.Info(), 0);
  SelectObject(desk.hMemory, hMade);
  EXPECT_EQ(GetPixel(desk.hMemory, 7, 0), picture.At(7, 0));
  SelectObject(desk.hMemory, desk.hBitmap);
  EXPECT_TRUE(DeleteObject(hMade));
}

// Blits and fills ----------------------------------------------------------------------------------------------------

TEST(GdiTest, RectanglesAreCutAndMayOverlap) {
  std::mt19937 random(85);
  const Desk desk(Mode(32), 40, 30);
  const auto shown = [&](int x, int y) { return GetPixel(desk.hDC, x, y); };
  const auto coordinate = [&]() {
    return random() % 8 == 0 ? (random() % 2 ? INT_MAX : INT_MIN) : int(random() % 100) - 50;
  };
  for (int i = 0; i < 300; ++i) {
    for (int k = 0; k < 60; ++k) SetPixel(desk.hDC, int(random() % 40), int(random() % 30), random());
    std::vector<COLORREF> before;
    for (int k = 0; k < 1200; ++k) before.push_back(shown(k % 40, k / 40));
    const long x = coordinate(), y = coordinate(), sx = coordinate(), sy = coordinate();
    const int w = random() % 9 == 0 ? INT_MAX : random() % 50, h = random() % 9 == 0 ? INT_MAX : random() % 50;
    ASSERT_TRUE(BitBlt(desk.hDC, int(x), int(y), w, h, desk.hDC, int(sx), int(sy), SRCCOPY));
    for (long k = 0; k < 1200; ++k) {
      const long cx = k % 40, cy = k / 40, fx = cx - x + sx, fy = cy - y + sy;
      const bool inside = cx >= x && cx < x + w && cy >= y && cy < y + h && fx >= 0 && fx < 40 && fy >= 0 && fy < 30;
      ASSERT_EQ(shown(int(cx), int(cy)), before[size_t(inside ? fy * 40 + fx : k)]);
    }
  }
  EXPECT_FALSE(BitBlt(desk.hDC, 0, 0, -1, 1, desk.hDC, 0, 0, SRCCOPY));
  EXPECT_FALSE(BitBlt(desk.hDC, 0, 0, 1, 1, desk.hDC, 0, 0, 0x00660046));
  EXPECT_FALSE(BitBlt(desk.hDC, 0, 0, 1, 1, nullptr, 0, 0, SRCCOPY));
}

TEST(GdiTest, MonochromeBitmapsTakeAndGiveTheContextsColours) {
  std::mt19937 random(86);
  const Desk desk(Mode(32), 50, 10);
  std::vector<BYTE> rows(10 * 8);
  for (auto &by : rows) by = static_cast<BYTE>(random());
  const HBITMAP hMono = CreateBitmap(50, 10, 1, 1, rows.data());
  SelectObject(desk.hMemory, hMono);
  EXPECT_EQ(SetTextColor(desk.hDC, RGB(1, 2, 3)), 0u);
  EXPECT_EQ(SetBkColor(desk.hDC, RGB(4, 5, 6)), 0xFFFFFFu);
  ASSERT_TRUE(BitBlt(desk.hDC, 0, 0, 50, 10, desk.hMemory, 0, 0, SRCCOPY));
  const auto bit = [&](int x, int y) { return test::GetPacked(rows.data() + 8 * y, 1, x) != 0; };
  for (int i = 0; i < 500; ++i)
    ASSERT_EQ(GetPixel(desk.hDC, i % 50, i / 50), bit(i % 50, i / 50) ? RGB(4, 5, 6) : RGB(1, 2, 3));
  for (const int nLeft : {0, 3, 8, 13})
    for (const int nWidth : {1, 2, 5, 8, 11, 37}) {
      const RECT rc = {nLeft, 2, nLeft + nWidth, 20};
      ASSERT_TRUE(
          FillRect(desk.hMemory, &rc, static_cast<HBRUSH>(GetStockObject(nWidth % 2 ? WHITE_BRUSH : BLACK_BRUSH))));
      for (int y = 0; y < 10; ++y)
        for (int x = nLeft; x < std::min(nLeft + nWidth, 50) && y >= 2; ++x)
          test::SetPacked(rows.data() + 8 * y, 1, x, nWidth % 2);
      for (int i = 0; i < 500; ++i)
        ASSERT_EQ(GetPixel(desk.hMemory, i % 50, i / 50), bit(i % 50, i / 50) ? 0xFFFFFFu : 0u)
            << nLeft << " " << nWidth;
    }
  ASSERT_TRUE(BitBlt(desk.hMemory, 3, 1, 40, 9, desk.hDC, 1, 0, SRCCOPY));  // back: the background becomes white
  for (int i = 0; i < 360; ++i)
    ASSERT_EQ(GetPixel(desk.hMemory, i % 40 + 3, i / 40 + 1) == 0xFFFFFF,
              GetPixel(desk.hDC, i % 40 + 1, i / 40) == RGB(4, 5, 6));
  SelectObject(desk.hMemory, desk.hBitmap);
  EXPECT_TRUE(DeleteObject(hMono));
}

// Handles ------------------------------------------------------------------------------------------------------------

TEST(GdiTest, SelectedObjectsStayAndFitTheirContext) {
  const Desk desk(Mode(8), 5, 5);
  EXPECT_FALSE(DeleteObject(desk.hBitmap));
  const HDC hOther = CreateCompatibleDC(nullptr);
  EXPECT_EQ(SelectObject(hOther, desk.hBitmap), nullptr);                         // in two contexts
  EXPECT_EQ(SelectObject(desk.hDC, CreateBitmap(1, 1, 1, 1, nullptr)), nullptr);  // a window's
  EXPECT_EQ(SelectObject(hOther, CreateBitmap(1, 1, 1, 24, nullptr)), nullptr);   // another depth
  EXPECT_EQ(SelectObject(hOther, GetStockObject(WHITE_BRUSH)), nullptr);
  EXPECT_EQ(SelectObject(hOther, GetStockObject(DEFAULT_PALETTE)), nullptr);
  EXPECT_TRUE(DeleteObject(GetStockObject(WHITE_BRUSH)));
  EXPECT_NE(GetStockObject(WHITE_BRUSH), nullptr);
  const HBITMAP hMine = CreateCompatibleBitmap(desk.hDC, 3, 3);
  EXPECT_EQ(SelectObject(hOther, hMine), desk.hFirst);
  EXPECT_FALSE(ReleaseDC(nullptr, hOther) || DeleteDC(desk.hDC) || DeleteObject(hMine));
  EXPECT_TRUE(DeleteDC(hOther) && DeleteObject(hMine));
  EXPECT_FALSE(DeleteDC(hOther));
  for (const auto &[w, h] : {std::pair{0, 5}, {5, 0}, {-1, 5}, {INT_MAX, INT_MAX}}) {
    EXPECT_EQ(CreateCompatibleBitmap(desk.hDC, w, h), nullptr);
    EXPECT_EQ(CreateBitmap(w, h, 1, 1, nullptr), nullptr);
  }
}

TEST(GdiTest, WindowsEndWithTheirContextsAndTheDesktopHasNoPixels) {
  const HWND hWnd = CreateSurfaceWindow(7, 9), hEmpty = CreateSurfaceWindow(0, 0);
  const HDC hDC = GetDC(hWnd), hScreen = GetDC(nullptr);
  RECT rc;
  EXPECT_TRUE(GetClientRect(hWnd, &rc) && rc.right == 7 && rc.bottom == 9);
  EXPECT_TRUE(GetClientRect(GetDesktopWindow(), &rc) && rc.right == 1920 && rc.bottom == 1080);
  EXPECT_TRUE(GetClientRect(hEmpty, &rc) && rc.right == 0 && rc.bottom == 0);
  EXPECT_EQ(SetPixel(hDC, 6, 8, RGB(1, 2, 3)), RGB(1, 2, 3));
  EXPECT_EQ(SetPixel(hDC, 7, 8, 0), CLR_INVALID);
  EXPECT_EQ(SetPixel(hScreen, 0, 0, 0), CLR_INVALID);
  EXPECT_FALSE(BitBlt(hScreen, 0, 0, 1, 1, hDC, 0, 0, SRCCOPY) || FillRect(hScreen, &rc, nullptr));
  EXPECT_FALSE(ReleaseDC(nullptr, hDC) || ReleaseDC(hWnd, hScreen));
  {
    CClientDC dc(hWnd);
    EXPECT_EQ(GetPixel(dc, 6, 8), RGB(1, 2, 3));
    EXPECT_FALSE(dc.Attach(hScreen));
  }
  EXPECT_TRUE(DestroyWindow(hWnd) && DestroyWindow(hEmpty) && ReleaseDC(nullptr, hScreen));
  EXPECT_FALSE(DestroyWindow(hWnd) || GetClientRect(hWnd, &rc) || ReleaseDC(hWnd, hDC));
  EXPECT_EQ(GetPixel(hDC, 6, 8), CLR_INVALID);
  EXPECT_EQ(GetDC(hWnd), nullptr);
  EXPECT_EQ(CreateSurfaceWindow(-1, 4), nullptr);
}

}  // namespace

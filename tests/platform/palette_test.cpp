// Palettes against a naive search, their handles against garbage, and their owner class.

#include "qel/platform/gdi/palette.h"

#include <gtest/gtest.h>

#include <cstring>
#include <random>
#include <vector>

#include "qel/platform/gdi/device_context.h"
#include "qel/platform/gdi/window.h"
#include "qel/platform/mfc/palette.h"

namespace {

// A logical palette of random entries.
struct RandomPalette {
  std::vector<PALETTEENTRY> entries;
  std::vector<std::uint32_t> record;

  // With few levels, so that equal entries and equal distances come up.
  RandomPalette(std::mt19937 &random, size_t count, int levels) : entries(count), record(count + 1) {
    for (auto &entry : entries) {
      for (BYTE *byte : {&entry.peRed, &entry.peGreen, &entry.peBlue})
        *byte = static_cast<BYTE>(random() % static_cast<unsigned>(levels) * 255 / static_cast<unsigned>(levels - 1));
      entry.peFlags = static_cast<BYTE>(random());
    }
    const WORD header[2] = {0x300, static_cast<WORD>(count)};
    std::memcpy(record.data(), header, 4);
    std::memcpy(record.data() + 1, entries.data(), count * 4);
  }

  const LOGPALETTE *Log() const { return reinterpret_cast<const LOGPALETTE *>(record.data()); }

  UINT Nearest(int red, int green, int blue) const {
    UINT nearest = 0;
    long least = 1L << 40;
    for (UINT i = 0; i < entries.size(); ++i) {
      const long r = entries[i].peRed - red, g = entries[i].peGreen - green, b = entries[i].peBlue - blue;
      if (r * r + g * g + b * b < least) least = r * r + g * g + b * b, nearest = i;
    }
    return nearest;
  }
};

bool Same(const std::vector<PALETTEENTRY> &a, const PALETTEENTRY *b, size_t count) {
  return std::memcmp(a.data(), b, count * sizeof(PALETTEENTRY)) == 0;
}

TEST(PaletteTest, NearestAndEntriesMatchANaiveSearch) {
  std::mt19937 random(3);
  for (const size_t count : {1u, 2u, 16u, 255u, 256u, 257u, 65535u}) {
    for (const int levels : {2, 4, 256}) {
      const RandomPalette palette(random, count, levels);
      const HPALETTE hPal = CreatePalette(palette.Log());
      ASSERT_NE(hPal, nullptr);
      for (int i = 0; i < 100; ++i) {
        const int red = random() & 255, green = random() & 255, blue = random() & 255;
        ASSERT_EQ(GetNearestPaletteIndex(hPal, RGB(red, green, blue) | (i & 1 ? 0x02000000u : 0u)),
                  palette.Nearest(red, green, blue));
      }
      std::vector<PALETTEENTRY> read(count + 3, PALETTEENTRY{1, 2, 3, 4});
      EXPECT_EQ(GetPaletteEntries(hPal, 0, static_cast<UINT>(-1), nullptr), count);
      EXPECT_EQ(GetPaletteEntries(hPal, 0, static_cast<UINT>(-1), read.data()), count);
      EXPECT_TRUE(Same(palette.entries, read.data(), count));
      EXPECT_EQ(read[count].peFlags, 4);
      EXPECT_EQ(GetPaletteEntries(hPal, static_cast<UINT>(count - 1), 2, read.data() + count), 1u);
      EXPECT_EQ(read[count].peFlags, palette.entries.back().peFlags);
      EXPECT_EQ(read[count + 1].peFlags, 4);
      EXPECT_EQ(GetPaletteEntries(hPal, static_cast<UINT>(count), 1, read.data()), 0u);
      EXPECT_EQ(GetPaletteEntries(hPal, static_cast<UINT>(-1), 2, read.data()), 0u);
      EXPECT_TRUE(DeleteObject(hPal));
    }
  }
}

TEST(PaletteTest, UnsoundRecordsAndHandlesGiveNothing) {
  LOGPALETTE log = {0x300, 1, {{1, 2, 3, 4}}};
  EXPECT_EQ(CreatePalette(nullptr), nullptr);
  log.palVersion = 0x301;
  EXPECT_EQ(CreatePalette(&log), nullptr);
  log.palVersion = 0x300, log.palNumEntries = 0;
  EXPECT_EQ(CreatePalette(&log), nullptr);
  log.palNumEntries = 1;

  const HPALETTE hPal = CreatePalette(&log);
  WORD wEntries = 0;
  EXPECT_EQ(GetObjectA(hPal, 0, nullptr), 2);
  EXPECT_EQ(GetObjectA(hPal, 8, &wEntries), 2);
  EXPECT_EQ(wEntries, 1);
  EXPECT_EQ(GetObjectA(hPal, 1, &wEntries), 0);
  EXPECT_EQ(GetObjectA(hPal, -1, &wEntries), 0);

  const HDC hDC = GetDC(nullptr);
  const HPALETTE hDeleted = CreatePalette(&log);
  EXPECT_TRUE(DeleteObject(hDeleted));
  int nLocal = 0;
  for (const HGDIOBJ hBad : {HGDIOBJ{nullptr}, HGDIOBJ{hDeleted}, HGDIOBJ{hDC}, HGDIOBJ{&nLocal}, INVALID_HANDLE_VALUE,
                             HGDIOBJ{GetDesktopWindow()}}) {
    const HPALETTE hBadPal = static_cast<HPALETTE>(hBad);
    PALETTEENTRY entry;
    EXPECT_FALSE(DeleteObject(hBad));
    EXPECT_EQ(GetObjectA(hBad, 8, &wEntries), 0);
    EXPECT_EQ(GetPaletteEntries(hBadPal, 0, 1, &entry), 0u);
    EXPECT_EQ(GetPaletteEntries(hBadPal, 0, 1, nullptr), 0u);
    EXPECT_EQ(GetNearestPaletteIndex(hBadPal, 0), static_cast<UINT>(-1));
  }
  EXPECT_TRUE(DeleteObject(hPal));
  EXPECT_TRUE(ReleaseDC(nullptr, hDC));
}

TEST(PaletteTest, OwnersDeleteWhatTheyHold) {
  LOGPALETTE log = {0x300, 1, {{1, 2, 3, 4}}};
  HPALETTE hFirst, hSecond, hThird;
  {
    CPalette palette;
    EXPECT_FALSE(palette.DeleteObject());
    EXPECT_EQ(palette.GetPaletteEntries(0, 1, nullptr), 0u);
    ASSERT_TRUE(palette.CreatePalette(&log));
    hFirst = palette;
    log.palNumEntries = 0;  // a refused record leaves what is held
    EXPECT_FALSE(palette.CreatePalette(&log));
    EXPECT_EQ(palette.GetSafeHandle(), hFirst);
    log.palNumEntries = 1;
    ASSERT_TRUE(palette.CreatePalette(&log));
    hSecond = palette;
    EXPECT_FALSE(DeleteObject(hFirst));
    EXPECT_FALSE(palette.Attach(hSecond));
    hThird = CreatePalette(&log);
    EXPECT_FALSE(palette.Attach(hThird));
    EXPECT_EQ(palette.Detach(), hSecond);
    EXPECT_FALSE(palette.Attach(nullptr));
    EXPECT_TRUE(palette.Attach(hThird));
    EXPECT_EQ(palette.GetNearestPaletteIndex(RGB(9, 9, 9)), 0u);
    EXPECT_TRUE(palette.IsKindOf(RUNTIME_CLASS(CGdiObject)) && palette.IsKindOf(RUNTIME_CLASS(CObject)));
  }
  EXPECT_FALSE(DeleteObject(hThird));
  EXPECT_TRUE(DeleteObject(hSecond));
}

}  // namespace

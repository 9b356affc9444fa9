// The screen context: measures, palettes, maps and gamma on screens of every depth.
#include <gtest/gtest.h>

#include <cmath>
#include <memory>

#include "display/screens.h"
#include "qel/convert/palette_map.h"

namespace {

using test::OpenScreen;

TEST(ScreenContext, MeasuresScreensOfEveryDepth) {
  for (const int nBits : {1, 4, 8, 16, 24, 32}) {
    SCOPED_TRACE(nBits);
    const test::Screen mode(nBits);
    OpenScreen screen;
    screen.DoInitial();
    EXPECT_EQ(screen.GetScreenBits(), nBits > 8 ? 24 : nBits);
    EXPECT_EQ(screen.GetDefaultDPIX(), 96);
    EXPECT_EQ(screen.GetDefaultDPIY(), 120);
    EXPECT_EQ(screen.m_nScreenWidth, 320);
    EXPECT_EQ(screen.m_pbi->bmiHeader.biXPelsPerMeter, 96 * 5000 / 127);
    EXPECT_EQ(screen.m_pbi->bmiHeader.biYPelsPerMeter, 120 * 5000 / 127);
    EXPECT_EQ(screen.m_pbyRGBMap2 - screen.m_pbyRGBMap, 32384);
    EXPECT_EQ(screen.m_pbyGammaMap - screen.m_pbyRGBMap, 64768);
    EXPECT_EQ(reinterpret_cast<unsigned char *>(screen.m_plErr2) - screen.m_pbyPalMap, 4608 + 12 * 320);
    EXPECT_EQ(reinterpret_cast<unsigned char *>(screen.m_pPalEntryStd) - screen.m_pbyPalMap, 5632 + 24 * 320);

    const int nType = nBits == 1 ? 0 : nBits == 4 ? 2 : 3, nColors = screen.GetColorNum(screen.GetScreenBits(), 256);
    EXPECT_EQ(nColors, PQel::GetMaxClrUsed(nType));
    RGBQUAD table[256];
    PQel::BuildStdPalette(nType, table);
    for (int i = 0; i < nColors; ++i) {
      EXPECT_EQ(screen.m_pPalEntryStd[i].peRed, table[i].rgbRed) << i;
      EXPECT_EQ(screen.m_pPalEntryStd[i].peBlue, table[i].rgbBlue) << i;
      EXPECT_EQ(screen.m_pwPalIndex[i], i);
    }
    unsigned char map[4096];
    qel::convert::ComputeStdPaletteMap(map, nType);
    EXPECT_TRUE(std::equal(map, map + 4096, screen.m_pbyPalMap));
    EXPECT_EQ(screen.GetCurrPalette(), screen.GetStdPalette());
  }
  const std::unique_ptr<CObject> made(RUNTIME_CLASS(PScrbase)->CreateObject());
  EXPECT_TRUE(made->IsKindOf(RUNTIME_CLASS(PScrbase)));  // and ends without having begun
}

TEST(ScreenContext, CorrectsGammaByTables) {
  const test::Screen mode(8);
  OpenScreen screen;
  screen.DoInitial();
  screen.SetNewGamma(0, 0, 0);
  EXPECT_FALSE(screen.m_bGamma);
  screen.SetNewGamma(512, 256, 100);
  EXPECT_TRUE(screen.m_bGamma);
  EXPECT_EQ(screen.m_pbyGammaMap[64], 127);
  for (int i = 0; i < 256; ++i) {
    EXPECT_EQ(screen.m_pbyGammaMap[256 + i], i);
    EXPECT_EQ(screen.m_pbyGammaMap[512 + i], static_cast<int>(255 * std::pow(i / 255.0, 2.56))) << i;
  }
  PALETTEENTRY entry, plain;
  screen.m_palGamma.GetPaletteEntries(100, 1, &entry);
  screen.GetStdPalette()->GetPaletteEntries(100, 1, &plain);
  EXPECT_EQ(entry.peRed, screen.m_pbyGammaMap[plain.peRed]);
  EXPECT_EQ(entry.peBlue, screen.m_pbyGammaMap[512 + plain.peBlue]);
  const HGDIOBJ hBefore = screen.m_palGamma.GetSafeHandle();
  screen.SetNewGamma(512, 256, 100);
  EXPECT_EQ(screen.m_palGamma.GetSafeHandle(), hBefore);  // nothing is built anew
  unsigned char line[] = {10, 20, 64, 1, 2, 3, 99};
  screen.GammaMapping(line, screen.m_pbyGammaMap, 3);
  EXPECT_EQ(line[2], 127);
  EXPECT_EQ(line[5], 3);
  screen.SetNewGamma(0, 0, 0);
  screen.GammaMapping(line, screen.m_pbyGammaMap, 3);
  EXPECT_EQ(line[2], 127);  // off

  auto *const pOwn = new CPalette;
  pOwn->Attach(PQel::CreateLogicalPalette(2));
  screen.SetCurrPalette(pOwn, 0);
  EXPECT_EQ(screen.GetCurrPalette(), pOwn);
  screen.UseCommonPal(1);
  screen.SetCurrPalette(nullptr, 1);  // the caller's palette ends
  EXPECT_EQ(screen.GetCurrPalette(), screen.GetStdPalette());
}

}  // namespace

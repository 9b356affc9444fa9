// Palettes: the standard tables against naive ones, gray detection, and the ways to and from logical palettes.
#include <gtest/gtest.h>

#include "qel/platform/gdi/palette.h"
#include "support/pixels.h"
#include "support/probe.h"

namespace {

using test::Probe;
using Table = std::vector<RGBQUAD>;

bool Same(const RGBQUAD &a, const RGBQUAD &b) {
  return std::memcmp(&a, &b, sizeof a) == 0;
}

void ExpectSame(const RGBQUAD *have, const Table &want) {
  for (std::size_t i = 0; i < want.size(); ++i) EXPECT_TRUE(Same(have[i], want[i])) << "entry " << i;
}

RGBQUAD Quad(int red, int green, int blue, int reserved = 0) {
  return {static_cast<BYTE>(blue), static_cast<BYTE>(green), static_cast<BYTE>(red), static_cast<BYTE>(reserved)};
}

Table NaiveStandard(int type) {
  const int base[16][3] = {{0, 0, 0},     {0, 0, 128},     {0, 128, 0},     {0, 128, 128},  {128, 0, 0}, {128, 0, 128},
                           {128, 128, 0}, {192, 192, 192}, {128, 128, 128}, {0, 0, 255},    {0, 255, 0}, {0, 255, 255},
                           {255, 0, 0},   {255, 0, 255},   {255, 255, 0},   {255, 255, 255}};
  Table table;
  if (type == 0) return {Quad(0, 0, 0), Quad(255, 255, 255)};
  if (type == 4 || type == 5) {
    for (int i = 0; i < (type == 4 ? 16 : 256); ++i) table.push_back(Quad(0, 0, 0));
    for (std::size_t i = 0; i < table.size(); ++i) {
      const int gray = static_cast<int>(i) * (type == 4 ? 17 : 1);
      table[i] = Quad(gray, gray, gray);
    }
    return table;
  }
  for (const auto &c : base) table.push_back(Quad(c[0], c[1], c[2]));
  if (type == 2) return table;
  const auto level = [](int k) { return k == 0 ? 0 : 51 * k - 1; };
  for (int r = 0; r < 6; ++r)
    for (int g = 0; g < 6; ++g)
      for (int b = 0; b < 6; ++b) table.push_back(Quad(level(r), level(g), level(b)));
  for (int k = 0; k < 23; ++k) table.push_back(Quad(11 * k, 11 * k, 11 * k));
  table.push_back(Quad(255, 255, 255));
  return table;
}

/// A logical palette of any entries, flags included.
HPALETTE MakePalette(const std::vector<PALETTEENTRY> &entries) {
  std::vector<unsigned char> bytes(4 + 4 * entries.size());
  const WORD front[2] = {0x300, static_cast<WORD>(entries.size())};
  std::memcpy(bytes.data(), front, 4);
  std::memcpy(bytes.data() + 4, entries.data(), 4 * entries.size());
  return ::CreatePalette(reinterpret_cast<LOGPALETTE *>(bytes.data()));
}

std::vector<PALETTEENTRY> RandomEntries(std::size_t count, unsigned seed) {
  std::mt19937 random(seed);
  std::vector<PALETTEENTRY> entries(count);
  for (auto &e : entries)
    e = {static_cast<BYTE>(random()), static_cast<BYTE>(random()), static_cast<BYTE>(random()),
         static_cast<BYTE>(random())};
  return entries;
}

TEST(Palette, StandardTables) {
  for (int type = -1; type <= 11; ++type) {
    RGBQUAD table[257];
    std::memset(table, 0xEE, sizeof table);
    EXPECT_EQ(PQel::BuildStdPalette(type, table), 1);
    const Table want = type < 0 || type > 9 ? Table{} : NaiveStandard(type);
    ASSERT_EQ(static_cast<int>(want.size()), PQel::GetMaxClrUsed(type));
    ExpectSame(table, want);
    EXPECT_TRUE(Same(table[want.size()], Quad(0xEE, 0xEE, 0xEE, 0xEE))) << "nothing behind the table";
  }
  EXPECT_EQ(PQel::BuildStdPalette(3, nullptr), 0);
}

TEST(Palette, SharedTables) {
  for (int i = 0; i < 16; ++i) {
    const PALETTEENTRY &e = PQel::m_palEntryStd[i];
    EXPECT_TRUE(Same(Quad(e.peRed, e.peGreen, e.peBlue, e.peFlags), NaiveStandard(2)[static_cast<std::size_t>(i)]));
  }
  for (int i = 0; i < 8; ++i) {
    EXPECT_EQ(PQel::m_byMonoORBit[i], 0x80 >> i);
    EXPECT_EQ(PQel::m_byMask[i], i == 0 ? 0xFF : 0xFF << (8 - i) & 0xFF);
  }
}

TEST(Palette, GrayTablesMakeGrayTypes) {
  for (const auto &[type, gray, palette] : {std::array{4, 4, 2}, {5, 5, 3}}) {
    Probe image;
    ASSERT_EQ(image.CreateImage(type, 5, 5, 0, nullptr, 1, 1, 1, 0, 0), 1);
    EXPECT_EQ(image.GetImageType(), gray);
    const int last = PQel::GetMaxClrUsed(type) - 1;
    for (int i : {0, 1, last / 2, last}) {
      for (BYTE RGBQUAD::*channel : {&RGBQUAD::rgbRed, &RGBQUAD::rgbGreen, &RGBQUAD::rgbBlue}) {
        image.m_pRGBQuad[i].*channel ^= 1;
        image.UpdateImageType();
        EXPECT_EQ(image.GetImageType(), palette) << "entry " << i;
        image.m_pRGBQuad[i].*channel ^= 1;
      }
      image.m_pRGBQuad[i].rgbReserved = 77;  // not compared
      image.UpdateImageType();
      EXPECT_EQ(image.GetImageType(), gray);
    }
    image.GetBIH()->biClrUsed = static_cast<DWORD>(last);
    image.UpdateImageType();
    EXPECT_EQ(image.GetImageType(), palette) << "a ramp that is not used whole";
    image.GetBIH()->biClrUsed = 0;
    image.UpdateImageType();
    EXPECT_EQ(image.GetImageType(), gray);
  }
}

TEST(Palette, RecognisesStandardPalettes) {
  for (int type : {0, 2, 3, 4, 5}) {
    HPALETTE pal = PQel::CreateLogicalPalette(type);
    ASSERT_NE(pal, nullptr);
    EXPECT_EQ(PQel::IsStdPalette(pal), 1) << "type " << type;
    std::vector<PALETTEENTRY> entries(static_cast<std::size_t>(PQel::GetColorNum(pal)));
    ASSERT_EQ(entries.size(), static_cast<std::size_t>(PQel::GetMaxClrUsed(type)));
    GetPaletteEntries(pal, 0, static_cast<UINT>(entries.size()), entries.data());
    DeleteObject(pal);
    auto changed = entries;
    changed.back().peFlags = 1;
    pal = MakePalette(changed);
    EXPECT_EQ(PQel::IsStdPalette(pal), 0) << "a flags byte counts";
    DeleteObject(pal);
    changed = entries;
    changed.front().peGreen ^= 1;
    pal = MakePalette(changed);
    EXPECT_EQ(PQel::IsStdPalette(pal), 0);
    DeleteObject(pal);
    entries.push_back({});
    pal = MakePalette(entries);
    EXPECT_EQ(PQel::IsStdPalette(pal), 0) << "another count";
    DeleteObject(pal);
  }
  EXPECT_EQ(PQel::IsStdPalette(nullptr), 0);
  EXPECT_EQ(PQel::CreateLogicalPalette(10), nullptr);
}

TEST(Palette, ReadsLogicalPalettes) {
  for (std::size_t count : {1u, 20u, 256u, 300u}) {
    const auto entries = RandomEntries(count, 5);
    const HPALETTE pal = MakePalette(entries);
    EXPECT_EQ(PQel::GetColorNum(pal), static_cast<int>(count));
    const std::size_t read = std::min<std::size_t>(count, 256);
    std::vector<unsigned char> rgb(257 * 3, 0xEE);
    std::vector<RGBQUAD> quads(257, Quad(0xEE, 0xEE, 0xEE, 0xEE));
    EXPECT_EQ(PQel::GetPaletteRGB(pal, rgb.data()), 1);
    EXPECT_EQ(PQel::GetPaletteRGBQuad(pal, quads.data()), 1);
    for (std::size_t i = 0; i < read; ++i) {
      const auto &e = entries[i];
      EXPECT_TRUE(rgb[3 * i] == e.peRed && rgb[3 * i + 1] == e.peGreen && rgb[3 * i + 2] == e.peBlue);
      EXPECT_TRUE(Same(quads[i], Quad(e.peRed, e.peGreen, e.peBlue, e.peFlags)));
    }
    EXPECT_EQ(rgb[3 * read], 0xEE);
    EXPECT_EQ(quads[read].rgbRed, 0xEE);
    EXPECT_EQ(PQel::GetPaletteRGB(pal, nullptr) | PQel::GetPaletteRGBQuad(pal, nullptr), 0);
    DeleteObject(pal);
    EXPECT_EQ(PQel::GetColorNum(pal), 0) << "a deleted palette";
    EXPECT_EQ(PQel::GetPaletteRGBQuad(pal, quads.data()), 0);
  }
  unsigned char rgb[3];
  EXPECT_EQ(PQel::GetPaletteRGB(nullptr, rgb), 0);
  EXPECT_EQ(PQel::GetColorNum(nullptr), 0);
}

TEST(Palette, CreatesThroughAMap) {
  std::mt19937 random(8);
  unsigned char map[768];
  for (auto &m : map) m = static_cast<unsigned char>(random());
  RGBQUAD table[256];
  for (auto &q : table) q = Quad(random() & 255, random() & 255, random() & 255, 200);
  CPalette pal;
  EXPECT_EQ(PQel::CreatePalette(pal, 0, nullptr, table), 0);
  EXPECT_EQ(PQel::CreatePalette(pal, -5, nullptr, table), 0);
  EXPECT_EQ(PQel::CreatePalette(pal, 257, nullptr, table), 0);
  EXPECT_EQ(PQel::CreatePalette(pal, 5, nullptr, nullptr), 0);
  EXPECT_EQ(pal.GetSafeHandle(), nullptr);
  for (const int count : {1, 17, 256}) {
    for (unsigned char *m : {static_cast<unsigned char *>(nullptr), map}) {
      const HGDIOBJ old = pal.GetSafeHandle();
      ASSERT_EQ(PQel::CreatePalette(pal, count, m, table), 1);
      EXPECT_EQ(PQel::GetColorNum(pal), count);
      EXPECT_TRUE(old == nullptr || old == pal.GetSafeHandle() || GetObjectA(old, 0, nullptr) == 0)
          << "the old one is gone";
      RGBQUAD back[256];
      ASSERT_EQ(PQel::GetPaletteRGBQuad(pal, back), 1);
      for (int i = 0; i < count; ++i) {
        const RGBQUAD &q = table[i];
        const RGBQUAD want = m ? Quad(map[q.rgbRed], map[256 + q.rgbGreen], map[512 + q.rgbBlue])
                               : Quad(q.rgbRed, q.rgbGreen, q.rgbBlue);
        EXPECT_TRUE(Same(back[i], want)) << i;
      }
    }
  }
  const HGDIOBJ kept = pal.GetSafeHandle();
  EXPECT_EQ(PQel::CreatePalette(pal, 0, nullptr, table), 0);
  EXPECT_EQ(pal.GetSafeHandle(), kept);
}

TEST(Palette, OfAnImage) {
  for (int type = 0; type < 10; ++type) {
    Probe image;
    ASSERT_EQ(image.CreateImage(type, 5, 5, type == 9 ? 30 : 0, nullptr, 1, 1, 1, 0, 0), 1);
    const int want = type == 9 ? 30 : image.GetBitCount() < 9 ? PQel::GetMaxClrUsed(type) : 0;
    const HPALETTE pal = image.GetPalette(nullptr);
    EXPECT_EQ(PQel::GetColorNum(pal), want) << "type " << type;
    EXPECT_EQ(pal == nullptr, want == 0);
    DeleteObject(pal);
  }
  Probe image;
  ASSERT_EQ(image.CreateImage(2, 5, 5, 0, nullptr, 1, 1, 1, 0, 0), 1);
  image.GetBIH()->biClrUsed = 0;
  const HPALETTE pal = image.GetPalette(nullptr);
  EXPECT_EQ(PQel::GetColorNum(pal), 16);
  DeleteObject(pal);
}

TEST(Palette, IntoAnImage) {
  for (std::size_t count : {4u, 16u, 20u}) {
    for (int keep : {0, 1}) {
      Probe image;
      ASSERT_EQ(image.CreateImage(2, 5, 5, 0, nullptr, 1, 1, 4, 0, 0), 1);
      const auto entries = RandomEntries(count, 23);
      const HPALETTE pal = MakePalette(entries);
      EXPECT_EQ(image.SetPalette(pal, !keep), 1);
      EXPECT_EQ(DeleteObject(pal), keep);
      Table want = NaiveStandard(2);
      for (std::size_t i = 0; i < std::min<std::size_t>(count, 16); ++i)
        want[i] = Quad(entries[i].peRed, entries[i].peGreen, entries[i].peBlue, entries[i].peFlags);
      ExpectSame(image.m_pRGBQuad, want);
      RGBQUAD stored[16];
      ASSERT_EQ(image.m_pMem->GetBlock(40, 64, reinterpret_cast<unsigned char *>(stored)), 1);
      ExpectSame(stored, want);
    }
  }
  Probe image, deep;
  ASSERT_EQ(image.CreateImage(3, 5, 5, 0, nullptr, 1, 1, 1, 0, 0), 1);
  EXPECT_EQ(image.SetPalette(PQel::CreateLogicalPalette(5), 1), 1);
  EXPECT_EQ(image.GetImageType(), 5);
  EXPECT_EQ(image.SetPalette(nullptr, 1), 0);
  ASSERT_EQ(deep.CreateImage(1, 5, 5, 0, nullptr, 1, 1, 1, 0, 0), 1);
  HPALETTE pal = PQel::CreateLogicalPalette(3);
  EXPECT_EQ(deep.SetPalette(pal, 0), 0);
  EXPECT_EQ(deep.SetPalette(pal, 1), 0);
  EXPECT_EQ(DeleteObject(pal), 0) << "deleted although nothing was taken";
  pal = PQel::CreateLogicalPalette(3);
  Probe empty;
  EXPECT_EQ(empty.SetPalette(pal, 1), 0);
  EXPECT_NE(DeleteObject(pal), 0) << "an empty image touches nothing";
}

TEST(Palette, Inverted) {
  for (int type = 0; type < 10; ++type) {
    Probe image;
    ASSERT_EQ(image.CreateImage(type, 5, 5, 0, nullptr, 1, 1, 1, 0, 0), 1);
    const int colors = PQel::GetMaxClrUsed(type);
    std::mt19937 random(31);
    Table want;
    for (int i = 0; i < colors; ++i) {
      if (image.GetBitCount() > 8) image.m_pRGBQuad[i] = Quad(random() & 255, random() & 255, random() & 255);
      image.m_pRGBQuad[i].rgbReserved = static_cast<BYTE>(i);
      const RGBQUAD &q = image.m_pRGBQuad[i];
      want.push_back(Quad(255 - q.rgbRed, 255 - q.rgbGreen, 255 - q.rgbBlue, i));
    }
    EXPECT_EQ(image.InversePalette(), 1);
    ExpectSame(image.m_pRGBQuad, want);
    EXPECT_EQ(image.GetImageType(), type == 5 ? 3 : type == 4 ? 2 : type);
    const auto stored = static_cast<unsigned long>(image.GetLmmOffset());
    std::vector<unsigned char> front(stored);
    ASSERT_EQ(image.m_pMem->GetBlock(0, stored, front.data()), 1);
    EXPECT_EQ(std::memcmp(front.data(), image.GetBI(), stored), 0) << "the store's table follows";
  }
}

}  // namespace

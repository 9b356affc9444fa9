// Colour maps: palette.map where it is looked for, missing and cut short, the cube, and the search for the nearest
// colour against plain sums of squares.

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <random>
#include <string>
#include <vector>

#include "qel/convert/itc.h"
#include "qel/platform/message_box.h"
#include "support/targets.h"

namespace {

namespace fs = std::filesystem;
using Bytes = std::vector<unsigned char>;

struct Probe : PItc {
  using PItc::m_hDstPal, PItc::m_hSrcPal, PItc::m_nSrcColors, PItc::m_pbyMap, PItc::xCreatePaletteMap;
};

/// The index of the nearest triple; `before` when none is nearer than black is to white.
int Nearest(const Bytes &palette, int r, int g, int b, int before) {
  int best = 3 * 255 * 255, index = before;
  for (std::size_t j = 0; j < palette.size() / 3; ++j) {
    const int dr = r - palette[3 * j], dg = g - palette[3 * j + 1], db = b - palette[3 * j + 2];
    if (dr * dr + dg * dg + db * db < best) best = dr * dr + dg * dg + db * db, index = static_cast<int>(j);
  }
  return index;
}

Bytes StandardPalette(int type) {
  RGBQUAD table[256];
  PQel::BuildStdPalette(type, table);
  Bytes palette;
  for (int i = 0; i < PQel::GetMaxClrUsed(type); ++i)
    palette.insert(palette.end(), {table[i].rgbRed, table[i].rgbGreen, table[i].rgbBlue});
  return palette;
}

/// The map of all keys to a type's standard palette.
Bytes StandardMap(int type) {
  Bytes map;
  const Bytes palette = StandardPalette(type);
  for (int key = 0; key < 4096; ++key)
    map.push_back(static_cast<unsigned char>(
        Nearest(palette, key / 256 * 17, key / 16 % 16 * 17, key % 16 * 17, map.empty() ? 0 : map.back())));
  return map;
}

Bytes Random(std::mt19937 &random, int count, int mask) {
  Bytes bytes(static_cast<std::size_t>(count));
  for (auto &b : bytes) b = static_cast<unsigned char>(random() & static_cast<unsigned>(mask));
  return bytes;
}

// The file -----------------------------------------------------------------------------------------------------------

int g_nShown;

TEST(PaletteMap, FileHoldsTheStandardPalettes) {
  g_nShown = 0;
  const MessageBoxHandler before =
      SetMessageBoxHandler([](HWND, const char *, const char *, UINT) { return ++g_nShown; });
  for (int type : {0, 2, 3, 4, 5}) {
    Bytes map(4097, 0xEE);
    ASSERT_EQ(PItc::ReadStdPaletteMap(map.data(), type), 1);
    EXPECT_EQ(map.back(), 0xEE);
    map.pop_back();
    EXPECT_EQ(map, StandardMap(type)) << type;
  }
  unsigned char byte = 7;
  for (int type : {-1, 6}) EXPECT_EQ(PItc::ReadStdPaletteMap(&byte, type), 0);
  EXPECT_EQ(PItc::ReadStdPaletteMap(nullptr, 3), 0);
  EXPECT_EQ(byte, 7);
  SetMessageBoxHandler(before);
  EXPECT_EQ(g_nShown, 0);
}

/// A copy of the reading program in a folder of its own, where only what the test puts there is found.
class PaletteMapPlace : public testing::Test {
 protected:
  fs::path root = fs::path(testing::TempDir()) / ("palette_map_" + std::to_string(getpid()));
  struct Answer {
    std::string shown;
    int result = -1;
    Bytes map;
    bool operator==(const Answer &) const = default;
  };

  void SetUp() override {
    fs::create_directories(root / "bin");
    fs::create_directories(root / "lib/qel");
    fs::copy_file(QEL_TEST_READER, root / "bin/reader");
  }
  void TearDown() override { fs::remove_all(root); }

  /// A palette.map whose map of 256 colours has one value throughout, `bytes` long.
  void Put(const char *place, char value, std::size_t bytes = 36864) const {
    std::string content(36864, '\0');
    content.replace(0x4000, 4096, 4096, value);
    std::ofstream(root / place, std::ios::binary).write(content.data(), static_cast<std::streamsize>(bytes));
  }

  Answer Read() const {
    Answer answer;
    std::FILE *const pipe = popen(((root / "bin/reader").string() + " 3").c_str(), "r");
    char line[200];
    while (std::fgets(line, sizeof line, pipe)) {
      if (std::string(line).starts_with("shown: "))
        answer.shown += line + 7;
      else if (answer.result < 0)
        answer.result = std::atoi(line);
      else
        answer.map.push_back(static_cast<unsigned char>(std::atoi(line)));
    }
    EXPECT_EQ(pclose(pipe), 0);
    return answer;
  }
};

TEST_F(PaletteMapPlace, IsReadWhereItLiesAndComputedWhereItLacks) {
  EXPECT_EQ(Read(), (Answer{"Load palette.map file fail!\n", 0, StandardMap(3)}));
  Put("lib/qel/palette.map", 5);
  EXPECT_EQ(Read(), (Answer{"", 1, Bytes(4096, 5)}));
  Put("bin/palette.map", 9);
  EXPECT_EQ(Read(), (Answer{"", 1, Bytes(4096, 9)}));
  Put("bin/palette.map", 9, 0x4000 + 100);
  Bytes expected = StandardMap(3);
  std::fill_n(expected.begin(), 100, static_cast<unsigned char>(9));
  EXPECT_EQ(Read(), (Answer{"", 1, expected}));
}

// Maps ---------------------------------------------------------------------------------------------------------------

TEST(PaletteMap, CubeStretchesEveryKey) {
  Bytes cube(12288);
  PItc::Set4096Pal(cube.data());
  for (int k = 0; k < 4096; ++k) {
    const Bytes expected = {static_cast<unsigned char>(k / 256 * 17), static_cast<unsigned char>(k / 16 % 16 * 17),
                            static_cast<unsigned char>(k % 16 * 17)};
    ASSERT_EQ(Bytes(cube.begin() + 3 * k, cube.begin() + 3 * k + 3), expected);
  }
}

TEST(PaletteMap, FindsTheNearestAndLowestEntry) {
  std::mt19937 random(5);
  PItc agent;
  test::ForEachTarget([&] {
    for (int mask : {0xFF, 0xC0, 0x80}) {  // few levels: many equals
      for (int count = 1; count < 300; count += count < 70 ? 1 : 33) {
        Bytes palette = Random(random, 3 * count, mask), colors = Random(random, 3 * 50, 0xFF);
        if (count % 9 == 1) palette.assign(palette.size(), 0), colors[33] = colors[34] = colors[35] = 255;  // farthest
        Bytes map(51, 0xEE), expected;
        ASSERT_EQ(agent.CreatePaletteMap(count, palette.data(), 50, colors.data(), map.data()), 1);
        for (std::size_t i = 0; i < 50; ++i)
          expected.push_back(static_cast<unsigned char>(
              Nearest(palette, colors[3 * i], colors[3 * i + 1], colors[3 * i + 2], i == 0 ? 0 : expected.back())));
        expected.push_back(0xEE);
        ASSERT_EQ(map, expected) << count;
      }
    }
  });
}

TEST(PaletteMap, KeepsTheIndicesOfEqualPalettes) {
  PItc agent;
  Bytes palette = {1, 2, 3, 1, 2, 3, 9, 9, 9}, same = palette, map(3);
  ASSERT_EQ(agent.CreatePaletteMap(3, palette.data(), 3, same.data(), map.data()), 1);
  EXPECT_EQ(map, (Bytes{0, 1, 2}));
  ASSERT_EQ(agent.CreatePaletteMap(2, palette.data(), 3, same.data(), map.data()), 1);
  EXPECT_EQ(map, (Bytes{0, 0, 0}));
  EXPECT_EQ(agent.CreatePaletteMap(3, palette.data(), 3, nullptr, map.data()), 0);
}

TEST(PaletteMap, MapsThePalettesOfAnAgent) {
  Probe probe;
  Bytes map(4096, 0xEE), expected = StandardPalette(3);
  probe.m_pbyMap = map.data();
  EXPECT_EQ(probe.xCreatePaletteMap(), 0);  // no palettes
  probe.m_hSrcPal = PQel::CreateLogicalPalette(3);
  probe.m_hDstPal = PQel::CreateLogicalPalette(2);
  probe.m_nSrcColors = 256;
  ASSERT_EQ(probe.xCreatePaletteMap(), 1);
  for (std::size_t i = 0; i < 256; ++i)
    ASSERT_EQ(map[i], Nearest(StandardPalette(2), expected[3 * i], expected[3 * i + 1], expected[3 * i + 2], 0));
  probe.m_nSrcColors = 257;
  EXPECT_EQ(probe.xCreatePaletteMap(), 0);
  probe.m_pbyMap = nullptr;
}

}  // namespace

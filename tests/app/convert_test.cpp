// qel convert: files come back byte for byte through every store and layout, top-down files hold the same rows in
// reverse, and each step makes the pixels that its rule tells.
#include <cstdlib>

#include "app/picture.h"

namespace {

using test::Convert;
using test::Load;
using test::Qel;

const std::vector<std::vector<std::string>> kKeepings = {
    {"--store", "memory", "--layout", "linear"},
    {"--store", "memory", "--layout", "block"},
    {"--store", "reserved"},
    {"--store", "reserved", "--layout", "block"},
    {"--store", "mapping"},
    {"--store", "mapping", "--layout", "block"},
};

/// The bytes of a bottom-up file with its rows in reverse and its height negative.
std::string TopDown(const std::string &file, std::size_t height) {
  const auto offset = static_cast<unsigned char>(file[10]) + 256u * static_cast<unsigned char>(file[11]);
  const std::size_t rowBytes = (file.size() - offset) / height;
  std::string result = file.substr(0, offset);
  const auto negative = static_cast<std::uint32_t>(-static_cast<int>(height));
  for (int i = 0; i < 4; ++i) result[22 + static_cast<std::size_t>(i)] = static_cast<char>(negative >> 8 * i);
  for (std::size_t y = height; y-- > 0;) result += file.substr(offset + y * rowBytes, rowBytes);
  return result;
}

TEST(Convert, KeepsEveryByteInEveryStoreAndLayout) {
  const test::Scratch scratch;
  const std::string from = scratch / "from.bmp", to = scratch / "to.bmp", back = scratch / "back.bmp";
  for (int type = 0; type < 10; ++type) {
    constexpr long kHeight = 261;  // blocks are 256 pixels wide and high
    test::SaveRandom(from, type, 275, kHeight, static_cast<unsigned>(type));
    const std::string bytes = test::ReadFile(from);
    ASSERT_GT(bytes.size(), 54u);
    for (auto options : kKeepings) {
      const auto outcome = Convert(from, to, options);
      ASSERT_EQ(outcome.status, 0) << outcome.err;
      EXPECT_EQ(outcome.out + outcome.err, "");
      EXPECT_TRUE(test::ReadFile(to) == bytes) << "type " << type << ' ' << options[1];

      options.push_back("--top-down");
      ASSERT_EQ(Convert(from, to, options).status, 0);
      EXPECT_TRUE(test::ReadFile(to) == TopDown(bytes, kHeight)) << "type " << type << ' ' << options[1] << " top-down";
      ASSERT_EQ(Convert(to, back, options).status, 0);  // is top-down already
      EXPECT_TRUE(test::ReadFile(back) == test::ReadFile(to)) << "type " << type << ' ' << options[1];
    }
  }
}

TEST(Convert, ReadsWhatOtherProgramsWrote) {
  const char *data = std::getenv("QEL_TEST_DATA");
  if (!data) GTEST_SKIP() << "QEL_TEST_DATA names no folder of pictures";
  const test::Scratch scratch;
  const std::string to = scratch / "to.bmp";
  const bool hasLibraries = Qel({"formats"}).out.find("PNG") != std::string::npos;
  int read = 0;
  for (const auto &entry : std::filesystem::recursive_directory_iterator(data)) {
    if (entry.path().extension() != ".bmp") continue;
    const std::string from = entry.path().string();
    const std::string name = entry.path().filename().string();
    const auto outcome = Convert(from, to, {"--store", "reserved", "--layout", "block"});
    if (!hasLibraries && (name.find("rle") != std::string::npos || name == "pal8os2.bmp")) {
      EXPECT_EQ(outcome.status, 1) << name;
      EXPECT_FALSE(std::filesystem::exists(to)) << name;
      continue;
    }
    ++read;
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    const auto comparison = Qel({"compare", from, to});
    EXPECT_EQ(comparison.status, 0) << comparison.err;
    std::filesystem::remove(to);
  }
  EXPECT_GT(read, 0);
}

// Steps --------------------------------------------------------------------------------------------------------------

TEST(Convert, CropsAndTilesEveryType) {
  const test::Scratch scratch;
  const std::string from = scratch / "from.bmp", part = scratch / "part.bmp", tiled = scratch / "tiled.bmp";
  for (int type = 0; type < 10; ++type) {
    test::SaveRandom(from, type, 61, 47, static_cast<unsigned>(type));
    test::NaiveImage whole = Load(from, type);
    for (const auto &options : kKeepings) {
      std::vector<std::string> crop = options, tile = options;
      crop.insert(crop.end(), {"--crop", "13,5,31,22"});
      ASSERT_EQ(Convert(from, part, crop).status, 0);
      test::NaiveImage cut = Load(part, type);
      ASSERT_EQ(cut.width, 31);
      ASSERT_EQ(cut.height, 22);
      for (long y = 0; y < 22; ++y)
        for (long x = 0; x < 31; ++x) ASSERT_EQ(cut.At(x, y), whole.At(x + 13, y + 5)) << type;

      tile.insert(tile.end(), {"--tile", "150x90", "--shift", "10,0", "--top-down"});
      ASSERT_EQ(Convert(part, tiled, tile).status, 0);
      test::NaiveImage canvas = Load(tiled, type);
      // every 22 rows the tiles shift by 10 columns; a run that starts at column x has moved down by 22 rows, the whole
      // height, every 10 columns
      for (long y = 0; y < 90; ++y)
        for (long x = 0; x < 150; ++x)
          ASSERT_EQ(canvas.At(x, y), cut.At(((x - y / 22 * 10) % 31 + 31) % 31, y % 22))
              << type << ' ' << x << ' ' << y;
    }
  }
}

TEST(Convert, ChangesTypesByTheRules) {
  const test::Scratch scratch;
  const std::string from = scratch / "from.bmp", to = scratch / "to.bmp";
  const std::vector<std::pair<std::string, int>> types = {{"mono", 0}, {"rgb", 1}, {"gray16", 4}, {"gray256", 5},
                                                          {"555", 6},  {"565", 7}, {"32", 8},     {"48", 9}};
  test::SaveRandom(from, 1, 53, 31);
  test::NaiveImage colours = Load(from, 1);
  for (const auto &[name, type] : types) {
    std::vector<std::string> options{"--type", name, "--layout", "block"};
    if (type == 0) options.insert(options.end(), {"--threshold", "128"});
    ASSERT_EQ(Convert(from, to, options).status, 0);
    test::NaiveImage made = Load(to, type);
    for (std::size_t i = 0; i < colours.pixels.size(); ++i) {
      const std::uint64_t b = colours.pixels[i] & 0xFF, g = colours.pixels[i] >> 8 & 0xFF, r = colours.pixels[i] >> 16;
      const std::uint64_t gray = (77 * r + 150 * g + 28 * b) / 255;
      const std::uint64_t expected[10] = {gray >= 128,
                                          colours.pixels[i],
                                          0,
                                          0,
                                          gray / 17,
                                          gray,
                                          b * 31 / 255 | g * 31 / 255 << 5 | r * 31 / 255 << 10,
                                          b * 31 / 255 | g * 63 / 255 << 5 | r * 31 / 255 << 11,
                                          colours.pixels[i],
                                          b * 257 | g * 257 << 16 | r * 257 << 32};
      ASSERT_EQ(made.pixels[i], expected[type]) << name;
    }
    // and back to true colour from every type
    ASSERT_EQ(Convert(to, to, {"--type", "rgb"}).status, 0);
    Load(to, 1);
  }
}

TEST(Convert, MakesNegatives) {
  const test::Scratch scratch;
  const std::string from = scratch / "from.bmp", to = scratch / "to.bmp", rgb = scratch / "rgb.bmp";
  for (const int type : {0, 1, 2, 3, 4, 5, 8}) {
    test::SaveRandom(from, type, 40, 9, 5);
    ASSERT_EQ(Convert(from, rgb, {"--type", "rgb"}).status, 0);
    const test::NaiveImage before = Load(rgb, 1);
    ASSERT_EQ(Convert(from, to, {"--invert"}).status, 0);
    Load(to, type);  // the type stays
    ASSERT_EQ(Convert(to, rgb, {"--type", "rgb"}).status, 0);
    const test::NaiveImage after = Load(rgb, 1);
    for (std::size_t i = 0; i < before.pixels.size(); ++i)
      ASSERT_EQ(after.pixels[i], before.pixels[i] ^ 0xFFFFFF) << type;
  }
}

TEST(Convert, RefusesWhatCannotBeDone) {
  const test::Scratch scratch;
  const std::string from = scratch / "from.bmp", to = scratch / "to.bmp";
  test::SaveRandom(from, 1, 20, 10);
  for (const std::vector<std::string> &options : std::vector<std::vector<std::string>>{
           {"--crop", "0,0,21,10"}, {"--crop", "5,5,0,3"}, {"--crop", "2147483647,0,2147483647,1"}})
    EXPECT_EQ(Convert(from, to, options).status, 1) << options[1];
  for (const std::vector<std::string> &options :
       std::vector<std::vector<std::string>>{{"--crop", "0,0,5"},
                                             {"--crop", "-1,0,5,5"},
                                             {"--crop", "0,0,5,5,"},
                                             {"--crop", "0,0,5,99999999999"},
                                             {"--tile", "10"},
                                             {"--tile", "10x0"},
                                             {"--tile", "10X10"},
                                             {"--shift", "1,1"},
                                             {"--type", "mauve"},
                                             {"--type", ""},
                                             {"--tile", "9x9", "--shift", "1"}})
    EXPECT_EQ(Convert(from, to, options).status, 2) << options[0] << ' ' << options[1];
  EXPECT_FALSE(std::filesystem::exists(to));
}

}  // namespace

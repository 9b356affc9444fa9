// qel text: files hold what the library's own text makes, at every type; bad input leaves none behind.
#include <algorithm>
#include <cstring>
#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include "app/picture.h"
#include "qel/draw/draw.h"
#include "qel/platform/mfc/font.h"

namespace {

TEST(Text, FilesHoldWhatTheLibraryWrites) {
  const test::Scratch scratch;
  const std::string from = scratch / "from.bmp", to = scratch / "to.bmp";
  CFont font;
  LOGFONTA description = {};
  description.lfHeight = 21, description.lfWeight = 700;
  std::strcpy(description.lfFaceName, "DejaVu Sans");
  ASSERT_TRUE(font.CreateFontIndirect(&description));
  for (int type = 0; type < 10; ++type)
    for (const int scale : {1, 4}) {
      test::SaveRandom(from, type, 131, 57, static_cast<unsigned>(type));
      const auto outcome = test::Qel({"text", from, to, "R&D \xC3\xA4", "--rect", "7,5,110,43", "--font", "DejaVu Sans",
                                      "--height", "21", "--color", "ff4020", "--bold", "--scale", std::to_string(scale),
                                      "--layout", type % 2 ? "block" : "linear"});
      ASSERT_EQ(outcome.status, 0) << outcome.err;
      EXPECT_EQ(outcome.err, "");
      PQelDraw image;
      ASSERT_TRUE(image.OpenDIBImage(from.c_str()));
      const test::NaiveImage before = test::Load(from, type);
      RECT rect = {7, 5, 117, 48};
      const long long colour = image.GetColorRef(RGB(0xFF, 0x40, 0x20));
      // The library takes colours of 32 bits, which on pictures of 48 bits have no red.
      ASSERT_EQ(image.DrawTextA("R&&D \xC3\xA4", &rect, &font, static_cast<DWORD>(colour), scale), 1);
      test::NaiveImage expected(131, 57, image.GetBitCount()), read = test::Load(to, type);
      expected.Load(image);
      if (type == 9) {
        EXPECT_GT(std::count(read.pixels.begin(), read.pixels.end(), static_cast<std::uint64_t>(colour)), 0);
        for (auto *pixels : {&read.pixels, &expected.pixels})
          for (std::uint64_t &pixel : *pixels) pixel &= 0xFFFFFFFF;
      }
      EXPECT_TRUE(read == expected) << "type " << type << ", scale " << scale;
      EXPECT_FALSE(read == before) << type;
    }
}

/// Columns of the first and last dark pixel.
std::pair<long, long> Extent(const std::string &path) {
  test::NaiveImage image = test::Load(path, 5);
  std::pair<long, long> extent = {image.width, -1};
  for (long x = 0; x < image.width; ++x)
    for (long y = 0; y < image.height; ++y)
      if (image.At(x, y) < 128) extent = {std::min(extent.first, x), x};
  return extent;
}

TEST(Text, BeginsWhereItIsTold) {
  const test::Scratch scratch;
  const std::string from = scratch / "from.bmp", to = scratch / "to.bmp";
  PQel white;
  ASSERT_TRUE(white.CreateImage(5, 200, 60, 0, nullptr, 3780, 3780, 1, 0, 0) && white.Clear(255));
  ASSERT_TRUE(white.SaveDIB(from.c_str(), 0));
  const auto extent = [&](const char *text, const char *align) {
    EXPECT_EQ(test::Qel({"text", from, to, text, "--rect", "20,10,150,40", "--height", "30", "--align", align}).status,
              0);
    return Extent(to);
  };
  const auto left = extent("HHH", "left"), right = extent("HHH", "right"), centre = extent("HHH", "center");
  EXPECT_NEAR(left.first, 22, 2);
  EXPECT_NEAR(right.second, 167, 2);
  EXPECT_NEAR(centre.first + centre.second, 189, 2);
  EXPECT_NEAR(left.second - left.first, right.second - right.first, 1);
  // Too long a line loses its end, or its beginning, and nothing leaves the rectangle.
  const char *const line = "HHHHHHHHHHHHHHHHHHHHH";
  EXPECT_NEAR(extent(line, "left").first, 22, 2);
  EXPECT_LE(extent(line, "left").second, 169);
  EXPECT_NEAR(extent(line, "right").second, 167, 2);
  EXPECT_GE(extent(line, "right").first, 20);
}

TEST(Text, ScriptsWriteTheSame) {
  const test::Scratch scratch;
  const std::string from = scratch / "from.bmp", to = scratch / "to.bmp", drawn = scratch / "drawn.bmp";
  const std::string script = scratch / "script.txt";
  const auto draw = [&](const std::string &text) {
    test::WriteFile(script, text);
    return test::Qel({"draw", from, drawn, script});
  };
  for (int type = 0; type < 10; ++type) {
    test::SaveRandom(from, type, 83, 41, static_cast<unsigned>(type));
    ASSERT_EQ(test::Qel({"text", from, to, "R&D", "--rect", "6,4,70,33", "--font", "serif", "--height", "25", "--color",
                         "20c040", "--italic", "--align", "right", "--scale", "3"})
                  .status,
              0);
    const auto outcome = draw("font serif 25 color #20c040 italic right scale 3\ntext 6,4,70,33 R&D\n");
    ASSERT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_TRUE(test::Load(drawn, type) == test::Load(to, type)) << type;
  }
  for (const char *bad : {"text 0,0,9,9", "text 0,0,9,9 \"\"", "text 80,0,9,9 a", "font sans", "font sans 0",
                          "font sans 1024", "font sans 20 thick", "text all a b"}) {
    std::filesystem::remove(drawn);
    EXPECT_EQ(draw(bad).status, 1) << bad;
    EXPECT_FALSE(std::filesystem::exists(drawn)) << bad;
  }
  // A shield keeps the text away.
  test::SaveRandom(from, 1, 83, 41);
  ASSERT_EQ(draw("clear #ffffff\nshield color #ffffff\nfont sans 30\ntext all a\n").status, 0);
  ASSERT_EQ(test::Convert(drawn, to, {"--type", "gray256"}).status, 0);
  EXPECT_EQ(Extent(to).second, -1);
}

TEST(Text, BadInputLeavesNoFile) {
  const test::Scratch scratch;
  const std::string from = scratch / "from.bmp", to = scratch / "to.bmp";
  test::SaveRandom(from, 1, 40, 30);
  const struct {
    std::vector<std::string> options;
    int status;
  } cases[] = {{{"a", "--rect", "0,0,41,30"}, 1},
               {{"a", "--rect", "5,5,0,9"}, 1},
               {{"a", "--rect", "5,5,9"}, 2},
               {{"a", "--rect", "-1,0,9,9"}, 2},
               {{"a", "--color", "ff00"}, 2},
               {{"a", "--color", "gray"}, 2},
               {{"a", "--height", "0"}, 2},
               {{"a", "--height", "-9"}, 2},
               {{"a", "--height", "9000"}, 2},
               {{"a", "--scale", "0"}, 2},
               {{"a", "--align", "middle"}, 2},
               {{""}, 2},
               {{"a", "--font", std::string(32, 'x')}, 2},
               {{}, 2}};
  for (const auto &bad : cases) {
    std::vector<std::string> command = {"text", from, to};
    command.insert(command.end(), bad.options.begin(), bad.options.end());
    const auto outcome = test::Qel(command);
    EXPECT_EQ(outcome.status, bad.status) << outcome.err;
    EXPECT_EQ(std::count(outcome.err.begin(), outcome.err.end(), '\n'), 1) << outcome.err;
    EXPECT_FALSE(std::filesystem::exists(to)) << outcome.err;
  }
  const auto replaced = test::Qel({"text", from, to, "a", "--font", "No Such Face"});
  EXPECT_EQ(replaced.status, 0);
  EXPECT_NE(replaced.err.find("font \"No Such Face\" is not installed"), std::string::npos) << replaced.err;
  EXPECT_EQ(std::count(replaced.err.begin(), replaced.err.end(), '\n'), 1);
}

}  // namespace

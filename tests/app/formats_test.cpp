// Pictures of every format on the command line: read by content, written by extension, warned of when incomplete.
#include "app/picture.h"

namespace {

using test::Qel;

TEST(Formats, ListsWhatIsReadAndWritten) {
  const auto outcome = Qel({"formats"});
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  for (const char *line : {"BMP     bmp dib ", "JPEG    jpeg jpg        read, write\n",
                           "PNG     png             read, write\n", "mask    msk             read, write\n"})
    EXPECT_NE(outcome.out.find(line), std::string::npos) << line << outcome.out;
}

TEST(Formats, KeepsEveryTypeThroughFilesNamedAfterOtherFormats) {
  const test::Scratch scratch;
  for (const int type : {0, 1, 2, 3, 4, 5, 8}) {
    const std::string in = scratch / "in.bmp", back = scratch / "back.bmp";
    test::SaveRandom(in, type, 67, 41);
    for (const char *extension : {"png", "msk"}) {
      // The name is empty of hints, or lies.
      for (const char *name : {"picture", "picture.jpg", "picture.bmp"}) {
        const std::string file = scratch / "a." + extension, other = scratch / name;
        ASSERT_EQ(Qel({"convert", in, file, "--layout", "block"}).err, "") << type << extension;
        std::filesystem::rename(file, other);
        ASSERT_EQ(Qel({"convert", other, back, "--store", "mapping"}).err, "") << type << extension;
        EXPECT_TRUE(test::Load(in, type).pixels == test::Load(back, type).pixels) << type << extension;
      }
    }
  }
  const auto info = Qel({"info", scratch / "picture.jpg", "--store", "reserved", "--layout", "block"});
  EXPECT_NE(info.out.find("  format      mask\n  size        67 x 41"), std::string::npos) << info.out;
  EXPECT_NE(info.out.find("reserved memory"), std::string::npos);
  EXPECT_NE(info.out.find("layout      block"), std::string::npos);
}

TEST(Formats, WritesNothingThatItCannotWriteWhole) {
  const test::Scratch scratch;
  const std::string in = scratch / "in.bmp", place = scratch / "place/";
  test::SaveRandom(in, 1, 20, 10);
  const struct {
    std::vector<std::string> before;  // and behind the output
    std::string name;
    std::string reason;
  } cases[] = {
      {{"convert", in}, "a.gifff", "'gifff' is the extension of no known format; written are "},
      {{"convert", in}, "a.gif", "a GIF picture has at most 256 colours"},
      {{"resize", in, "40000x1"}, "a.png", "only BMP files hold sides above 32767 pixels"},
      {{"resize", in, "22000x1"}, "a.msk", "mask files hold no rows of more than 65535 bytes"},
      {{"resize", in, "20000x1"}, "a.webp", "the picture is too large for WebP"},
  };
  for (const auto &c : cases) {
    const std::string out = place + c.name;
    test::WriteFile(out, "older");
    auto command = c.before;
    command.insert(command.begin() + 2, out);
    const auto outcome = Qel(command);
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.err.rfind("qel: " + out + ": " + c.reason, 0), 0u) << outcome.err;
    EXPECT_EQ(test::ReadFile(out), "older");
  }
  EXPECT_EQ(scratch.List("place").size(), std::size(cases));
}

TEST(Formats, WarnsOfIncompletePictures) {
  const test::Scratch scratch;
  const std::string in = scratch / "in.bmp";
  test::SaveRandom(in, 1, 100, 80);
  const struct {
    std::string name;
    std::uintmax_t bytes;
    std::string reason;
  } cases[] = {{"a.bmp", 54 + 300 * 7 + 299, "the file holds 7 of 80 rows"}, {"a.jpg", 5000, ""}, {"a.png", 9000, ""}};
  for (const auto &c : cases) {
    const std::string file = scratch / c.name, out = scratch / "out.bmp";
    ASSERT_EQ(Qel({"convert", in, file}).err, "");
    std::filesystem::resize_file(file, c.bytes);
    const auto outcome = Qel({"convert", file, out});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.err.rfind("qel: " + file + ": is incomplete: " + c.reason, 0), 0u) << outcome.err;
    EXPECT_EQ(std::count(outcome.err.begin(), outcome.err.end(), '\n'), 1);
    EXPECT_EQ(test::Load(out, 1).height, 80);
  }
  test::WriteFile(scratch / "a.msk", test::ReadFile(scratch / "a.msk") + "RV and no more");
  EXPECT_EQ(Qel({"info", scratch / "a.msk"}).err, "qel: " + (scratch / "a.msk") + ": is a damaged mask file\n");
  std::filesystem::resize_file(scratch / "a.png", 20);
  const auto headless = Qel({"info", scratch / "a.png"});
  EXPECT_EQ(headless.status, 1);
  EXPECT_EQ(headless.err.find("is incomplete"), std::string::npos) << headless.err;
}

TEST(Formats, TakesAQualityWithoutTouchingTheSettings) {
  const test::Scratch scratch;
  const std::string in = scratch / "in.bmp", settings = scratch / "home/qel/zulall.ini";
  test::SaveRandom(in, 1, 100, 80);
  test::WriteFile(settings, "[JPEG]\nQFACTOR=50\n");
  std::filesystem::create_directory(scratch / "tmp");
  const auto SizeAt = [&](std::vector<std::string> options) {
    options.insert(options.begin(), {"convert", in, scratch / "a.jpg"});
    const auto outcome = Qel(options, [&] {
      setenv("XDG_CONFIG_HOME", (scratch / "home").c_str(), 1);
      setenv("TMPDIR", (scratch / "tmp").c_str(), 1);
    });
    EXPECT_EQ(outcome.err, "");
    return std::filesystem::file_size(scratch / "a.jpg");
  };
  const auto set = SizeAt({});
  EXPECT_LT(SizeAt({"--quality", "5"}), set);
  EXPECT_GT(SizeAt({"--quality", "95"}), set);
  EXPECT_EQ(SizeAt({"--quality", "50"}), set);
  EXPECT_EQ(test::ReadFile(settings), "[JPEG]\nQFACTOR=50\n");
  EXPECT_TRUE(scratch.List("tmp").empty());
  EXPECT_EQ(Qel({"convert", in, in, "--quality", "101"}).status, 2);
}

}  // namespace

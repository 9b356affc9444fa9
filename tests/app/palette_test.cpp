// qel palette: reads colours from names, texts and pictures, tells what is wrong with them, shows and writes them.
#include "app/picture.h"

namespace {

using test::Qel;

TEST(Palette, ComesBackFromTextAndPicture) {
  const test::Scratch scratch;
  const std::string text = scratch / "a.txt", copy = scratch / "b.txt", picture = scratch / "c.BMP";
  const std::string colours = "#ff0000\n#00fe00\n#0a0b0c\n";
  test::WriteFile(text, "; three colours\n#\tred first\n\n  #ff0000 red\n00FE00\r\n \t\r\n#0a0b0c");
  EXPECT_EQ(Qel({"palette", text}).out, colours);
  ASSERT_EQ(Qel({"palette", text, "-o", copy}).out, "");
  EXPECT_EQ(test::ReadFile(copy), colours);
  ASSERT_EQ(Qel({"palette", text, "--output", picture}).status, 0);
  EXPECT_EQ(Qel({"palette", picture}).out, colours);
  const test::NaiveImage squares = test::Load(picture, 2);
  EXPECT_EQ(squares.width, 48);
  for (long x = 0; x < 48; ++x) EXPECT_EQ(squares.pixels[static_cast<std::size_t>(x)], static_cast<unsigned>(x / 16));
  EXPECT_EQ(Qel({"palette", "black-white-red"}).out, "#000000\n#ffffff\n#ff0000\n");

  // On a terminal that knows colours they are shown as such.
  const auto shown = test::Run({"/usr/bin/script", "-qec", std::string(QEL_PROGRAM) + " palette " + text, "/dev/null"},
                               [] { setenv("COLORTERM", "truecolor", 1); });
  EXPECT_NE(shown.out.find("\x1b[48;2;10;11;12m     \x1b[0m #0a0b0c"), std::string::npos) << shown.out;
}

TEST(Palette, MakesOneForAPicture) {
  const test::Scratch scratch;
  test::SaveRandom(scratch / "rgb.bmp", 1, 60, 40);
  const auto outcome = Qel({"palette", scratch / "rgb.bmp", "--custom"});
  EXPECT_EQ(std::count(outcome.out.begin(), outcome.out.end(), '\n'), 256);
  EXPECT_EQ(outcome.out.rfind("#000000\n#000080\n", 0), 0u);  // the standard colours come first
}

TEST(Palette, SaysInOneLineWhatIsWrong) {
  const test::Scratch scratch;
  const std::string path = scratch / "a.txt", out = scratch / "out.txt";
  const auto Says = [&](const std::string &reason, const std::vector<std::string> &options = {}) {
    std::vector<std::string> command{"palette", path, "-o", out};
    command.insert(command.end(), options.begin(), options.end());
    const auto outcome = Qel(command);
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.err, "qel: " + path + ": " + reason + "\n");
    EXPECT_FALSE(std::filesystem::exists(out));
  };
  Says("No such file or directory");
  for (const char *line :
       {"red", "#ff000", "#ff00000", "#ff00gg", "##ff0000", "#ff0000,", "-10000", "0x1234", "\xff\xfe"}) {
    test::WriteFile(path, "#000000\n\n" + std::string(line) + "\n");
    Says("line 3 is no colour such as #ff8000");
  }
  test::WriteFile(path, "#000000\n# nothing\n");
  Says("holds fewer than two colours");
  std::string many;
  for (int i = 0; i < 257; ++i) many += "#000000\n";
  test::WriteFile(path, many);
  Says("line 257 is colour 257, 256 at most are taken");
  test::SaveRandom(path, 1, 4, 4);
  Says("has no colour table");
  test::SaveRandom(path, 3, 4, 4);
  Says("has a palette; one is made for pictures without", {"--custom"});
}

}  // namespace

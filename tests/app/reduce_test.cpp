// qel convert to few colours: every method reaches the engine as it was asked for, display palettes keep the picture's
// colours on the average, and options that make no sense are refused.
#include "app/picture.h"
#include "qel/convert/itc.h"

namespace {

using test::Convert;
using test::Load;
using test::Qel;

using Options = std::vector<std::string>;

/// What the engine makes of a true-colour file by itself; `table` null: the standard palette.
test::NaiveImage Direct(const std::string &from, int type, const tagCVTMETHOD &method, RGBQUAD *table = nullptr) {
  PQel source, made;
  EXPECT_TRUE(source.OpenDIBImage(from.c_str()));
  const long width = source.GetImageWidth(), height = source.GetImageHeight();
  EXPECT_TRUE(made.CreateImage(type, width, height, 0, table, 3780, 3780, 1, 0, 0));
  PItc agent;
  EXPECT_TRUE(agent.BuildAgent(&made, &source, method) && agent.ConvertImg(nullptr, nullptr));
  test::NaiveImage pixels(width, height, made.GetBitCount());
  pixels.Load(made);
  return pixels;
}

TEST(Reduce, TakesTheMethodAskedFor) {
  const test::Scratch scratch;
  const std::string from = scratch / "from.bmp", to = scratch / "to.bmp", high = scratch / "high.bmp";
  ASSERT_EQ(Qel({"scene", high, "--size", "75x50"}).status, 0);
  ASSERT_EQ(Convert(high, high, {"--type", "565"}).status, 0);
  ASSERT_EQ(Convert(high, from, {"--type", "rgb"}).status, 0);
  std::vector<std::pair<Options, tagCVTMETHOD>> cases = {{{}, {2, 0, 8}},
                                                         {{"--method", "diffuse"}, {2, 0, 8}},
                                                         {{"--method", "map"}, {0, 0, 8}},
                                                         {{"--size", "4"}, {3, 0, 4}}};
  const char *const kFamilies[] = {"bayer", "mesh", "spiral", "fatting", "hmesh", "vmesh"};
  for (unsigned short i = 0; i < 6; ++i)
    for (const unsigned short size : {4, 8})
      cases.push_back({{"--dither", kFamilies[i], "--size", std::to_string(size)}, {3, i, size}});
  for (const auto &[name, type] : {std::pair{"mono", 0}, {"16", 2}, {"256", 3}}) {
    for (auto [options, method] : cases) {
      options.insert(options.end(), {"--type", name, "--store", "reserved", "--layout", "block"});
      // pictures that the engine's agent does not take come by way of true colour
      const auto outcome = Convert(high, to, options);
      ASSERT_EQ(outcome.status, 0) << outcome.err;
      EXPECT_EQ(outcome.err, "");
      EXPECT_TRUE(Load(to, type) == Direct(from, type, method)) << name << ' ' << options[1];
    }
  }

  // A palette of its own: the picture's custom one becomes the palette of the result.
  ASSERT_EQ(Convert(from, to, {"--method", "custom"}).status, 0);
  PQel source, made;
  ASSERT_TRUE(source.OpenDIBImage(from.c_str()) && made.OpenDIBImage(to.c_str()));
  CPalette wanted, got;
  wanted.Attach(PItc::CreateCustomPalette(&source)), got.Attach(made.GetPalette(nullptr));
  RGBQUAD wantedTable[256] = {}, gotTable[256] = {};
  PQel::GetPaletteRGBQuad(wanted, wantedTable), PQel::GetPaletteRGBQuad(got, gotTable);
  EXPECT_EQ(std::memcmp(wantedTable, gotTable, sizeof wantedTable), 0);
  EXPECT_TRUE(Load(to, 3) == Direct(from, 3, {1, 0, 8}, wantedTable));
}

/// The average of one channel (0 blue to 2 red) over a picture in any type.
double Average(const std::string &path, int channel) {
  PQel image;
  EXPECT_TRUE(image.OpenDIBImage(path.c_str()));
  std::vector<unsigned char> line(static_cast<std::size_t>(3 * image.GetImageWidth()));
  double sum = 0;
  for (long y = 0; y < image.GetImageHeight(); ++y) {
    EXPECT_TRUE(image.Get24bitHorLine(0, image.GetImageWidth() - 1, y, line.data(), nullptr));
    for (std::size_t i = static_cast<std::size_t>(channel); i < line.size(); i += 3) sum += line[i];
  }
  return sum / static_cast<double>(image.GetImageWidth() * image.GetImageHeight());
}

TEST(Reduce, BringsPhotosToDisplays) {
  const test::Scratch scratch;
  const std::string scene = scratch / "scene.bmp", gray = scratch / "gray.bmp", to = scratch / "to.bmp";
  ASSERT_EQ(Qel({"scene", scene, "--size", "120x90"}).status, 0);
  ASSERT_EQ(Convert(scene, gray, {"--type", "gray256"}).status, 0);
  struct Case {
    const char *palette, *says;
    bool gray;
  };
  for (const Case &c : {Case{"black-white", "0 (monochrome), 1 bits a pixel\n  palette     2 colours", true},
                        Case{"gray4", "2 (16-colour palette), 4 bits a pixel\n  palette     4 colours", true},
                        Case{"epaper7", "2 (16-colour palette), 4 bits a pixel\n  palette     7 colours", false}}) {
    const auto outcome = Convert(scene, to, {"--palette", c.palette});
    ASSERT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_NE(Qel({"info", to}).out.find(c.says), std::string::npos) << Qel({"info", to}).out;
    for (int channel = 0; channel < 3; ++channel)
      EXPECT_NEAR(Average(to, channel), Average(c.gray ? gray : scene, channel), 4) << c.palette << ' ' << channel;
  }
  const auto corrected = Convert(scene, scratch / "dithered.bmp", {"--palette", "epaper7", "--dither", "bayer"});
  EXPECT_EQ(corrected.status, 0);
  EXPECT_EQ(corrected.err,
            "qel: " + scene + ": ordered dither does not suit this type and palette, error diffusion is taken\n");
  EXPECT_EQ(test::ReadFile(scratch / "dithered.bmp"), test::ReadFile(to));
}

TEST(Reduce, KeepsColoursThatThePaletteHolds) {
  const test::Scratch scratch;
  const std::string from = scratch / "from.bmp", to = scratch / "to.bmp", rgb = scratch / "rgb.bmp";
  test::SaveRandom(from, 2, 41, 13);
  ASSERT_EQ(Convert(from, to, {"--type", "256"}).status, 0);
  Load(to, 3);
  ASSERT_EQ(Convert(to, to, {"--type", "rgb"}).status, 0);
  ASSERT_EQ(Convert(from, rgb, {"--type", "rgb"}).status, 0);
  EXPECT_TRUE(Load(to, 1) == Load(rgb, 1));
}

TEST(Reduce, RefusesWhatMakesNoSense) {
  const test::Scratch scratch;
  const std::string from = scratch / "from.bmp", to = scratch / "to.bmp";
  test::SaveRandom(from, 1, 20, 10);
  const auto Refused = [&](int status, const Options &options) {
    const auto outcome = Convert(from, to, options);
    EXPECT_EQ(outcome.status, status) << options[0] << ' ' << options[1];
    EXPECT_EQ(std::count(outcome.err.begin(), outcome.err.end(), '\n'), 1) << outcome.err;
    EXPECT_FALSE(std::filesystem::exists(to)) << options[0] << ' ' << options[1];
  };
  for (const Options &options : std::vector<Options>{{"--method", "diffuse"},
                                                     {"--method", "guess", "--type", "16"},
                                                     {"--method", "diffuse", "--type", "rgb"},
                                                     {"--method", "map", "--type", "16", "--dither", "bayer"},
                                                     {"--method", "custom", "--type", "16"},
                                                     {"--method", "custom", "--palette", "gray4"},
                                                     {"--dither", "round", "--type", "16"},
                                                     {"--size", "6", "--type", "16"},
                                                     {"--palette", "gray4", "--type", "gray16"},
                                                     {"--palette", ""},
                                                     {"--threshold", "256"},
                                                     {"--threshold", "9", "--type", "16"},
                                                     {"--threshold", "9", "--method", "map"}})
    Refused(2, options);
  Refused(1, {"--palette", "gray4", "--type", "mono"});
  Refused(1, {"--palette", scratch / "none.txt"});
  Refused(1, {"--palette", from});  // has no colour table
}

}  // namespace

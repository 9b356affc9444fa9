// qel turn, resize, rotate and blur: pixels where they belong, types as promised, the engine's own results.
#include "app/picture.h"

namespace {

using test::Load;
using test::Qel;

struct Place {
  test::Scratch scratch;
  std::string from = scratch / "from.bmp", to = scratch / "to.bmp";

  /// Runs a verb from one file to the other.
  test::Outcome Do(std::vector<std::string> command) const {
    command.insert(command.begin() + 1, {from, to});
    return Qel(command);
  }

  /// What the engine makes of the file by itself.
  template <class Work>
  test::NaiveImage Direct(Work work) const {
    PQel source, made;
    EXPECT_TRUE(source.OpenDIBImage(from.c_str()));
    EXPECT_TRUE(work(made, source));
    test::NaiveImage pixels(made.GetImageWidth(), made.GetImageHeight(), made.GetBitCount());
    pixels.Load(made);
    return pixels;
  }
};

TEST(Turn, MovesEveryPixelOfEveryType) {
  const Place place;
  constexpr long kW = 37, kH = 21;
  struct Way {
    const char *name;
    bool quarter;
    long (*x)(long x, long y), (*y)(long x, long y);  // where the pixel of the result at x, y comes from
  };
  const Way ways[] = {{"left", true, [](long, long y) { return kW - 1 - y; }, [](long x, long) { return x; }},
                      {"right", true, [](long, long y) { return y; }, [](long x, long) { return kH - 1 - x; }},
                      {"half", false, [](long x, long) { return kW - 1 - x; }, [](long, long y) { return kH - 1 - y; }},
                      {"mirror", false, [](long x, long) { return kW - 1 - x; }, [](long, long y) { return y; }},
                      {"flip", false, [](long x, long) { return x; }, [](long, long y) { return kH - 1 - y; }}};
  for (int type = 0; type < 10; ++type) {
    test::SaveRandom(place.from, type, kW, kH, static_cast<unsigned>(type));
    test::NaiveImage before = Load(place.from, type);
    for (const Way &way : ways) {
      ASSERT_EQ(place.Do({"turn", way.name, "--layout", "block"}).status, 0);
      test::NaiveImage after = Load(place.to, type);
      ASSERT_EQ(after.width, way.quarter ? kH : kW);
      for (long y = 0; y < after.height; ++y)
        for (long x = 0; x < after.width; ++x)
          ASSERT_EQ(after.At(x, y), before.At(way.x(x, y), way.y(x, y))) << way.name;
    }
  }

  // The resolutions go with the sides, the order of the rows stays.
  PQel image;
  ASSERT_TRUE(image.CreateImage(3, 10, -7, 0, nullptr, 1000, 2000, 1, 0, 0) && image.Clear(0));
  ASSERT_TRUE(image.SaveDIB(place.from.c_str(), 0));
  ASSERT_EQ(place.Do({"turn", "left"}).status, 0);
  const auto info = Qel({"info", place.to}).out;
  EXPECT_NE(info.find("7 x 10 pixels, top-down"), std::string::npos) << info;
  EXPECT_NE(info.find("2000 x 1000 dots"), std::string::npos) << info;
}

TEST(Resize, TakesPixelsPercentAndProportion) {
  const Place place;
  test::SaveRandom(place.from, 1, 40, 30);
  for (const auto &[size, width, height] : {std::tuple{"20x50", 20L, 50L},
                                            {"20x", 20, 15},
                                            {"x90", 120, 90},
                                            {"50%", 20, 15},
                                            {"1%", 1, 1},
                                            {"210%", 84, 63}}) {
    ASSERT_EQ(place.Do({"resize", size}).status, 0) << size;
    EXPECT_TRUE(Load(place.to, 1) == place.Direct([&, w = width, h = height](PQel &made, PQel &source) {
      return made.CreateImage(source.GetBI(), w, h, 10, 1, 0, 0) && made.RescaleImage(&source);
    })) << size;
  }
  for (const char *size : {"0x5", "5x0", "x", "%", "0%", "5", "-5x5", "5x5x5", "5%%", "", "50.5%", "5x99999999999"})
    EXPECT_EQ(place.Do({"resize", size}).status, 2) << size;
  EXPECT_EQ(place.Do({"resize", "2147483647x2147483647"}).err, "qel: " + place.from + ": out of memory\n");
}

TEST(Resize, KeepsPalettesUnlessSmooth) {
  const Place place;
  for (const auto &[type, smooth] : {std::pair{0, 5}, {2, 1}, {3, 1}, {4, 5}, {5, 5}, {7, 7}}) {
    test::SaveRandom(place.from, type, 31, 17);
    ASSERT_EQ(place.Do({"resize", "40x40", "--store", "reserved"}).status, 0);
    EXPECT_TRUE(Load(place.to, type) == place.Direct([](PQel &made, PQel &source) {
      return made.CreateImage(source.GetBI(), 40, 40, 10, 1, 0, 0) && made.RescaleImage(&source);
    }));
    ASSERT_EQ(place.Do({"resize", "40x40", "--smooth"}).status, 0);
    EXPECT_EQ(Load(place.to, smooth).width, 40);
  }
}

TEST(Rotate, TurnsByAnyAngle) {
  const Place place;
  test::SaveRandom(place.from, 1, 40, 30);
  const auto Rotated = [&](int degrees, int samples, long background) {
    return place.Direct([=](PQel &made, PQel &source) {
      return background < 0 ? made.Rotate24bitImage(&source, degrees, samples)
                            : made.Rotate24bitImage(&source, degrees, samples, static_cast<unsigned long>(background));
    });
  };
  ASSERT_EQ(place.Do({"rotate", "-30"}).status, 0);
  EXPECT_TRUE(Load(place.to, 1) == Rotated(-30, 4, 0xFFFFFF));
  ASSERT_EQ(place.Do({"rotate", "30", "--samples", "1", "--background", "102030"}).status, 0);
  EXPECT_TRUE(Load(place.to, 1) == Rotated(30, 1, 0x302010));
  EXPECT_EQ(Load(place.to, 1).pixels[0], 0x102030u);
  ASSERT_EQ(place.Do({"rotate", "30", "--background", "edge"}).status, 0);
  EXPECT_TRUE(Load(place.to, 1) == Rotated(30, 4, -1));

  // Grays stay grays on a gray background; palettes become true colour. Resolutions stay.
  for (const auto &[type, background, result] : {std::tuple{0, "#808080", 5},
                                                 {4, "808080", 5},
                                                 {5, "808080", 5},
                                                 {5, "ff0000", 1},
                                                 {5, "edge", 1},
                                                 {3, "808080", 1},
                                                 {6, "808080", 1}}) {
    test::SaveRandom(place.from, type, 20, 10);
    ASSERT_EQ(place.Do({"rotate", "45", "--background", background}).status, 0);
    Load(place.to, result);
    EXPECT_NE(Qel({"info", place.to}).out.find("3780 x 3780"), std::string::npos);
  }
  for (const auto &wrong : std::vector<std::vector<std::string>>{{"rotate", "1.5"},
                                                                 {"rotate", "x"},
                                                                 {"rotate", "5", "--samples", "0"},
                                                                 {"rotate", "5", "--background", "blue"}})
    EXPECT_EQ(place.Do(wrong).status, 2) << wrong.back();
}

TEST(Blur, BlursAnAreaInATypeThatCanShowIt) {
  const Place place;
  for (const auto &[type, result] : {std::pair{0, 5}, {1, 1}, {2, 1}, {3, 1}, {4, 5}, {5, 5}, {6, 6}, {8, 8}}) {
    test::SaveRandom(place.from, type, 40, 30);
    std::filesystem::remove(place.to);
    if (type != result) {
      ASSERT_EQ(test::Convert(place.from, place.from, {"--type", result == 5 ? "gray256" : "rgb"}).status, 0);
    }
    const test::NaiveImage wanted = place.Direct([](PQel &made, PQel &source) {
      RECT area{5, 6, 25, 16};
      return made.GenerateImage(&source, 1, 0, 0) && made.GaussianBlur(nullptr, 1.5, &area);
    });
    test::SaveRandom(place.from, type, 40, 30);
    ASSERT_EQ(place.Do({"blur", "1.5", "--area", "5,6,20,10", "--layout", "block"}).status, 0);
    EXPECT_TRUE(Load(place.to, result) == wanted) << type;
  }
  std::filesystem::remove(place.to);
  EXPECT_EQ(place.Do({"blur", "2", "--area", "30,20,11,10"}).err,
            "qel: " + place.from + ": the part asked for does not lie in the picture of 40 x 30 pixels\n");
  for (const char *sigma : {"0", "-1", "nan", "101", "wide"}) EXPECT_EQ(place.Do({"blur", sigma}).status, 2) << sigma;
  EXPECT_FALSE(std::filesystem::exists(place.to));
}

}  // namespace

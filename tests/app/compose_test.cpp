// qel mask, shadow, compose, border and bounds: the engine's own results, and failures told.
#include <filesystem>

#include "app/picture.h"

namespace {

using test::Load;
using test::Qel;

constexpr DWORD kKey = 0x20C040;

/// A picture with a disc on the key colour.
void SaveDisc(const std::string &path) {
  PQel image;
  ASSERT_TRUE(image.CreateImage(1, 60, 50, 0, nullptr, 3780, 3780, 1, 0, 0));
  RECT all = {0, 0, 60, 50}, disc = {10, 8, 40, 38};
  ASSERT_TRUE(image.FillRect(&all, kKey) && image.FillCircle(&disc, 0x803010));
  ASSERT_TRUE(image.SaveDIB(path.c_str(), 0));
}

test::NaiveImage PixelsOf(PQel &image) {
  test::NaiveImage pixels(image.GetImageWidth(), image.GetImageHeight(), image.GetBitCount());
  pixels.Load(image);
  return pixels;
}

TEST(MaskVerbs, MakeWhatTheEngineMakes) {
  const test::Scratch scratch;
  const std::string in = scratch / "in.bmp", cut = scratch / "cut.bmp", mask = scratch / "mask.bmp";
  const std::string shaded = scratch / "shaded.bmp", shadow = scratch / "shadow.bmp", base = scratch / "base.bmp";
  const std::string out = scratch / "out.bmp";
  SaveDisc(in);
  PQel picture, levels;
  ASSERT_TRUE(picture.OpenDIBImage(in.c_str()) && picture.GenerateImageMask(&levels, 0, kKey));
  ASSERT_EQ(Qel({"mask", in, cut, mask, "--key", "20c040"}).status, 0);
  EXPECT_TRUE(Load(cut, 1) == PixelsOf(picture));
  EXPECT_TRUE(Load(mask, 5) == PixelsOf(levels));

  ASSERT_TRUE(picture.GenerateImageMask(&levels, 3));
  ASSERT_EQ(Qel({"shadow", cut, mask, shaded, shadow, "--blur", "3"}).status, 0);
  EXPECT_TRUE(Load(shaded, 1) == PixelsOf(picture));
  EXPECT_TRUE(Load(shadow, 5) == PixelsOf(levels));

  for (const int type : {1, 5, 3}) {  // grays and palettes take the layer's colours as 24 bits
    test::SaveRandom(base, type, 80, 70);
    PQel ground;
    ASSERT_TRUE(ground.OpenDIBImage(base.c_str()) && ground.ConvertTo24bit());
    POINT at = {-5, 12};
    ASSERT_TRUE(ground.CombineImage(&picture, &levels, &at, nullptr));
    ASSERT_EQ(Qel({"compose", base, shaded, shadow, out, "--at", "-5,12"}).status, 0);
    EXPECT_TRUE(Load(out, 1) == PixelsOf(ground)) << "type " << type;
  }
}

TEST(MaskVerbs, ListTheBorderAndTheBounds) {
  const test::Scratch scratch;
  const std::string in = scratch / "in.bmp", out = scratch / "out.bmp";
  PQel image;
  ASSERT_TRUE(image.CreateImage(5, 20, 20, 0, nullptr, 3780, 3780, 1, 0, 0) && image.Clear(255));
  RECT dark = {4, 6, 7, 8};
  ASSERT_TRUE(image.FillRect(&dark, 90) && image.SaveDIB(in.c_str(), 0));
  EXPECT_EQ(Qel({"border", in}).out, "4 7\n5 7\n6 7\n4 6\n5 6\n6 6\n");
  EXPECT_EQ(Qel({"border", in, "--threshold", "89"}).out, "");
  EXPECT_EQ(Qel({"bounds", in}).out, "4,5,3,4\n");
  ASSERT_EQ(Qel({"border", in, "--draw", out}).status, 0);
  test::NaiveImage drawn = Load(out, 1);
  for (long y = 0; y < 20; ++y)
    for (long x = 0; x < 20; ++x) EXPECT_EQ(drawn.At(x, y), x >= 4 && x < 7 && y >= 6 && y < 8 ? 0xFF0000u : 0xFFFFFFu);
}

TEST(MaskVerbs, TellWhatFailed) {
  const test::Scratch scratch;
  const std::string in = scratch / "in.bmp", other = scratch / "other.bmp", a = scratch / "a.bmp",
                    b = scratch / "b.bmp";
  SaveDisc(in);
  test::SaveRandom(other, 5, 9, 9);
  const auto failure = Qel({"shadow", in, other, a, b, "--blur", "3"});
  EXPECT_EQ(failure.status, 1);
  EXPECT_EQ(failure.err, "qel: " + other + ": is not as large as the picture\n");
  EXPECT_FALSE(std::filesystem::exists(a));
  EXPECT_EQ(Qel({"bounds", in, "--threshold", "0"}).status, 1);
  EXPECT_EQ(Qel({"compose", in, other, scratch / "none.bmp", a}).status, 1);
  EXPECT_EQ(Qel({"mask", in, a, a, "--key", "20c040"}).status, 1);
  EXPECT_FALSE(std::filesystem::exists(a));
  EXPECT_EQ(Qel({"mask", in, a, b}).status, 2);
  EXPECT_EQ(Qel({"mask", in, a, b, "--key", "green"}).status, 2);
  EXPECT_EQ(Qel({"shadow", in, other, a, b, "--blur", "0"}).status, 2);
  EXPECT_EQ(Qel({"border", in, "--threshold", "256"}).status, 2);
}

}  // namespace

// Pictures of every type saved and opened again through the lossless formats, and what becomes of them on the way.
#include <map>
#include <thread>

#include "codecs/pictures.h"

using namespace test;

namespace {

/// The type that a saved type comes back as.
using Returns = std::map<int, int>;
const Returns kPng = {{0, 0}, {1, 1}, {2, 2}, {3, 3}, {4, 4}, {5, 5}, {6, 1}, {7, 1}, {8, 8}, {9, 9}};
const Returns kGif = {{0, 0}, {2, 2}, {3, 3}, {4, 4}, {5, 5}};
const Returns kTiff = kPng;
const Returns kWebp = {{0, 1}, {1, 1}, {2, 1}, {3, 1}, {4, 1}, {5, 1}, {6, 1}, {7, 1}, {8, 8}, {9, 1}};

class RoundTrip : public PictureTest {
 protected:
  void Check(const std::string &extension, const Returns &returns) {
    for (const auto &[type, back] : returns)
      for (const long width : {1, 2, 3, 5, 7, 8, 9, 31, 64, 65})
        for (const Keeping &keeping : {Keeping{1, 0, false}, Keeping{4, 0, true}, Keeping{8, 1, false}}) {
          SCOPED_TRACE(testing::Message() << "type " << type << " width " << width << " block " << keeping.block);
          CheckOne(scratch / ("a." + extension), type, back, width, keeping);
        }
  }

  void CheckOne(const std::string &path, int type, int expectedType, long width, const Keeping &keeping) {
    PQel image, opened;
    ASSERT_TRUE(Create(image, type, width, 6, keeping));
    const NaiveImage pixels = Randomise(image, random);
    const std::string library = "zul" + path.substr(path.rfind('.') + 1) + "32.dll";
    ASSERT_TRUE(image.SaveImage(path.c_str(), library.c_str())) << GetCodecTransferError();
    ASSERT_TRUE(opened.OpenImage(path.c_str()));
    EXPECT_EQ(GetCodecTransferError(), nullptr);
    EXPECT_EQ(opened.GetImageType(), expectedType);
    if (type == expectedType) {
      EXPECT_EQ(Pixels(opened), pixels);
      EXPECT_EQ(Colors(opened), Colors(image));
    } else {
      EXPECT_EQ(To24(opened), To24(image));
    }
    for (const bool topDown : {false, true}) {
      const NoisyStore store(library.c_str(), path, topDown);
      EXPECT_EQ(store.pixels, Pixels(opened));
      EXPECT_TRUE(store.isPaddingClear);
    }
  }
};

TEST_F(RoundTrip, Png) {
  Check("png", kPng);
}
TEST_F(RoundTrip, Gif) {
  Check("gif", kGif);
}
TEST_F(RoundTrip, Tiff) {
  Check("tif", kTiff);
}
TEST_F(RoundTrip, Webp) {
  Check("webp", kWebp);
}

/// A fourth byte that nobody has set does not make a picture invisible.
TEST_F(RoundTrip, PixelsWithoutAlphaAreOpaque) {
  PQel image, opened;
  ASSERT_TRUE(image.CreateImage(8, 9, 5, 0, nullptr, 0, 0, 1, 0, 0));
  image.Clear(0x563412);
  for (const char *const name : {"a.png", "a.webp"}) {
    const std::string path = scratch / name;
    ASSERT_TRUE(image.SaveImage(path.c_str(), *(path.end() - 1) == 'g' ? "zulpng32" : "zulwebp32"));
    ASSERT_TRUE(opened.OpenImage(path.c_str()));
    EXPECT_EQ(opened.GetImageType(), 1);
    EXPECT_EQ(To24(opened), To24(image));
  }
}

/// A short palette keeps its length, as long as every pixel has a colour in it.
TEST_F(RoundTrip, ShortPalettes) {
  RGBQUAD colors[10];
  for (RGBQUAD &color : colors) color = {BYTE(random()), BYTE(random()), BYTE(random()), 0};
  PQel image;
  ASSERT_TRUE(image.CreateImage(3, 5, 4, 10, colors, 0, 0, 1, 0, 0));
  NaiveImage pixels(5, 4, 8);
  for (const unsigned highest : {3u, 200u}) {
    pixels.At(2, 3) = highest;
    pixels.Store(image);
    ASSERT_TRUE(image.SaveImage((scratch / "a.png").c_str(), "zulpng32"));
    EXPECT_EQ(InfoOf("zulpng32", scratch / "a.png").palette.size(), std::max(10u, highest + 1));
  }
}

TEST_F(RoundTrip, Resolutions) {
  struct Case {
    long x, y;
    long jpegX, jpegY;  // whole dots per centimetre or inch, whichever is nearer
  };
  for (const Case &c : {Case{3780, 3780, 3780, 3780},
                        {2835, 2835, 2835, 2835},
                        {1000, 2000, 1000, 2000},
                        {11811, 5906, 11811, 5906},
                        {12345, 1, 0, 0}}) {
    PQel image;
    ASSERT_TRUE(image.CreateImage(1, 3, 3, 0, nullptr, c.x, c.y, 1, 0, 0));
    image.Clear(0);
    ASSERT_TRUE(image.SaveImage((scratch / "a.png").c_str(), "zulpng32"));
    ASSERT_TRUE(image.SaveImage((scratch / "a.jpg").c_str(), "zuljpg32"));
    const auto png = InfoOf("zulpng32", scratch / "a.png"), jpeg = InfoOf("zuljpg32", scratch / "a.jpg");
    EXPECT_EQ(png.dpm_x, c.x);
    EXPECT_EQ(png.dpm_y, c.y);
    EXPECT_EQ(jpeg.dpm_x, c.jpegX);
    EXPECT_EQ(jpeg.dpm_y, c.jpegY);
  }
}

/// The library never writes behind the store that it is given.
TEST_F(RoundTrip, StoresThatAreTooSmall) {
  PQel image;
  ASSERT_TRUE(image.CreateImage(1, 33, 9, 0, nullptr, 0, 0, 1, 0, 0));
  Randomise(image, random);
  for (const char *const name : {"jpg", "png", "tif", "webp"}) {
    const std::string path = scratch / name, library = std::string("zul") + name + "32";
    ASSERT_TRUE(image.SaveImage(path.c_str(), library.c_str()));
    const NoisyStore store(library.c_str(), path, false, 1);
    EXPECT_EQ(store.wasRead, 0);
    EXPECT_NE(store.error, "");
    EXPECT_EQ(store.bytes[40], 0xA5);
  }
}

TEST_F(RoundTrip, Refusals) {
  PQel image;
  WriteFile(scratch / "text.png", "no picture at all");
  EXPECT_FALSE(image.OpenImage((scratch / "text.png").c_str(), "zulpng32"));
  EXPECT_FALSE(image.OpenImage((scratch / "text.png").c_str(), "zuljpg32"));
  ASSERT_TRUE(image.CreateImage(0, 16384, 1, 0, nullptr, 0, 0, 1, 0, 0));
  EXPECT_FALSE(image.SaveImage((scratch / "wide.webp").c_str(), "zulwebp32"));
  EXPECT_FALSE(std::filesystem::exists(scratch / "wide.webp"));
}

/// What does not reach the file is told.
TEST_F(RoundTrip, FullDevices) {
  PQel image;
  ASSERT_TRUE(image.CreateImage(1, 300, 300, 0, nullptr, 0, 0, 1, 0, 0));
  Randomise(image, random);
  for (const char *const library : {"zuljpg32", "zulpng32", "zultif32", "zulwebp32"}) {
    image.SaveImage("/dev/full", library);
    EXPECT_NE(GetCodecTransferError(), nullptr) << library;
  }
}

/// Threads with files of their own do not meet, though they share the libraries.
TEST_F(RoundTrip, ManyThreads) {
  std::vector<std::thread> threads;
  for (unsigned number = 0; number < 4; ++number)
    threads.emplace_back([this, number] {
      std::mt19937 own(number);
      for (int round = 0; round < 20; ++round) {
        PQel image, opened;
        const std::string path = scratch / (std::to_string(number) + ".png");
        EXPECT_TRUE(image.CreateImage(1 + 2 * (number % 2), 40 + number, 30, 0, nullptr, 0, 0, 1, 0, 0));
        const NaiveImage pixels = Randomise(image, own);
        EXPECT_TRUE(image.SaveImage(path.c_str(), "zulpng32"));
        if (round % 4 == 3) std::filesystem::resize_file(path, 1000);
        EXPECT_TRUE(opened.OpenImage(path.c_str(), "zulpng32"));
        EXPECT_EQ(GetCodecTransferError() == nullptr, round % 4 != 3);
        EXPECT_EQ(Pixels(opened) == pixels, round % 4 != 3);
      }
    });
  for (std::thread &thread : threads) thread.join();
}

}  // namespace

// GIF files of every kind, written by giflib itself.
#include <gif_lib.h>

#include "codecs/pictures.h"

using namespace test;

namespace {

struct RandomGif {
  int colors;  // of the table
  bool local;  // whose table it is
  bool interlaced;
  long screenWidth, screenHeight, left, top;
  int background;
  long width = 21, height = 19;
  std::vector<GifColorType> table = {};
  NaiveImage frame{21, 19, 8};

  void Write(const std::string &path, std::mt19937 &random) {
    frame.Randomise(random);
    for (auto &pixel : frame.pixels) pixel %= static_cast<unsigned>(colors);
    for (int i = 0; i < colors; ++i)
      table.push_back({GifByteType(random()), GifByteType(random()), GifByteType(random())});
    int error = 0;
    GifFileType *const gif = EGifOpenFileName(path.c_str(), false, &error);
    ColorMapObject *const map = GifMakeMapObject(colors, table.data());
    EXPECT_EQ(EGifPutScreenDesc(gif, int(screenWidth), int(screenHeight), 8, background, local ? nullptr : map), 1);
    EXPECT_EQ(EGifPutComment(gif, "made up"), 1);
    EXPECT_EQ(EGifPutImageDesc(gif, int(left), int(top), int(width), int(height), interlaced, local ? map : nullptr),
              1);
    const auto Put = [&](long first, long step) {
      for (long y = first; y < height; y += step) {
        std::vector<GifPixelType> line;
        for (long x = 0; x < width; ++x) line.push_back(static_cast<GifPixelType>(frame.At(x, y)));
        EXPECT_EQ(EGifPutLine(gif, line.data(), int(width)), 1);
      }
    };
    if (interlaced) Put(0, 8), Put(4, 8), Put(2, 4);
    Put(interlaced ? 1 : 0, interlaced ? 2 : 1);
    EXPECT_EQ(EGifCloseFile(gif, &error), 1);
    GifFreeMapObject(map);
  }

  /// The screen as the engine keeps it.
  NaiveImage Expected(int bits) {
    NaiveImage screen(std::max(screenWidth, left + width), std::max(screenHeight, top + height), bits);
    std::fill(screen.pixels.begin(), screen.pixels.end(), background & ((1u << bits) - 1));
    for (long y = 0; y < height; ++y)
      for (long x = 0; x < width; ++x) screen.At(left + x, top + y) = frame.At(x, y);
    return screen;
  }
};

class Gif : public PictureTest {};

TEST_F(Gif, EveryKindComesInWhole) {
  const std::string path = scratch / "a.gif";
  for (const int colors : {2, 4, 8, 16, 32, 256})
    for (const bool local : {false, true})
      for (const bool interlaced : {false, true})
        for (RandomGif gif : {RandomGif{colors, local, interlaced, 21, 19, 0, 0, 0},
                              RandomGif{colors, local, interlaced, 33, 25, 3, 4, 255},
                              RandomGif{colors, local, interlaced, 9, 9, 5, 6, 1}}) {
          SCOPED_TRACE(testing::Message()
                       << colors << " colours, local " << local << ", interlaced " << interlaced << " at " << gif.left);
          gif.Write(path, random);
          PQel image;
          ASSERT_TRUE(image.OpenImage(path.c_str()));
          EXPECT_EQ(GetCodecTransferError(), nullptr);
          EXPECT_EQ(image.GetImageType(), colors == 2 ? 0 : colors <= 16 ? 2 : 3);
          const NaiveImage expected = gif.Expected(image.GetBitCount());
          EXPECT_EQ(Pixels(image), expected);
          const std::vector<unsigned char> rgb = Colors(image);
          for (std::size_t i = 0; i < gif.table.size(); ++i) {
            EXPECT_EQ(rgb[3 * i], gif.table[i].Red);
            EXPECT_EQ(rgb[3 * i + 2], gif.table[i].Blue);
          }
          const NoisyStore store("zulgif32", path, interlaced);
          EXPECT_EQ(store.pixels, expected);
          EXPECT_TRUE(store.isPaddingClear);
        }
}

TEST_F(Gif, PicturesWithoutATableAreGray) {
  const std::string path = scratch / "a.gif";
  RandomGif gif{256, false, false, 21, 19, 0, 0, 0};
  gif.Write(path, random);
  std::string bytes = ReadFile(path);
  bytes[10] = static_cast<char>(bytes[10] & 0x7F);
  WriteFile(path, bytes.erase(13, 768));
  PQel image;
  ASSERT_TRUE(image.OpenImage(path.c_str()));
  EXPECT_EQ(image.GetImageType(), 5);
  EXPECT_EQ(Pixels(image), gif.frame);
}

TEST_F(Gif, TellsWhyDeepPicturesAreNotSaved) {
  for (const int type : {1, 6, 7, 8, 9}) {
    PQel image;
    ASSERT_TRUE(image.CreateImage(type, 5, 5, 0, nullptr, 0, 0, 1, 0, 0));
    EXPECT_FALSE(image.SaveImage((scratch / "a.gif").c_str(), "zulgif32"));
    EXPECT_STREQ(GetCodecTransferError(), "a GIF picture has at most 256 colours");
  }
}

/// Rows that came in before the end stay, the others are 0, and the end is told.
TEST_F(Gif, KeepsTheRowsOfACutFile) {
  const std::string path = scratch / "a.gif";
  RandomGif gif{256, false, false, 21, 19, 0, 0, 7};
  gif.Write(path, random);
  const std::string whole = ReadFile(path);
  WriteFile(path, whole.substr(0, whole.size() - 150));
  const NoisyStore store("zulgif32", path, true);
  EXPECT_EQ(store.error, "the file ends early");
  for (long y = 0; y < 19; ++y)
    for (long x = 0; x < 21; ++x)
      if (y < 8 || y > 16) EXPECT_EQ(NaiveImage(store.pixels).At(x, y), y < 8 ? gif.frame.At(x, y) : 0u);
}

}  // namespace

// Damaged files of every format: whatever the bytes say, opening ends with no image or a sound one.
#include "codecs/pictures.h"

#include <zlib.h>

#include "qel/fileio/reader_library.h"

using namespace test;

namespace {

class Broken : public PictureTest, public testing::WithParamInterface<std::tuple<const char *, int>> {
 protected:
  /// The bytes of a small picture of the type.
  std::vector<unsigned char> MakeFile(int type) {
    const std::string path = scratch / ("whole." + extension);
    PQel image;
    EXPECT_TRUE(image.CreateImage(type, 19, 17, 0, nullptr, 3780, 3780, 1, 0, 0));
    Randomise(image, random);
    EXPECT_TRUE(image.SaveImage(path.c_str(), ("zul" + extension + "32").c_str()));
    return ReadFile<std::vector<unsigned char>>(path);
  }

  /// Opens bytes as a file by the engine and into a store of noise.
  void Open(const std::vector<unsigned char> &bytes) {
    const std::string path = scratch / ("a." + extension);
    WriteFile(path, bytes);
    PQel image;
    if (!image.OpenImage(path.c_str())) {
      EXPECT_TRUE(image.IsEmpty());
    } else {
      EXPECT_GT(image.GetImageWidth(), 0);
      EXPECT_LE(image.GetImageWidth(), 32767);
      Pixels(image);
    }
    if (image.GetImageSize() > 1 << 20) return;
    EXPECT_TRUE(NoisyStore(("zul" + extension + "32").c_str(), path, true).isPaddingClear);
  }

  std::string extension = std::get<0>(GetParam());
  int type = std::get<1>(GetParam());
};

TEST_P(Broken, EveryPrefix) {
  const std::vector<unsigned char> whole = MakeFile(type);
  ASSERT_FALSE(whole.empty());
  for (std::size_t length = 0; length < whole.size(); length += 1 + whole.size() / 200)
    Open({whole.begin(), whole.begin() + static_cast<long>(length)});
}

TEST_P(Broken, RandomBytes) {
  const std::vector<unsigned char> whole = MakeFile(type);
  ASSERT_FALSE(whole.empty());
  for (int round = 0; round < 200; ++round) {
    std::vector<unsigned char> bytes = whole;
    // Half of the damage goes into the headers.
    const std::size_t reach = round % 2 ? bytes.size() : std::min<std::size_t>(bytes.size(), 64);
    for (unsigned i = 0; i <= random() % 4; ++i)
      bytes[random() % reach] ^= static_cast<unsigned char>(1u << random() % 8);
    Open(bytes);
  }
}

using TooShort = PictureTest;

TEST_F(TooShort, FilesOfAFewBytesMakeNoGiantImages) {
  constexpr std::size_t kPngSize = 16, kPngHeader = 17, kGifSize = 6, kJpegSize = 5;  // kJpegSize: in its SOF0 segment
  PQel image, opened;
  ASSERT_TRUE(image.CreateImage(5, 19, 17, 0, nullptr, 3780, 3780, 1, 0, 0));
  for (const std::string extension : {"gif", "jpg", "png"}) {
    const std::string path = scratch / ("a." + extension);
    ASSERT_TRUE(image.SaveImage(path.c_str(), ("zul" + extension + "32").c_str()));
    auto bytes = ReadFile<std::vector<unsigned char>>(path);
    if (extension == "png") {
      for (const std::size_t side : {kPngSize, kPngSize + 4}) bytes[side + 2] = 0x70;
      const uLong sum = crc32(0, bytes.data() + kPngSize - 4, kPngHeader);
      for (std::size_t i = 0; i < 4; ++i) bytes[kPngSize - 4 + kPngHeader + i] = BYTE(sum >> (24 - 8 * i));
    } else if (extension == "gif") {
      bytes[kGifSize + 1] = bytes[kGifSize + 3] = 0x70;
    } else {
      constexpr unsigned char kFrame[] = {0xFF, 0xC0};
      const auto frame = std::search(bytes.begin(), bytes.end(), std::begin(kFrame), std::end(kFrame));
      ASSERT_NE(frame, bytes.end());
      frame[kJpegSize] = frame[kJpegSize + 2] = 0x70;
    }
    WriteFile(path, bytes);
    EXPECT_FALSE(opened.OpenImage(path.c_str())) << extension;
    EXPECT_NE(AllFindFormat(path.c_str()), nullptr) << extension;
    BITMAPINFOHEADER header;
    EXPECT_FALSE(AllReadHeader(path.c_str(), &header)) << extension;
    EXPECT_STREQ(AllGetError(), "the file is far too short for a picture of its size") << extension;
  }
}

TEST_F(TooShort, WhatIsPackedAsFarAsCanBeIsNot) {
  const std::string path = scratch / "blank.png";
  PQel image, opened;
  ASSERT_TRUE(image.CreateImage(0, 9000, 8000, 0, nullptr, 3780, 3780, 1, 0, 0));
  ASSERT_TRUE(image.SaveImage(path.c_str(), "zulpng32"));
  EXPECT_TRUE(opened.OpenImage(path.c_str()));
}

INSTANTIATE_TEST_SUITE_P(Formats, Broken,
                         testing::Values(std::tuple{"gif", 0}, std::tuple{"gif", 3}, std::tuple{"jpg", 1},
                                         std::tuple{"jpg", 5}, std::tuple{"png", 1}, std::tuple{"png", 2},
                                         std::tuple{"tif", 0}, std::tuple{"tif", 1}, std::tuple{"tif", 3},
                                         std::tuple{"webp", 1}, std::tuple{"webp", 8}));

}  // namespace

// Damaged files of every format: whatever the bytes say, opening ends with no image or a sound one.
#include "codecs/pictures.h"

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

INSTANTIATE_TEST_SUITE_P(Formats, Broken,
                         testing::Values(std::tuple{"gif", 0}, std::tuple{"gif", 3}, std::tuple{"jpg", 1},
                                         std::tuple{"jpg", 5}, std::tuple{"png", 1}, std::tuple{"png", 2},
                                         std::tuple{"tif", 0}, std::tuple{"tif", 1}, std::tuple{"tif", 3},
                                         std::tuple{"webp", 1}, std::tuple{"webp", 8}));

}  // namespace

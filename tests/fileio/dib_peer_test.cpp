// Other programs as judges: pictures of a well-known collection of bitmap files against their PNG neighbours, decoded
// by libpng; and files that the engine writes, read by ImageMagick.
#include "fileio/dib_bytes.h"
#include "support/bmp_files.h"
#include "support/png.h"

namespace {

using namespace test;

// Files of others ----------------------------------------------------------------------------------------------------

/// Read, but not as their picture: masks that are not the usual ones, a PNG of another scale.
bool IsExempt(const std::string &stem) {
  return stem == "rgb32bf" || stem == "pal8nonsquare";
}

bool IsRefused(const std::string &stem) {
  return stem == "pal8os2" || stem.find("rle") != std::string::npos;
}

class Pictures : public testing::TestWithParam<const char *> {};

TEST_P(Pictures, ShowWhatTheirNeighboursShow) {
  const char *data = std::getenv("QEL_TEST_DATA");
  if (!data) GTEST_SKIP() << "QEL_TEST_DATA names no folder of pictures";
  const std::vector<std::filesystem::path> files = BmpFilesOf(std::string(data) + "/" + GetParam());
  ASSERT_GE(files.size(), 3u);
  for (const auto &path : files) {
    const std::string stem = path.stem().string();
    SCOPED_TRACE(stem);
    PQel image;
    ASSERT_EQ(image.OpenDIBImage(path.c_str()), IsRefused(stem) ? 0 : 1);
    if (IsRefused(stem)) continue;
    const Bytes file = ReadFile<Bytes>(path.string());
    EXPECT_EQ(image.GetBitCount(), static_cast<int>(Field(file, 28, 2)));
    EXPECT_EQ(image.GetBIH()->biHeight, static_cast<std::int32_t>(Field(file, 22, 4)));
    const std::uint32_t colours = Field(file, 46, 4);
    EXPECT_TRUE(colours == 0 || image.GetBIH()->biClrUsed == colours);
    if (IsExempt(stem)) continue;

    RgbImage expected;
    ASSERT_TRUE(ReadPng(NeighbourOf(path), expected));
    ASSERT_EQ(image.GetImageWidth(), expected.width);
    ASSERT_EQ(image.GetImageHeight(), expected.height);
    EXPECT_LE(LargestDifference(ToRgb(image), expected.rgb), image.GetBitCount() == 16 ? 1 : 0);
  }
}

INSTANTIATE_TEST_SUITE_P(Folders, Pictures, testing::Values("bmp-good", "photos"));

// Files of the engine ------------------------------------------------------------------------------------------------

/// The pixels that ImageMagick finds in a file.
Bytes ReadByPeer(const std::string &path, const std::string &scratch) {
  const std::string command =
      std::string("'") + QEL_PEER_CONVERT + "' 'bmp:" + path + "' -depth 8 'rgb:" + scratch + "'";
  EXPECT_EQ(std::system(command.c_str()), 0) << command;
  return ReadFile<Bytes>(scratch);
}

TEST(DibPeer, ReadsEveryTypeThatIsWritten) {
  if (!*QEL_PEER_CONVERT) GTEST_SKIP() << "ImageMagick is not installed (package imagemagick-6.q16)";
  std::mt19937 random(11);
  Scratch folder;
  for (int type = 0; type <= 8; ++type) {
    for (bool topDown : {false, true}) {
      for (int block : {0, 1}) {
        SCOPED_TRACE(testing::Message() << "type " << type << (topDown ? " top-down" : " bottom-up") << " block "
                                        << block);
        PQel image;
        ASSERT_EQ(Create(image, type, 45, 33, {1, block, topDown}), 1);
        NaiveImage pixels(45, 33, image.GetBitCount());
        pixels.Randomise(random);
        pixels.Store(image);
        ASSERT_EQ(image.SaveDIB((folder / "a").c_str(), 1), 1);
        EXPECT_LE(LargestDifference(ReadByPeer(folder / "a.bmp", folder / "raw"), ToRgb(image)),
                  image.GetBitCount() == 16 ? 1 : 0);
      }
    }
  }
}

}  // namespace

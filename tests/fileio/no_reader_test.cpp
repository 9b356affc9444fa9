// An engine built without format libraries: it links, and whatever needs one fails and says so.
#include <gtest/gtest.h>

#include "qel/fileio/reader_library.h"
#include "qel/fileio/ufile_io.h"
#include "support/files.h"

namespace {

TEST(NoReader, OpensAndSavesNothingThroughFormatLibraries) {
  const test::Scratch scratch;
  const std::string path = scratch / "a.bmp";
  PQel image;
  ASSERT_TRUE(image.CreateImage(1, 5, 4, 0, nullptr, 1, 1, 1, 0, 0) && image.Clear(0));
  ASSERT_TRUE(image.SaveDIB(path.c_str(), 0));

  int result = 1;
  EXPECT_EQ(UFileIO().UFileOpen(path.c_str(), &result), nullptr);
  EXPECT_EQ(result, -1);
  EXPECT_EQ(UFileIO().UFileOpen(path.c_str()), nullptr);
  EXPECT_EQ(UFileIO().UFileOpenHeader(path.c_str()), nullptr);
  EXPECT_NE(AllGetError(), nullptr);
  AllFormat format;
  EXPECT_FALSE(AllGetFormat(0, &format) || AllFindFormat(path.c_str()) || AllReadPalette(path.c_str()));

  EXPECT_FALSE(image.SaveJPG((scratch / "a.jpg").c_str(), 0));
  EXPECT_FALSE(image.LoadJPG(path.c_str(), 0));
  EXPECT_EQ(scratch.List(), std::vector<std::string>{"a.bmp"});
  EXPECT_FALSE(image.IsEmpty());
}

}  // namespace

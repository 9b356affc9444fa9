// DIB files by name: extensions, names that cannot be opened, devices that refuse what is written; images from
// resources.
#include <sys/stat.h>

#include "fileio/dib_bytes.h"
#include "qel/platform/kernel/resource.h"

namespace {

using namespace test;

class NamedDib : public testing::Test {
 protected:
  void SetUp() override {
    ASSERT_EQ(image.CreateImage(3, 10, 10, 0, nullptr, 0, 0, 1, 0, 0), 1);
    NaiveImage pixels(10, 10, 8);
    std::mt19937 random(1);
    pixels.Randomise(random);
    pixels.Store(image);
  }

  /// 1 when `name` opens and shows the image.
  int Opens(const std::string &name) {
    PQel back;
    if (!back.OpenDIBImage(name.c_str())) return 0;
    EXPECT_TRUE(ToRgb(back) == ToRgb(image));
    return 1;
  }

  Scratch folder;
  PQel image;
};

TEST_F(NamedDib, ExtensionIsAddedWhenAskedForAndTriedWhenMissing) {
  ASSERT_EQ(image.SaveDIB((folder / "picture").c_str(), 1), 1);
  ASSERT_EQ(image.SaveDIB((folder / "a.bmp").c_str(), 1), 1);
  ASSERT_EQ(image.SaveDIB((folder / "plain").c_str(), 0), 1);
  std::filesystem::create_directory(folder / "dotted.folder");
  ASSERT_EQ(image.SaveDIB((folder / "dotted.folder/inner").c_str(), 1), 1);
  ASSERT_EQ(image.SaveDIB((folder / "back.slash\\inner").c_str(), 1), 1);
  EXPECT_TRUE(std::filesystem::exists(folder / "picture.bmp"));
  EXPECT_TRUE(std::filesystem::exists(folder / "a.bmp.bmp"));

  EXPECT_EQ(Opens(folder / "picture"), 1);
  EXPECT_EQ(Opens(folder / "picture.bmp"), 1);
  EXPECT_EQ(Opens(folder / "plain"), 1);
  EXPECT_EQ(Opens(folder / "dotted.folder/inner"), 1);
  EXPECT_EQ(Opens(folder / "back.slash\\inner"), 1);
  EXPECT_EQ(Opens(folder / "a.bmp"), 0);  // has an extension: a.bmp.bmp is not tried
  EXPECT_EQ(Opens(folder / "picture.dat"), 0);
  std::string name = folder / "plain";
  PQel back;
  EXPECT_EQ(back.OpenDIBImage(name.data()), 1);
}

TEST_F(NamedDib, NamesThatCannotBeOpenedKeepTheImage) {
  const Bytes before = ToRgb(image);
  std::filesystem::create_directory(folder / "folder");
  WriteFile(folder / "empty.bmp", Bytes{});
  EXPECT_EQ(image.OpenDIBImage(""), 0);
  EXPECT_EQ(image.OpenDIBImage(static_cast<const char *>(nullptr)), 0);
  EXPECT_EQ(image.OpenDIBImage(static_cast<char *>(nullptr)), 0);
  EXPECT_EQ(image.OpenDIBImage((folder / "missing").c_str()), 0);
  EXPECT_EQ(image.OpenDIBImage((folder / "missing/missing").c_str()), 0);
  EXPECT_EQ(image.OpenDIBImage((folder / "folder").c_str()), 0);
  EXPECT_EQ(image.OpenDIBImage((folder / "empty.bmp").c_str()), 0);
  EXPECT_EQ(image.OpenDIBImage("/dev/null"), 0);
  EXPECT_EQ(image.OpenDIBImage("/dev/zero"), 0);
  if (geteuid() != 0) {
    ASSERT_EQ(image.SaveDIB((folder / "locked.bmp").c_str(), 0), 1);
    ASSERT_EQ(chmod((folder / "locked.bmp").c_str(), 0), 0);
    EXPECT_EQ(image.OpenDIBImage((folder / "locked.bmp").c_str()), 0);
    EXPECT_EQ(image.SaveDIB((folder / "locked.bmp").c_str(), 0), 0);
  }
  EXPECT_EQ(image.SaveDIB("", 1), 0);
  EXPECT_EQ(image.SaveDIB(nullptr, 1), 0);
  EXPECT_EQ(image.SaveDIB((folder / "folder").c_str(), 0), 0);
  EXPECT_EQ(image.SaveDIB((folder / "missing/a.bmp").c_str(), 0), 0);
  EXPECT_TRUE(ToRgb(image) == before);
}

TEST_F(NamedDib, EmptyImageWritesAndCreatesNothing) {
  PQel empty;
  EXPECT_EQ(empty.SaveDIB((folder / "none.bmp").c_str(), 0), 0);
  EXPECT_FALSE(std::filesystem::exists(folder / "none.bmp"));
  ASSERT_EQ(image.SaveDIB((folder / "some.bmp").c_str(), 0), 1);
  const Bytes before = ReadFile<Bytes>(folder / "some.bmp");
  EXPECT_EQ(empty.SaveDIB((folder / "some.bmp").c_str(), 0), 0);
  CFile file;
  ASSERT_TRUE(file.Open((folder / "some.bmp").c_str(), CFile::modeReadWrite));
  EXPECT_EQ(empty.WriteDIBFile(file), 0);
  EXPECT_EQ(file.GetPosition(), 0u);
  EXPECT_TRUE(ReadFile<Bytes>(folder / "some.bmp") == before);
}

TEST_F(NamedDib, LongerFileIsCutToTheImage) {
  WriteFile(folder / "a.bmp", Bytes(100000, 1));
  ASSERT_EQ(image.SaveDIB((folder / "a.bmp").c_str(), 0), 1);
  EXPECT_EQ(std::filesystem::file_size(folder / "a.bmp"), 14u + 40 + 1024 + 120);
}

TEST_F(NamedDib, ExceptionsOfTheFilePassThrough) {
  int cause = CFileException::none;
  try {
    image.SaveDIB("/dev/full", 0);
  } catch (CFileException *error) {
    cause = error->m_cause;
    error->Delete();
  }
  EXPECT_EQ(cause, CFileException::diskFull);

  // A file that breaks off with an error in the middle of its rows.
  class Breaking : public CFile {
   public:
    UINT Read(void *buffer, UINT count) override {
      if (GetPosition() > 1000) throw new CFileException(CFileException::hardIO);
      return CFile::Read(buffer, count);
    }
  } file;
  std::mt19937 random(2);
  WriteFile(folder / "large.bmp", RandomDib(24, 1000, 400, random).Build());
  ASSERT_TRUE(file.Open((folder / "large.bmp").c_str(), CFile::modeRead));
  PQel other;
  cause = CFileException::none;
  try {
    other.ReadDIBFile(file, 15, 0, 0);
  } catch (CFileException *error) {
    cause = error->m_cause;
    error->Delete();
  }
  EXPECT_EQ(cause, CFileException::hardIO);
  EXPECT_EQ(other.GetImageHeight(), 400);
}

// Resources ----------------------------------------------------------------------------------------------------------

/// Holds the image of a resource of this program against the file that it was embedded from.
void ExpectResource(const char *name, const char *file) {
  PQel image, expected;
  ASSERT_EQ(expected.OpenDIBImage((std::string(QEL_TEST_FILES "/") + file).c_str()), 1);
  ASSERT_EQ(image.GenerateImage(name, HINSTANCE{}), 1);
  EXPECT_EQ(image.GetImageType(), expected.GetImageType());
  EXPECT_EQ(std::memcmp(image.GetBIH(), expected.GetBIH(), static_cast<std::size_t>(expected.GetLmmOffset())), 0);
  EXPECT_TRUE(ToRgb(image) == ToRgb(expected));
}

TEST(DibResource, ShowsTheEmbeddedFile) {
  ExpectResource("Five", "five_colours.bmp");
  ExpectResource("FIVE", "five_colours.bmp");
  ExpectResource("#12", "high_colour_top_down.bmp");
  ExpectResource(MAKEINTRESOURCEA(12), "high_colour_top_down.bmp");
}

TEST_F(NamedDib, ResourcesThatAreMissingOrBrokenKeepTheImage) {
  const Bytes before = ToRgb(image);
  for (const char *name : {"MISSING", "CUT", "RUNS", "", "#", "#13"})
    EXPECT_EQ(image.GenerateImage(name, HINSTANCE{}), 0) << name;
  EXPECT_EQ(image.GenerateImage(static_cast<const char *>(nullptr), HINSTANCE{}), 0);
  EXPECT_TRUE(ToRgb(image) == before);
}

}  // namespace

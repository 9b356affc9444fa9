// Files through format libraries: a library made for the purpose, beside this program, tells what reached it.
#include <gtest/gtest.h>

#include "fileio/fake_format.h"
#include "qel/platform/gdi/palette.h"
#include "support/files.h"
#include "support/pixels.h"

FakeRecord g_fake;

namespace {

using namespace test;

constexpr char kFake[] = "zulfake32.dll", kNoWaiting[] = "zulnowaiting32.dll", kMissing[] = "zulmissing32.dll";

class CodecTest : public testing::Test {
 protected:
  CodecTest() {
    g_fake = {};
    setenv("XDG_CONFIG_HOME", (m_folder / "config").c_str(), 1);
    EXPECT_TRUE(m_held.CreateImage(5, 9, 7, 0, nullptr, 0, 0, 1, 0, 0));
  }

  /// A file of the fake format with all bytes of its rows 0x5A.
  std::string Make(const std::string &name, short nType = 5, short nWidth = 5, short nHeight = 4) const {
    const short header[] = {nType, nWidth, nHeight};
    WriteFile(m_folder / name,
              "FAKE" + std::string(reinterpret_cast<const char *>(header), 6) + std::string(4096, 'Z'));
    return m_folder / name;
  }

  Scratch m_folder;
  PQel m_held;  // an image before its operation: gray, 9 x 7
};

// Opening and saving -------------------------------------------------------------------------------------------------

TEST_F(CodecTest, EveryTypeAndKeepingComesBackFromItsFile) {
  std::mt19937 random(33);
  const std::string path = m_folder / "picture.fake";
  for (int nType = 0; nType < 10; ++nType) {
    for (const Keeping &keeping : AllKeepings()) {
      PQel image;
      ASSERT_TRUE(Create(image, nType, 301, 13, keeping));
      NaiveImage pixels(301, 13, image.GetBitCount());
      pixels.Randomise(random);
      pixels.Store(image);
      image.SetRepeat(200, 5);
      g_fake = {};
      ASSERT_TRUE(image.SaveImage(path.c_str(), kFake));
      const int nColors = nType == 0 ? 2 : nType == 2 || nType == 4 ? 16 : nType == 3 || nType == 5 ? 256 : 0;
      EXPECT_EQ(g_fake.calls,
                (nColors ? "header(1,0," : "header(0,0,") + std::to_string(nColors) + ") on write(waiting) off ");
      EXPECT_EQ(g_fake.wMemKind, keeping.block || keeping.memFlags == 1 ? 1 : 2);
      EXPECT_EQ(g_fake.store.biHeight, keeping.topDown ? -13 : 13);
      EXPECT_TRUE(image.IsEnableRepeat() && image.GetXRepeat() == 200 && image.GetYRepeat() == 5);
      EXPECT_EQ(GetPaletteEntries(g_fake.header.hPalette, 0, 0, nullptr), 0u);  // deleted
      EXPECT_EQ(ReadFile(path).size(), static_cast<size_t>(10 + 13 * image.GetLineBytes()));

      g_fake.calls.clear();
      PQel back;
      ASSERT_TRUE(back.OpenImage(path.c_str(), kFake));
      EXPECT_EQ(g_fake.calls, "header(1) on read(waiting) off ");
      NaiveImage read(301, 13, back.GetBitCount());
      read.Load(back);
      EXPECT_TRUE(read == pixels && back.GetImageType() == nType && back.GetMemType() == 1) << nType;
    }
  }
}

TEST_F(CodecTest, TheSavedHeaderTellsTheImage) {
  PQel image;
  ASSERT_TRUE(image.CreateImage(2, 70, -3, 0, nullptr, 2835, 3780, 1, 0, 1));
  image.GetBIH()->biXPelsPerMeter = 2835;
  const std::string path = m_folder / "a.fake";
  ASSERT_TRUE(image.SaveImage(path.c_str(), kFake));
  const CodecImageHeader &h = g_fake.header;
  EXPECT_TRUE(h.nImageType == 2 && h.nWidth == 70 && h.nHeight == 3 && h.nLineBytes == 36 && h.nBitCount == 4);
  EXPECT_TRUE(h.nDpiX == 72 && h.nDpiY == 96);
  EXPECT_TRUE(h.nConstant14 == 3 && h.lConstant20 == -1 && h.lConstant24 == -1 && h.nConstant28 == 6 &&
              h.lConstant32 == 1);

  image.GetBIH()->biYPelsPerMeter = 11811;  // not in the store yet
  ASSERT_TRUE(image.SaveImage(path.c_str(), kFake));
  EXPECT_EQ(g_fake.store.biYPelsPerMeter, 11811);
}

TEST_F(CodecTest, APaletteThatComesWithTheFileIsTaken) {
  g_fake.bPalette = true;
  PQel image;
  ASSERT_TRUE(image.OpenImage(Make("a").c_str(), kFake));
  EXPECT_EQ(image.GetPixelBGR(0, 0), 0x5A5A5Aul);  // beyond the two entries the standard table stays
  EXPECT_EQ(image.GetImageType(), 3);              // and is no gray ramp any more
  image.SetPixel(0, 0, 1);
  EXPECT_EQ(image.GetPixelBGR(0, 0), 0x28323Cul);
  EXPECT_EQ(GetPaletteEntries(g_fake.header.hPalette, 0, 0, nullptr), 0u);
}

TEST_F(CodecTest, OpeningThatFailsKeepsTheImageUntilTheLibraryIsComplete) {
  const std::string good = Make("good"), other = m_folder / "other", wide = Make("wide", 5, -1, 4),
                    typed = Make("typed", 10);
  WriteFile(other, "something else");
  const struct {
    const char *pszName, *pszLibrary;
    bool bKept;
  } cases[] = {{nullptr, kFake, true},           {good.c_str(), nullptr, true},   {good.c_str(), kMissing, true},
               {good.c_str(), kNoWaiting, true}, {"/nowhere/none", kFake, false}, {"/", kFake, false},
               {other.c_str(), kFake, false},    {wide.c_str(), kFake, false},    {typed.c_str(), kFake, false}};
  g_fake.bPalette = true;
  for (const auto &c : cases) {
    SCOPED_TRACE(testing::Message() << (c.pszName ? c.pszName : "null") << " by "
                                    << (c.pszLibrary ? c.pszLibrary : "null"));
    if (m_held.IsEmpty()) ASSERT_TRUE(m_held.CreateImage(5, 9, 7, 0, nullptr, 0, 0, 1, 0, 0));
    EXPECT_EQ(m_held.OpenImage(c.pszName, c.pszLibrary), 0);
    EXPECT_EQ(m_held.IsEmpty(), !c.bKept);
    EXPECT_EQ(GetPaletteEntries(g_fake.header.hPalette, 0, 0, nullptr), 0u);
  }
}

TEST_F(CodecTest, SavingThatFailsLeavesNoFileOfItsOwn) {
  const std::string path = m_folder / "a";
  PQel wide, empty;
  ASSERT_TRUE(wide.CreateImage(0, 32768, 1, 0, nullptr, 0, 0, 1, 0, 0));
  for (PQel *pImage : {&wide, &empty, &m_held}) {
    WriteFile(path, "old");
    EXPECT_EQ(pImage->SaveImage(path.c_str(), pImage == &m_held ? kNoWaiting : kFake), 0);
    EXPECT_EQ(ReadFile(path), "old");
  }
  EXPECT_EQ(m_held.SaveImage(path.c_str(), kMissing), 0);
  EXPECT_EQ(m_held.SaveImage(path.c_str(), nullptr) + m_held.SaveImage(nullptr, kFake), 0);
  EXPECT_EQ(m_held.SaveImage((m_folder / "none/a").c_str(), kFake) + m_held.SaveImage("/", kFake), 0);
  EXPECT_EQ(ReadFile(path), "old");

  g_fake.nHeaderResult = 0;
  EXPECT_EQ(m_held.SaveImage(path.c_str(), kFake), 0);
  EXPECT_TRUE(m_folder.List().empty());
  EXPECT_EQ(m_held.SaveImage("/dev/null", kFake), 0);
  EXPECT_TRUE(std::filesystem::exists("/dev/null"));
}

TEST_F(CodecTest, APictureThatStopsCountsAndTellsWhy) {
  g_fake.pszError = "out of rows";
  PQel image;
  EXPECT_EQ(image.OpenImage(Make("a").c_str(), kFake), 1);
  EXPECT_STREQ(GetCodecTransferError(), "out of rows");
  EXPECT_EQ(image.SaveImage((m_folder / "b").c_str(), kFake), 1);
  EXPECT_STREQ(GetCodecTransferError(), "out of rows");
  EXPECT_EQ(ReadFile(m_folder / "b").size(), 10u + 8u);
  EXPECT_EQ(image.OpenImage("/nowhere"), 0);
  EXPECT_EQ(GetCodecTransferError(), nullptr);
}

// Names --------------------------------------------------------------------------------------------------------------

TEST_F(CodecTest, JpegNamesAreTriedWithTheirExtension) {
  Make("photo.jpg");
  const auto load = [&](const char *pszName) { return PQel().LoadJPG((m_folder / pszName).c_str(), 0); };
  EXPECT_EQ(load("photo"), 1);
  EXPECT_EQ(load("photo.jpg"), 1);
  EXPECT_EQ(load("photo.png"), 0);
  EXPECT_EQ(load("other"), 0);
  WriteFile(m_folder / "photo", "no picture");
  EXPECT_EQ(load("photo"), 1);
  EXPECT_EQ(m_held.LoadJPG("", 0) + m_held.LoadJPG(nullptr, 0) + m_held.SaveJPG("", 1) + m_held.SaveJPG(nullptr, 0), 0);
  EXPECT_FALSE(m_held.IsEmpty());

  Scratch saved;
  for (const char *pszName : {"a", "b.jpg"})
    for (int bAppend : {0, 1}) EXPECT_EQ(m_held.SaveJPG((saved / pszName).c_str(), bAppend), 1);
  EXPECT_EQ(saved.List(), (std::vector<std::string>{"a", "a.jpg", "b.jpg", "b.jpg.jpg"}));
}

TEST_F(CodecTest, TheQualityIsKeptForTheUser) {
  EXPECT_EQ(m_held.SetJPGQuality(75), 75);
  EXPECT_EQ(ReadFile(m_folder / "config/qel/zulall.ini"), "[JPEG]\nQFACTOR=75\n");
  EXPECT_EQ(m_held.SetJPGQuality(-50), 75);
  EXPECT_EQ(m_held.SetJPGQuality(20), -50);
}

TEST_F(CodecTest, AnyKindOfFileOpensByItsName) {
  PQel source;
  ASSERT_TRUE(source.CreateImage(1, 3, 2, 0, nullptr, 0, 0, 1, 0, 0));
  ASSERT_TRUE(source.SaveDIB((m_folder / "dib.fake").c_str(), 0) &&
              source.SaveMask((m_folder / "mask.fake").c_str(), 0));
  Make("a.fake"), Make("b.FAKE"), Make("c"), Make("d.none"), Make("e.nowaiting"), Make("f.jpg"), Make("folder.fake/g");
  const struct {
    const char *pszName;
    int nWidth, nLibraryCalls;
  } cases[] = {{"dib.fake", 3, 0},    {"mask.fake", 3, 1},    {"a.fake", 5, 1}, {"b.FAKE", 5, 1},
               {"c", 5, 1},           {"d.none", 5, 1},       {"f", 5, 1},      {"g", 0, 0},
               {"e.nowaiting", 5, 1}, {"folder.fake/g", 5, 1}};
  for (const auto &c : cases) {
    SCOPED_TRACE(c.pszName);
    g_fake.calls.clear();
    std::string path = m_folder / c.pszName;
    EXPECT_EQ(m_held.OpenImage(path.data()), c.nWidth != 0);
    EXPECT_EQ(m_held.GetImageWidth(), c.nWidth);
    EXPECT_EQ(std::count(g_fake.calls.begin(), g_fake.calls.end(), 'h'), c.nLibraryCalls);
  }
  ASSERT_TRUE(m_held.OpenImage((m_folder / "c").c_str()));
  EXPECT_EQ(m_held.OpenImage(static_cast<const char *>(nullptr)), 0);
  EXPECT_FALSE(m_held.IsEmpty());
  EXPECT_EQ(m_held.OpenImage(""), 0);
  EXPECT_TRUE(m_held.IsEmpty());
}

}  // namespace

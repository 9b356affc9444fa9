// Opening pictures through the reader library, mostly of a format that the tests make up.
#include <gtest/gtest.h>

#include <memory>

#include "codecs/probe_format.h"
#include "qel/fileio/reader_library.h"
#include "qel/fileio/ufile_io.h"
#include "qel/platform/gdi/object.h"
#include "qel/platform/message_box.h"
#include "qel/platform/mfc/thread.h"
#include "support/dib.h"
#include "support/files.h"
#include "support/pixels.h"
#include "support/probe.h"

namespace {

using Image = std::unique_ptr<PQel>;

/// A file of the format "Probe".
struct ProbeFile {
  int type;
  long width;
  long height;
  long rows = -1;  // that come in; -1: all
  int colors = 0;

  std::string Text() const {
    std::string text = "PROBE";
    for (const long number : {long{type}, width, height, rows, 5000L, long{colors}})
      text.append(" ").append(std::to_string(number));
    return text;
  }
};

Image Open(const std::string &path, int *pnResult = nullptr) {
  return Image(UFileIO().UFileOpen(path.c_str(), pnResult));
}

/// What the format's rows are as pixels of an image.
test::NaiveImage Expected(const ProbeFile &file, int bits) {
  test::NaiveImage naive(file.width, file.height, bits);
  std::vector<unsigned char> row(static_cast<std::size_t>((file.width * bits + 7) / 8));
  for (long y = 0; y < file.height; ++y) {
    for (std::size_t i = 0; i < row.size(); ++i)
      row[i] = file.rows < 0 || y < file.rows ? test::PixelByte(y, static_cast<long>(i)) : 0;
    for (long x = 0; x < file.width; ++x) {
      auto &pixel = naive.At(x, y) = test::GetPacked(row.data(), bits, x);
      if (file.type != 6) continue;
      const auto green = pixel >> 5 & 31;
      pixel = (pixel >> 10 & 31) << 11 | (green << 1 | green >> 4) << 5 | (pixel & 31);
    }
  }
  return naive;
}

struct Shown {
  int count = 0;
  HWND owner = nullptr;
  std::string text, title;
  UINT type = 0;
} g_shown;

int Show(HWND hOwner, const char *pszText, const char *pszCaption, UINT nType) {
  g_shown = {g_shown.count + 1, hOwner, pszText, pszCaption, nType};
  return IDOK;
}

/// Message boxes are counted instead of shown.
class Reader : public testing::Test {
 protected:
  Reader() : m_before(SetMessageBoxHandler(Show)) { g_shown = {}; }
  ~Reader() override { SetMessageBoxHandler(m_before); }

  std::string Write(const std::string &name, const std::string &content) {
    test::WriteFile(scratch / name, content);
    return scratch / name;
  }

  test::Scratch scratch;

 private:
  MessageBoxHandler m_before;
};

TEST_F(Reader, OpensEveryTypeWithItsPixelsAndColours) {
  const struct {
    ProbeFile file;
    int type;
    int colors;  // of the image
  } cases[] = {{{0, 13, 5}, 0, 2},
               {{0, 13, 5, -1, 2}, 0, 2},
               {{1, 7, 3}, 1, 0},
               {{2, 9, 4}, 2, 16},
               {{2, 9, 4, -1, 5}, 2, 5},
               {{3, 6, 6}, 3, 256},
               {{3, 6, 6, -1, 200}, 3, 200},
               {{4, 5, 2}, 4, 16},
               {{5, 5, 2}, 5, 256},
               {{6, 11, 3}, 7, 0},
               {{7, 11, 3}, 7, 0},
               {{8, 3, 3}, 8, 0},
               {{9, 3, 3}, 9, 0},
               {{2, 9, 4, -1, 99}, 2, 16},
               {{1, 40000, 2}, 1, 0},
               {{0, 2, 33000}, 0, 2}};
  for (const auto &c : cases) {
    SCOPED_TRACE(c.file.Text());
    int result = 0;
    const Image image = Open(Write("a.jpg", c.file.Text()), &result);  // content wins over the name
    ASSERT_TRUE(image);
    EXPECT_EQ(result, 1);
    EXPECT_EQ(AllGetError(), nullptr);
    EXPECT_EQ(image->GetImageType(), c.type);
    EXPECT_EQ(image->GetDpmX(), 5000);
    EXPECT_EQ(static_cast<const test::Probe &>(*image).m_bUndo, 1);
    EXPECT_TRUE(test::Pixels(*image).pixels == Expected(c.file, image->GetBitCount()).pixels);

    CPalette palette;
    palette.Attach(image->GetPalette(nullptr));
    EXPECT_EQ(PQel::GetColorNum(palette), c.colors);
    RGBQUAD colors[256];
    ASSERT_TRUE(PQel::GetPaletteRGBQuad(palette, colors) || c.colors == 0);
    for (int i = 0; i < std::min(c.colors, c.file.colors); ++i)
      ASSERT_EQ(std::memcmp(&colors[i], &(const RGBQUAD &)test::PaletteColor(i), 4), 0) << i;
  }
}

TEST_F(Reader, OpensARealFormatUnderAnotherName) {
  const std::string path = scratch / "photo.probe";
  PQel image;
  ASSERT_TRUE(image.CreateImage(1, 50, 40, 0, nullptr, 3937, 3937, 1, 0, 0) && image.Clear(0x406080));
  ASSERT_TRUE(image.SaveJPG(path.c_str(), 0));
  const Image opened(UFileIO().UFileOpen(path.c_str()));
  ASSERT_TRUE(opened);
  EXPECT_EQ(opened->GetImageWidth(), 50);
  EXPECT_NEAR(static_cast<double>(opened->GetPixelBGR(20, 20) & 255), 0x40, 2);
  EXPECT_EQ(UFileIO().UFileOpen((path + ".none").c_str()), nullptr);
}

TEST_F(Reader, OpensMaskFiles) {
  for (int type = 0; type < 10; ++type) {
    const std::string path = scratch / "a.msk";
    std::mt19937 random(static_cast<unsigned>(type));
    PQel image;
    ASSERT_TRUE(image.CreateImage(type, 37, 11, type == 3 ? 99 : 0, nullptr, 1000, 2000, 1, 0, 0));
    test::NaiveImage naive(37, 11, image.GetBitCount());
    naive.Randomise(random);
    naive.Store(image);
    ASSERT_TRUE(image.SaveMask(path.c_str(), 0));
    const Image opened(UFileIO().UFileOpen(path.c_str()));
    ASSERT_TRUE(opened) << type;
    EXPECT_EQ(opened->GetImageType(), type == 6 ? 7 : type);
    EXPECT_EQ(opened->GetDpmY(), 2000);
    EXPECT_EQ(opened->GetBIH()->biClrUsed, image.GetBIH()->biClrUsed);
    if (type != 6) EXPECT_TRUE(test::Pixels(*opened).pixels == naive.pixels) << type;
    std::filesystem::resize_file(path, std::filesystem::file_size(path) - 1);
    EXPECT_EQ(UFileIO().UFileOpen(path.c_str()), nullptr);
    EXPECT_STREQ(AllGetError(), "the mask file is damaged");
  }
}

TEST_F(Reader, RefusesWhatItCannotRead) {
  std::filesystem::create_directory(scratch / "folder.dir");
  const std::string paths[] = {"",
                               scratch / "missing.png",
                               scratch / "folder.dir",
                               Write("empty.jpg", ""),
                               Write("garbage.jpg", std::string(5000, 'g')),
                               Write("broken.probe", "PROBE 1 2"),
                               Write("no-type.probe", ProbeFile{10, 5, 5}.Text()),
                               Write("no-size.probe", ProbeFile{1, 0, 5}.Text()),
                               Write("huge.probe", ProbeFile{0, 1L << 31, 1}.Text())};
  for (const std::string &path : paths) {
    int result = 5;
    EXPECT_EQ(Open(path, &result), nullptr) << path;
    EXPECT_EQ(result, -1) << path;
    EXPECT_EQ(UFileIO().UFileOpen(path.c_str()), nullptr) << path;
    EXPECT_EQ(UFileIO().UFileOpenHeader(path.c_str()), nullptr) << path;
  }
  EXPECT_EQ(g_shown.count, 0);
  EXPECT_FALSE(AllReadHeader(paths[5].c_str(), std::make_unique<BITMAPINFOHEADER>().get()));
  EXPECT_STREQ(AllGetError(), "no numbers");
  EXPECT_FALSE(AllReadHeader(nullptr, nullptr) || AllReadPalette(nullptr) || AllReadDIBImg("a", nullptr, 0, nullptr));
}

TEST_F(Reader, RefusesAPathWithoutADot) {
  const std::string name = "qel-reader-test";
  test::WriteFile("./" + name, ProbeFile{1, 2, 2}.Text());
  EXPECT_EQ(UFileIO().UFileOpen(name.c_str()), nullptr);
  EXPECT_TRUE(Open("./" + name));
  std::filesystem::remove(name);
}

TEST_F(Reader, KeepsTheRowsOfADamagedPicture) {
  for (const ProbeFile &file : {ProbeFile{1, 20, 9, 4}, ProbeFile{6, 20, 9, 0}}) {
    const Image image = Open(Write("a.probe", file.Text()));
    ASSERT_TRUE(image);
    ASSERT_NE(AllGetError(), nullptr);
    EXPECT_STREQ(AllGetError(), "rows are missing");
    EXPECT_TRUE(test::Pixels(*image).pixels == Expected(file, image->GetBitCount()).pixels);
  }
}

TEST_F(Reader, MakesAnImageOfTheHeaderAlone) {
  const Image image(UFileIO().UFileOpenHeader(Write("a.probe", ProbeFile{3, 30, 20, 0, 7}.Text()).c_str()));
  ASSERT_TRUE(image);
  EXPECT_EQ(image->GetImageWidth(), 30);
  EXPECT_EQ(image->GetImageHeight(), 20);
  EXPECT_EQ(image->GetImageType(), 3);
  EXPECT_EQ(static_cast<const test::Probe &>(*image).m_pRGBQuad[6].rgbGreen, test::PaletteColor(6).rgbGreen);
}

TEST_F(Reader, TellsWhenMemoryIsShort) {
  CWnd window;
  window.m_hWnd = reinterpret_cast<HWND>(&window);
  CWinThread thread;
  const std::string path = Write("a.probe", ProbeFile{9, 0x7FFFFFFF, 0x7FFFFFFF}.Text());
  EXPECT_EQ(UFileIO().UFileOpen(path.c_str()), nullptr);
  EXPECT_EQ(g_shown.count, 0);
  for (const bool owned : {false, true}) {
    thread.m_pMainWnd = owned ? &window : nullptr;
    int result = 0;
    EXPECT_EQ(Open(path, &result), nullptr);
    EXPECT_EQ(result, -1);
    EXPECT_EQ(g_shown.count, 1 + owned);
    EXPECT_EQ(g_shown.text, "Memory not enough!");
    EXPECT_EQ(g_shown.title, "QEL");
    EXPECT_EQ(g_shown.type, UINT{MB_OK | MB_ICONEXCLAMATION});
    EXPECT_EQ(g_shown.owner, owned ? window.m_hWnd : nullptr);
  }
}

TEST_F(Reader, ReadsIntoNoStoreThatDoesNotFit) {
  const std::string path = Write("a.probe", ProbeFile{1, 20, 9}.Text());
  const auto Read = [&](int type, long width, long height, unsigned long less, AllProgress pfn = nullptr) {
    PQel image;
    EXPECT_TRUE(image.CreateImage(type, width, height, 0, nullptr, 1, 1, 1, 0, 0) && image.Clear(0) &&
                image.UpdateBI());
    tagLmmInfo info;
    EXPECT_TRUE(image.GetLmmInfo(&info));
    info.dwSize -= less;
    return AllReadDIBImg(path.c_str(), &info, image.GetLmmOffset(), pfn);
  };
  EXPECT_TRUE(Read(1, 20, -9, 0));
  EXPECT_FALSE(Read(1, 20, 9, 1));
  EXPECT_FALSE(Read(1, 20, 8, 0));
  EXPECT_FALSE(Read(1, 21, 9, 0));
  EXPECT_FALSE(Read(8, 20, 9, 0));
  EXPECT_STREQ(AllGetError(), "the image does not have the picture's format");
  EXPECT_FALSE(Read(1, 20, 9, 0, [](LONG done, LONG all, LONG) { return int{done == 5 && all == 9}; }));
  EXPECT_STREQ(AllGetError(), "stopped");
}

TEST_F(Reader, ListsItsFormatsByExtension) {
  AllFormat format;
  std::string found;
  for (int i = 0; AllGetFormat(i, &format); ++i)
    found.append(format.pszExtension).append("=").append(format.pszName).append(format.bWrites ? "+ " : " ");
  EXPECT_NE(found.find("jpeg=JPEG+ jpg=JPEG+ "), std::string::npos) << found;
  EXPECT_NE(found.find("probe=Probe "), std::string::npos) << found;
  EXPECT_FALSE(AllGetFormat(-1, &format) || AllGetFormat(0, nullptr) || AllGetFormat(1000, &format));
}

}  // namespace

// Damaged files of every format: whatever the bytes say, opening ends with no image or a sound one.
#include "codecs/pictures.h"

#include <tiffio.h>
#include <zlib.h>

#include <fstream>

#include "qel/fileio/reader_library.h"
#include "qel/fileio/ufile_io.h"

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

/// A TIFF file of 28672 x 28672 colours of 48 bits with a strip of one byte.
void WriteShortTiff(const std::string &path, int compression) {
  TIFF *const tiff = TIFFOpen(path.c_str(), "w");
  for (const auto tag : {TIFFTAG_IMAGEWIDTH, TIFFTAG_IMAGELENGTH, TIFFTAG_ROWSPERSTRIP}) TIFFSetField(tiff, tag, 28672);
  TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, 16);
  TIFFSetField(tiff, TIFFTAG_SAMPLESPERPIXEL, 3);
  TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_RGB);
  TIFFSetField(tiff, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
  TIFFSetField(tiff, TIFFTAG_COMPRESSION, compression);
  char strip = 0;
  TIFFWriteRawStrip(tiff, 0, &strip, 1);
  TIFFClose(tiff);
}

/// The bytes of a file that claim to be 28672 or 28673 pixels wide and high, instead of the few of a saved picture.
std::vector<unsigned char> Enlarged(std::vector<unsigned char> bytes, const std::string &extension) {
  constexpr std::size_t kPngSize = 16, kPngHeader = 17, kGifSize = 6, kBmpSize = 18;
  constexpr std::size_t kJpegSize = 5;  // in its SOF0 segment
  if (extension == "png") {
    for (const std::size_t side : {kPngSize, kPngSize + 4}) bytes[side + 2] = 0x70, bytes[side + 3] = 0;
    const uLong sum = crc32(0, bytes.data() + kPngSize - 4, kPngHeader);
    for (std::size_t i = 0; i < 4; ++i) bytes[kPngSize - 4 + kPngHeader + i] = BYTE(sum >> (24 - 8 * i));
  } else if (extension == "jpg") {
    constexpr unsigned char kFrame[] = {0xFF, 0xC0};
    const auto frame = std::search(bytes.begin(), bytes.end(), std::begin(kFrame), std::end(kFrame));
    for (const std::size_t side : {kJpegSize, kJpegSize + 2}) frame[side] = 0x70, frame[side + 1] = 0;
  } else {
    const std::size_t size = extension == "gif" ? kGifSize : kBmpSize, next = extension == "gif" ? 2 : 4;
    for (const std::size_t side : {size, size + next}) bytes[side] = 1, bytes[side + 1] = 0x70;
  }
  return bytes;
}

TEST_F(TooShort, FilesOfAFewBytesMakeNoGiantImages) {
  PQel image, opened;
  const auto ExpectRefused = [&](const std::string &path) {
    BITMAPINFOHEADER header;
    EXPECT_FALSE(AllReadHeader(path.c_str(), &header)) << path;
    EXPECT_STREQ(AllGetError(), "the file claims more pixels than its bytes can hold") << path;
    if (!path.ends_with("bmp")) EXPECT_FALSE(opened.OpenImage(path.c_str())) << path;
  };
  ASSERT_TRUE(image.CreateImage(5, 19, 17, 0, nullptr, 3780, 3780, 1, 0, 0));
  for (const std::string extension : {"bmp", "gif", "jpg", "png"}) {
    const std::string path = scratch / ("a." + extension);
    if (extension == "bmp")
      ASSERT_TRUE(image.SaveDIB(path.c_str(), 0));
    else
      ASSERT_TRUE(image.SaveImage(path.c_str(), ("zul" + extension + "32").c_str()));
    WriteFile(path, Enlarged(ReadFile<std::vector<unsigned char>>(path), extension));
    ExpectRefused(path);
  }
  for (const int compression :
       {COMPRESSION_NONE, COMPRESSION_PACKBITS, COMPRESSION_LZW, COMPRESSION_ADOBE_DEFLATE, COMPRESSION_JPEG}) {
    WriteShortTiff(scratch / "a.tif", compression);
    ExpectRefused(scratch / "a.tif");
  }
}

/// Rows may be passed over, so the picture is as large as it says, but no memory stands behind it.
TEST_F(TooShort, PackedRowsThatAreMissingTakeNoMemory) {
  const auto ResidentBytes = [] {
    long size = 0, resident = 0;
    std::ifstream("/proc/self/statm") >> size >> resident;
    return resident * sysconf(_SC_PAGESIZE);
  };
  const std::string path = scratch / "a.bmp";
  PQel image;
  ASSERT_TRUE(image.CreateImage(5, 19, 17, 0, nullptr, 3780, 3780, 1, 0, 0));
  ASSERT_TRUE(image.SaveDIB(path.c_str(), 0));
  constexpr std::size_t kCompression = 30, kRows = 14 + 40 + 256 * 4;
  auto bytes = Enlarged(ReadFile<std::vector<unsigned char>>(path), "bmp");
  bytes[kCompression] = 1;
  bytes.resize(kRows);
  for (const int code : {5, 77, 0, 1}) bytes.push_back(BYTE(code));  // five pixels of 77, the end
  WriteFile(path, bytes);
  const long before = ResidentBytes();
  const std::unique_ptr<PQel> opened(UFileIO().UFileOpen(path.c_str()));
  EXPECT_LT(ResidentBytes() - before, 256L << 20);
  ASSERT_TRUE(opened);
  EXPECT_EQ(opened->GetPixel(4, 28672, nullptr), 77u);
  EXPECT_EQ(opened->GetPixel(5, 28672, nullptr), 0u);
}

TEST_F(TooShort, WhatIsPackedAsFarAsCanBeIsNot) {
  const std::string path = scratch / "blank.png";
  PQel image, opened;
  ASSERT_TRUE(image.CreateImage(5, 9000, 8000, 0, nullptr, 3780, 3780, 1, 0, 0));
  ASSERT_TRUE(image.SaveImage(path.c_str(), "zulpng32"));
  EXPECT_TRUE(opened.OpenImage(path.c_str()));
}

INSTANTIATE_TEST_SUITE_P(Formats, Broken,
                         testing::Values(std::tuple{"gif", 0}, std::tuple{"gif", 3}, std::tuple{"jpg", 1},
                                         std::tuple{"jpg", 5}, std::tuple{"png", 1}, std::tuple{"png", 2},
                                         std::tuple{"tif", 0}, std::tuple{"tif", 1}, std::tuple{"tif", 3},
                                         std::tuple{"webp", 1}, std::tuple{"webp", 8}));

}  // namespace

// BMP files through their format library, written byte by byte.
#include "codecs/pictures.h"
#include "fileio/dib_bytes.h"
#include "support/bmp_files.h"
#include "support/png.h"

using namespace test;

namespace {

class BmpCodec : public PictureTest {
 protected:
  /// What the library makes of a file's bytes, in rows of either order.
  NoisyStore Read(const Bytes &bytes, bool topDown = true) {
    WriteFile(path, bytes);
    NoisyStore store("zulbmp32", path, topDown);
    EXPECT_TRUE(store.isPaddingClear);
    return store;
  }

  const std::string path = scratch / "a.bmp";
};

// Packed rows --------------------------------------------------------------------------------------------------------

struct Runs {
  int bits;
  const char *name;
  Bytes stream;
  std::vector<std::string> rows;  // a digit a pixel, the top row first
  bool isWhole = true;
};

const Runs kRuns[] = {
    {8, "runs", {3, 1, 2, 2, 0, 0, 5, 3, 0, 1}, {"33333", "11122"}},
    {8, "absolute", {0, 3, 1, 2, 3, 0, 2, 4, 0, 0, 0, 4, 5, 6, 7, 8, 1, 9, 0, 1}, {"56789", "12344"}},
    {8, "delta", {1, 1, 0, 2, 2, 1, 1, 2, 0, 1}, {"00020", "10000"}},
    {8, "delta along", {1, 1, 0, 2, 2, 0, 1, 2, 0, 1}, {"00000", "10020"}},
    {8, "delta out", {1, 1, 0, 2, 255, 0, 9, 2, 0, 0, 1, 3, 0, 2, 0, 255, 5, 5}, {"30000", "10000"}},
    {8, "run out", {200, 7, 0, 0, 0, 7, 1, 2, 3, 4, 5, 6, 7, 0, 0, 1}, {"12345", "77777"}},
    {8, "rows out", {5, 1, 0, 0, 5, 2, 0, 0, 5, 3, 0, 0, 0, 1}, {"22222", "11111"}},
    {8, "short rows", {0, 0, 1, 1, 0, 1}, {"10000", "00000"}},
    {8, "no end", {5, 1, 0, 0, 5, 2}, {"22222", "11111"}},
    {8, "cut", {5, 1, 0, 0, 3, 2}, {"22200", "11111"}, false},
    {8, "cut absolute", {5, 1, 0, 0, 0, 5, 1, 2}, {"00000", "11111"}, false},
    {4, "runs", {5, 0x12, 0, 0, 4, 0x34, 1, 0x56, 0, 1}, {"34345", "12121"}},
    {4, "absolute", {0, 5, 0x12, 0x34, 0x56, 0, 0, 0, 0, 3, 0x98, 0x70, 0, 2, 1, 0, 1, 0x40, 0, 1}, {"98704", "12345"}},
    {4, "odd start", {1, 0x10, 4, 0x23, 0, 0, 3, 0x45, 0, 2, 0, 0, 90, 0x67, 0, 1}, {"45467", "12323"}},
};

TEST_F(BmpCodec, PackedRows) {
  for (const Runs &runs : kRuns) {
    SCOPED_TRACE(testing::Message() << runs.bits << " " << runs.name);
    DibFile file;
    file.width = 5;
    file.height = 2;
    file.bits = runs.bits;
    file.compression = runs.bits == 8 ? 1 : 2;
    file.colours = RandomBytes(4u << runs.bits, random);
    file.rows = runs.stream;
    NaiveImage expected(5, 2, runs.bits);
    for (long y = 0; y < 2; ++y)
      for (long x = 0; x < 5; ++x)
        expected.At(x, y) =
            static_cast<unsigned>(runs.rows[static_cast<std::size_t>(y)][static_cast<std::size_t>(x)] - '0');
    for (const bool topDown : {false, true}) {
      const NoisyStore store = Read(file.Build(), topDown);
      EXPECT_EQ(store.pixels, expected);
      EXPECT_EQ(store.error, runs.isWhole ? "" : "the file ends early");
    }
  }
}

// Plain rows ---------------------------------------------------------------------------------------------------------

struct Words {
  int bits;
  std::vector<std::uint32_t> masks;  // red, green, blue and perhaps alpha
  int type;
};

const Words kWords[] = {
    {16, {0x7C00, 0x3E0, 0x1F}, 6},
    {16, {0xF800, 0x7E0, 0x1F}, 7},
    {16, {0x1F, 0x7E0, 0xF800}, 1},
    {16, {0xF00, 0xF0, 0xF, 0xF000}, 8},
    {16, {0x7C00, 0x3E0, 0x1F, 0x8000}, 8},
    {32, {0xFF0000, 0xFF00, 0xFF}, 1},
    {32, {0xFF0000, 0xFF00, 0xFF, 0xFF000000}, 8},
    {32, {0xFF000000, 0xFF0000, 0xFF00, 0xFF}, 8},
    {32, {0x3FF00000, 0xFFC00, 0x3FF}, 1},
    {32, {0xE0000000, 0, 0xFFFFFFFF}, 1},
};

TEST_F(BmpCodec, WordsWithMasks) {
  for (const Words &words : kWords)
    for (const std::uint32_t headerSize : {40u, 56u, 124u})
      for (const std::int32_t height : {7, -7}) {
        SCOPED_TRACE(testing::Message() << words.bits << " bits, red " << words.masks[0] << ", header " << headerSize);
        if (headerSize == 40 && words.masks.size() == 4) continue;
        DibFile file = RandomDib(words.bits, 9, height, random);
        file.masks.clear();
        for (const std::uint32_t mask : words.masks) Append(file.masks, mask, 4);
        if (headerSize > 40) file.masks.resize(headerSize - 40);  // they lie in the header then
        Bytes bytes = file.Build();
        SetField(bytes, 14, 4, headerSize);
        const NoisyStore store = Read(bytes);
        EXPECT_EQ(store.error, "");
        EXPECT_EQ(InfoOf("zulbmp32", path).type, words.type);
        NaiveImage expected(9, 7, store.pixels.bits);
        for (long y = 0; y < 7; ++y)
          for (long x = 0; x < 9; ++x) {
            const long stored = height < 0 ? y : 6 - y;
            const std::uint64_t word = GetPacked(&file.rows[size_t(stored * RowBytes(words.bits, 9))], words.bits, x);
            std::uint64_t &pixel = expected.At(x, y);
            if (words.type > 5 && words.type < 8) pixel = word;
            for (std::size_t c = 0; c < words.masks.size() && (words.type == 1 || words.type == 8); ++c) {
              const std::uint64_t mask = words.masks[c], unit = mask & (~mask + 1);
              if (mask == 0) continue;
              std::uint64_t value = (word & mask) / unit, most = mask / unit;
              for (; most > 255; most /= 2) value /= 2;
              pixel |= value * 255 / most << (c == 3 ? 24 : 16 - 8 * c);
            }
          }
        EXPECT_EQ(store.pixels, expected);
      }
}

/// The short header of the first version, with colours of three bytes.
TEST_F(BmpCodec, ShortHeaders) {
  for (const int bits : {1, 4, 8, 24}) {
    const Bytes colors = RandomBytes(bits <= 8 ? 3u << bits : 0, random);
    const Bytes rows = RandomBytes(static_cast<std::size_t>(RowBytes(bits, 13) * 5), random);
    Bytes bytes{'B', 'M'};
    for (const std::uint64_t field : {std::uint64_t{0}, std::uint64_t{0}, 26 + std::uint64_t{colors.size()},
                                      std::uint64_t{12}, std::uint64_t{5} << 16 | 13, std::uint64_t(bits) << 16 | 1})
      Append(bytes, field, 4);
    bytes.insert(bytes.end(), colors.begin(), colors.end());
    bytes.insert(bytes.end(), rows.begin(), rows.end());
    NoisyStore store = Read(bytes, false);
    EXPECT_EQ(store.error, "");
    for (long y = 0; y < 5; ++y)
      for (long x = 0; x < 13; ++x)
        EXPECT_EQ(store.pixels.At(x, y), GetPacked(&rows[size_t((4 - y) * RowBytes(bits, 13))], bits, x));
    PQel image;
    ASSERT_TRUE(image.OpenImage(path.c_str()));
    for (std::size_t i = 0; i < colors.size(); ++i) EXPECT_EQ(Colors(image)[i / 3 * 3 + 2 - i % 3], colors[i]);
  }
}

TEST_F(BmpCodec, DamagedFiles) {
  for (const Runs &runs : {kRuns[1], kRuns[11]}) {
    DibFile file;
    file.width = 5, file.height = 2, file.bits = runs.bits, file.compression = runs.bits == 8 ? 1 : 2;
    file.colours = RandomBytes(4u << runs.bits, random);
    file.rows = runs.stream;
    const Bytes whole = file.Build();
    for (std::size_t length = 0; length < whole.size(); ++length) Read({whole.begin(), whole.begin() + long(length)});
    for (int round = 0; round < 150; ++round) {
      Bytes bytes = whole;
      bytes[round % 2 ? random() % 54 : bytes.size() - 1 - random() % runs.stream.size()] ^= 1 << random() % 8;
      WriteFile(path, bytes);
      PQel image;
      const bool isOpen = image.OpenImage(path.c_str(), "zulbmp32") != 0;
      EXPECT_EQ(isOpen, !image.IsEmpty());
    }
  }
}

/// Every file opens, by the engine's own reader or the library, and shows what its neighbour shows.
TEST_F(BmpCodec, FilesOfOthers) {
  const char *data = std::getenv("QEL_TEST_DATA");
  if (!data) GTEST_SKIP() << "QEL_TEST_DATA names no folder of pictures";
  const auto files = BmpFilesOf(std::string(data) + "/bmp-good");
  ASSERT_GE(files.size(), 20u);
  for (const auto &file : files) {
    SCOPED_TRACE(file.stem());
    PQel image;
    EXPECT_TRUE(image.OpenImage(file.c_str()));
    ASSERT_TRUE(image.OpenImage(file.c_str(), "zulbmp32"));
    EXPECT_EQ(GetCodecTransferError(), nullptr);
    if (file.stem() == "pal8nonsquare") continue;  // its neighbour is of another scale
    RgbImage expected;
    ASSERT_TRUE(ReadPng(NeighbourOf(file), expected));
    ASSERT_EQ(image.GetImageWidth(), expected.width);
    EXPECT_LE(LargestDifference(ToRgb(image), expected.rgb), image.GetBitCount() == 16 ? 1 : 0);
  }
}

}  // namespace

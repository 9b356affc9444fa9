// What is written reads back: every type, store, layout and row order, alone and among other data, with the written
// bytes judged by the test's own parser; and what files of every kind become when they are read.
#include <tuple>

#include "fileio/dib_bytes.h"

namespace {

using namespace test;

/// Writes an image behind `lead` bytes of other data and puts `trail` bytes behind it.
Bytes WriteBehind(PQel &image, const std::string &path, std::size_t lead, std::size_t trail) {
  CFile file;
  EXPECT_TRUE(file.Open(path.c_str(), CFile::modeCreate | CFile::modeReadWrite));
  const Bytes other(lead + trail, 0xA5);
  file.Write(other.data(), static_cast<UINT>(lead));
  EXPECT_EQ(image.WriteDIBFile(file), 1);
  EXPECT_EQ(file.GetPosition(), file.GetLength());
  file.Write(other.data(), static_cast<UINT>(trail));
  file.Close();
  return ReadFile<Bytes>(path);
}

/// Holds the written bytes against the pixels and the image's own header and colour table.
void CheckWritten(const Bytes &all, std::size_t lead, NaiveImage &pixels, PQel &image, bool topDown) {
  const Bytes file(all.begin() + static_cast<std::ptrdiff_t>(lead), all.end());
  const int bits = pixels.bits, type = image.GetImageType();
  const std::uint32_t masks = bits == 16 || bits == 32 ? 12 : 0;
  const std::uint32_t colours = bits <= 8 ? 1u << bits : 0;
  const std::uint32_t infoSize = 40 + masks + 4 * colours;
  const auto rowBytes = static_cast<std::size_t>(RowBytes(bits, pixels.width));
  const auto imageSize = static_cast<std::uint32_t>(rowBytes * static_cast<std::size_t>(pixels.height));
  EXPECT_EQ(Field(file, 0, 2), 0x4D42u);
  EXPECT_EQ(Field(file, 2, 4), 14 + infoSize + imageSize);
  EXPECT_EQ(Field(file, 6, 4), 0u);
  EXPECT_EQ(Field(file, 10, 4), 14 + infoSize);
  EXPECT_EQ(Field(file, 14, 4), 40u);
  EXPECT_EQ(static_cast<std::int32_t>(Field(file, 18, 4)), pixels.width);
  EXPECT_EQ(static_cast<std::int32_t>(Field(file, 22, 4)), topDown ? -pixels.height : pixels.height);
  EXPECT_EQ(Field(file, 26, 2), 1u);
  EXPECT_EQ(static_cast<int>(Field(file, 28, 2)), bits);
  EXPECT_EQ(Field(file, 30, 4), masks ? 3u : 0u);
  EXPECT_EQ(Field(file, 34, 4), imageSize);
  EXPECT_EQ(Field(file, 38, 4), 3780u);
  EXPECT_EQ(Field(file, 42, 4), 3780u);
  EXPECT_EQ(Field(file, 46, 4), colours);
  EXPECT_EQ(Field(file, 50, 4), 0u);
  if (masks) {
    const std::uint32_t expected[3][3] = {{0x7C00, 0x3E0, 0x1F}, {0xF800, 0x7E0, 0x1F}, {0xFF0000, 0xFF00, 0xFF}};
    for (std::size_t i = 0; i < 3; ++i) EXPECT_EQ(Field(file, 54 + 4 * i, 4), expected[type - 6][i]);
  }
  if (type == 4 || type == 5) {  // a gray ramp from black to white
    for (std::uint32_t i = 0; i < colours; ++i)
      EXPECT_EQ(Field(file, 54 + 4 * i, 4), i * (255 / (colours - 1)) * 0x010101);
  }
  for (long k = 0; k < pixels.height; ++k) {
    const unsigned char *row = file.data() + 14 + infoSize + static_cast<std::size_t>(k) * rowBytes;
    const long y = topDown ? k : pixels.height - 1 - k;
    for (long x = 0; x < pixels.width; ++x)
      ASSERT_EQ(GetPacked(row, bits, x), pixels.At(x, y)) << "column " << x << " row " << y;
  }
}

class RoundTrip : public testing::TestWithParam<int> {};

TEST_P(RoundTrip, EveryStoreLayoutAndRowOrder) {
  const int type = GetParam();
  std::mt19937 random(static_cast<unsigned>(type));
  Scratch folder;
  const std::tuple<long, long> sizes[] = {{1, 1}, {37, 13}, {301, 270}};
  std::size_t turn = 0;
  const std::vector<Keeping> keepings = AllKeepings();
  for (const Keeping &keeping : keepings) {
    for (const auto &[width, height] : sizes) {
      SCOPED_TRACE(testing::Message() << width << "x" << height << " flags " << keeping.memFlags << " block "
                                      << keeping.block << (keeping.topDown ? " top-down" : " bottom-up"));
      PQel image;
      ASSERT_EQ(Create(image, type, width, height, keeping), 1);
      NaiveImage pixels(width, height, image.GetBitCount());
      pixels.Randomise(random);
      pixels.Store(image);
      const std::size_t lead = turn % 3 * 7;
      const std::string path = folder / "image.bmp";
      CheckWritten(WriteBehind(image, path, lead, 5), lead, pixels, image, keeping.topDown);

      // Back into another keeping; the position ends right behind the last row.
      const Keeping &other = keepings[turn++ * 5 % keepings.size()];
      PQel back;
      CFile file;
      ASSERT_TRUE(file.Open(path.c_str(), CFile::modeRead));
      file.Seek(static_cast<LONGLONG>(lead), CFile::begin);
      ASSERT_EQ(back.ReadDIBFile(file, other.memFlags, other.block, 0), 1);
      EXPECT_EQ(file.GetPosition(), file.GetLength() - 5);
      EXPECT_EQ(back.GetMemType(), other.memFlags & 0xF);
      EXPECT_EQ(back.GetImageType(), type);
      EXPECT_EQ(back.GetBIH()->biHeight, image.GetBIH()->biHeight);
      EXPECT_EQ(std::memcmp(back.GetBIH(), image.GetBIH(), static_cast<std::size_t>(image.GetLmmOffset())), 0);
      NaiveImage read(width, height, pixels.bits);
      read.Load(back);
      ASSERT_TRUE(read == pixels);
    }
  }
}

INSTANTIATE_TEST_SUITE_P(AllTypes, RoundTrip, testing::Range(0, 10));

TEST(DibFile, ImageLargerThanTheRowBufferComesBackByteForByte) {
  enum Way { kStraight, kHooked, kBlocks };
  std::mt19937 random(7);
  Scratch folder;
  for (Way way : {kStraight, kHooked, kBlocks}) {
    for (long height : {700, -700}) {
      SCOPED_TRACE(testing::Message() << "way " << way << " height " << height);
      DibFile dib = RandomDib(24, 777, height, random);
      dib.dpmX = 1000;
      dib.dpmY = 0x7FFFFFFF;
      if (way == kBlocks)  // which have no room for the padding of a row
        for (std::size_t i = 2331; i < dib.rows.size(); i += 2332) dib.rows[i] = 0;
      Bytes bytes = dib.Build();
      PQel image;
      if (way == kHooked) image.SetHookProc([](PQel *, int, long, long, long, long, unsigned char *) {});
      ASSERT_EQ(ReadDib(image, folder / "in.bmp", bytes, 15, way == kBlocks), 1);
      ASSERT_EQ(image.SaveDIB((folder / "out.bmp").c_str(), 0), 1);
      // What the writer sets by itself.
      SetField(bytes, 6, 4, 0);
      SetField(bytes, 26, 2, 1);
      SetField(bytes, 34, 4, static_cast<std::uint32_t>(dib.rows.size()));
      SetField(bytes, 50, 4, 0);
      EXPECT_TRUE(ReadFile<Bytes>(folder / "out.bmp") == bytes);
    }
  }
}

TEST(DibFile, BeyondFourGigabytes) {
  std::mt19937 random(9);
  Scratch folder;
  const std::string path = folder / "large";
  constexpr LONGLONG kFar = (5LL << 30) + 3;
  PQel image, back;
  ASSERT_EQ(image.CreateImage(1, 31, 9, 0, nullptr, 1, 1, 1, 0, 0), 1);
  NaiveImage pixels(31, 9, 24), read(31, 9, 24);
  pixels.Randomise(random);
  pixels.Store(image);
  CFile file;
  ASSERT_TRUE(file.Open(path.c_str(), CFile::modeCreate | CFile::modeReadWrite));
  file.Seek(kFar, CFile::begin);
  ASSERT_EQ(image.WriteDIBFile(file), 1);
  file.Seek(kFar, CFile::begin);
  ASSERT_EQ(back.ReadDIBFile(file, 15, 0, 0), 1);
  EXPECT_EQ(file.GetPosition(), static_cast<std::uint64_t>(kFar) + 54 + 9 * 96);
  read.Load(back);
  EXPECT_TRUE(read == pixels);
}

// Hooks and undo -----------------------------------------------------------------------------------------------------

std::vector<std::tuple<int, long, long, long, long>> events;

void LogEvent(PQel *, int event, long x0, long y0, long x1, long y1, unsigned char *) {
  events.emplace_back(event, x0, y0, x1, y1);
}

TEST(DibFile, HookHearsOfEveryRowInFileOrder) {
  std::mt19937 random(5);
  Scratch folder;
  for (long height : {5, -5}) {
    const Bytes bytes = RandomDib(8, 6, height, random).Build();
    WriteFile(folder / "a.bmp", bytes);
    PQel image;
    image.SetHookProc(LogEvent);
    events.clear();
    ASSERT_EQ(ReadDib(image, folder / "a.bmp"), 1);
    ASSERT_EQ(image.SaveDIB((folder / "b.bmp").c_str(), 0), 1);
    image.SetHookProc(nullptr);
    std::vector<std::tuple<int, long, long, long, long>> rows;
    for (const auto &event : events)
      if (std::get<0>(event) >= 3) rows.push_back(event);
    ASSERT_EQ(rows.size(), 10u);
    for (long k = 0; k < 5; ++k) {
      const long y = height < 0 ? k : 4 - k;
      EXPECT_EQ(rows[static_cast<std::size_t>(k)], std::make_tuple(4, 0L, y, 5L, y));
      EXPECT_EQ(rows[static_cast<std::size_t>(k + 5)], std::make_tuple(3, 0L, y, 5L, y));
    }
    CRect changed;
    image.GetInvalidateRect(&changed);
    EXPECT_EQ(changed, CRect(0, 0, 6, 5));
  }
}

TEST(DibFile, UndoStartsWithThePixelsIn) {
  std::mt19937 random(6);
  Scratch folder;
  WriteFile(folder / "a.bmp", RandomDib(24, 50, 40, random).Build());
  for (int memFlags : {1, 4, 8}) {
    CFile file;
    ASSERT_TRUE(file.Open((folder / "a.bmp").c_str(), CFile::modeRead));
    PQel image;
    ASSERT_EQ(image.ReadDIBFile(file, memFlags, 0, 1), 1);
    const Bytes before = ToRgb(image);
    image.Clear(0x123456);
    ASSERT_EQ(image.DoUndo(), 1);
    EXPECT_TRUE(ToRgb(image) == before);
  }
}

// Kinds of files -----------------------------------------------------------------------------------------------------

TEST(DibFile, SixteenBitLayoutIsToldByCompressionAndRedMask) {
  std::mt19937 random(16);
  Scratch folder;
  const struct {
    int bits;
    std::uint32_t compression, redMask;
    int type;
  } cases[] = {{16, 0, 0, 6},      {16, 3, 0x7C00, 6}, {16, 3, 0xF800, 7}, {16, 3, 0x0F00, 7}, {16, 7, 0, 7},
               {24, 3, 0x7C00, 1}, {32, 0, 0, 8},      {32, 3, 0xFF, 8},   {48, 0, 0, 9},      {15, 0, 0, 6}};
  for (const auto &c : cases) {
    SCOPED_TRACE(testing::Message() << c.bits << " bits, compression " << c.compression << ", mask " << c.redMask);
    const int stored = c.bits == 15 ? 16 : c.bits;  // 15-bit pixels stand in 16-bit words
    DibFile dib = RandomDib(stored, 5, 3, random);
    dib.bits = c.bits;
    dib.compression = c.compression;
    dib.masks = Bytes();
    if (c.compression == 3)
      for (std::uint32_t mask : {c.redMask, 2u, 3u}) Append(dib.masks, mask, 4);
    PQel image;
    ASSERT_EQ(ReadDib(image, folder / "a.bmp", dib.Build()), 1);
    EXPECT_EQ(image.GetImageType(), c.type);
    for (long y = 0; y < 3; ++y) {
      const auto from = dib.rows.begin() + (2 - y) * RowBytes(stored, 5);
      EXPECT_EQ(RowOf(image, y), Bytes(from, from + PackedBytes(stored, 5)));
    }
  }
}

TEST(DibFile, ColourTablesOfAnyLengthStayWithTheImage) {
  std::mt19937 random(3);
  Scratch folder;
  for (int bits : {1, 4, 8, 16, 24, 32, 48}) {
    for (std::uint32_t colours : {1u, 2u, 5u, 16u, 256u}) {
      SCOPED_TRACE(testing::Message() << bits << " bits, " << colours << " colours");
      DibFile dib = RandomDib(bits, 9, 4, random);
      dib.clrUsed = colours;
      dib.colours = RandomBytes(4 * colours, random);
      dib.headerSize = bits == 24 ? 124 : 108;
      dib.gap = 6;
      PQel image;
      ASSERT_EQ(ReadDib(image, folder / "a.bmp", dib.Build()), 1);
      EXPECT_EQ(image.GetBIH()->biSize, 40u);
      EXPECT_EQ(image.GetBIH()->biClrUsed, colours);
      const auto *table = reinterpret_cast<const unsigned char *>(image.GetBIH()) + 40 + dib.masks.size();
      EXPECT_EQ(Bytes(table, table + 4 * colours), dib.colours);
      PQel back;
      ASSERT_EQ(image.SaveDIB((folder / "b.bmp").c_str(), 0), 1);
      ASSERT_EQ(ReadDib(back, folder / "b.bmp"), 1);
      EXPECT_EQ(std::memcmp(back.GetBIH(), image.GetBIH(), static_cast<std::size_t>(image.GetLmmOffset())), 0);
      for (long y = 0; y < 4; ++y) EXPECT_EQ(RowOf(back, y), RowOf(image, y));
    }
  }
}

}  // namespace

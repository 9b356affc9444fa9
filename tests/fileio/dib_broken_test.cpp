// Files that are cut, twisted or hostile: refused with the image kept, or an image of the declared size whose missing
// rows are 0, at a cost that the file's own size justifies.
#include <ctime>
#include <limits>

#include "fileio/dib_bytes.h"

namespace {

using namespace test;

/// Resident bytes of this process.
long ResidentBytes() {
  std::ifstream file("/proc/self/statm");
  long size = 0, resident = 0;
  file >> size >> resident;
  return resident * sysconf(_SC_PAGESIZE);
}

/// Processor time and memory that an action may take.
template <class Action>
void ExpectCheap(Action action) {
  const long before = ResidentBytes();
  const std::clock_t start = std::clock();
  action();
  EXPECT_LT(std::clock() - start, 2 * CLOCKS_PER_SEC);
  EXPECT_LT(ResidentBytes() - before, 128L << 20);
}

/// Holds pixel x of the file's row k against the bytes of the file, 0 where it has none.
void ExpectPixel(PQel &image, const Bytes &file, long x, long k) {
  const int bits = image.GetBitCount();
  const bool topDown = image.GetBIH()->biHeight < 0;
  const auto ByteAt = [&](long at) -> std::uint64_t {
    return at < static_cast<long>(file.size()) ? file[static_cast<std::size_t>(at)] : 0;
  };
  const long at = static_cast<long>(Field(file, 10, 4)) + k * image.GetLineBytes() + x * bits / 8;
  std::uint64_t expected = 0;
  if (bits < 8) {
    expected = ByteAt(at) >> (8 - bits - x * bits % 8) & ((1u << bits) - 1);
  } else {
    for (int b = 0; b < bits / 8; ++b) expected |= ByteAt(at + b) << 8 * b;
  }
  unsigned char buffer[16] = {};
  ASSERT_EQ(image.GetHorLine(x, x, topDown ? k : image.GetImageHeight() - 1 - k, buffer), 1);
  ASSERT_EQ(GetPacked(buffer, bits, 0), expected) << "column " << x << ", row " << k << " of the file";
}

/// Holds an image against the file it came from: its declared size, and pixels at the start of rows and anywhere.
void CheckAgainstFile(PQel &image, const Bytes &file, std::mt19937 &random) {
  const long width = image.GetImageWidth(), height = image.GetImageHeight();
  ASSERT_EQ(width, static_cast<std::int32_t>(Field(file, 18, 4)));
  ASSERT_EQ(image.GetBIH()->biHeight, static_cast<std::int32_t>(Field(file, 22, 4)));
  for (long i = 0; i < 20; ++i) {
    const long k = i < 4 ? std::min(i, height - 1) : static_cast<long>(random()) % height;
    const long x = i % 2 ? static_cast<long>(random()) % width : static_cast<long>(random() % 4) % width;
    ExpectPixel(image, file, x, k);
  }
}

TEST(BrokenDib, CutAtEveryByte) {
  std::mt19937 random(1);
  Scratch folder;
  for (int bits : {1, 8, 16, 24}) {
    for (std::int32_t height : {3, -3}) {
      DibFile dib = RandomDib(bits, 5, height, random);
      if (bits == 8) {
        dib.clrUsed = 3;
        dib.colours.resize(12);
      }
      if (bits == 24) dib.headerSize = 56;
      const Bytes whole = dib.Build();
      const std::size_t rowsAt = whole.size() - dib.rows.size();
      for (std::size_t cut = 0; cut <= whole.size(); ++cut) {
        SCOPED_TRACE(testing::Message() << bits << " bits, " << cut << " of " << whole.size() << " bytes");
        const Bytes file(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(cut));
        PQel image;
        MakeOld(image);
        const int flags[] = {1, 4, 8, 15, 0x104};
        ASSERT_EQ(ReadDib(image, folder / "a.bmp", file, flags[cut % 5], cut % 2), cut < rowsAt ? 0 : 1);
        if (cut < rowsAt) {
          ExpectOld(image);
          continue;
        }
        for (long k = 0; k < 3; ++k)
          for (long x = 0; x < 5; ++x) ExpectPixel(image, file, x, k);
      }
    }
  }
}

TEST(BrokenDib, HeadersThatAreRefusedKeepTheImage) {
  std::mt19937 random(2);
  Scratch folder;
  const Bytes sound = RandomDib(8, 5, 3, random).Build();
  const struct {
    std::size_t at;
    int count;
    std::uint32_t value;
  } cases[] = {
      {0, 2, 0x4D43}, {0, 2, 0},           {0, 1, 'b'},         {2, 4, 0},            // magic, file size
      {14, 4, 0},     {14, 4, 12},         {14, 4, 39},         {14, 4, 0x7FFFFFFF},  // header size
      {14, 4, 1200},  {14, 4, 0x80000000}, {14, 4, 0xFFFFFFFF},                       //
      {30, 4, 1},     {30, 4, 2},          {30, 4, 4},          {30, 4, 5},           // packed rows
      {46, 4, 257},   {46, 4, 0x7FFFFFFF}, {46, 4, 0x40000001}, {46, 4, 0xFFFFFFFF},  // colours used
  };
  for (const auto &c : cases) {
    SCOPED_TRACE(testing::Message() << "field at " << c.at << " = " << c.value);
    Bytes file = sound;
    SetField(file, c.at, c.count, c.value);
    PQel image;
    MakeOld(image);
    EXPECT_EQ(ReadDib(image, folder / "a.bmp", file), 0);
    ExpectOld(image);
  }
}

TEST(BrokenDib, SizesThatMakeNoImageLeaveItEmpty) {
  std::mt19937 random(4);
  Scratch folder;
  const struct {
    std::int32_t width, height;
    int bits;
  } cases[] = {
      {0, 3, 8}, {-5, 3, 8}, {5, 0, 8},      {std::numeric_limits<std::int32_t>::min(), 1, 24}, {5, 3, 0}, {5, 3, 2},
      {5, 3, 7}, {5, 3, 64}, {5, 3, 0xFFFF}, {1, std::numeric_limits<std::int32_t>::min(), 1}};
  for (const auto &c : cases) {
    SCOPED_TRACE(testing::Message() << c.width << "x" << c.height << " of " << c.bits << " bits");
    DibFile dib = RandomDib(8, 16, 64, random);
    dib.width = c.width;
    dib.height = c.height;
    dib.bits = c.bits;
    PQel image;
    MakeOld(image);
    EXPECT_EQ(ReadDib(image, folder / "a.bmp", dib.Build()), 0);
    EXPECT_TRUE(image.IsEmpty());
  }
}

TEST(BrokenDib, RowsOffsetMayPointAnywhere) {
  std::mt19937 random(8);
  Scratch folder;
  DibFile dib = RandomDib(24, 5, 3, random);
  for (std::uint32_t offset : {0u, 10u, 53u, 54u, 60u, 101u, 102u, 103u, 0x7FFFFFFFu, 0x80000000u, 0xFFFFFFFFu}) {
    SCOPED_TRACE(offset);
    Bytes file = dib.Build();
    ASSERT_EQ(file.size(), 102u);
    SetField(file, 10, 4, offset);
    Bytes rows(file.begin() + std::min<std::ptrdiff_t>(offset, 102), file.end());
    rows.resize(48);
    PQel image;
    ASSERT_EQ(ReadDib(image, folder / "a.bmp", file), 1);
    for (long y = 0; y < 3; ++y)
      EXPECT_EQ(RowOf(image, y), Bytes(rows.begin() + (2 - y) * 16, rows.begin() + (2 - y) * 16 + 15));
  }
}

TEST(BrokenDib, HugeDeclarationsCostNothing) {
  std::mt19937 random(12);
  Scratch folder;
  constexpr std::int32_t kMost = std::numeric_limits<std::int32_t>::max();
  const std::pair<std::int32_t, std::int32_t> sizes[] = {{kMost, kMost}, {kMost, -kMost},    {kMost, 1},
                                                         {1, kMost},     {1 << 20, 1 << 20}, {1, 1 << 22}};
  for (int bits : {1, 4, 8, 16, 24, 32, 48}) {
    DibFile dib = RandomDib(bits, 16, 4, random);
    for (const auto &[width, height] : sizes) {
      dib.width = width;
      dib.height = height;
      WriteFile(folder / "a.bmp", dib.Build());
      for (int memFlags : {15, 1, 4, 8, 0x10F}) {
        for (int block : {0, 1}) {
          SCOPED_TRACE(testing::Message() << width << "x" << height << " of " << bits << " bits, flags " << memFlags
                                          << " block " << block);
          PQel image;
          ExpectCheap([&] {
            const int result = ReadDib(image, folder / "a.bmp", memFlags, block);
            EXPECT_EQ(result, image.IsEmpty() ? 0 : 1);
            EXPECT_TRUE(image.IsEmpty() || dib.width != kMost);
            if (result == 0) return;
            EXPECT_EQ(image.GetImageWidth(), dib.width);
            EXPECT_EQ(image.GetImageHeight(), std::abs(static_cast<long>(dib.height)));
          });
        }
      }
    }
  }
}

TEST(BrokenDib, LargeImageOfASmallFileIsSparse) {
  std::mt19937 random(13);
  Scratch folder;
  for (std::int32_t height : {100000, -100000}) {
    DibFile dib = RandomDib(24, 100000, 1, random);
    dib.rows.resize(300000 + 1000);  // one row, 333 pixels and a third of one
    dib.height = height;
    const auto second = RandomBytes(1000, random);
    std::copy(second.begin(), second.end(), dib.rows.begin() + 300000);
    WriteFile(folder / "a.bmp", dib.Build());
    for (const Keeping &way : {Keeping{15, 0, false}, {4, 1, false}, {0x104, 0, false}, {15, 1, false}}) {
      SCOPED_TRACE(testing::Message() << "flags " << way.memFlags << " block " << way.block);
      PQel image;
      ExpectCheap([&] {
        ASSERT_EQ(ReadDib(image, folder / "a.bmp", way.memFlags, way.block), 1);
        EXPECT_EQ(image.GetMemType(), 4);
        const auto RowAt = [&](long k) { return height < 0 ? k : 99999 - k; };
        EXPECT_TRUE(RowOf(image, RowAt(0)) == Bytes(dib.rows.begin(), dib.rows.begin() + 300000));
        Bytes expected(300000);
        std::copy(second.begin(), second.end(), expected.begin());
        EXPECT_TRUE(RowOf(image, RowAt(1)) == expected);
        for (long k : {2L, 777L, 50000L, 99999L}) EXPECT_TRUE(RowOf(image, RowAt(k)) == Bytes(300000)) << k;
        CRect changed;
        image.GetInvalidateRect(&changed);
        EXPECT_EQ(changed, CRect(0, 0, 100000, 100000));
      });
    }
    PQel image;  // global memory is not given for what the file does not hold
    MakeOld(image);
    ExpectCheap([&] { EXPECT_EQ(ReadDib(image, folder / "a.bmp", 1), 0); });
    ExpectOld(image);
  }
}

TEST(BrokenDib, EveryFieldAtItsExtremes) {
  std::mt19937 random(14);
  Scratch folder;
  const std::pair<std::size_t, int> fields[] = {{0, 2},  {2, 4},  {6, 4},  {10, 4}, {14, 4}, {18, 4}, {22, 4}, {26, 2},
                                                {28, 2}, {30, 4}, {34, 4}, {38, 4}, {42, 4}, {46, 4}, {50, 4}};
  for (int bits : {1, 4, 16, 24}) {
    const Bytes sound = RandomDib(bits, 7, 5, random).Build();
    for (const auto &[at, count] : fields) {
      for (std::uint32_t value :
           {0u, 1u, 0xFFu, 0x100u, 0x101u, 0x7FFFu, 0xFFFFu, 0x7FFFFFFFu, 0x80000000u, 0xFFFFFFFFu}) {
        SCOPED_TRACE(testing::Message() << bits << " bits, field at " << at << " = " << value);
        Bytes file = sound;
        SetField(file, at, count, value);
        PQel image;
        MakeOld(image);
        ExpectCheap([&] {
          if (ReadDib(image, folder / "a.bmp", file) == 0) return;
          EXPECT_EQ(image.GetImageWidth(), static_cast<std::int32_t>(Field(file, 18, 4)));
          EXPECT_EQ(image.GetBIH()->biHeight, static_cast<std::int32_t>(Field(file, 22, 4)));
        });
      }
    }
  }
}

TEST(BrokenDib, RandomMutations) {
  std::mt19937 random(2024);
  Scratch folder;
  const int depths[] = {1, 4, 8, 16, 24, 32, 48};
  int served = 0;
  for (int turn = 0; turn < 2000; ++turn) {
    SCOPED_TRACE(turn);
    DibFile dib = RandomDib(depths[turn % 7], 1 + turn % 23, (turn % 2 ? 1 : -1) * (1 + turn % 11), random);
    Bytes file = dib.Build();
    for (unsigned i = random() % 4; i-- > 0;) {
      const std::size_t at = random() % 8 == 0 ? random() % file.size() : 10 + random() % 44;
      file[at] = static_cast<unsigned char>(random() % 2 ? random() : file[at] ^ 1u << random() % 8);
    }
    if (random() % 4 == 0) file.resize(random() % (file.size() + 1));
    const int flags[] = {15, 4, 8, 5, 0x104, 1};
    PQel image;
    MakeOld(image);
    const int result = ReadDib(image, folder / "a.bmp", file, flags[turn % 6], random() % 8 == 0);
    if (result == 1) {
      ++served;
      CheckAgainstFile(image, file, random);
    } else {
      ASSERT_EQ(result, 0);
      if (!image.IsEmpty()) ExpectOld(image);
    }
    if (HasFailure()) return;
  }
  EXPECT_GT(served, 500);
}

}  // namespace

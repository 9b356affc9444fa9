// Creation: headers, offsets and sizes of every type, store and layout against naive counting, and what is refused.
#include <gtest/gtest.h>

#include "qel/mem/mem_map_file.h"
#include "qel/platform/kernel/reserved_memory.h"
#include "qel/platform/screen.h"
#include "support/dib.h"
#include "support/pixels.h"
#include "support/probe.h"

namespace {

using test::Probe;

constexpr int kBits[10] = {1, 24, 4, 8, 4, 8, 16, 16, 32, 48};

std::vector<DWORD> NaiveMasks(int type) {
  if (type == 6) return {0x7C00, 0x03E0, 0x001F};
  if (type == 7) return {0xF800, 0x07E0, 0x001F};
  if (type == 8) return {0xFF0000, 0xFF00, 0xFF};
  return {};
}

long CountBlocks(long pixels, long edge) {
  long blocks = 0;
  for (long covered = 0; covered < pixels; covered += edge) ++blocks;
  return blocks;
}

/// An image of 13 x 3 pixels for tests that must find it untouched.
void ExpectSmallImage(Probe &image) {
  EXPECT_EQ(image.GetImageWidth(), 13);
  EXPECT_EQ(image.GetImageHeight(), 3);
  EXPECT_EQ(image.GetImageType(), 1);
  EXPECT_EQ(image.m_pMem->PeekByte(100), 0x5A);
}

void MakeSmallImage(Probe &image) {
  ASSERT_EQ(image.CreateImage(1, 13, 3, 0, nullptr, 1, 1, 1, 0, 0), 1);
  image.m_pMem->PokeByte(100, 0x5A);
}

class EveryKeeping : public testing::TestWithParam<int> {};

TEST_P(EveryKeeping, MeasuresAsCounted) {
  const int type = GetParam(), bits = kBits[type];
  for (const auto &keeping : test::AllKeepings()) {
    for (const auto &[width, height] : {std::pair{1L, 1L}, {37L, 21L}, {300L, 70L}}) {
      SCOPED_TRACE(testing::Message() << "flags " << keeping.memFlags << " block " << keeping.block << " top-down "
                                      << keeping.topDown << " " << width << " x " << height);
      Probe image;
      if (keeping.block) image.m_lBlockSize = 16;
      ASSERT_EQ(test::Create(image, type, width, height, keeping), 1);

      const long line = static_cast<long>(test::NaiveRowBytes(bits, width));
      const long colors = bits == 1 ? 2 : bits == 4 ? 16 : bits == 8 ? 256 : 0;
      const auto masks = NaiveMasks(type);
      const long offset = 40 + 4 * static_cast<long>(masks.size()) + 4 * colors;
      const BITMAPINFOHEADER &bih = *image.GetBIH();
      EXPECT_EQ(bih.biSize, 40u);
      EXPECT_EQ(bih.biWidth, width);
      EXPECT_EQ(bih.biHeight, keeping.topDown ? -height : height);
      EXPECT_EQ(bih.biPlanes, 1);
      EXPECT_EQ(bih.biBitCount, bits);
      EXPECT_EQ(bih.biCompression, masks.empty() ? 0u : 3u);
      EXPECT_EQ(bih.biSizeImage, line * height);
      EXPECT_EQ(bih.biXPelsPerMeter, 3780);
      EXPECT_EQ(bih.biClrUsed, colors);
      EXPECT_EQ(bih.biClrImportant, 0u);
      EXPECT_EQ(image.GetImageType(), type);
      EXPECT_EQ(image.GetImageHeight(), height);
      EXPECT_EQ(image.GetLineBytes(), line);
      EXPECT_EQ(image.GetLmmOffset(), offset);
      EXPECT_EQ(image.GetMemType(), keeping.memFlags & 0xF);
      EXPECT_TRUE(std::equal(masks.begin(), masks.end(), reinterpret_cast<const DWORD *>(&bih + 1)));
      EXPECT_EQ(reinterpret_cast<unsigned char *>(image.m_pRGBQuad),
                image.m_memBI.GetPointer() + 40 + 4 * masks.size());
      EXPECT_GE(image.m_memBI.GetPointer() + image.m_memBI.GetSize() - image.m_pbyLineBuf, std::max(line, 1024L));

      long pixelBytes = line * height;
      if (keeping.block) {
        EXPECT_EQ(image.m_lBlockSize, 16);
        EXPECT_EQ(image.m_lXBlocks, CountBlocks(width, 16));
        EXPECT_EQ(image.m_lYBlocks, CountBlocks(height, 16));
        EXPECT_EQ(image.m_lBlockBytes, 16 * 16 * bits / 8);
        pixelBytes = CountBlocks(width, 16) * CountBlocks(height, 16) * 16 * 16 * bits / 8;
      }
      EXPECT_EQ(image.GetImageSize(), static_cast<unsigned long>(offset + pixelBytes));

      std::vector<unsigned char> front(static_cast<std::size_t>(offset));
      ASSERT_EQ(image.m_pMem->GetBlock(0, front.size(), front.data()), 1);
      EXPECT_EQ(std::memcmp(front.data(), image.GetBI(), front.size()), 0) << "the store opens with the header block";

      std::mt19937 random(7);
      test::NaiveImage pixels(width, height, bits);
      pixels.Randomise(random);
      pixels.Store(image);
      EXPECT_EQ(test::Pixels(image), pixels);
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Types, EveryKeeping, testing::Range(0, 10));

TEST(Create, StandardExamples) {
  Probe image;
  ASSERT_EQ(image.CreateImage(3, 10, 10, 0, nullptr, 0, 0, 1, 0, 0), 1);
  EXPECT_EQ(image.GetBIH()->biClrUsed, 256u);
  EXPECT_EQ(image.GetLineBytes(), 12);
  EXPECT_EQ(image.GetLmmOffset(), 1064);
  EXPECT_EQ(image.GetImageSize(), 1184u);
  EXPECT_EQ(image.GetMemType(), 1);
  EXPECT_EQ(image.GetDpmX(), 3780);
  EXPECT_EQ(image.GetDpmY(), 3780);
  RGBQUAD standard[256];
  PQel::BuildStdPalette(3, standard);
  EXPECT_EQ(std::memcmp(image.m_pRGBQuad, standard, sizeof standard), 0);

  ASSERT_EQ(image.CreateImage(7, 3, -2, 0, nullptr, 0, 0, 1, 0, 0), 1);
  EXPECT_EQ(image.GetBIH()->biHeight, -2);
  EXPECT_EQ(image.GetImageHeight(), 2);
  EXPECT_EQ(image.GetLmmOffset(), 52);
  EXPECT_EQ(image.GetLineBytes(), 8);
}

TEST(Create, ResolutionIsFilledIn) {
  PQel image;
  for (const auto &[x, y, wantX, wantY] :
       {std::array{5L, 7L, 5L, 7L}, {5, 0, 5, 5}, {0, 7, 7, 7}, {0, 0, 3780, 3780}}) {
    ASSERT_EQ(
        image.CreateImage(1, 2, 2, 0, nullptr, static_cast<unsigned long>(x), static_cast<unsigned long>(y), 1, 0, 0),
        1);
    EXPECT_EQ(image.GetDpmX(), wantX);
    EXPECT_EQ(image.GetDpmY(), wantY);
  }
  SetScreenMode({32, 1, 800, 600, 120, 72});
  ASSERT_EQ(image.CreateImage(1, 2, 2, 0, nullptr, 0, 0, 1, 0, 0), 1);
  SetScreenMode({32, 1, 1920, 1080, 96, 96});
  EXPECT_EQ(image.GetDpmX(), (120 * 10000 + 127) / 254);
  EXPECT_EQ(image.GetDpmY(), (72 * 10000 + 127) / 254);
}

TEST(Create, ColorTablesOfTheCaller) {
  RGBQUAD table[256];
  for (int i = 0; i < 256; ++i) table[i] = {static_cast<BYTE>(i * 3), static_cast<BYTE>(i), static_cast<BYTE>(~i), 9};
  Probe image;
  for (const auto &[type, count] : {std::pair{0, 1}, {2, 7}, {3, 20}, {3, 256}, {1, 5}, {8, 256}, {9, 1}}) {
    ASSERT_EQ(image.CreateImage(type, 9, 5, count, table, 1, 1, 1, 0, 0), 1);
    EXPECT_EQ(image.GetBIH()->biClrUsed, static_cast<DWORD>(count));
    EXPECT_EQ(image.GetLmmOffset(), 40 + (type == 8 ? 12 : 0) + 4 * count);
    EXPECT_EQ(std::memcmp(image.m_pRGBQuad, table, 4 * static_cast<std::size_t>(count)), 0);
    EXPECT_EQ(image.GetImageType(), type);
  }
  // The image's own table outlives the image that it belonged to.
  ASSERT_EQ(image.CreateImage(3, 9, 5, 256, table, 1, 1, 1, 0, 0), 1);
  ASSERT_EQ(image.CreateImage(3, 11, 5, 256, image.m_pRGBQuad, 1, 1, 1, 0, 0), 1);
  EXPECT_EQ(std::memcmp(image.m_pRGBQuad, table, sizeof table), 0);
  ASSERT_EQ(image.CreateImage(image.GetBI(), 0, 7, 10, 1, 0, 0), 1);
  EXPECT_EQ(std::memcmp(image.m_pRGBQuad, table, sizeof table), 0);
  EXPECT_EQ(image.GetImageHeight(), 7);
  // A gray type with less than its whole ramp is one of colours.
  ASSERT_EQ(image.CreateImage(4, 9, 5, 10, nullptr, 1, 1, 1, 0, 0), 1);
  EXPECT_EQ(image.GetImageType(), 2);
  ASSERT_EQ(image.CreateImage(5, 9, 5, 255, nullptr, 1, 1, 1, 0, 0), 1);
  EXPECT_EQ(image.GetImageType(), 3);
  // A ramp given for a palette type makes it a gray one.
  for (int i = 0; i < 16; ++i)
    table[i] = {static_cast<BYTE>(17 * i), static_cast<BYTE>(17 * i), static_cast<BYTE>(17 * i), 1};
  ASSERT_EQ(image.CreateImage(2, 9, 5, 0, table, 1, 1, 1, 0, 0), 1);
  EXPECT_EQ(image.GetImageType(), 4);
}

TEST(Create, BadRequestsKeepTheImage) {
  Probe image;
  MakeSmallImage(image);
  const auto create = [&](int type, long width, long height, int colors = 0, int block = 0) {
    return image.CreateImage(type, width, height, colors, nullptr, 1, 1, 15, block, 0);
  };
  constexpr long k31 = 1L << 31;
  for (const auto &[width, height] : {std::pair{0L, 5L},
                                      {-1L, 5L},
                                      {5L, 0L},
                                      {k31, 1L},
                                      {1L, k31},
                                      {1L, -k31},
                                      {1L << 40, 1L},
                                      {k31 << 32, 1L},
                                      {1L, k31 << 32}})
    EXPECT_EQ(create(1, width, height), 0) << width << " x " << height;
  for (int type : {-1, 10, 11, 1 << 30}) EXPECT_EQ(create(type, 5, 5), 0);
  for (int colors : {-1, 257, 1 << 30, -(1 << 30)}) EXPECT_EQ(create(3, 5, 5, colors), 0);
  EXPECT_EQ(create(9, k31 - 1, k31 - 1), 0) << "bytes beyond 2^63";
  image.m_lBlockSize = 1L << 40;
  EXPECT_EQ(create(1, 5, 5, 0, 1), 0) << "a block beyond 2^63";
  image.m_lBlockSize = 256;
  ExpectSmallImage(image);

  BITMAPINFO info{};
  EXPECT_EQ(image.CreateImage(static_cast<BITMAPINFO *>(nullptr), 5, 5, 1, 1, 0, 0), 0);
  info.bmiHeader = {40, 5, 5, 1, 13, 0, 0, 0, 0, 0, 0};
  EXPECT_EQ(image.CreateImage(&info, 0, 0, 10, 1, 0, 0), 0) << "no such bit count";
  info.bmiHeader.biBitCount = 24;
  for (DWORD colors : {257u, 0x80000000u, 0xFFFFFFFFu}) {
    info.bmiHeader.biClrUsed = colors;
    EXPECT_EQ(image.CreateImage(&info, 0, 0, 10, 1, 0, 0), 0);
  }
  ExpectSmallImage(image);
}

TEST(Create, NoStoreLeavesTheImageEmpty) {
  Probe image;
  for (int flags : {0, 0x100, 0x10}) {
    MakeSmallImage(image);
    EXPECT_EQ(image.CreateImage(1, 5, 5, 0, nullptr, 1, 1, flags, 0, 0), 0);
    EXPECT_EQ(image.IsEmpty(), 1);
    EXPECT_EQ(image.GetImageType(), 10);
    EXPECT_EQ(image.m_pMem, nullptr);
  }
  MakeSmallImage(image);
  EXPECT_EQ(image.CreateImage(9, 1000000, 2000000000, 0, nullptr, 1, 1, 0x10F, 0, 0), 0) << "12 x 10^15 bytes";
  EXPECT_EQ(image.IsEmpty(), 1);
}

TEST(Create, HugeReservedImageCostsNothing) {
  Probe image;
  ASSERT_EQ(image.CreateImage(1, 400000, -400000, 0, nullptr, 1, 1, 4, 0, 0), 1);
  const unsigned long bytes = 400000UL * 3 * 400000;
  EXPECT_EQ(image.GetImageSize(), 40 + bytes);
  EXPECT_EQ(image.GetBIH()->biSizeImage, static_cast<DWORD>(bytes & 0xFFFFFFFF)) << "the low 32 bits";
  unsigned char pixel[] = {1, 2, 3}, back[3] = {};
  EXPECT_EQ(image.PutHorLine(399999, 399999, 399999, pixel), 1);
  EXPECT_EQ(image.GetHorLine(399999, 399999, 399999, back), 1);
  EXPECT_EQ(std::memcmp(pixel, back, 3), 0);
}

TEST(Create, CommitFlagCommitsEveryPage) {
  for (int flags : {0x104, 0x004}) {
    Probe image;
    ASSERT_EQ(image.CreateImage(1, 1000, 1000, 0, nullptr, 1, 1, flags, 0, 0), 1);
    MEMORY_BASIC_INFORMATION info;
    ASSERT_EQ(VirtualQuery(image.m_pMem->GetPointer(), &info, sizeof info), sizeof info);
    EXPECT_EQ(info.State, MEM_COMMIT);
    if (flags & 0x100)
      EXPECT_GE(info.RegionSize, image.GetImageSize());
    else
      EXPECT_EQ(info.RegionSize, PMem::GetPageSize()) << "the page of the header";
  }
}

TEST(Create, StoresAreTriedInOrder) {
  for (const auto &[flags, store] : {std::pair{15, 1}, {12, 4}, {9, 1}, {8, 8}, {4, 4}}) {
    PQel image;
    ASSERT_EQ(image.CreateImage(1, 5, 5, 0, nullptr, 1, 1, flags, 0, 0), 1);
    EXPECT_EQ(image.GetMemType(), store);
  }
}

TEST(Create, BlockSizeSurvives) {
  Probe image;
  image.m_lBlockSize = 24;
  ASSERT_EQ(image.CreateImage(1, 50, 50, 0, nullptr, 1, 1, 1, 0, 0), 1);
  EXPECT_EQ(image.m_lBlockSize, 24);
  EXPECT_EQ(image.m_lXBlocks, 0);
  ASSERT_EQ(image.CreateImage(1, 50, -50, 0, nullptr, 1, 1, 1, 1, 0), 1);
  EXPECT_EQ(image.m_lXBlocks, 3);
  EXPECT_EQ(image.m_lYBlocks, 3);
  image.DeleteImage(1);
  EXPECT_EQ(image.m_lBlockSize, 256);
}

TEST(Create, FromHeader) {
  std::mt19937 random(3);
  Probe image;
  auto dib = test::BuildDib({16, 9, -4, {0xF800, 0x07E0, 0x001F}, 3}, random);
  auto *info = reinterpret_cast<BITMAPINFO *>(dib.data());
  ASSERT_EQ(image.CreateImage(info, 0, 0, 10, 1, 0, 1), 1);
  EXPECT_EQ(image.GetImageType(), 7);
  EXPECT_EQ(image.GetBIH()->biHeight, -4);
  EXPECT_EQ(image.GetDpmX(), 1000);
  EXPECT_EQ(image.GetDpmY(), 2000);
  EXPECT_EQ(image.m_bUndo, 1);
  EXPECT_EQ(std::memcmp(image.m_pRGBQuad, dib.data() + 52, 12), 0) << "the table lies behind the masks";
  ASSERT_EQ(image.CreateImage(info, 20, 6, 10, 1, 0, 0), 1);
  EXPECT_EQ(image.GetImageWidth(), 20);
  EXPECT_EQ(image.GetBIH()->biHeight, 6);
  ASSERT_EQ(image.CreateImage(info, 0, 0, 1, 1, 0, 0), 1);
  EXPECT_EQ(image.GetImageType(), 1);
  EXPECT_EQ(image.GetBIH()->biClrUsed, 256u) << "another type brings its standard table";
  EXPECT_EQ(image.m_pRGBQuad[255].rgbRed, 255);
  ASSERT_EQ(image.CreateImage(info, 0, 0, 4, 1, 0, 0), 1);
  EXPECT_EQ(image.GetImageType(), 4);
}

TEST(Generate, FromPackedDib) {
  std::mt19937 random(11);
  const std::vector<test::DibShape> shapes = {
      {1, 37, 5},  {4, 7, -9},        {8, 13, 6, {}, 17}, {8, 300, -3}, {16, 5, 5}, {16, 21, -4, {0xF800, 0x7E0, 0x1F}},
      {24, 5, 11}, {24, 5, 3, {}, 5}, {32, 9, 4},         {48, 7, -7}};
  for (const auto &shape : shapes)
    for (const auto &keeping : test::AllKeepings()) {
      auto dib = test::BuildDib(shape, random);
      Probe image;
      image.m_lBlockSize = 8;
      ASSERT_EQ(image.GenerateImage(reinterpret_cast<BITMAPINFO *>(dib.data()), keeping.memFlags, keeping.block, 1), 1);
      EXPECT_EQ(test::Pixels(image), test::ReadDib(dib.data())) << shape.bits << " bits";
      EXPECT_EQ(image.m_bUndo, 1);
      EXPECT_EQ(image.m_bBlock, keeping.block);
    }
}

TEST(Generate, RefusesWhatIsNoPlainDib) {
  std::mt19937 random(5);
  Probe image;
  MakeSmallImage(image);
  EXPECT_EQ(image.GenerateImage(static_cast<BITMAPINFO *>(nullptr), 1, 0, 0), 0);
  EXPECT_EQ(image.GenerateImage(image.GetBI(), 1, 0, 0), 0) << "its own header";
  auto dib = test::BuildDib({8, 16, 16}, random);
  auto &bih = reinterpret_cast<BITMAPINFO *>(dib.data())->bmiHeader;
  const BITMAPINFOHEADER good = bih;
  const auto refused = [&](auto change) {
    bih = good;
    change();
    EXPECT_EQ(image.GenerateImage(reinterpret_cast<BITMAPINFO *>(dib.data()), 1, 0, 0), 0);
  };
  refused([&] { bih.biSize = 12; });
  refused([&] { bih.biSize = 0; });
  refused([&] { bih.biSize = 124; });
  refused([&] { bih.biCompression = 1; });
  refused([&] { bih.biCompression = 4; });
  refused([&] { bih.biBitCount = 2; });
  refused([&] { bih.biClrUsed = 257; });
  refused([&] { bih.biWidth = 0; });
  refused([&] { bih.biWidth = -16; });
  refused([&] { bih.biHeight = 0; });
  refused([&] { bih.biHeight = std::numeric_limits<LONG>::min(); });
  ExpectSmallImage(image);
}

TEST(Generate, CopyOfAnotherImage) {
  std::mt19937 random(13);
  for (int type = 0; type < 10; ++type)
    for (const auto &from : test::AllKeepings())
      for (const auto &to : {test::Keeping{1, 1, false}, {4, 0, false}, {8, 1, false}}) {
        Probe source, image;
        source.m_lBlockSize = 16;
        image.m_lBlockSize = 24;
        ASSERT_EQ(test::Create(source, type, 43, 29, from), 1);
        test::NaiveImage pixels(43, 29, kBits[type]);
        pixels.Randomise(random);
        pixels.Store(source);
        source.SetRepeat(0, 0);
        ASSERT_EQ(image.GenerateImage(&source, to.memFlags, to.block, 1), 1);
        EXPECT_EQ(test::Pixels(image), pixels) << "type " << type;
        EXPECT_EQ(image.GetImageType(), type);
        EXPECT_EQ(image.GetBIH()->biHeight, source.GetBIH()->biHeight);
        EXPECT_EQ(image.GetMemType(), to.memFlags);
        EXPECT_EQ(image.m_bUndo, 1);
        EXPECT_EQ(image.m_bRepeat, 0);
        EXPECT_EQ(source.GetXRepeat(), 43);
        EXPECT_EQ(source.IsEnableRepeat(), 1);
      }
  Probe image, empty;
  MakeSmallImage(image);
  EXPECT_EQ(image.GenerateImage(&image, 1, 0, 0), 0);
  EXPECT_EQ(image.GenerateImage(&empty, 1, 0, 0), 0);
  EXPECT_EQ(image.GenerateImage(static_cast<PQel *>(nullptr), 1, 0, 0), 0);
  ExpectSmallImage(image);
}

// Whole rows of linear layout know no tiles; rows of block layout are those of the plane.
TEST(Generate, CopyOfARepeatingImage) {
  std::mt19937 random(14);
  for (const int bits : {1, 8}) {
    for (const int block : {0, 1}) {
      Probe source, image;
      source.m_lBlockSize = 16;
      ASSERT_EQ(test::Create(source, bits == 1 ? 0 : 3, 43, 29, {1, block, false}), 1);
      test::NaiveImage pixels(43, 29, bits);
      pixels.Randomise(random);
      pixels.Store(source);
      source.SetRepeat(5, 3);
      ASSERT_EQ(image.GenerateImage(&source, 1, 0, 0), 1);
      test::NaiveImage want = pixels;
      for (long y = 0; block && y < 29; ++y) {
        long sourceX = 0, sourceY = 0;
        for (long x = 0; x < 43; ++x, ++sourceX) {
          if (x == 0 || sourceX == 43) {  // where a run starts, its source is looked up
            sourceX = ((x - y / 3 * 5) % 43 + 43) % 43;
            sourceY = ((y - x / 5 * 3) % 29 + 29) % 29;
          }
          want.At(x, y) = pixels.At(sourceX, sourceY);
        }
      }
      EXPECT_EQ(test::Pixels(image), want) << bits << " bits, block " << block;
      EXPECT_EQ(image.IsEnableRepeat(), 0);
      EXPECT_EQ(source.IsEnableRepeat(), 1);
    }
  }
}

TEST(Generate, LongerHeadersWithoutATable) {
  std::mt19937 random(6);
  for (const auto &shape : std::vector<test::DibShape>{
           {24, 5, 11}, {16, 21, -4, {0x7C00, 0x3E0, 0x1F}}, {16, 21, 4, {0xF800, 0x7E0, 0x1F}}, {48, 7, 7}}) {
    auto dib = test::WithHeaderBytes(test::BuildDib(shape, random), 124);
    Probe image;
    ASSERT_EQ(image.GenerateImage(reinterpret_cast<BITMAPINFO *>(dib.data()), 1, 0, 0), 1) << shape.bits;
    EXPECT_EQ(test::Pixels(image), test::ReadDib(dib.data()));
    EXPECT_EQ(image.GetBIH()->biSize, 40u);
    EXPECT_EQ(image.GetImageType(), PQel::GetImageType(reinterpret_cast<BITMAPINFO *>(dib.data())));
  }
}

}  // namespace

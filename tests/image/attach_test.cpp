// Attachment: packed DIBs in every kind of memory and from other processes, what comes out of Detach, and headers that
// lie.
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>

#include "qel/mem/mem_map_file.h"
#include "qel/platform/kernel/reserved_memory.h"
#include "support/dib.h"
#include "support/pixels.h"
#include "support/probe.h"

namespace {

using test::Probe;

const std::vector<test::DibShape> kShapes = {{1, 37, 5},         {4, 7, -9},
                                             {8, 13, 6, {}, 17}, {8, 300, -3},
                                             {16, 5, 5},         {16, 21, -4, {0xF800, 0x7E0, 0x1F}},
                                             {24, 5, 11},        {24, 5, 3, {}, 5},
                                             {32, 9, 4},         {32, 9, -4, {0xFF0000, 0xFF00, 0xFF}, 2},
                                             {48, 7, -7}};

/// Bytes at the base of a reservation of their own.
BITMAPINFO *ToReservation(const std::vector<unsigned char> &bytes) {
  void *const base = VirtualAlloc(nullptr, bytes.size(), MEM_RESERVE | MEM_COMMIT, PAGE_READWRITE);
  std::memcpy(base, bytes.data(), bytes.size());
  return static_cast<BITMAPINFO *>(base);
}

std::string ShareName(Probe &image) {
  return dynamic_cast<PMemMapFile &>(*image.m_pMem).GetShareName();
}

TEST(Attach, TakesOverGlobalMemoryAndReservations) {
  std::mt19937 random(4);
  for (const auto &shape : kShapes)
    for (const bool global : {true, false}) {
      SCOPED_TRACE(testing::Message() << shape.bits << " bits, global " << global);
      const auto dib = test::BuildDib(shape, random);
      Probe image;
      const HGLOBAL handle = global ? test::ToGlobal(dib) : nullptr;
      BITMAPINFO *const base = global ? nullptr : ToReservation(dib);
      ASSERT_EQ(global ? image.Attach(handle) : image.Attach(base), 1);
      EXPECT_EQ(image.GetMemType(), global ? 1 : 4);
      EXPECT_EQ(image.m_pMem->GetHandle(), handle);
      EXPECT_EQ(test::Pixels(image), test::ReadDib(dib.data()));
      EXPECT_EQ(image.GetBIH()->biSizeImage, static_cast<DWORD>(image.GetLineBytes() * image.GetImageHeight()));
      const DWORD used = shape.clrUsed ? shape.clrUsed : shape.bits < 9 ? 1u << shape.bits : 0;
      EXPECT_EQ(image.GetBIH()->biClrUsed, used);
      EXPECT_EQ(std::memcmp(image.m_pRGBQuad, dib.data() + 40 + 4 * shape.masks.size(), 4 * used), 0);
      EXPECT_EQ(image.m_pMem->PeekByte(20), image.GetBIH()->biSizeImage & 0xFF) << "the store's header is repaired too";
      std::vector<unsigned char> row(static_cast<std::size_t>(image.GetLineBytes()) + 4, 0xA5);
      EXPECT_EQ(image.PutHorLine(1, row.data()), 1);
      const auto pixels = test::Pixels(image);
      void *const out = image.Detach();
      ASSERT_NE(out, nullptr);
      EXPECT_EQ(image.IsEmpty(), 1);
      EXPECT_TRUE(!global || out == handle);
      EXPECT_EQ(test::ReadDib(test::FromGlobal(out).data()), pixels);
      EXPECT_EQ(GlobalFree(out), nullptr);
    }
}

TEST(Attach, RepairsResolution) {
  std::mt19937 random(4);
  for (const auto &[x, y, wantX, wantY] : {std::array{5, 7, 5, 7}, {5, 0, 5, 5}, {0, 7, 7, 7}, {0, 0, 3780, 3780}}) {
    auto dib = test::BuildDib({8, 3, 3}, random);
    auto &bih = reinterpret_cast<BITMAPINFO *>(dib.data())->bmiHeader;
    bih.biXPelsPerMeter = x;
    bih.biYPelsPerMeter = y;
    PQel image;
    ASSERT_EQ(image.Attach(test::ToGlobal(dib)), 1);
    EXPECT_EQ(image.GetDpmX(), wantX);
    EXPECT_EQ(image.GetDpmY(), wantY);
  }
}

TEST(Attach, AViewStaysItsMappings) {
  std::mt19937 random(4);
  const auto dib = test::BuildDib({8, 16, 16}, random);
  PMemMapFile mapping;
  ASSERT_NE(mapping.AllocMemory(MEM_RESERVE, 4096), nullptr);
  ASSERT_EQ(mapping.PutBlock(0, dib.size(), const_cast<unsigned char *>(dib.data())), 1);
  {
    Probe image;
    ASSERT_EQ(image.Attach(reinterpret_cast<BITMAPINFO *>(mapping.GetPointer())), 1);
    EXPECT_EQ(image.GetMemType(), 4);
    EXPECT_EQ(test::Pixels(image), test::ReadDib(dib.data()));
    image.m_pMem->PokeByte(2000, 0x5A);
  }
  EXPECT_EQ(mapping.PeekByte(2000), 0x5A);
}

TEST(Attach, LongerHeadersWithoutATable) {
  std::mt19937 random(6);
  for (const DWORD bytes : {108u, 124u, 1064u})
    for (const auto &shape :
         std::vector<test::DibShape>{{24, 5, 11}, {16, 21, -4, {0xF800, 0x7E0, 0x1F}}, {32, 9, 4}}) {
      const auto dib = test::WithHeaderBytes(test::BuildDib(shape, random), bytes);
      Probe image;
      ASSERT_EQ(image.Attach(test::ToGlobal(dib)), 1);
      EXPECT_EQ(image.GetLmmOffset(), static_cast<long>(bytes) + (shape.masks.empty() ? 0 : 12));
      EXPECT_EQ(test::Pixels(image), test::ReadDib(dib.data()));
      EXPECT_EQ(image.GetImageType(), shape.bits == 16 ? 7 : shape.bits == 24 ? 1 : 8);
      const auto back = test::FromGlobal(image.GetDIB());
      EXPECT_TRUE(std::equal(back.begin() + 40, back.end(), dib.begin() + 40, dib.end())) << "the long header stays";
    }
}

TEST(Attach, KeepsTheUndoSwitch) {
  std::mt19937 random(4);
  const auto dib = test::BuildDib({8, 30, 30}, random);
  Probe image;
  ASSERT_EQ(image.CreateImage(1, 5, 5, 0, nullptr, 1, 1, 1, 0, 1), 1);
  ASSERT_EQ(image.Attach(test::ToGlobal(dib)), 1);
  EXPECT_EQ(image.m_bUndo, 1);
  unsigned char row[32] = {};
  image.PutHorLine(7, row);
  EXPECT_EQ(image.DoUndo(), 1);
  EXPECT_EQ(test::Pixels(image), test::ReadDib(dib.data()));
}

TEST(Detach, EveryKeepingLeavesAsALinearDib) {
  std::mt19937 random(6);
  for (int type = 0; type < 10; ++type)
    for (const auto &keeping : test::AllKeepings()) {
      SCOPED_TRACE(testing::Message() << "type " << type << " flags " << keeping.memFlags << " block "
                                      << keeping.block);
      Probe image;
      image.m_lBlockSize = 16;
      ASSERT_EQ(test::Create(image, type, 45, 33, keeping), 1);
      test::NaiveImage pixels(45, 33, image.GetBitCount());
      pixels.Randomise(random);
      pixels.Store(image);
      const BITMAPINFOHEADER bih = *image.GetBIH();
      void *const handle = image.Detach();
      ASSERT_NE(handle, nullptr);
      EXPECT_EQ(image.IsEmpty(), 1);
      const auto dib = test::FromGlobal(handle);
      EXPECT_EQ(std::memcmp(dib.data(), &bih, sizeof bih), 0);
      EXPECT_EQ(dib.size(), PQel::GetBISize(reinterpret_cast<BITMAPINFO *>(const_cast<unsigned char *>(dib.data()))) +
                                bih.biSizeImage);
      EXPECT_EQ(test::ReadDib(dib.data()), pixels);
      Probe again;
      ASSERT_EQ(again.Attach(handle), 1);
      EXPECT_EQ(again.GetImageType(), type);
      EXPECT_EQ(test::Pixels(again), pixels);
    }
}

TEST(Detach, WithoutMemoryKeepsTheImage) {
  Probe image;
  if (image.CreateImage(1, 400000, 66000000, 0, nullptr, 1, 1, 4, 0, 0) == 0) GTEST_SKIP() << "no 72 TiB to reserve";
  unsigned char pixel[] = {1, 2, 3}, back[3] = {};
  ASSERT_EQ(image.PutHorLine(7, 7, 7, pixel), 1);
  EXPECT_EQ(image.Detach(), nullptr) << "there is no room for it twice";
  EXPECT_EQ(image.GetMemType(), 4);
  EXPECT_EQ(image.GetHorLine(7, 7, 7, back), 1);
  EXPECT_EQ(std::memcmp(pixel, back, 3), 0);
}

TEST(Attach, RefusalsLeaveBothSidesAsTheyWere) {
  std::mt19937 random(9);
  Probe image;
  const auto held = test::BuildDib({24, 20, 20}, random);
  ASSERT_EQ(image.Attach(test::ToGlobal(held)), 1);
  int local = 0;
  const auto good = test::BuildDib({8, 16, 16}, random);
  const HGLOBAL stale = test::ToGlobal(good);
  GlobalFree(stale);
  EXPECT_EQ(image.Attach(static_cast<BITMAPINFO *>(nullptr)), 0);
  EXPECT_EQ(image.Attach(static_cast<void *>(nullptr)), 0);
  EXPECT_EQ(image.Attach(static_cast<char *>(nullptr)), 0);
  EXPECT_EQ(image.Attach(stale), 0);
  EXPECT_EQ(image.Attach(static_cast<void *>(&local)), 0);
  EXPECT_EQ(image.Attach(reinterpret_cast<BITMAPINFO *>(&local)), 0) << "memory of no known kind";
  EXPECT_EQ(image.Attach(reinterpret_cast<void *>(0xDEADBEEFUL)), 0);
  EXPECT_EQ(image.Attach(image.GetDIB()), 0) << "its own store";
  EXPECT_EQ(image.Attach(image.GetBI()), 0) << "its own header block";
  char empty[] = "", tooLong[] = "sixteen letters!";
  EXPECT_EQ(image.Attach(empty), 0);
  EXPECT_EQ(image.Attach(tooLong), 0);

  BITMAPINFO *const base = ToReservation(test::BuildDib({8, 100, 100}, random));
  auto *const middle = reinterpret_cast<unsigned char *>(base) + PMem::GetPageSize();
  std::memcpy(middle, good.data(), good.size());
  EXPECT_EQ(image.Attach(reinterpret_cast<BITMAPINFO *>(middle)), 0) << "not the start of its reservation";
  EXPECT_NE(VirtualFree(base, 0, MEM_RELEASE), 0);
  EXPECT_EQ(test::Pixels(image), test::ReadDib(held.data()));
}

/// Whether a header may be attached from `size` bytes, by counting up what it claims in 128 bits.
bool NaivelySound(const std::vector<unsigned char> &dib) {
  BITMAPINFOHEADER bih{};
  if (dib.size() < sizeof bih) return false;
  std::memcpy(&bih, dib.data(), sizeof bih);
  bool bits = false;
  for (int b : {1, 4, 8, 16, 24, 32, 48}) bits |= bih.biBitCount == b;
  if (!bits || bih.biSize < 40 || (bih.biCompression != 0 && bih.biCompression != 3)) return false;
  if (bih.biSize > 40 && (bih.biSize > 1064 || bih.biBitCount < 9 || bih.biClrUsed != 0)) return false;
  if (bih.biWidth < 1 || bih.biHeight == 0 || bih.biHeight == std::numeric_limits<LONG>::min() || bih.biClrUsed > 256)
    return false;
  unsigned __int128 claim = bih.biSize;
  if (bih.biCompression == 3) claim += 12;
  claim += 4u * (bih.biClrUsed == 0 && bih.biBitCount < 9 ? 1u << bih.biBitCount : bih.biClrUsed);
  const auto rows = static_cast<unsigned long>(bih.biHeight < 0 ? -static_cast<long>(bih.biHeight) : bih.biHeight);
  claim += static_cast<unsigned __int128>(test::NaiveRowBytes(bih.biBitCount, bih.biWidth)) * rows;
  return claim <= dib.size();
}

TEST(Attach, HeadersThatLieAreRefused) {
  std::mt19937 random(2024);
  const auto pick = [&](auto... values) {
    const std::common_type_t<decltype(values)...> all[] = {values...};
    return all[random() % sizeof...(values)];
  };
  Probe image;
  int taken = 0, refused = 0;
  for (int round = 0; round < 6000; ++round) {
    const auto &shape = kShapes[random() % kShapes.size()];
    auto dib = test::BuildDib(shape, random);
    auto &bih = reinterpret_cast<BITMAPINFO *>(dib.data())->bmiHeader;
    for (unsigned change = random() % 3; change > 0; --change) {
      const DWORD value = pick(0u, 1u, 2u, 3u, 16u, 40u, 108u, 255u, 256u, 257u, 0x7FFFFFFFu, 0x80000000u, 0xFFFFFFFFu,
                               static_cast<unsigned>(random()), static_cast<unsigned>(random() % 64));
      switch (random() % 8) {
        case 0:
          bih.biSize = value;
          break;
        case 1:
          bih.biWidth = static_cast<LONG>(value);
          break;
        case 2:
          bih.biHeight = static_cast<LONG>(value);
          break;
        case 3:
          bih.biBitCount = static_cast<WORD>(pick(0u, 1u, 4u, 8u, 15u, 16u, 24u, 32u, 48u, 64u, value));
          break;
        case 4:
          bih.biCompression = value;
          break;
        case 5:
          bih.biClrUsed = value;
          break;
        case 6:
          bih.biSizeImage = value;
          break;
        default:
          dib[random() % 40] = static_cast<unsigned char>(random());
          break;
      }
    }
    if (random() % 4 == 0) dib.resize(random() % dib.size() + 1);
    const bool sound = NaivelySound(dib);
    const HGLOBAL handle = test::ToGlobal(dib);
    if (image.IsEmpty()) {
      ASSERT_EQ(image.CreateImage(5, 16, 16, 0, nullptr, 1, 1, 1, 0, 0), 1);
    }
    ASSERT_EQ(image.Attach(handle), sound) << "round " << round;
    ++(sound ? taken : refused);
    if (!sound) {
      EXPECT_EQ(image.IsEmpty(), 0);
      EXPECT_EQ(test::FromGlobal(handle), dib) << "still the caller's, untouched";
      EXPECT_EQ(GlobalFree(handle), nullptr);
      continue;
    }
    const auto pixels = test::Pixels(image);
    EXPECT_EQ(pixels, test::ReadDib(dib.data()));
    for (long y = 0; y < pixels.height; ++y) image.PutHorLine(y, test::NaiveImage(pixels).Row(y).data());
    EXPECT_EQ(image.Detach(), handle);
    EXPECT_EQ(GlobalFree(handle), nullptr);
  }
  EXPECT_GT(taken, 1000);
  EXPECT_GT(refused, 1000);
}

// Named mappings -----------------------------------------------------------------------------------------------------

/// The other process: waits for a name, opens the image, checks every pixel and inverts it. Its exit status.
int InvertElsewhere(int readEnd, const test::NaiveImage &expected) {
  char name[16] = {};
  if (read(readEnd, name, sizeof name) != sizeof name) return 1;
  Probe image;
  if (image.Attach(name) != 1) return 2;
  if (image.GetMemType() != 8 || ShareName(image) != name) return 3;
  test::NaiveImage pixels = test::Pixels(image);
  if (!(pixels == expected)) return 4;
  const std::uint64_t mask = (std::uint64_t{1} << pixels.bits) - 1;
  for (auto &pixel : pixels.pixels) pixel ^= mask;
  pixels.Store(image);
  return 0;
}

TEST(Share, AnotherProcessReadsAndWrites) {
  std::mt19937 random(77);
  for (int type = 0; type < 10; ++type)
    for (const int flags : {0x008, 0x108}) {
      test::NaiveImage pixels(123, 45, PQel::GetBitCount(type));
      pixels.Randomise(random);
      int ends[2];
      ASSERT_EQ(pipe(ends), 0);
      const pid_t child = fork();  // before the mapping is made, so that nothing of it is inherited
      ASSERT_GE(child, 0);
      if (child == 0) _exit(InvertElsewhere(ends[0], pixels));

      Probe image;
      ASSERT_EQ(test::Create(image, type, 123, 45, {flags, 0, type % 2 == 1}), 1);
      pixels.Store(image);
      char name[16] = {};
      std::snprintf(name, sizeof name, "%s", ShareName(image).c_str());
      ASSERT_EQ(write(ends[1], name, sizeof name), static_cast<ssize_t>(sizeof name));
      int status = -1;
      ASSERT_EQ(waitpid(child, &status, 0), child);
      close(ends[0]), close(ends[1]);
      ASSERT_TRUE(WIFEXITED(status));
      ASSERT_EQ(WEXITSTATUS(status), 0);
      for (auto &pixel : pixels.pixels) pixel ^= (std::uint64_t{1} << pixels.bits) - 1;
      EXPECT_EQ(test::Pixels(image), pixels) << "type " << type;
    }
}

TEST(Share, TheMappingLivesUntilItsLastImage) {
  auto first = std::make_unique<Probe>();
  ASSERT_EQ(first->CreateImage(3, 64, 64, 0, nullptr, 1, 1, 8, 0, 0), 1);
  std::string name = ShareName(*first);
  unsigned char row[64];
  std::memset(row, 0x3C, sizeof row);
  Probe second;
  ASSERT_EQ(second.CreateImage(1, 5, 5, 0, nullptr, 1, 1, 1, 0, 1), 1);
  ASSERT_EQ(second.Attach(name.data()), 1);
  EXPECT_EQ(second.m_bUndo, 1) << "the switch comes from the image at hand";
  first->PutHorLine(5, row);
  first.reset();
  unsigned char back[64] = {};
  EXPECT_EQ(second.GetHorLine(5, back), 1);
  EXPECT_EQ(std::memcmp(row, back, 64), 0);
  EXPECT_EQ(second.GetImageType(), 3);
  void *const dib = second.Detach();
  EXPECT_NE(dib, nullptr) << "a mapped image leaves as global memory";
  EXPECT_EQ(test::ReadDib(test::FromGlobal(dib).data()).At(9, 5), 0x3Cu);
  GlobalFree(dib);
  Probe third;
  EXPECT_EQ(third.Attach(name.data()), 0) << "gone with its last image";
}

TEST(Share, UnknownAndForeignMappingsAreRefused) {
  Probe image;
  ASSERT_EQ(image.CreateImage(1, 5, 5, 0, nullptr, 1, 1, 1, 0, 0), 1);
  char unknown[] = "QelTestNoSuch", foreign[] = "QelTestForeign";
  EXPECT_EQ(image.Attach(unknown), 0);
  EXPECT_EQ(image.IsEmpty(), 1);
  PMemMapFile probe;
  probe.SetShareName(unknown);
  ASSERT_NE(probe.AllocMemory(MEM_RESERVE, 100), nullptr);
  EXPECT_EQ(probe.GetSize(), 100u) << "looking for a name leaves none behind";

  std::mt19937 random(5);
  PMemMapFile mapping;
  mapping.SetShareName(foreign);
  ASSERT_NE(mapping.AllocMemory(MEM_RESERVE, 8000), nullptr);
  EXPECT_EQ(image.Attach(foreign), 0) << "all zero";
  auto dib = test::BuildDib({8, 50, 50}, random);
  const auto put = [&] { mapping.PutBlock(0, dib.size(), dib.data()); };
  auto &bih = reinterpret_cast<BITMAPINFO *>(dib.data())->bmiHeader;
  put();
  EXPECT_EQ(image.Attach(foreign), 1);
  EXPECT_EQ(test::Pixels(image), test::ReadDib(dib.data()));
  for (LONG height : {0, 5000, std::numeric_limits<LONG>::max(), std::numeric_limits<LONG>::min()}) {
    bih.biHeight = height;
    put();
    EXPECT_EQ(image.Attach(foreign), 0) << height;
    EXPECT_EQ(image.IsEmpty(), 1);
  }
  for (int round = 0; round < 50; ++round) {
    for (auto &byte : dib) byte = static_cast<unsigned char>(random());
    put();
    EXPECT_EQ(image.Attach(foreign), 0);
  }
}

}  // namespace

// The object: empty values, moving an image, flags, type codes, hook events, store information and the undo switches.
#include <gtest/gtest.h>

#include <limits>
#include <memory>
#include <tuple>

#include "support/dib.h"
#include "support/pixels.h"
#include "support/probe.h"

namespace {

using test::Probe;

std::vector<int> g_events;
void Record(PQel *, int nEvent, long, long, long, long, unsigned char *) {
  g_events.push_back(nEvent);
}

std::vector<int> TakeEvents() {
  return std::exchange(g_events, {});
}

void ExpectEmpty(Probe &image) {
  EXPECT_EQ(image.IsEmpty(), 1);
  EXPECT_EQ(image.m_pMem, nullptr);
  EXPECT_EQ(image.GetMemType(), 1);
  EXPECT_EQ(image.GetImageType(), 10);
  EXPECT_EQ(image.m_lBlockSize, 256);
  EXPECT_EQ(image.m_lXBlocks | image.m_lYBlocks | image.m_lBlockBytes, 0);
  EXPECT_EQ(image.GetImageHeight() | image.GetLmmOffset() | image.GetLineBytes(), 0);
  EXPECT_EQ(image.GetImageWidth() | image.GetDpmX() | image.GetDpmY() | image.GetBitCount(), 0);
  EXPECT_EQ(image.GetImageSize(), 0u);
  EXPECT_EQ(image.GetBI(), nullptr);
  EXPECT_EQ(image.m_pRGBQuad, nullptr);
  EXPECT_EQ(image.m_pbyLineBuf, nullptr);
  EXPECT_EQ(image.m_plBlockTable, nullptr);
  EXPECT_EQ(image.m_bBlock | image.m_bRepeat | image.m_bAntiAlias | image.m_bUndo, 0);
  EXPECT_EQ(image.GetXRepeat() | image.GetYRepeat(), 0);
  EXPECT_EQ(image.m_rcInvalid, CRect(0, 0, 0, 0));
  EXPECT_EQ(image.m_memBI.IsEmpty() & image.m_memBlockTable.IsEmpty(), 1);
}

TEST(Object, EmptyImageAnswersFailure) {
  Probe image;
  ExpectEmpty(image);
  tagLmmInfo info;
  EXPECT_EQ(image.GetDIB(), nullptr);
  EXPECT_EQ(image.Detach(), nullptr);
  EXPECT_EQ(image.UpdateBI(), 0);
  EXPECT_EQ(image.GetLmmInfo(&info), 0);
  EXPECT_EQ(image.GetPalette(nullptr), nullptr);
  EXPECT_EQ(image.InversePalette(), 0);
  image.UpdateImageType();
  EXPECT_EQ(image.EnableUndo(1), 0);
  EXPECT_EQ(image.EnableUndo(0), 0);
  EXPECT_EQ(image.ClearUndo() | image.DoUndo() | image.DoRedo(), 0);
  EXPECT_EQ(image.EnableAntiAlias(1), 0);
  EXPECT_EQ(image.EnableAntiAlias(0), 1);
}

TEST(Object, RunTimeClasses) {
  PQel image;
  PQelAccessory accessory;
  EXPECT_STREQ(image.GetRuntimeClass()->m_lpszClassName, "PQel");
  EXPECT_STREQ(accessory.GetRuntimeClass()->m_lpszClassName, "PQelAccessory");
  EXPECT_TRUE(accessory.IsKindOf(RUNTIME_CLASS(PQel)));
  EXPECT_FALSE(image.IsKindOf(RUNTIME_CLASS(PQelAccessory)));
  EXPECT_EQ(image.GetRuntimeClass()->CreateObject(), nullptr);
  EXPECT_EQ(sizeof(PQelAccessory), sizeof(PQel));
}

TEST(Object, DeleteForgetsEverything) {
  for (const auto &keeping : test::AllKeepings()) {
    Probe image;
    ASSERT_EQ(test::Create(image, 5, 30, 20, keeping), 1);
    image.SetRepeat(3, 4);
    image.EnableAntiAlias(1);
    image.EnableUndo(1);
    image.DeleteImage(1);
    ExpectEmpty(image);
  }
}

TEST(Object, DeleteCanLeaveTheStoreAlone) {
  Probe image;
  ASSERT_EQ(image.CreateImage(5, 16, 16, 0, nullptr, 1, 1, 4, 0, 0), 1);
  image.m_pMem->PokeByte(1100, 0x5A);
  const std::unique_ptr<PMem> store(image.m_pMem);
  image.DeleteImage(0);
  ExpectEmpty(image);
  EXPECT_EQ(store->PeekByte(1100), 0x5A);
}

TEST(Object, MovesAnImage) {
  std::mt19937 random(1);
  for (const auto &keeping : test::AllKeepings()) {
    Probe source, image;
    source.SetHookProc(Record);
    ASSERT_EQ(test::Create(source, 3, 40, 30, keeping), 1);
    test::NaiveImage pixels(40, 30, 8);
    pixels.Randomise(random);
    pixels.Store(source);
    source.EnableUndo(1);
    unsigned char byte = static_cast<unsigned char>(~pixels.At(3, 3));
    source.PutHorLine(3, 3, 3, &byte);
    source.SetRepeat(11, 12);
    const CRect changed = source.m_rcInvalid;
    PMem *const store = source.m_pMem;
    TakeEvents();

    image.CopyObject(&source);
    EXPECT_EQ(TakeEvents(), std::vector<int>{2}) << "the source is told of its end, and nothing else is";
    ExpectEmpty(source);
    EXPECT_EQ(image.m_pMem, store);
    EXPECT_EQ(image.GetXRepeat(), 11);
    EXPECT_EQ(image.m_bRepeat, 1);
    EXPECT_EQ(image.m_rcInvalid, changed);
    EXPECT_EQ(image.m_pfnHook, nullptr);
    EXPECT_EQ(source.m_pfnHook, &Record);
    image.EnableRepeat(0);
    EXPECT_EQ(image.DoUndo(), 1);
    EXPECT_EQ(test::Pixels(image), pixels) << "the undo copy came along";
    image.CopyObject(&image);
    image.CopyObject(nullptr);
    EXPECT_EQ(test::Pixels(image), pixels);

    Probe holder;
    ASSERT_EQ(holder.CreateImage(1, 5, 5, 0, nullptr, 1, 1, 1, 0, 0), 1);
    holder.CopyObject(&image);
    EXPECT_EQ(test::Pixels(holder), pixels);
    holder.CopyObject(&image);
    ExpectEmpty(holder);
  }
}

TEST(Object, HookIsToldInOrder) {
  g_events.clear();
  {
    Probe image;
    EXPECT_EQ(image.SetHookProc(Record), nullptr);
    ASSERT_EQ(image.CreateImage(1, 4, 2, 0, nullptr, 1, 1, 1, 0, 0), 1);
    EXPECT_EQ(TakeEvents(), (std::vector{2, 1}));
    EXPECT_EQ(image.CreateImage(1, 0, 2, 0, nullptr, 1, 1, 1, 0, 0), 0);
    EXPECT_EQ(TakeEvents(), std::vector<int>{});
    EXPECT_EQ(image.CreateImage(1, 4, 2, 0, nullptr, 1, 1, 0, 0, 0), 0);
    EXPECT_EQ(TakeEvents(), (std::vector{2, 2}));
    std::mt19937 random(1);
    auto dib = test::BuildDib({24, 3, 2}, random);
    ASSERT_EQ(image.GenerateImage(reinterpret_cast<BITMAPINFO *>(dib.data()), 1, 0, 0), 1);
    EXPECT_EQ(TakeEvents(), (std::vector{2, 1, 4, 4}));
    ASSERT_EQ(image.Attach(test::ToGlobal(dib)), 1);
    EXPECT_EQ(TakeEvents(), (std::vector{2, 1}));
    GlobalFree(image.Detach());
    EXPECT_EQ(TakeEvents(), std::vector<int>{2});
    EXPECT_EQ(image.SetHookProc(Record), &Record);
  }
  EXPECT_EQ(TakeEvents(), std::vector<int>{2}) << "destruction";
}

TEST(Object, CreationEmptiesTheChangedRectangle) {
  Probe image;
  ASSERT_EQ(image.CreateImage(1, 4, 2, 0, nullptr, 1, 1, 1, 0, 0), 1);
  constexpr int kMax = std::numeric_limits<int>::max(), kMin = std::numeric_limits<int>::min();
  EXPECT_EQ(image.m_rcInvalid, CRect(kMax, kMax, kMin, kMin));
}

TEST(Object, RepeatFlags) {
  Probe image, other;
  ASSERT_EQ(image.CreateImage(1, 7, -5, 0, nullptr, 1, 1, 1, 0, 0), 1);
  image.SetRepeat(0, 0);
  EXPECT_EQ(std::tuple(image.m_bRepeat, image.GetXRepeat(), image.GetYRepeat()), std::tuple(1, 7L, 5L));
  image.SetRepeat(3, 0);
  EXPECT_EQ(std::tuple(image.GetXRepeat(), image.GetYRepeat()), std::tuple(3L, 5L));
  image.EnableRepeat(0);
  EXPECT_EQ(std::tuple(image.m_bRepeat, image.GetXRepeat()), std::tuple(0, 3L));
  image.EnableRepeat(2);
  EXPECT_EQ(std::tuple(image.m_bRepeat, image.GetXRepeat()), std::tuple(2, 3L));
  ASSERT_EQ(other.CreateImage(1, 9, 9, 0, nullptr, 1, 1, 1, 0, 0), 1);
  other.EnableRepeat(2);
  EXPECT_EQ(other.GetXRepeat(), 0) << "only 1 fills the periods in";
  other.SetSameRepeat(&image);
  EXPECT_EQ(std::tuple(other.m_bRepeat, other.GetXRepeat(), other.GetYRepeat()), std::tuple(1, 3L, 5L));
  image.EnableRepeat(0);
  other.SetSameRepeat(&image);
  EXPECT_EQ(std::tuple(other.m_bRepeat, other.GetXRepeat()), std::tuple(0, 3L));
  other.SetSameRepeat(nullptr);
  other.EnableRepeat(1);
  EXPECT_EQ(std::tuple(other.m_bRepeat, other.GetXRepeat()), std::tuple(1, 3L));
}

TEST(Object, AntiAliasNeedsLevels) {
  for (int type = 0; type < 10; ++type) {
    Probe image;
    ASSERT_EQ(image.CreateImage(type, 4, 4, 0, nullptr, 1, 1, 1, 0, 0), 1);
    const int can = type != 0 && type != 2 && type != 3 && type != 4;
    EXPECT_EQ(image.EnableAntiAlias(1), can) << "type " << type;
    EXPECT_EQ(image.IsEnableAntiAlias(), can);
    EXPECT_EQ(image.EnableAntiAlias(0), 1);
    EXPECT_EQ(image.IsEnableAntiAlias(), 0);
  }
}

TEST(Object, TypeCodes) {
  const int bits[] = {1, 24, 4, 8, 4, 8, 16, 16, 32, 48}, colors[] = {2, 256, 16, 256, 16, 256, 256, 256, 256, 256};
  for (int type = -3; type < 14; ++type) {
    const bool known = type >= 0 && type < 10;
    EXPECT_EQ(PQel::GetBitCount(type), known ? bits[type] : 0);
    EXPECT_EQ(PQel::GetMaxClrUsed(type), known ? colors[type] : 0);
  }
  const std::pair<int, int> types[] = {{1, 0}, {4, 2}, {8, 3}, {15, 6}, {16, 7}, {24, 1}, {32, 8}, {48, 9}};
  for (int count = -1; count < 70; ++count) {
    int want = 10;
    for (const auto &[b, t] : types)
      if (b == count) want = t;
    EXPECT_EQ(PQel::GetImageType(count), want) << count;
    if (count < 0) continue;
    std::mt19937 random(2);
    auto dib = test::BuildDib({1, 1, 1, {0x7C00, 0x3E0, 0x1F}}, random);
    auto *info = reinterpret_cast<BITMAPINFO *>(dib.data());
    info->bmiHeader.biBitCount = static_cast<WORD>(count);
    if (count == 15) want = 10;
    if (count == 16) want = 6;
    EXPECT_EQ(PQel::GetImageType(info), want) << count;
    if (count != 16) continue;
    const DWORD mask = 0xF800;
    std::memcpy(dib.data() + 40, &mask, 4);
    EXPECT_EQ(PQel::GetImageType(info), 7);
    info->bmiHeader.biCompression = 0;
    EXPECT_EQ(PQel::GetImageType(info), 6);
  }
  EXPECT_EQ(PQel::GetImageType(static_cast<BITMAPINFO *>(nullptr)), 10);
}

TEST(Object, InformationSize) {
  BITMAPINFO info{};
  const auto size = [&](DWORD biSize, WORD bits, DWORD compression, DWORD used) {
    info.bmiHeader.biSize = biSize;
    info.bmiHeader.biBitCount = bits;
    info.bmiHeader.biCompression = compression;
    info.bmiHeader.biClrUsed = used;
    return static_cast<unsigned long>(PQel::GetBISize(&info));
  };
  EXPECT_EQ(size(40, 8, 0, 0), 40u + 1024);
  EXPECT_EQ(size(40, 1, 0, 0), 48u);
  EXPECT_EQ(size(40, 4, 3, 5), 40u + 12 + 20);
  EXPECT_EQ(size(124, 24, 3, 0), 136u);
  EXPECT_EQ(size(40, 32, 1, 7), 68u);
  EXPECT_EQ(size(0xFFFFFFFF, 24, 3, 0xFFFFFFFF), 0xFFFFFFFFUL + 12 + 4 * 0xFFFFFFFFUL);
  EXPECT_EQ(PQel::GetBISize(nullptr), 0u);
}

TEST(Object, TellsWhereTheStoreLies) {
  for (const auto &keeping : test::AllKeepings()) {
    Probe image;
    ASSERT_EQ(test::Create(image, 1, 9, 9, keeping), 1);
    tagLmmInfo info{};
    EXPECT_EQ(image.GetLmmInfo(nullptr), 0);
    EXPECT_EQ(image.GetLmmInfo(&info), !keeping.block);
    EXPECT_EQ(image.GetDIB(), image.m_pMem->GetHandle());
    if (keeping.block) continue;
    EXPECT_EQ(info.dwSize, image.GetImageSize());
    EXPECT_EQ(info.wMemKind, keeping.memFlags == 1 ? 1 : 2);
    EXPECT_EQ(info.pvMem, keeping.memFlags == 1 ? image.m_pMem->GetHandle() : image.m_pMem->GetPointer());
    EXPECT_EQ(GlobalHandle(image.m_pMem->GetPointer()) != nullptr, keeping.memFlags == 1);
  }
}

TEST(Undo, ExchangesWithTheSnapshot) {
  std::mt19937 random(17);
  for (const auto &keeping : test::AllKeepings()) {
    Probe image;
    ASSERT_EQ(test::Create(image, 3, 301, 257, keeping), 1);
    EXPECT_EQ(image.ClearUndo(), 0) << "no snapshot yet";
    EXPECT_EQ(image.DoUndo(), 0);
    test::NaiveImage before(301, 257, 8);
    before.Randomise(random);
    before.Store(image);
    EXPECT_EQ(image.EnableUndo(1), 1);
    test::NaiveImage after = before;
    for (long y : {3L, 200L}) {
      for (long x = 0; x < 301; ++x) after.At(x, y) ^= 0x55;
      image.PutHorLine(y, after.Row(y).data());
    }
    EXPECT_EQ(image.DoUndo(), 1);
    EXPECT_EQ(test::Pixels(image), before);
    EXPECT_EQ(image.DoRedo(), 1);
    EXPECT_EQ(test::Pixels(image), after);
    EXPECT_EQ(image.ClearUndo(), 1);
    EXPECT_EQ(image.DoUndo(), 1);
    EXPECT_EQ(test::Pixels(image), after);
    EXPECT_EQ(image.EnableUndo(0), 1);
    EXPECT_EQ(image.m_bUndo, 0);
    EXPECT_EQ(image.EnableUndo(2), 0) << "the wish is 1 or 0";
    EXPECT_EQ(image.m_bUndo, 1);
  }
}

}  // namespace

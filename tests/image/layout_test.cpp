// Layout: block geometry, changes of layout, line sizes, the changed rectangle.
#include <gtest/gtest.h>

#include <limits>
#include <random>
#include <utility>
#include <vector>

#include "support/pixels.h"
#include "support/probe.h"

namespace {

constexpr LONG kMax = std::numeric_limits<LONG>::max(), kMin = std::numeric_limits<LONG>::min();
constexpr CRect kNeutral(kMax, kMax, kMin, kMin);

using Pairs = std::vector<std::pair<int, long>>;

class Geometry : public test::Probe {
 public:
  using PQel::xBuildBlockTable, PQel::xGetBlockOffset;
};

// Blocks -------------------------------------------------------------------------------------------------------------

TEST(Layout, BlocksAreNumberedRowByRow) {
  Geometry image;
  ASSERT_EQ(test::Create(image, 3, 20, 20, {1, 0, false}), 1);
  ASSERT_EQ(image.EnableBlock(1, 8), 1);
  EXPECT_EQ(image.m_lXBlocks, 3);
  EXPECT_EQ(image.m_lYBlocks, 3);
  EXPECT_EQ(image.m_lBlockBytes, 64);
  EXPECT_EQ(image.m_memBlockTable.GetSize(), 9 * sizeof(long));
  const auto start = static_cast<unsigned long>(image.GetLmmOffset());
  EXPECT_EQ(image.GetImageSize(), start + 9 * 64);
  EXPECT_EQ(image.xGetOffset(5, 9), start + 3 * 64 + 1 * 8 + 5);
  EXPECT_EQ(image.xGetOffset(17, 19), start + 8 * 64 + 3 * 8 + 1);

  // The table is a short cut only.
  image.m_plBlockTable = nullptr;
  EXPECT_EQ(image.xGetBlockOffset(17, 19), start + 8 * 64 + 3 * 8 + 1);
  unsigned char line[20];
  EXPECT_EQ(image.GetHorLine(5, 17, 9, line), 1);
  EXPECT_EQ(image.xBuildBlockTable(), 1);
  EXPECT_EQ(image.m_plBlockTable[8], image.GetLmmOffset() + 8 * 64);

  const long blocks = image.m_lXBlocks;
  image.m_lXBlocks = std::numeric_limits<long>::max() / 2;
  EXPECT_EQ(image.xBuildBlockTable(), 0);
  EXPECT_EQ(image.m_plBlockTable, nullptr);
  image.m_lXBlocks = blocks;
  EXPECT_EQ(image.GetHorLine(5, 17, 9, line), 1);
}

// EnableBlock --------------------------------------------------------------------------------------------------------

TEST(EnableBlock, KeepsPixelsStoreAndPaletteBothWays) {
  std::mt19937 random(2);
  for (const int type : {0, 1, 2, 3, 5, 6, 7, 8, 9}) {
    for (const test::Keeping &keeping : test::AllKeepings()) {
      test::NaiveImage want(45, 33, PQel::GetBitCount(type));
      want.Randomise(random);
      test::Probe image;
      ASSERT_EQ(test::Create(image, type, 45, 33, keeping), 1);
      want.Store(image);
      const int store = image.GetMemType();
      for (const auto &[enable, size] : Pairs{{1, 20L}, {1, 0L}, {0, 0L}, {1, 8L}, {0, 256L}}) {
        ASSERT_EQ(image.EnableBlock(enable, size), 1);
        test::NaiveImage have(45, 33, want.bits);
        have.Load(image);
        EXPECT_EQ(have, want) << "type " << type << ", block " << enable << ' ' << size;
        EXPECT_EQ(image.GetMemType(), store);
        EXPECT_EQ(image.GetImageType(), type);
        EXPECT_EQ(image.m_bBlock, enable);
        EXPECT_EQ(image.GetBIH()->biHeight < 0, keeping.topDown);
      }
    }
  }
}

TEST(EnableBlock, SizesAreRoundedUpAndRemembered) {
  test::Probe image;
  ASSERT_EQ(test::Create(image, 3, 100, 100, {1, 0, false}), 1);
  EXPECT_EQ(image.EnableBlock(1, 0), 1);
  EXPECT_EQ(image.m_lBlockSize, 256);
  EXPECT_EQ(image.EnableBlock(1, 20), 1);
  EXPECT_EQ(image.m_lBlockSize, 24);
  const PMem *const store = image.m_pMem;
  EXPECT_EQ(image.EnableBlock(1, 17), 1);
  EXPECT_EQ(image.m_pMem, store) << "nothing to change";
  EXPECT_EQ(image.EnableBlock(0, 0), 1);
  EXPECT_EQ(image.m_lBlockSize, 24);
  test::Probe empty;
  EXPECT_EQ(empty.EnableBlock(0, 256), 1);
  EXPECT_EQ(empty.EnableBlock(1, 64), 0);
  ASSERT_EQ(empty.CreateImage(3, 100, 70, 0, nullptr, 0, 0, 1, 1, 0), 1);
  EXPECT_EQ(empty.m_lBlockSize, 64);
  EXPECT_EQ(empty.m_lXBlocks, 2);
}

TEST(EnableBlock, TakesUndoAlongAndStartsOtherStatesAnew) {
  std::mt19937 random(4);
  test::NaiveImage want(50, 40, 8);
  want.Randomise(random);
  test::Probe image;
  ASSERT_EQ(image.CreateImage(5, 50, 40, 0, nullptr, 0, 0, 1, 1, 1), 1);
  want.Store(image);
  image.EnableAntiAlias(1);
  image.SetRepeat(7, 9);  // a shifted plane must not end up in the pixels
  ASSERT_EQ(image.EnableBlock(0, 0), 1);
  EXPECT_EQ(image.m_bUndo, 1);
  EXPECT_EQ(image.m_bRepeat | image.m_bAntiAlias, 0);
  test::NaiveImage have(50, 40, 8);
  have.Load(image);
  EXPECT_EQ(have, want);
  unsigned char line[50] = {};
  image.PutHorLine(0, 49, 3, line);
  EXPECT_EQ(image.DoUndo(), 1);
  have.Load(image);
  EXPECT_EQ(have, want);
}

TEST(EnableBlock, FailureKeepsTheImage) {
  std::mt19937 random(6);
  test::NaiveImage want(50, 40, 24);
  want.Randomise(random);
  for (const int block : {0, 1}) {
    test::Probe image;
    ASSERT_EQ(test::Create(image, 1, 50, 40, {1, block, false}), 1);
    want.Store(image);
    image.SetRepeat(7, 9);
    const PMem *const store = image.m_pMem;
    const CRect changed = image.m_rcInvalid;
    constexpr long kHuge = std::numeric_limits<long>::max();
    for (const long size : {-1L, -256L, kHuge, kHuge / 8, 1L << 31, 1L << 24}) {
      EXPECT_EQ(image.EnableBlock(1, size), 0) << size;
      EXPECT_EQ(image.m_pMem, store);
      EXPECT_EQ(image.m_bBlock, block);
      EXPECT_EQ(image.m_lBlockSize, 256);
      EXPECT_EQ(image.m_plBlockTable != nullptr, block != 0);
      EXPECT_TRUE(image.m_rcInvalid == changed);
      EXPECT_TRUE(image.m_bRepeat && image.GetXRepeat() == 7 && image.GetYRepeat() == 9);
    }
    image.EnableRepeat(0);
    test::NaiveImage have(50, 40, 24);
    have.Load(image);
    EXPECT_EQ(have, want);
  }
}

// Line sizes ---------------------------------------------------------------------------------------------------------

TEST(Layout, LineSizesAreWholeDwords) {
  constexpr long kHuge = std::numeric_limits<long>::max();
  for (const int type : {0, 1, 2, 3, 6, 8, 9}) {
    PQel image;
    ASSERT_EQ(test::Create(image, type, 4, 4, {1, 0, false}), 1);
    const long bits = PQel::GetBitCount(type);
    for (long n = 1; n < 70; ++n) EXPECT_EQ(image.GetHorLineSize(n, 2 * n - 1), (bits * n + 31) / 32 * 4);
    EXPECT_EQ(image.GetHorLineSize(-5, 4), image.GetHorLineSize(0, 9));
    EXPECT_EQ(image.GetHorLineSize(5, 4), 0);
    EXPECT_EQ(image.GetHorLineSize(-kHuge, kHuge), 0);
    EXPECT_EQ(image.GetHorLineSize(0, kHuge), 0);
  }
}

// Changed rectangle --------------------------------------------------------------------------------------------------

TEST(ChangedRectangle, GrowsToTheUnion) {
  test::Probe image;
  ASSERT_EQ(test::Create(image, 3, 200, 100, {1, 0, false}), 1);
  CRect rc;
  image.GetInvalidateRect(&rc);
  EXPECT_TRUE(rc == kNeutral);
  image.GetInvalidateRect(nullptr);

  for (CRect none : {CRect(5, 5, 5, 9), CRect(5, 5, 9, 5), CRect(9, 9, 5, 5), kNeutral}) image.InvalidateRect(&none);
  image.InvalidateLine(5, 4, 7);
  image.InvalidateVerLine(5, 7, 6);
  EXPECT_TRUE(image.m_rcInvalid == kNeutral) << "nothing grows by nothing";

  image.InvalidateVerLine(30, 2, 9);
  EXPECT_TRUE(image.m_rcInvalid == CRect(30, 2, 31, 10));
  image.InvalidateLine(10, 12, 50);
  EXPECT_TRUE(image.m_rcInvalid == CRect(10, 2, 31, 51));
  CRect more(-4, 20, 90, 21);
  image.InvalidateRect(&more);
  EXPECT_TRUE(image.m_rcInvalid == CRect(-4, 2, 90, 51));
  image.InvalidateRect(nullptr);
  EXPECT_TRUE(image.m_rcInvalid == CRect(0, 0, 200, 100));
  image.Validate();
  EXPECT_TRUE(image.m_rcInvalid == kNeutral);
}

TEST(ChangedRectangle, EdgesAreCutToWhatTheyHold) {
  constexpr long kFar = std::numeric_limits<long>::max();
  test::Probe image;
  image.Validate();
  image.InvalidateLine(kMax, kFar, kMax);
  EXPECT_TRUE(image.m_rcInvalid == CRect(kMax, kMax, kMax, kMax));
  image.InvalidateVerLine(-kFar, -kFar, kFar);
  EXPECT_TRUE(image.m_rcInvalid == CRect(kMin, kMin, kMax, kMax));
}

}  // namespace

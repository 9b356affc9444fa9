// Whole images of one format into another, held against pixels converted one by one.

#include <gtest/gtest.h>

#include <random>
#include <vector>

#include "support/pixels.h"
#include "support/probe.h"

namespace {

using test::Keeping;
using test::NaiveImage;
using test::Probe;
using Value = std::uint64_t;

constexpr RGBQUAD kAnyTable[256] = {};
constexpr int kBits[] = {1, 24, 4, 8, 4, 8, 16, 16, 32, 48};
constexpr long kWidth = 29, kHeight = 21;  // more than one block of 16 both ways, and no whole bytes

Value Pack(Value blue, Value green, Value red) {
  return blue | green << 8 | red << 16;
}

/// A pixel of a type as 24 bits.
Value To24(int type, Value v, const RGBQUAD *table) {
  const auto field = [v](int shift, Value most) { return (v >> shift & most) * 255 / most; };
  if (type == 5) return v * 0x010101;
  if (type == 6) return Pack(field(0, 31), field(5, 31), field(10, 31));
  if (type == 7) return Pack(field(0, 31), field(5, 63), field(11, 31));
  if (type == 8) return v & 0xFFFFFF;
  if (type == 9) return Pack(v & 255, v >> 16 & 255, v >> 32 & 255);
  if (type == 1) return v;
  return Pack(table[v].rgbBlue, table[v].rgbGreen, table[v].rgbRed);
}

/// A pixel of `from` as one of `to`; -1 for a pair of types that is not converted.
long long Converted(int to, int from, Value v, const RGBQUAD *table, bool whiteFirst, int threshold) {
  const Value p = to == 1 || from == 1 || from == 3 ? To24(from, v, table) : 0;
  const Value b = p & 255, g = p >> 8 & 255, r = p >> 16 & 255;
  const Value high = r * 31 / 255 << 11 | g * 63 / 255 << 5 | b * 31 / 255;
  if (to == from) return static_cast<long long>(v);
  if (to == 1) return static_cast<long long>(p);
  switch (to * 10 + from) {
    case 5:
      return whiteFirst != (static_cast<int>(v) >= threshold);
    case 45:
      return static_cast<long long>(v / 17);
    case 50:
      return v ? 255 : 0;
    case 51:
      return static_cast<long long>((77 * r + 150 * g + 28 * b) / 255);
    case 54:
      return static_cast<long long>(v * 17);
    case 61:
      return static_cast<long long>(r * 31 / 255 << 10 | g * 31 / 255 << 5 | b * 31 / 255);
    case 71:
    case 73:
      return static_cast<long long>(high);
    case 81:
      return static_cast<long long>(p);
    case 91:
      return static_cast<long long>(b * 257 | g * 257 << 16 | r * 257 << 32);
    default:
      return -1;
  }
}

class ConvertImage : public testing::Test {
 protected:
  std::mt19937 random{77};

  /// An image of random pixels and, where the type has one, a random colour table.
  NaiveImage Fill(Probe &image, int type, const Keeping &keeping, int undo = 0) {
    RGBQUAD table[256];
    for (auto &c : table) c = {BYTE(random()), BYTE(random()), BYTE(random()), 0};
    const bool own = type == 0 || type == 2 || type == 3;
    image.EnableBlock(0, 16);
    EXPECT_TRUE(image.CreateImage(type, kWidth, keeping.topDown ? -kHeight : kHeight, 0, own ? table : nullptr, 0, 0,
                                  keeping.memFlags, keeping.block, 0));
    EXPECT_EQ(image.GetImageType(), type);
    NaiveImage naive(kWidth, kHeight, kBits[type]);
    naive.Randomise(random);
    naive.Store(image);
    if (undo) image.EnableUndo(1);
    return naive;
  }

  /// What the image holds after a conversion from another; `kept` when the pair is not converted.
  static NaiveImage Expected(int to, Probe &source, NaiveImage from, NaiveImage kept, bool whiteFirst, int threshold) {
    for (long y = 0; y < kHeight; ++y)
      for (long x = 0; x < kWidth; ++x) {
        const auto v = Converted(to, source.GetImageType(), from.At(x, y), source.m_pRGBQuad, whiteFirst, threshold);
        if (v >= 0) kept.At(x, y) = static_cast<Value>(v);
      }
    return kept;
  }
};

void IgnoreRows(PQel *, int, long, long, long, long, unsigned char *) {}

TEST_F(ConvertImage, MakesEveryPixelOfEveryPair) {
  constexpr Keeping kKeepings[] = {{1, 0, false}, {1, 0, true}, {4, 1, false}, {8, 1, true}, {4, 0, false}};
  for (int pair = 0; pair < 100; ++pair) {
    const int to = pair / 10, from = pair % 10, known = Converted(to, from, 0, kAnyTable, false, 0) >= 0;
    for (const Keeping &srcKeeping : kKeepings) {
      for (const Keeping &dstKeeping : kKeepings) {
        SCOPED_TRACE(testing::Message() << from << " to " << to);
        Probe source, target;
        NaiveImage before(0, 0, 0);
        const NaiveImage pixels = Fill(source, from, srcKeeping);
        const int way = static_cast<int>(random() % 3);  // rows made in the store, seen by a hook, saved for undo
        before = Fill(target, to, dstKeeping, way == 2);
        if (way == 1) (random() % 2 ? source : target).SetHookProc(IgnoreRows);
        const int threshold = static_cast<int>(random() % 256);
        target.Validate();
        ASSERT_EQ(target.ConvertImage(&source, 7, threshold, 9), known);
        const bool whiteFirst = target.m_pRGBQuad[0].rgbRed != 0;
        NaiveImage after(kWidth, kHeight, kBits[to]);
        after.Load(target);
        ASSERT_EQ(after, Expected(to, source, pixels, before, whiteFirst, threshold));
        ASSERT_EQ(target.m_rcInvalid == CRect(0, 0, kWidth, kHeight), known != 0);
        if (way == 2) {
          ASSERT_TRUE(target.DoUndo());
          after.Load(target);
          ASSERT_EQ(after, before);
        }
      }
    }
  }
}

TEST_F(ConvertImage, LeavesTheSameBytesWhicheverWayRowsGo) {
  for (const auto &[to, from] : {std::pair{0, 5}, {1, 0}, {4, 5}, {5, 1}, {7, 3}, {5, 5}, {9, 1}}) {
    Probe source, made, passed;
    Fill(source, from, {1, 0, false});
    Fill(made, to, {1, 0, false});
    ASSERT_TRUE(passed.GenerateImage(&made, 1, 0, 0));
    passed.SetHookProc(IgnoreRows);
    ASSERT_TRUE(made.ConvertImage(&source, 0, 100, 0) && passed.ConvertImage(&source, 0, 100, 0));
    const long bytes = made.m_lLineBytes * kHeight, offset = made.m_lLmmOffset;
    EXPECT_EQ(0, std::memcmp(made.m_pMem->GetPointer() + offset, passed.m_pMem->GetPointer() + offset, bytes)) << to;
  }
}

TEST_F(ConvertImage, ReadsARepeatingImageAsItsRowsRead) {
  Probe source, target;
  Fill(source, 3, {1, 0, false});
  Fill(target, 1, {1, 0, false});
  source.SetRepeat(5, 3);
  ASSERT_TRUE(target.ConvertImage(&source, 0, 0, 0));
  std::vector<unsigned char> expected(3 * kWidth), row(3 * kWidth);
  for (long y = 0; y < kHeight; ++y) {
    source.Get24bitHorLine(0, kWidth - 1, y, expected.data(), nullptr);
    target.GetHorLine(0, kWidth - 1, y, row.data());
    ASSERT_EQ(row, expected);
  }
}

TEST_F(ConvertImage, RefusesWhatItCannotTake) {
  Probe source, target, empty, wide;
  Fill(source, 1, {1, 0, false});
  Fill(target, 5, {1, 0, false});
  ASSERT_TRUE(wide.CreateImage(5, kWidth + 1, kHeight, 0, nullptr, 0, 0, 1, 0, 0));
  EXPECT_FALSE(target.ConvertImage(nullptr, 0, 0, 0));
  EXPECT_FALSE(target.ConvertImage(&empty, 0, 0, 0));
  EXPECT_FALSE(empty.ConvertImage(&source, 0, 0, 0));
  EXPECT_FALSE(wide.ConvertImage(&source, 0, 0, 0));
}

TEST_F(ConvertImage, ChangesAnImagesOwnType) {
  for (int to : {1, 5}) {
    for (int from = 0; from < 10; ++from) {
      SCOPED_TRACE(testing::Message() << from << " to " << to);
      Probe image;
      NaiveImage before = Fill(image, from, {4, 1, true}, 1);
      const bool known = Converted(to, from, 0, kAnyTable, false, 0) >= 0, same = from == to;
      const NaiveImage expected = Expected(to, image, before, NaiveImage(kWidth, kHeight, kBits[to]), false, 0);
      image.SetHookProc(IgnoreRows);
      ASSERT_EQ(to == 1 ? image.ConvertTo24bit() : image.ConvertTo256Gray(), known);
      NaiveImage after(kWidth, kHeight, kBits[known ? to : from]);
      after.Load(image);
      EXPECT_EQ(after, known ? expected : before);
      EXPECT_EQ(image.GetImageType(), known ? to : from);
      EXPECT_EQ(image.GetMemType(), known && !same ? 1 : 4);
      EXPECT_EQ(image.m_bUndo, same || !known);
      EXPECT_EQ(image.SetHookProc(nullptr), IgnoreRows);
    }
  }
  PQel empty;
  EXPECT_FALSE(empty.ConvertTo24bit() || empty.ConvertTo256Gray());
}

}  // namespace

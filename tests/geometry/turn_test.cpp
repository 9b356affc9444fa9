// Quarter turns, mirrors and the transform entry point against pixels moved one by one.

#include <gtest/gtest.h>

#include <functional>
#include <random>
#include <tuple>
#include <vector>

#include "support/pixels.h"
#include "support/probe.h"

namespace {

using test::Create;
using test::Keeping;
using test::NaiveImage;

const std::vector<Keeping> kKeepings = {{1, 0, false}, {4, 0, true}, {1, 1, false}, {8, 1, true}};

/// Where a transform takes the pixel (x, y) of its result from, in a source of w x h.
struct Transform {
  unsigned int code;
  bool turns;
  std::function<std::pair<long, long>(long x, long y, long w, long h)> from;
};

const std::vector<Transform> kTransforms = {
    {1, false, [](long x, long y, long w, long) { return std::pair(w - 1 - x, y); }},
    {2, false, [](long x, long y, long, long h) { return std::pair(x, h - 1 - y); }},
    {3, false, [](long x, long y, long w, long h) { return std::pair(w - 1 - x, h - 1 - y); }},
    {4, true, [](long x, long y, long w, long) { return std::pair(w - 1 - y, x); }},
    {5, true, [](long x, long y, long, long h) { return std::pair(y, h - 1 - x); }},
};

int Call(PQel &image, unsigned int code, PQel *source) {
  switch (code) {
    case 1:
      return image.MirrorHorizontal(source);
    case 2:
      return image.MirrorVertical(source);
    case 3:
      return image.MirrorDiagonal(source);
    case 4:
      return image.RotateImageLeft(source);
    default:
      return image.RotateImageRight(source);
  }
}

NaiveImage Transformed(NaiveImage &content, const Transform &t) {
  NaiveImage result(t.turns ? content.height : content.width, t.turns ? content.width : content.height, content.bits);
  for (long y = 0; y < result.height; ++y)
    for (long x = 0; x < result.width; ++x) {
      const auto [sx, sy] = t.from(x, y, content.width, content.height);
      result.At(x, y) = content.At(sx, sy);
    }
  return result;
}

void IgnoreEvents(PQel *, int, long, long, long, long, unsigned char *) {}

TEST(Turns, MoveEveryPixelOfEveryFormat) {
  std::mt19937 random(6);
  for (const int type : {0, 1, 2, 3, 7, 8, 9})
    for (const auto &[width, height] : {std::pair(1L, 1L), {1L, 37L}, {70L, 1L}, {41L, 23L}, {300L, 517L}})
      for (const Keeping &keeping : kKeepings)
        for (const Transform &t : kTransforms) {
          if (width == 300 && type != 0 && type != 1 && type != 2) continue;
          test::Probe source, dest;
          for (test::Probe *image : {&source, &dest}) image->EnableBlock(1, 64);
          ASSERT_TRUE(Create(source, type, width, height, keeping));
          NaiveImage content(width, height, source.GetBitCount());
          content.Randomise(random);
          content.Store(source);
          ASSERT_TRUE(Create(dest, type, t.turns ? height : width, t.turns ? width : height, kKeepings[random() % 4]));
          dest.Clear(0);
          if (width == 41 && random() % 2) dest.SetHookProc(IgnoreEvents);
          dest.Validate();
          ASSERT_TRUE(Call(dest, t.code, &source));
          NaiveImage expected = Transformed(content, t), actual = expected;
          actual.Load(dest);
          ASSERT_TRUE(actual == expected) << "code " << t.code << ", type " << type << ", " << width << " x " << height;
          CRect changed;
          dest.GetInvalidateRect(&changed);
          EXPECT_EQ(changed, CRect(0, 0, static_cast<int>(expected.width), static_cast<int>(expected.height)));
        }
}

TEST(Turns, WriteTheColumnsOfARepeatingPlane) {
  std::mt19937 random(9);
  for (const int type : {0, 1, 2, 3, 9})
    for (const bool left : {false, true}) {
      PQel source, dest, columns;
      ASSERT_TRUE(source.CreateImage(type, 30, 20, 0, nullptr, 0, 0, 1, 0, 0));
      NaiveImage expected(20, 30, source.GetBitCount()), actual = expected, content(30, 20, source.GetBitCount());
      content.Randomise(random);
      content.Store(source);
      for (PQel *image : {&dest, &columns}) {
        ASSERT_TRUE(image->CreateImage(type, 20, 30, 0, nullptr, 0, 0, 1, 0, 0));
        image->Clear(0);
        image->SetRepeat(7, 11);
      }
      ASSERT_TRUE(left ? dest.RotateImageLeft(&source) : dest.RotateImageRight(&source));
      unsigned char line[200], work[200];
      for (long i = 19; i >= 0; --i) {
        ASSERT_TRUE(left ? source.GetRevHorLine(0, 29, i, line, work) : source.GetHorLine(0, 29, i, line));
        ASSERT_TRUE(columns.PutVerLine(left ? i : 19 - i, 0, 29, line));
      }
      for (PQel *image : {&dest, &columns}) image->EnableRepeat(0);
      expected.Load(columns);
      actual.Load(dest);
      EXPECT_TRUE(actual == expected) << "type " << type << (left ? " left" : " right");
    }
}

TEST(Mirrors, WorkInPlaceAndAreUndone) {
  std::mt19937 random(7);
  for (const int type : {0, 1, 2, 3, 6, 9})
    for (const Keeping &keeping : kKeepings)
      for (const long height : {1L, 6L, 7L})
        for (const Transform &t : kTransforms) {
          if (t.turns) continue;
          PQel image;
          ASSERT_TRUE(Create(image, type, 45, height, keeping));
          NaiveImage content(45, height, image.GetBitCount());
          content.Randomise(random);
          content.Store(image);
          ASSERT_TRUE(image.EnableUndo(1));
          ASSERT_TRUE(Call(image, t.code, nullptr));
          NaiveImage expected = Transformed(content, t), actual = expected;
          actual.Load(image);
          ASSERT_TRUE(actual == expected) << "code " << t.code << ", type " << type;
          ASSERT_TRUE(image.DoUndo());
          actual.Load(image);
          ASSERT_TRUE(actual == content);
        }
}

TEST(Turns, RefuseWhatDoesNotFit) {
  test::Probe source, other, empty;
  ASSERT_TRUE(source.CreateImage(1, 10, 20, 0, nullptr, 1000, 2000, 1, 0, 0));
  for (const auto &[type, width, height] : {std::tuple(1, 10L, 20L), {1, 20L, 11L}, {3, 20L, 10L}}) {
    ASSERT_TRUE(other.CreateImage(type, width, height, 0, nullptr, 1000, 2000, 1, 0, 0));
    EXPECT_FALSE(other.RotateImageLeft(&source));
    EXPECT_FALSE(other.RotateImageRight(&source));
    EXPECT_EQ(other.GetDpmX(), 1000);
  }
  ASSERT_TRUE(other.CreateImage(1, 10, 21, 0, nullptr, 0, 0, 1, 0, 0));
  for (const Transform &t : kTransforms) {
    EXPECT_FALSE(Call(empty, t.code, &source));
    EXPECT_FALSE(Call(source, t.code, &empty));
    if (!t.turns) EXPECT_FALSE(Call(other, t.code, &source));
  }
  EXPECT_FALSE(source.RotateImageLeft(nullptr));
  ASSERT_TRUE(other.CreateImage(1, 20, 20, 0, nullptr, 0, 0, 1, 0, 0));
  EXPECT_FALSE(other.RotateImageLeft(&other));
}

TEST(GenerateImageByCode, MakesTheDestinationThatTheOperationWants) {
  std::mt19937 random(8);
  PQel source;
  ASSERT_TRUE(source.CreateImage(3, 30, -20, 0, nullptr, 1000, 2000, 1, 0, 0));
  NaiveImage content(30, 20, 8);
  content.Randomise(random);
  content.Store(source);
  for (const Transform &t : kTransforms) {
    PQel result;
    ASSERT_TRUE(result.GenerateImage(&source, t.code, 0, 0, 15, 1, 1));
    NaiveImage expected = Transformed(content, t), actual = expected;
    actual.Load(result);
    EXPECT_TRUE(actual == expected) << t.code;
    EXPECT_EQ(result.GetDpmX(), t.turns ? 2000 : 1000);
    EXPECT_EQ(result.GetBIH()->biHeight < 0, !t.turns);
    EXPECT_TRUE(result.DoUndo());
    EXPECT_EQ(result.GenerateImage(&source, t.code, 0, 0, 15, 0, 0), 0 + !t.turns);
  }
  for (const auto &[code, type] : {std::pair(6u, 3), {7u, 1}}) {
    PQel result;
    ASSERT_TRUE(result.GenerateImage(&source, code, 15, 0, 15, 0, 0));
    EXPECT_EQ(result.GetImageType(), type);
    EXPECT_EQ(result.GetImageWidth(), 15);
    EXPECT_EQ(result.GetImageHeight(), 20);
  }
  PQel deep, deeper;  // a type that the code names has its own table, also from a source of that type without one
  ASSERT_TRUE(deep.CreateImage(1, 3, 3, 0, nullptr, 0, 0, 1, 0, 0));
  ASSERT_TRUE(deeper.GenerateImage(&deep, 7, 2, 2, 15, 0, 0));
  EXPECT_EQ(deeper.GetBIH()->biClrUsed, 256u);
  PQel refused;
  EXPECT_FALSE(refused.GenerateImage(&source, 8, 15, 10, 15, 0, 0));  // colours become no gray levels
  PQel negative, empty;
  ASSERT_TRUE(negative.GenerateImage(&source, 0, 1, 0, 15, 0, 0));
  for (auto &p : content.pixels) p ^= 0xFF;
  NaiveImage actual = content;
  actual.Load(negative);
  EXPECT_TRUE(actual == content);
  for (const unsigned int code : {0u, 1u, 4u, 6u, 9u, ~0u}) {
    EXPECT_FALSE(empty.GenerateImage(nullptr, code, 5, 5, 15, 0, 0)) << code;
    EXPECT_FALSE(PQel().GenerateImage(&empty, code, 5, 5, 15, 0, 0)) << code;
  }
}

}  // namespace

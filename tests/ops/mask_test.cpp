// Masks and borders against their definitions, pixel by pixel, on random shapes.

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <set>
#include <vector>

#include "qel/qel.h"
#include "support/pixels.h"

namespace {

using test::Create;
using test::Keeping;
using test::NaiveImage;

const std::vector<Keeping> kKeepings = {{1, 0, false}, {4, 0, true}, {8, 1, false}};

/// Blobs of dark pixels on a light ground: squares at random places.
NaiveImage Blobs(long width, long height, int bits, unsigned seed) {
  std::mt19937 random(seed);
  NaiveImage image(width, height, bits);
  for (auto &p : image.pixels) p = 200 + random() % 56;
  for (int i = 0; i < 6; ++i) {
    const long left = static_cast<long>(random() % static_cast<unsigned>(width)),
               top = static_cast<long>(random() % static_cast<unsigned>(height));
    for (long y = top; y < std::min(height, top + 5); ++y)
      for (long x = left; x < std::min(width, left + 7); ++x) image.At(x, y) = random() % 100;
  }
  return image;
}

using Points = std::vector<std::pair<long, long>>;

Points PointsOf(PPointArray &array) {
  Points points;
  POINT pt;
  for (array.SetReadPos(0); array.GetNext(&pt);) points.emplace_back(pt.x, pt.y);
  return points;
}

TEST(Border, HoldsEveryDarkPixelBesideALightOne) {
  for (const Keeping &keeping : kKeepings)
    for (const bool repeat : {false, true})
      for (unsigned seed = 0; seed < 8; ++seed) {
        PQel image;
        ASSERT_TRUE(Create(image, 5, 37, 23, keeping));
        NaiveImage content = Blobs(37, 23, 8, seed);
        content.Store(image);
        if (repeat) image.EnableRepeat(1);
        RECT rc = seed % 2 ? RECT{3, -4, 30, 40} : RECT{0, 0, 37, 23};
        const auto level = [&](long x, long y) -> std::uint64_t {
          if (repeat) return content.At((x % 37 + 37) % 37, (y % 23 + 23) % 23);
          return x < 0 || y < 0 || x >= 37 || y >= 23 ? 255 : content.At(x, y);
        };
        Points expected;
        for (long y = rc.bottom - 1; y >= rc.top; --y)
          for (long x = rc.left; x < rc.right; ++x) {
            std::uint64_t brightest = 0;
            for (long i = 0; i < 9; ++i) brightest = std::max(brightest, level(x + i % 3 - 1, y + i / 3 - 1));
            if (level(x, y) <= 120 && brightest > 120) expected.emplace_back(x, y);
          }
        PPointArray array;
        array.Add(9, 9);
        ASSERT_TRUE(image.FindBorder(&array, 120, seed == 0 ? nullptr : &rc, 1 + static_cast<int>(seed)));
        ASSERT_EQ(PointsOf(array), expected) << "seed " << seed << ", repeat " << repeat;
      }
}

TEST(Border, ReadsEveryDepthAsGrayAndRefusesTheRest) {
  for (const int type : {0, 1, 4, 5, 6, 8, 9}) {
    PQel image;
    ASSERT_TRUE(image.CreateImage(type, 20, 20, 0, nullptr, 0, 0, 1, 0, 0));
    ASSERT_TRUE(image.Clear(-1));
    image.SetPixel(5, 7, 0);
    PPointArray array;
    ASSERT_TRUE(image.FindBorder(&array, 100, nullptr, 1));
    EXPECT_EQ(PointsOf(array), Points({{5, 7}})) << "type " << type;
    RECT rc = {};
    EXPECT_FALSE(image.FindBoundaryRect(&rc, 100));
    EXPECT_EQ(CRect(rc), CRect(5, 6, 6, 9)) << "type " << type;
    for (RECT bad : {RECT{5, 5, 5, 9}, RECT{30, 0, 40, 20}}) EXPECT_FALSE(image.FindBorder(&array, 100, &bad, 1));
    EXPECT_FALSE(image.FindBorder(&array, 100, nullptr, 0));
    EXPECT_FALSE(image.FindBorder(nullptr, 100, nullptr, 1));
    EXPECT_FALSE(image.FindBoundaryRect(nullptr, 100));
  }
  PQel empty;
  PPointArray array;
  RECT rc;
  EXPECT_FALSE(empty.FindBorder(&array, 0, nullptr, 1));
  EXPECT_FALSE(empty.FindBoundaryRect(&rc, 0));
  EXPECT_FALSE(empty.ClearTransparent(0));
}

TEST(Bounds, SpanTheDarkPixelsAndARowMoreOnBothSides) {
  for (unsigned seed = 0; seed < 40; ++seed) {
    NaiveImage content(20, 20, 8);
    std::fill(content.pixels.begin(), content.pixels.end(), 255);
    std::mt19937 random(seed);
    long left = 20, right = -1, top = 20, bottom = -1;
    for (unsigned i = 0; i < seed % 5; ++i) {
      const long x = static_cast<long>(random() % 20), y = static_cast<long>(random() % 20);
      content.At(x, y) = 10;
      left = std::min(left, x), right = std::max(right, x), top = std::min(top, y), bottom = std::max(bottom, y);
    }
    PQel image;
    ASSERT_TRUE(image.CreateImage(5, 20, 20, 0, nullptr, 0, 0, 1, 0, 0));
    content.Store(image);
    RECT rc = {-1, -1, -1, -1};
    const int found = image.FindBoundaryRect(&rc, 10);
    if (right < 0) {
      EXPECT_FALSE(found);
      EXPECT_EQ(CRect(rc), CRect(-1, -1, -1, -1));
      continue;
    }
    const long first = std::max(top - 1, 0L), last = std::min(bottom + 1, 19L);
    EXPECT_EQ(CRect(rc), CRect(static_cast<int>(left), static_cast<int>(first), static_cast<int>(right + 1),
                               static_cast<int>(last + 1)));
    EXPECT_EQ(found != 0, right > left && last > first);
  }
}

TEST(ClearTransparent, SplitsAtTheThresholdByTheFirstColour) {
  for (const int type : {0, 3, 4, 5})
    for (const bool inverse : {false, true}) {
      PQel image;
      ASSERT_TRUE(image.CreateImage(type, 33, 5, 0, nullptr, 0, 0, 1, 0, 0));
      if (inverse) ASSERT_TRUE(image.InversePalette());
      NaiveImage content(33, 5, image.GetBitCount());
      std::mt19937 random(2);
      content.Randomise(random);
      content.Store(image);
      const auto levels = [&image] {
        std::vector<unsigned char> all(33 * 5);
        for (long y = 0; y < 5; ++y) image.GetGrayHorLine(0, 32, y, all.data() + 33 * y, nullptr);
        return all;
      };
      std::vector<unsigned char> expected = levels();
      const bool firstIsDark = image.GetBI()->bmiColors[0].rgbRed == 0;
      for (auto &level : expected) level = (level < 100) == firstIsDark ? 0 : 255;
      NaiveImage after = content;
      if (type != 3) {  // what comes of the levels, written and read back
        for (long y = 0; y < 5; ++y) image.PutGrayHorLine(0, 32, y, expected.data() + 33 * y);
        after.Load(image);
        content.Store(image);
      }
      ASSERT_TRUE(image.ClearTransparent(100));
      NaiveImage actual = content;
      actual.Load(image);
      EXPECT_TRUE(actual == after) << "type " << type << ", inverse " << inverse;
    }
}

// Mask generators ----------------------------------------------------------------------------------------------------

constexpr DWORD kKey = 0x80FF40;

/// A 24-bit picture with an object on the key colour.
void MakePicture(PQel &image, int type) {
  ASSERT_TRUE(image.CreateImage(1, 31, 22, 0, nullptr, 0, 0, 1, 0, 0));
  RECT all = {0, 0, 31, 22}, object = {6, 5, 20, 15};
  ASSERT_TRUE(image.FillRect(&all, kKey));
  ASSERT_TRUE(image.FillCircle(&object, 0x123456));
  if (type != 1) {
    PQel other;
    ASSERT_TRUE(other.CreateImage(type, 31, 22, 0, nullptr, 0, 0, 1, 0, 0));
    ASSERT_TRUE(other.ConvertImage(&image, 0, 128, 0));
    image.DeleteImage(1);
    image.CopyObject(&other);
  }
}

TEST(KeyMask, MarksTheKeyColourAndBlacksItOut) {
  for (const int type : {1, 5, 8}) {
    PQel image, mask;
    MakePicture(image, type);
    PQel before;
    ASSERT_TRUE(before.GenerateImage(&image, 1, 0, 0));
    const DWORD key = static_cast<DWORD>(image.GetPixelBGR(0, 0)) | 0xFF000000;
    ASSERT_TRUE(image.GenerateImageMask(&mask, 0, key));
    EXPECT_EQ(image.GetImageType(), type);
    ASSERT_EQ(mask.GetImageType(), 5);
    int opaque = 0;
    for (long y = 0; y < 22; ++y)
      for (long x = 0; x < 31; ++x) {
        const bool isKey = before.GetPixelBGR(x, y) == (key & 0xFFFFFF);
        opaque += !isKey;
        ASSERT_EQ(mask.GetPixel(x, y, nullptr), isKey ? 255u : 0u) << x << ", " << y;
        ASSERT_EQ(image.GetPixelBGR(x, y), isKey ? 0u : before.GetPixelBGR(x, y))
            << x << ", " << y << ", type " << type;
      }
    EXPECT_GT(opaque, 80);
    EXPECT_LT(opaque, 140);
  }
}

TEST(KeyMask, AShadowIsTheBlurredMaskMovedAndJoined) {
  for (const int type : {1, 5}) {
    PQel image, mask, sharp, sharpMask;
    MakePicture(image, type);
    MakePicture(sharp, type);
    const DWORD key = static_cast<DWORD>(image.GetPixelBGR(0, 0));
    ASSERT_TRUE(sharp.GenerateImageMask(&sharpMask, 0, key));
    const int blur = 3, pad = (image.GetGaussianFilterWidth(2.0) + 1) / 2 + 2 * blur;
    ASSERT_TRUE(image.GenerateImageMask(&mask, blur, key));
    ASSERT_EQ(image.GetImageWidth(), 31 + pad);
    ASSERT_EQ(mask.GetImageHeight(), 22 + pad);

    PQel shadow;
    ASSERT_TRUE(shadow.CreateImage(5, 31 + pad, 22 + pad, 0, nullptr, 0, 0, 1, 0, 0));
    ASSERT_TRUE(shadow.Clear(255));
    POINT at = {2 * blur, 2 * blur};
    ASSERT_TRUE(shadow.CopyRect(&sharpMask, &at, nullptr));
    ASSERT_TRUE(shadow.GaussianBlur(nullptr, 2.0, nullptr));
    for (long y = 0; y < 22 + pad; ++y)
      for (long x = 0; x < 31 + pad; ++x) {
        const bool inside = x < 31 && y < 22;
        const auto own = inside ? sharpMask.GetPixel(x, y, nullptr) : 255;
        ASSERT_EQ(mask.GetPixel(x, y, nullptr), own & shadow.GetPixel(x, y, nullptr)) << x << ", " << y;
        ASSERT_EQ(image.GetPixelBGR(x, y), inside ? sharp.GetPixelBGR(x, y) : 0u) << x << ", " << y;
      }
  }
}

TEST(DropShadow, DarkensWhatLiesUnderTheMovedMask) {
  for (const int type : {0, 1, 5, 8}) {
    PQel image, mask;
    if (type == 0) {
      ASSERT_TRUE(image.CreateImage(0, 31, 22, 0, nullptr, 0, 0, 1, 0, 0));
      ASSERT_TRUE(image.Clear(1));
    } else {
      MakePicture(image, type);
    }
    ASSERT_TRUE(mask.CreateImage(5, 31, 22, 0, nullptr, 0, 0, 1, 0, 0));
    NaiveImage levels(31, 22, 8);
    std::mt19937 random(4);
    for (auto &p : levels.pixels) p = random() % 3 ? (random() % 2 ? 0 : 255) : random() % 256;
    levels.Store(mask);
    PQel before;
    ASSERT_TRUE(before.GenerateImage(&image, 1, 0, 0));
    const int blur = 2, pad = (image.GetGaussianFilterWidth(1.5) + 1) / 2 + 2 * blur;
    PQel shadow;
    ASSERT_TRUE(shadow.CreateImage(5, 31 + pad, 22 + pad, 0, nullptr, 0, 0, 1, 0, 0));
    ASSERT_TRUE(shadow.Clear(255));
    POINT at = {2 * blur, 2 * blur};
    ASSERT_TRUE(shadow.CopyRect(&mask, &at, nullptr));
    ASSERT_TRUE(shadow.GaussianBlur(nullptr, 1.5, nullptr));

    ASSERT_TRUE(image.GenerateImageMask(&mask, blur));
    EXPECT_EQ(image.GetImageType(), type == 0 ? 1 : type);
    ASSERT_EQ(image.GetImageWidth(), 31 + pad);
    ASSERT_EQ(mask.GetImageHeight(), 22 + pad);
    for (long y = 0; y < 22 + pad; ++y)
      for (long x = 0; x < 31 + pad; ++x) {
        const bool inside = x < 31 && y < 22;
        const long m = inside ? static_cast<long>(levels.At(x, y)) : 255;
        const long s = 96 + 159 * static_cast<long>(shadow.GetPixel(x, y, nullptr)) / 255;
        const long joint = m == 0 ? 0 : s == 255 ? m : s * m / 255;
        ASSERT_EQ(static_cast<long>(mask.GetPixel(x, y, nullptr)), joint) << x << ", " << y;
        unsigned long expected = 0;
        for (int k = 0; k < 24; k += 8) {
          const long c = inside ? static_cast<long>(before.GetPixelBGR(x, y) >> k & 255) : 0;
          const long shown = m > 0 && s < 255 ? (255 - m) * 255 * c / (65025 - joint * m) : c;
          expected |= static_cast<unsigned long>(shown) << k;
        }
        if (type != 5) ASSERT_EQ(image.GetPixelBGR(x, y), expected) << x << ", " << y << ", type " << type;
      }
  }
}

TEST(MaskGenerators, RefuseWhatTheyCannotUse) {
  PQel image, mask, empty;
  MakePicture(image, 1);
  EXPECT_TRUE(empty.GenerateImageMask(nullptr, 0));
  EXPECT_FALSE(image.GenerateImageMask(nullptr, 3));
  EXPECT_FALSE(image.GenerateImageMask(&empty, 3));
  EXPECT_FALSE(image.GenerateImageMask(&image, 3));
  ASSERT_TRUE(mask.CreateImage(5, 30, 22, 0, nullptr, 0, 0, 1, 0, 0));
  EXPECT_FALSE(image.GenerateImageMask(&mask, 3));
  EXPECT_FALSE(image.GenerateImageMask(&mask, -1));
  EXPECT_FALSE(image.GenerateImageMask(&mask, INT_MAX));
  EXPECT_FALSE(empty.GenerateImageMask(&mask, 0, 0u));
  EXPECT_FALSE(image.GenerateImageMask(nullptr, 0, 0u));
  EXPECT_FALSE(image.GenerateImageMask(&image, 0, 0u));
  EXPECT_FALSE(image.GenerateImageMask(&mask, INT_MAX, 0u));
  EXPECT_EQ(image.GetImageWidth(), 31);
  EXPECT_EQ(mask.GetImageWidth(), 30);
}

}  // namespace

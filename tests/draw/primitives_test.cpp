// Raster primitives: shapes against pixel by pixel drawings of their definitions, in every depth, store and layout, and
// in sub-pixels against the coverage summed run by run.

#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <functional>
#include <string>

#include "support/pixels.h"
#include "support/probe.h"

namespace {

using test::Create;
using test::Keeping;
using test::NaiveImage;

class Canvas : public test::Probe {
 public:
  using PQel::xDrawHorLine, PQel::xDrawVerLine, PQel::xDrawWideLine, PQel::xGetIntersection;
};

constexpr long kWidth = 61, kHeight = 37;
const std::vector<Keeping> kKeepings = {{1, 0, false}, {4, 0, true}, {1, 1, false}, {8, 1, true}};

std::uint64_t StoredColor(int bits, long long color) {
  if (bits == 1) return static_cast<std::uint32_t>(color) != 0;
  return static_cast<std::uint64_t>(color) & ((std::uint64_t{1} << bits) - 1);
}

/// What a shape does to an image, and to a naive one of the same content.
struct Shape {
  std::string name;
  std::function<int(Canvas &, long long)> draw;
  std::function<bool(long, long)> contains;
};

bool InEllipse45(long u, long v, bool down, long length, long thickness) {
  // Row u of the ellipse whose axes lie along the diagonals, from its equation.
  const double s = static_cast<double>(thickness * thickness + length * length);
  const double root = 2 * s - 16.0 * static_cast<double>(u * u);
  if (root < 0) return false;
  const long q = std::lround(std::sqrt(root) * static_cast<double>(thickness * length) * 0.5);
  const long d = length * length - thickness * thickness, S = static_cast<long>(s);
  return down ? v >= -((u * d + q) / S) && v <= -((u * d - q) / S) : v >= (u * d - q) / S && v <= (u * d + q) / S;
}

std::vector<Shape> Shapes() {
  const auto within = [](long x, long y, RECT rc) {
    return x >= rc.left && x < rc.right && y >= rc.top && y < rc.bottom;
  };
  std::vector<Shape> shapes;
  for (const RECT rc : {RECT{3, 4, 20, 9}, RECT{-9, -9, 7, 500}, RECT{INT_MIN, 30, INT_MAX, INT_MAX}, RECT{5, 5, 5, 9},
                        RECT{9, 9, 2, 20}, RECT{100, 0, 200, 10}})
    shapes.push_back({"rectangle",
                      [rc](Canvas &c, long long color) {
                        RECT r = rc;
                        return c.FillRect(&r, color);
                      },
                      [=](long x, long y) { return within(x, y, rc); }});
  shapes.push_back({"row", [](Canvas &c, long long color) { return c.DrawHorLine(-5, 70, 12, color); },
                    [](long, long y) { return y == 12; }});
  shapes.push_back({"column", [](Canvas &c, long long color) { return c.DrawVerLine(60, 3, LONG_MAX, color); },
                    [](long x, long y) { return x == 60 && y >= 3; }});
  shapes.push_back({"row outside", [](Canvas &c, long long color) { return c.DrawHorLine(0, 9, LONG_MIN, color); },
                    [](long, long) { return false; }});
  for (const bool down : {false, true})
    shapes.push_back({"slanted ellipse",
                      [down](Canvas &c, long long color) {
                        return c.FillEllipse({30, 18}, 25, 40, down ? 135 : 45, color);
                      },
                      [down](long x, long y) { return InEllipse45(y - 18, x - 30, down, 25, 10); }});
  shapes.push_back({"no ellipse at 30 degrees",
                    [](Canvas &c, long long color) {
                      return c.FillEllipse({9, 9}, 9, 50, 30, color);
                    },
                    [](long, long) { return false; }});
  // |x - 30| + |y - 18| <= 10: the crossings of its edges fall on pixels.
  shapes.push_back({"diamond",
                    [](Canvas &c, long long color) {
                      return c.Fill4PixelRegion({30, 8}, {40, 18}, {30, 28}, {20, 18}, color);
                    },
                    [](long x, long y) { return std::labs(x - 30) + std::labs(y - 18) <= 10; }});
  shapes.push_back({"quadrilateral to the ends of the plane",
                    [](Canvas &c, long long color) {
                      return c.Fill4PixelRegion({INT_MIN, INT_MIN}, {INT_MAX, INT_MIN}, {INT_MAX, INT_MAX},
                                                {INT_MIN, INT_MAX}, color);
                    },
                    [](long, long) { return true; }});
  return shapes;
}

TEST(Primitives, DrawTheirShapesInEveryDepthAndKeeping) {
  std::mt19937 random(1);
  for (const int type : {0, 1, 2, 3, 5, 7, 8, 9})
    for (const Keeping &keeping : kKeepings)
      for (const Shape &shape : Shapes()) {
        Canvas canvas;
        ASSERT_TRUE(Create(canvas, type, kWidth, kHeight, keeping));
        NaiveImage expected(kWidth, kHeight, canvas.GetBitCount());
        expected.Randomise(random);
        expected.Store(canvas);
        const long long color = 0x123456789ABCDEF2 + static_cast<long long>(random());
        ASSERT_TRUE(shape.draw(canvas, color));
        for (long y = 0; y < kHeight; ++y)
          for (long x = 0; x < kWidth; ++x)
            if (shape.contains(x, y)) expected.At(x, y) = StoredColor(expected.bits, color);
        NaiveImage actual(kWidth, kHeight, expected.bits);
        actual.Load(canvas);
        ASSERT_TRUE(actual == expected) << shape.name << ", type " << type << ", flags " << keeping.memFlags;
      }
}

std::vector<std::string> CircleRows(long width, long height) {
  PQel image;
  image.CreateImage(5, width + 4, height + 2, 0, nullptr, 0, 0, 1, 0, 0);
  image.Clear(0);
  RECT rc = {2, 1, static_cast<LONG>(2 + width), static_cast<LONG>(1 + height)};
  EXPECT_TRUE(image.FillCircle(&rc, 1));
  NaiveImage pixels(width + 4, height + 2, 8);
  pixels.Load(image);
  std::vector<std::string> rows;
  for (long y = 1; y <= height; ++y) {
    std::string row;
    for (long x = 0; x < width + 4; ++x) row += pixels.At(x, y) ? '#' : '.';
    EXPECT_EQ(row.substr(0, 2) + row.substr(row.size() - 2), "....");
    rows.push_back(row.substr(2, static_cast<std::size_t>(width)));
  }
  return rows;
}

TEST(Primitives, InscribeEllipses) {
  using Rows = std::vector<std::string>;
  EXPECT_EQ(CircleRows(5, 1), Rows({"#####"}));
  EXPECT_EQ(CircleRows(2, 2), Rows({"##", "##"}));
  EXPECT_EQ(CircleRows(3, 3), Rows({".#.", "###", ".#."}));
  EXPECT_EQ(CircleRows(5, 3), Rows({"..#..", ".###.", "..#.."}));
  EXPECT_EQ(CircleRows(8, 8),
            Rows({"...##...", ".######.", ".######.", "########", "########", ".######.", ".######.", "...##..."}));
  for (const long width : {7, 20, 33})
    for (const long height : {2, 9, 40}) {
      const Rows rows = CircleRows(width, height);
      EXPECT_EQ(rows, Rows(rows.rbegin(), rows.rend()));
      long filled = 0;
      for (const std::string &row : rows) {
        EXPECT_EQ(row, std::string(row.rbegin(), row.rend()));
        filled += std::count(row.begin(), row.end(), '#');
      }
      const double area = 3.14159 / 4 * static_cast<double>(width * height);
      EXPECT_NEAR(static_cast<double>(filled), area, 2.0 * static_cast<double>(width + height));
    }
}

// Anti-alias mode ----------------------------------------------------------------------------------------------------

/// The coverage rule for one sub-pixel row, byte by byte.
void CoverNaively(std::vector<int> &line, const std::vector<int> &base, long x1, long x2, long long color,
                  int channels) {
  for (long p = x1 / 8; p <= x2 / 8; ++p) {
    const long covered = std::min(x2, 8 * p + 7) - std::max(x1, 8 * p) + 1;
    for (int k = 0; k < channels; ++k) {
      const auto i = static_cast<std::size_t>(p * channels + k);
      const int c = static_cast<int>(color >> 8 * k & 0xFF), o = base[i];
      const int value = line[i] + static_cast<int>(std::floor(static_cast<double>((c - o) * 4 * covered + 127) / 256));
      line[i] = std::clamp(value, std::min(o, c), std::max(o, c));
    }
  }
}

std::vector<int> ReadBytes(PQel &image, long y, int channels) {
  std::vector<unsigned char> line(3 * kWidth + 4);
  channels == 1 ? image.GetGrayHorLine(0, kWidth - 1, y, line.data(), nullptr)
                : image.Get24bitHorLine(0, kWidth - 1, y, line.data(), nullptr);
  return {line.begin(), line.begin() + kWidth * channels};
}

void IgnoreEvents(PQel *, int, long, long, long, long, unsigned char *) {}

TEST(Primitives, FillWhatLargeEllipsesHoldAsTheirTraceDoes) {
  std::mt19937 random(11);
  const auto far = [&] { return static_cast<int>(random() % (1U << (2 + random() % 12))); };
  int nFull = 0;
  for (int round = 0; round < 3000; ++round) {
    PQel image, traced;  // with a hook all runs are traced
    for (PQel *p : {&image, &traced}) {
      ASSERT_TRUE(p->CreateImage(5, 21, 13, 0, nullptr, 0, 0, 1, 0, 0) && p->Clear(0));
    }
    traced.SetHookProc(IgnoreEvents);
    RECT rc = {-far(), -far(), 21 + far(), 13 + far()}, rcTraced = rc;
    ASSERT_TRUE(image.FillCircle(&rc, 7) && traced.FillCircle(&rcTraced, 7));
    traced.SetHookProc(nullptr);
    bool bFull = true;
    for (long y = 0; y < 13; ++y) {
      for (long x = 0; x < 21; ++x) {
        ASSERT_EQ(image.GetPixel(x, y, nullptr), traced.GetPixel(x, y, nullptr))
            << rc.left << " " << rc.top << " " << rc.right << " " << rc.bottom;
        bFull &= image.GetPixel(x, y, nullptr) == 7;
      }
    }
    nFull += bFull;
  }
  EXPECT_GT(nFull, 300);
  EXPECT_LT(nFull, 2700);
  PQel image;
  ASSERT_TRUE(image.CreateImage(5, 21, 13, 0, nullptr, 0, 0, 1, 0, 0));
  RECT all = {-2147483647 - 1, -2147483647 - 1, 2147483647, 2147483647};
  EXPECT_TRUE(image.FillCircle(&all, 9));  // at once
  EXPECT_EQ(image.GetPixel(20, 12, nullptr), 9U);
}

TEST(AntiAlias, RunsAddTheirCoverageOverTheUndoCopy) {
  std::mt19937 random(3);
  for (const int type : {1, 5, 8, 9})
    for (const bool undo : {false, true})
      for (const Keeping &keeping : kKeepings) {
        Canvas canvas;
        ASSERT_TRUE(Create(canvas, type, kWidth, kHeight, keeping));
        NaiveImage content(kWidth, kHeight, canvas.GetBitCount());
        content.Randomise(random);
        if (type == 9)
          for (auto &p : content.pixels) p &= 0x00FF00FF00FF;
        content.Store(canvas);
        ASSERT_TRUE(canvas.EnableAntiAlias(1));
        if (undo) ASSERT_TRUE(canvas.EnableUndo(1));
        const int channels = type == 5 ? 1 : 3;
        const std::vector<int> original = ReadBytes(canvas, 11, channels);
        std::vector<int> expected = original;
        for (int i = 0; i < 40; ++i) {
          const long a = static_cast<long>(random() % (8 * kWidth)), b = static_cast<long>(random() % (8 * kWidth));
          const long long color = static_cast<long long>(random() & 0xFFFFFF);
          const long x1 = i % 4 ? std::min(a, b) : a, x2 = i % 4 ? std::max(a, b) : std::min(a + 3, 8 * kWidth - 1);
          ASSERT_TRUE(canvas.xDrawHorLine(x1, x2, 88 + i % 8, color));
          const std::vector<int> base = undo ? original : expected;
          CoverNaively(expected, base, x1, x2, color, channels);
          ASSERT_EQ(ReadBytes(canvas, 11, channels), expected) << "type " << type << ", undo " << undo << ", run " << i;
        }
      }
}

TEST(AntiAlias, ColumnsAreRowsTurned) {
  Canvas rows, columns;
  for (Canvas *canvas : {&rows, &columns}) {
    ASSERT_TRUE(canvas->CreateImage(5, 40, 40, 0, nullptr, 0, 0, 1, 0, 0));
    canvas->Clear(30);
    ASSERT_TRUE(canvas->EnableUndo(1));
    ASSERT_TRUE(canvas->EnableAntiAlias(1));
  }
  for (const auto &[across, first, last] : {std::array{17L, 3L, 20L}, {18L, 17L, 19L}, {100L, -5L, 1000L}}) {
    ASSERT_TRUE(rows.xDrawHorLine(first, last, across, 200));
    ASSERT_TRUE(columns.xDrawVerLine(across, first, last, 200));
  }
  for (long y = 0; y < 40; ++y)
    for (long x = 0; x < 40; ++x) ASSERT_EQ(rows.GetPixel(x, y, nullptr), columns.GetPixel(y, x, nullptr));
}

TEST(AntiAlias, RectanglesCoverWhatTheyHoldOfEveryPixel) {
  for (const bool topDown : {false, true}) {
    Canvas canvas;
    ASSERT_TRUE(canvas.CreateImage(5, 20, topDown ? -20 : 20, 0, nullptr, 0, 0, 1, 0, 0));
    canvas.Clear(0);
    ASSERT_TRUE(canvas.EnableUndo(1));
    ASSERT_TRUE(canvas.EnableAntiAlias(1));
    RECT rc = {20, 19, 100, 85};
    ASSERT_TRUE(canvas.FillRect(&rc, 255));
    EXPECT_TRUE(canvas.IsEnableAntiAlias());
    for (long y = 0; y < 20; ++y)
      for (long x = 0; x < 20; ++x) {
        const auto part = [](long first, long last, long p) {
          return std::max(0L, std::min(last, 8 * p + 8) - std::max(first, 8 * p));
        };
        const double covered = static_cast<double>(part(20, 100, x) * part(19, 85, y)) / 64;
        // A row of a top-down image is a band that reaches over into its neighbours.
        if (topDown && (covered < 1 || y < 4 || y > 8)) continue;
        EXPECT_NEAR(static_cast<double>(canvas.GetPixel(x, y, nullptr)), 255 * covered, 4) << x << ", " << y;
      }
  }
}

// A hook sees every run, so that with one the runs are drawn one by one.
TEST(AntiAlias, ShapesAreTheSumOfTheirRuns) {
  std::mt19937 random(5);
  const auto at = [&] {
    return CPoint(static_cast<int>(random() % 700) - 100, static_cast<int>(random() % 500) - 100);
  };
  for (const int type : {1, 5, 8})
    for (const bool undo : {false, true})
      for (int round = 0; round < 12; ++round) {
        NaiveImage content(kWidth, kHeight, PQel::GetBitCount(type));
        content.Randomise(random);
        Canvas gathered, single;
        CPoint corners[] = {at(), at(), at(), at()};
        if (round % 3 == 0) corners[2] = corners[1], corners[3] = corners[0];  // runs with gaps between them
        RECT rc = {corners[0].x, corners[0].y, corners[1].x, corners[1].y};
        const long long color = static_cast<long long>(random());
        for (Canvas *canvas : {&gathered, &single}) {
          ASSERT_TRUE(Create(*canvas, type, kWidth, kHeight, {1, round % 2, false}));
          content.Store(*canvas);
          ASSERT_TRUE(canvas->EnableAntiAlias(1));
          if (undo) ASSERT_TRUE(canvas->EnableUndo(1));
          if (round % 4 < 2) canvas->EnableUndo(0);  // a mirror that there is goes on saving
          if (canvas == &single) canvas->SetHookProc(IgnoreEvents);
          for (const long long c : {color, ~color}) {
            EXPECT_TRUE(canvas->FillCircle(&rc, c));
            EXPECT_TRUE(canvas->Fill4PixelRegion(corners[0], corners[1], corners[2], corners[3], c));
          }
        }
        NaiveImage a = content, b = content;
        for (int undone = 0; undone < 2; ++undone) {
          a.Load(gathered), b.Load(single);
          ASSERT_TRUE(a == b) << "type " << type << ", undo " << undo << ", round " << round << ", undone " << undone;
          ASSERT_EQ(gathered.DoUndo(), single.DoUndo());
        }
      }
}

TEST(Primitives, RefuseNothingAndDrawNothing) {
  Canvas empty;
  RECT all = {0, 0, 9, 9};
  EXPECT_TRUE(empty.FillRect(&all, 1));
  EXPECT_FALSE(empty.FillRect(nullptr, 1));
  EXPECT_TRUE(empty.FillCircle(nullptr, 1));
  EXPECT_FALSE(empty.FillEllipse({0, 0}, 0, 50, 0, 1));
  EXPECT_FALSE(empty.FillEllipse({0, 0}, LONG_MAX, LONG_MAX, 45, 1));
  EXPECT_TRUE(empty.xDrawWideLine(5, 1, 1, 0, 0, 1));
  empty.EnableRepeat(1);
  EXPECT_TRUE(empty.DrawHorLine(0, 100000, 0, 1));
  EXPECT_TRUE(empty.FillRect(&all, 1));
  EXPECT_TRUE(empty.FillCircle(&all, 1));
  long xMin = 0, xMax = 0;
  ASSERT_TRUE(empty.xGetIntersection({5, 0}, {9, 4}, {5, 8}, {1, 4}, 0, xMin, xMax));
  EXPECT_EQ(std::pair(xMin, xMax), std::pair(5L, 5L));
  EXPECT_FALSE(empty.xGetIntersection({5, 0}, {9, 4}, {5, 8}, {1, 4}, 9, xMin, xMax));
}

TEST(Primitives, WrapInRepeatMode) {
  Canvas canvas;
  ASSERT_TRUE(canvas.CreateImage(5, 10, 10, 0, nullptr, 0, 0, 1, 0, 0));
  canvas.Clear(0);
  canvas.EnableRepeat(1);
  RECT rc = {8, 8, 13, 12};
  ASSERT_TRUE(canvas.FillRect(&rc, 7));
  EXPECT_FALSE(canvas.DrawHorLine(0, LONG_MAX, 0, 9));
  EXPECT_FALSE(canvas.DrawVerLine(0, LONG_MIN, LONG_MAX, 9));
  canvas.EnableRepeat(0);
  for (long y = 0; y < 10; ++y)
    for (long x = 0; x < 10; ++x)
      EXPECT_EQ(canvas.GetPixel(x, y, nullptr), (x >= 8 || x < 3) && (y >= 8 || y < 2) ? 7u : 0u) << x << ", " << y;
}

}  // namespace

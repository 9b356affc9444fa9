// The drawing context beside pictures painted pixel by pixel: weights through shield, texture and mask, brush fills,
// blocks, polygons and seed fills.
#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cmath>
#include <deque>
#include <random>
#include <set>
#include <vector>

#include "qel/draw/coordinates.h"
#include "qel/qel.h"
#include "support/pixels.h"

namespace {

constexpr long kWidth = 29, kHeight = 17;

/// A context that notes the runs of its brush.
class Runs : public PQelDraw {
 public:
  struct Run {
    long x1, x2, y;
    bool operator==(const Run &) const = default;
  };
  std::vector<Run> runs;
  int FillBrushHorLine(long x1, long x2, long y) override {
    runs.push_back({x1, x2, y});
    return PQelDraw::FillBrushHorLine(x1, x2, y);
  }
  using PQelDraw::xGetXPos;
};

std::ostream &operator<<(std::ostream &out, const Runs::Run &run) {
  return out << run.x1 << ".." << run.x2 << " @" << run.y;
}

void Randomise(PQel &image, std::mt19937 &random) {
  test::NaiveImage pixels(image.GetImageWidth(), image.GetImageHeight(), image.GetBitCount());
  pixels.Randomise(random);
  pixels.Store(image);
}

// Weights ------------------------------------------------------------------------------------------------------------

/// What stands between a tool and the pixels of a context.
struct Guards {
  PShield shield;
  PTexture texture;
  PQel textureImage, mask;
  bool hasShield, hasTexture, hasMask;

  Guards(PQelDraw &draw, std::mt19937 &random)
      : hasShield(random() % 2 != 0), hasTexture(random() % 2 != 0), hasMask(random() % 2 != 0) {
    textureImage.CreateImage(5, 7, 5, 0, nullptr, 0, 0, 1, 0, 0);
    Randomise(textureImage, random);
    mask.CreateImage(random() % 2 ? 5 : 0, kWidth, kHeight, 0, nullptr, 0, 0, 1, 0, 0);
    Randomise(mask, random);
    texture.SetTexture(&textureImage);
    unsigned char first[4];
    draw.Get24bitHorLine(3, 3, 3, first, nullptr);
    shield.SetRule(0, 2, RGB(first[2], first[1], first[0]), 60);
    if (hasTexture) draw.SelectTexture(&texture);
    if (hasMask) draw.SelectMask(&mask);
    if (hasShield) draw.SelectShield(&shield);
  }

  /// The weight of pixel (x, y) of the plane, from where the tool starts.
  int Weight(long x, long y, int nStart) {
    unsigned char w = static_cast<unsigned char>(nStart), protection = 0;
    if (hasShield && shield.ReadMaskLine(x, x, y, &protection) && protection) w = 255;
    const auto raise = [&w](int level) { w = static_cast<unsigned char>(255 - (255 - w) * (255 - level) / 255); };
    if (hasTexture) raise(static_cast<int>(textureImage.GetPixel((x % 7 + 7) % 7, (y % 5 + 5) % 5, nullptr)));
    if (hasMask) {
      const auto level =
          static_cast<int>(mask.GetPixel((x % kWidth + kWidth) % kWidth, (y % kHeight + kHeight) % kHeight, nullptr));
      raise(mask.GetBitCount() == 1 ? 255 * level : level);
    }
    return w;
  }
};

/// Mixes one pixel of a context and its twin, through the line operation that has tests of its own.
void MixPixel(PQel &twin, long x, long y, long long llColor, int nWeight) {
  if (!twin.IsEnableRepeat() && (x < 0 || y < 0 || x >= kWidth || y >= kHeight)) return;
  unsigned char pixel[16] = {}, weight = static_cast<unsigned char>(nWeight);
  test::SetPacked(pixel, twin.GetBitCount(), 0, static_cast<std::uint64_t>(llColor));
  twin.MixHorLineWithGrayMask(x, x, y, pixel, &weight);
}

void ExpectSame(PQel &a, PQel &b, const char *what) {
  test::NaiveImage left(kWidth, kHeight, a.GetBitCount()), right = left;
  left.Load(a);
  right.Load(b);
  ASSERT_EQ(left.pixels, right.pixels) << what;
}

TEST(Context, PaintsThroughShieldTextureAndMaskAtEveryDepth) {
  std::mt19937 random(7);
  for (int round = 0; round < 300; ++round) {
    const int nType = round % 10;
    const test::Keeping keeping = test::AllKeepings()[random() % test::AllKeepings().size()];
    const bool bRepeat = random() % 3 == 0;
    SCOPED_TRACE(testing::Message() << "type " << nType << ", store " << keeping.memFlags << ", block " << keeping.block
                                    << ", repeat " << bRepeat << ", round " << round);
    PQelDraw draw;
    PQel twin;
    ASSERT_TRUE(test::Create(draw, nType, kWidth, kHeight, keeping));
    Randomise(draw, random);
    ASSERT_TRUE(twin.GenerateImage(&draw, 1, 0, 0));
    if (bRepeat) draw.SetRepeat(0, 0), twin.SetRepeat(0, 0);
    if (random() % 4 == 0) draw.EnableUndo(1);
    Guards guards(draw, random);
    const long long llColor = nType == 1 || nType == 8 ? 0x302010 : 9, llPixel = nType == 1 || nType == 8 ? 0x102030
                                                                                 : nType == 0             ? 1
                                                                                                          : 9;
    PPen pen;
    ASSERT_TRUE(pen.SetShape(static_cast<int>(random() % 6), 1 + static_cast<int>(random() % 12)));
    pen.SetFeather(static_cast<int>(random() % 256));
    pen.ChangeColor(llColor);
    draw.SelectPen(&pen);
    ASSERT_TRUE(draw.IsSelect(&pen));
    for (int k = 0; k < 4; ++k) {
      const long x = static_cast<long>(random() % 40) - 5, y = static_cast<long>(random() % 28) - 5, n = pen.GetSize();
      draw.DrawPixel(x, y);
      // in repeat mode a footprint may cover a pixel twice: rows in the order of the store, each read before it is
      // mixed
      for (long r = n - 1; r >= 0; --r) {
        const long lRow = twin.GetBIH()->biHeight > 0 ? r : n - 1 - r;
        for (long c = 0; c < n; ++c) {
          unsigned char start;
          pen.GetShapeLine(c, c, lRow, &start);
          const long px = x - n / 2 + c, py = y - n / 2 + lRow;
          MixPixel(twin, px, py, llPixel, guards.Weight(px, py, start));
        }
      }
      ExpectSame(draw, twin, "a stamp");
    }
    PBrush brush;
    brush.SetColors(llColor, 0);
    if (random() % 2) brush.SetStyle(static_cast<int>(random() % 6));
    draw.SelectBrush(&brush);
    ASSERT_TRUE(draw.IsSelect(&brush));
    RECT rc = {static_cast<int>(random() % 20) - 4, static_cast<int>(random() % 10) - 4, 24, 15};
    ASSERT_TRUE(draw.FillRect(&rc));
    for (long y = rc.bottom - 1; y >= rc.top; --y) {  // a plane higher than the image meets its rows twice
      for (long x = rc.left; x < rc.right; ++x) {
        unsigned char pixel[8] = {};
        brush.GetColorLine(x, x, y, pixel);
        MixPixel(twin, x, y, static_cast<long long>(test::GetPacked(pixel, twin.GetBitCount(), 0)),
                 guards.Weight(x, y, 0));
      }
    }
    ExpectSame(draw, twin, "a rectangle");
    draw.SelectMask(nullptr);
  }
}

TEST(Context, CopiesBlocksThroughTheSourcesMask) {
  std::mt19937 random(11);
  for (int round = 0; round < 200; ++round) {
    const int nType = round % 10;
    PQelDraw draw, source;
    PQel twin;
    ASSERT_TRUE(draw.CreateImage(nType, kWidth, kHeight, 0, nullptr, 0, 0, 1, 0, 0));
    ASSERT_TRUE(source.CreateImage(nType, kWidth, kHeight, 0, nullptr, 0, 0, 1, 0, 0));
    Randomise(draw, random);
    Randomise(source, random);
    twin.GenerateImage(&draw, 1, 0, 0);
    Guards guards(draw, random);
    PQel mask;
    mask.CreateImage(round / 10 % 2 ? 5 : 0, kWidth, kHeight, 0, nullptr, 0, 0, 1, 0, 0);
    Randomise(mask, random);
    const bool bMask = random() % 2;
    if (bMask) source.SelectMask(&mask);
    const auto pick = [&random](int from, int count) {
      return from + static_cast<long>(random() % static_cast<unsigned>(count));
    };
    const long x = pick(-8, 40), y = pick(-8, 30), w = pick(-2, 40), h = pick(-2, 30), sx = pick(-8, 40),
               sy = pick(-8, 30);
    ASSERT_TRUE(draw.BitBlt(x, y, w, h, &source, sx, sy));
    for (long i = 0; i < h; ++i) {
      for (long j = 0; j < w; ++j) {
        const long px = sx + j, py = sy + i;
        if (px < 0 || py < 0 || px >= kWidth || py >= kHeight) continue;
        if (x + j < 0 || y + i < 0 || x + j >= kWidth || y + i >= kHeight) continue;
        PQel pixel;  // the source's pixel, mixed with the destination's through the source's mask
        pixel.CreateImage(nType, 1, 1, 0, nullptr, 0, 0, 1, 0, 0);
        unsigned char own[8] = {}, there[8] = {};
        source.GetHorLine(px, px, py, own);
        twin.GetHorLine(x + j, x + j, y + i, there);
        pixel.PutHorLine(0, 0, 0, own);
        if (bMask) {
          const auto level = static_cast<unsigned>(mask.GetPixel(px, py, nullptr));
          unsigned char weight = static_cast<unsigned char>(mask.GetBitCount() == 1 ? 255 * level : level);
          pixel.MixHorLineWithGrayMask(0, 0, 0, there, &weight);
        }
        pixel.GetHorLine(0, 0, 0, own);
        MixPixel(twin, x + j, y + i, static_cast<long long>(test::GetPacked(own, twin.GetBitCount(), 0)),
                 guards.Weight(x + j, y + i, 0));
      }
    }
    ExpectSame(draw, twin, "a block");
  }
  PQelDraw draw, other;
  draw.CreateImage(1, 4, 4, 0, nullptr, 0, 0, 1, 0, 0);
  other.CreateImage(8, 4, 4, 0, nullptr, 0, 0, 1, 0, 0);
  EXPECT_FALSE(draw.BitBlt(0, 0, 4, 4, &other, 0, 0) || draw.BitBlt(0, 0, 4, 4, nullptr, 0, 0));
}

// Shapes -------------------------------------------------------------------------------------------------------------

struct Canvas {
  Runs draw;
  PBrush brush;
  Canvas(int nType, long lWidth, long lHeight) {
    draw.CreateImage(nType, lWidth, lHeight, 0, nullptr, 0, 0, 1, 0, 0);
    draw.Clear(0);
    brush.SetColors(1, 0);
    draw.SelectBrush(&brush);
  }
};

TEST(Fills, PolygonsFollowTheEvenOddRule) {
  std::mt19937 random(5);
  for (int round = 0; round < 200; ++round) {
    Canvas canvas(1, 50, 40);
    const int nCount = 3 + static_cast<int>(random() % 12);
    std::vector<POINT> points;
    const bool bFar = round % 4 == 3;  // corners all over the plane
    for (int i = 0; i < nCount; ++i)
      points.push_back({bFar ? static_cast<int>(random()) : static_cast<int>(random() % 70) - 10,
                        bFar && i % 2 ? static_cast<int>(random()) : static_cast<int>(random() % 12) * 5 - 10});
    points.push_back(points[0]);
    canvas.draw.FillPolygon(points.data(), nCount);
    std::vector<Runs::Run> expected;
    int top = INT_MAX, bottom = INT_MIN;
    for (int i = 0; i < nCount; ++i) {
      const POINT &p = points[static_cast<std::size_t>(i)], &q = points[static_cast<std::size_t>(i) + 1];
      if (p.y == q.y) expected.push_back({std::min(p.x, q.x), std::max(p.x, q.x), p.y});
      top = std::min(top, p.y), bottom = std::max(bottom, p.y);
    }
    for (int y = std::max(top, 0); y <= std::min(bottom, 39); ++y) {
      std::vector<long> crossings;
      for (int i = 0; i < nCount; ++i) {
        POINT u = points[static_cast<std::size_t>(i)], l = points[static_cast<std::size_t>(i) + 1];
        if (u.y > l.y) std::swap(u, l);
        if (u.y == l.y || y < u.y || y >= l.y) continue;
        const qel::draw::Wide dy = static_cast<long>(l.y) - u.y, way = (static_cast<long>(l.x) - u.x) * (dy - l.y + y);
        const long x = u.x + static_cast<long>((way > 0 ? way + dy / 2 : way - dy / 2) / dy);
        EXPECT_EQ(canvas.draw.xGetXPos(u, l, y), x);
        if (x != -1) crossings.push_back(x);
      }
      std::sort(crossings.begin(), crossings.end());
      for (std::size_t k = 0; k + 1 < crossings.size(); k += 2) expected.push_back({crossings[k], crossings[k + 1], y});
    }
    ASSERT_EQ(canvas.draw.runs, expected) << "round " << round;
  }
}

TEST(Fills, EllipsesTrianglesAndFramesLieWhereTheirEquationsSay) {
  Canvas canvas(1, 40, 40);
  for (const RECT &rc : {RECT{0, 0, 1, 1}, RECT{3, 5, 20, 31}, RECT{-6, -4, 30, 9}}) {
    canvas.draw.runs.clear();
    RECT own = rc;
    ASSERT_TRUE(canvas.draw.FillEllipse(&own));
    std::size_t k = 0;
    for (long y = rc.bottom - 1; y >= std::max<long>(rc.top, 0); --y, ++k) {
      const double h = rc.bottom - rc.top, u = static_cast<double>(2 * y - rc.top - rc.bottom);
      const long s = static_cast<long>(std::sqrt(h * h - u * u) * (rc.right - rc.left) / h + 1e-12),
                 S = rc.left + rc.right;
      const long a = (S - s - 1) / 2, b = (s + S + 1) / 2;
      ASSERT_LT(k, canvas.draw.runs.size());
      EXPECT_EQ(canvas.draw.runs[k], (Runs::Run{std::min(a, b), std::max(a, b), y}));
    }
  }
  canvas.draw.runs.clear();
  ASSERT_TRUE(canvas.draw.FillTriangle({5, 5}, {15, 15}, {0, 10}));
  const std::vector<Runs::Run> expected = {{5, 5, 5},   {4, 6, 6},    {3, 7, 7},   {2, 8, 8},
                                           {1, 9, 9},   {0, 10, 10},  {3, 11, 11}, {6, 12, 12},
                                           {9, 13, 13}, {12, 14, 14}, {15, 15, 15}};
  EXPECT_EQ(canvas.draw.runs, expected);
  canvas.draw.runs.clear();
  canvas.draw.FillTriangle({INT_MIN, INT_MIN}, {INT_MAX, INT_MAX}, {INT_MIN, INT_MAX});
  ASSERT_EQ(canvas.draw.runs.size(), 40U);
  for (long y = 0; y < 40; ++y) EXPECT_EQ(canvas.draw.runs[static_cast<std::size_t>(y)], (Runs::Run{INT_MIN, y, y}));

  PPen pen;
  pen.SetShape(1, 2);
  pen.ChangeColor(0xFFFFFF);
  canvas.draw.SelectPen(&pen);
  canvas.draw.Clear(0);
  RECT frame = {4, 4, 20, 14};
  canvas.draw.FrameRect(&frame);
  for (long y = 0; y < 40; ++y)
    for (long x = 0; x < 40; ++x) {
      const bool bIn = x >= 4 && x < 20 && y >= 4 && y < 14, bHollow = x >= 6 && x < 18 && y >= 6 && y < 12;
      ASSERT_EQ(canvas.draw.GetPixelBGR(x, y) != 0, bIn && !bHollow) << x << ", " << y;
    }
  canvas.draw.Clear(0);
  ASSERT_TRUE(canvas.draw.FrameEllipse(&frame));
  EXPECT_NE(canvas.draw.GetPixelBGR(12, 4), 0U);
  EXPECT_EQ(canvas.draw.GetPixelBGR(12, 9), 0U);
  EXPECT_EQ(canvas.draw.GetPixelBGR(12, 2), 0U);
}

TEST(Fills, ComeOutTheSameByRunsAndInTheStore) {
  std::mt19937 random(17);
  for (int round = 0; round < 120; ++round) {
    const int nType = round % 10;
    Canvas byRuns(nType, 50, 40);
    PQelDraw draw;
    ASSERT_TRUE(draw.CreateImage(nType, 50, 40, 0, nullptr, 0, 0, random() % 2 ? 1 : 4, 0, 0));
    draw.Clear(0);
    draw.SelectBrush(&byRuns.brush);
    std::vector<POINT> points;
    for (int i = 0; i < 9; ++i)
      points.push_back({static_cast<int>(random() % 400) - 150, static_cast<int>(random() % 300) - 100});
    points.push_back(points[0]);
    const CPoint seed(static_cast<int>(random() % 50), static_cast<int>(random() % 40));
    for (PQelDraw *const p : {static_cast<PQelDraw *>(&byRuns.draw), &draw}) {
      p->Validate();
      p->FillPolygon(points.data(), 9);
      byRuns.brush.SetColors(5, 0);
      p->FloodFill(seed, 0, nullptr);
      byRuns.brush.SetColors(1, 0);
    }
    test::NaiveImage left(50, 40, draw.GetBitCount()), right = left;
    left.Load(byRuns.draw);
    right.Load(draw);
    ASSERT_EQ(left.pixels, right.pixels) << "round " << round;
    CRect a, b;
    byRuns.draw.GetInvalidateRect(&a);
    draw.GetInvalidateRect(&b);
    EXPECT_TRUE(a == b) << "round " << round;
  }
}

// Seed fills ---------------------------------------------------------------------------------------------------------

TEST(Fills, SeedsReachTheRegionWithinTheirTolerance) {
  std::mt19937 random(13);
  for (int round = 0; round < 200; ++round) {
    const int nType = std::vector<int>{1, 3, 0, 8, 5}[static_cast<std::size_t>(round % 5)];
    const long w = 1 + static_cast<long>(random() % 150), h = 1 + static_cast<long>(random() % 20);
    Canvas canvas(nType, w, h);
    const unsigned nRare = 2 + random() % 9;
    for (long y = 0; y < h; ++y)
      for (long x = 0; x < w; ++x) canvas.draw.SetPixel(x, y, random() % nRare == 0 ? (nType == 1 ? 0x405060 : 5) : 0);
    PQel before, mask;
    before.GenerateImage(&canvas.draw, 1, 0, 0);
    const bool bMask = random() % 2;
    mask.CreateImage(5, w, h, 0, nullptr, 0, 0, 1, 0, 0);
    for (long y = 0; y < h; ++y)
      for (long x = 0; x < w; ++x) mask.SetPixel(x, y, random() % 8 ? random() % 255 : 255);
    if (bMask) canvas.draw.SelectMask(&mask);
    const CPoint seed(static_cast<int>(random() % static_cast<unsigned>(w)),
                      static_cast<int>(random() % static_cast<unsigned>(h)));
    const auto tolerance = static_cast<short>(random() % 3 * 40);
    ASSERT_TRUE(canvas.draw.FloodFill(seed, tolerance, nullptr));

    const auto isOpen = [&](long x, long y) {
      const unsigned long a = before.GetPixelBGR(x, y), b = before.GetPixelBGR(seed.x, seed.y);
      for (int c = 0; c < 24; c += 8)
        if (std::abs(static_cast<int>(a >> c & 255) - static_cast<int>(b >> c & 255)) > tolerance) return false;
      return !bMask || mask.GetPixel(x, y, nullptr) != 255;
    };
    std::set<std::pair<long, long>> region;
    std::deque<std::pair<long, long>> queue;
    const auto visit = [&](long x, long y) {
      if (x >= 0 && y >= 0 && x < w && y < h && isOpen(x, y) && region.insert({x, y}).second) queue.push_back({x, y});
    };
    visit(seed.x, seed.y);
    while (!queue.empty()) {
      const auto [x, y] = queue.front();
      queue.pop_front();
      visit(x - 1, y), visit(x + 1, y), visit(x, y - 1), visit(x, y + 1);
    }
    std::set<std::pair<long, long>> painted;
    for (const auto &run : canvas.draw.runs)
      for (long x = run.x1; x <= run.x2; ++x) ASSERT_TRUE(painted.insert({x, run.y}).second) << "painted twice";
    ASSERT_EQ(painted, region) << "round " << round;
    canvas.draw.SelectMask(nullptr);
  }
  Canvas canvas(1, 5, 5);
  EXPECT_TRUE(canvas.draw.FloodFill({9, 1}, 0, nullptr) && canvas.draw.FloodFill({1, 1}, -1, nullptr));
  EXPECT_TRUE(canvas.draw.runs.empty());
}

}  // namespace

// qel draw: a script against the same calls of the context, undo, and what is told of wrong scripts.
#include <algorithm>
#include <filesystem>

#include "app/picture.h"
#include "qel/draw/brush.h"
#include "qel/draw/draw.h"
#include "qel/draw/pen.h"
#include "qel/draw/point_array.h"
#include "qel/draw/shield.h"
#include "qel/draw/texture.h"

namespace {

using test::Load;
using test::Qel;

constexpr long kWidth = 90, kHeight = 70;

test::NaiveImage PixelsOf(PQel &image) {
  test::NaiveImage pixels(image.GetImageWidth(), image.GetImageHeight(), image.GetBitCount());
  pixels.Load(image);
  return pixels;
}

test::Outcome Draw(const test::Scratch &scratch, const std::string &in, const std::string &script) {
  test::WriteFile(scratch / "s.txt", script);
  return Qel({"draw", in, scratch / "out.bmp", scratch / "s.txt"});
}

constexpr const char *kEverything = R"(# every command once
shapes grays.bmp 16
pen round 9 feather 100 color #203040 spacing 0.5 style 2   # a soft one
move 5,5
line 60,12 20,50
style 0
feather 30
color #c02010
polyline 3,60 40,30 80,66
pen tile:1 11 color #11aa33
stroke 10,10 30,40 85,66
pen square 4 image photo.bmp
dot 50,20
frame 2,2,40,30
pen slash 15
dot 70,60
pen backslash 12 footprint grays.bmp
ring 30,20,50,45
ring all
pen flat 5 color #0000ff
brush hatch 3 #ff0000 #ffff00 origin 3,-2
polygon 50,2 85,10 70,40 40,25
pen off
shield color #0000ff box #ff0000 20 hue 120 30 lightness 250 5
brush pattern photo.bmp origin 1,1
rect 10,40,60,20
texture grays.bmp
mask mask.bmp
ellipse 20,5,60,60
texture off
brush solid #8040c0
triangle 0,69 45,35 89,69
copy photo.bmp 60,-5 from 2,3,20,25
mask off
shield off
fill 1,1 tolerance 40
fill 88,1 tolerance 255 reference mask.bmp
repeat 7,3
rect -5,60,20,20
repeat on
repeat off
antialias on
pen upright 7 color #ffffff
move 80,80
line 500,400
antialias off
)";

/// The same by the context.
void DrawEverything(PQelDraw &canvas, PQel &photo, PQel &grays, PQel &mask) {
  const auto points = [](std::initializer_list<POINT> list) { return std::vector<POINT>(list); };
  const auto move = [&](LONG x, LONG y) {
    POINT p = {x, y};
    canvas.MoveTo(&p);
  };
  const auto line = [&](LONG x, LONG y) {
    POINT p = {x, y};
    EXPECT_TRUE(canvas.LineTo(&p));
  };
  ASSERT_TRUE(PPen::LoadShapeLibrary(&grays, 16));
  PQel colours, footprint;
  ASSERT_TRUE(colours.CreateImage(1, 4, 4, 0, nullptr, 3780, 3780, 1, 0, 0) && colours.RescaleImage(&photo));
  ASSERT_TRUE(footprint.CreateImage(5, 12, 12, 0, nullptr, 3780, 3780, 1, 0, 0) && footprint.RescaleImage(&grays));

  PPen soft, tile, square, slash, own, flat, upright;
  soft.SetShape(0, 9), soft.SetFeather(100), soft.ChangeColor(RGB(0x20, 0x30, 0x40));
  soft.SetSpacing(0.5), soft.SetLineStyle(2);
  canvas.SelectPen(&soft);
  move(5, 5), line(60, 12), line(20, 50);
  soft.SetLineStyle(0), soft.SetFeather(30), soft.ChangeColor(RGB(0xC0, 0x20, 0x10));
  std::vector<POINT> way = points({{3, 60}, {40, 30}, {80, 66}});
  EXPECT_TRUE(canvas.DrawPolyLine(way.data(), 3));
  EXPECT_TRUE(tile.SetShape(11, 11) && tile.ChangeColor(RGB(0x11, 0xAA, 0x33)));
  PPointArray dabs;
  dabs.Add(10, 10), dabs.Add(30, 40), dabs.Add(85, 66);
  canvas.SelectPen(&tile);
  EXPECT_TRUE(canvas.DoStroke(&dabs, &tile));
  EXPECT_TRUE(square.SetShape(1, 4) && square.SetColorImage(&colours));
  canvas.SelectPen(&square);
  EXPECT_TRUE(canvas.DrawPixel(50, 20));
  RECT frame = {2, 2, 42, 32}, ring = {30, 20, 80, 65};
  canvas.FrameRect(&frame);
  EXPECT_TRUE(slash.SetShape(2, 15));  // from the bottom left to the top right
  canvas.SelectPen(&slash);
  EXPECT_TRUE(canvas.DrawPixel(70, 60));
  EXPECT_TRUE(own.SetShapeImage(&footprint));
  canvas.SelectPen(&own);
  EXPECT_TRUE(canvas.FrameEllipse(&ring) && canvas.FrameEllipse(nullptr));
  EXPECT_TRUE(flat.SetShape(4, 5) && flat.ChangeColor(RGB(0, 0, 255)));
  canvas.SelectPen(&flat);
  PBrush hatch, pattern, solid;
  EXPECT_TRUE(hatch.SetStyle(3) && hatch.SetColors(RGB(255, 0, 0), RGB(255, 255, 0)) && hatch.SetOrigin(3, -2));
  canvas.SelectBrush(&hatch);
  std::vector<POINT> corners = points({{50, 2}, {85, 10}, {70, 40}, {40, 25}, {50, 2}});
  canvas.FillPolygon(corners.data(), 4);
  canvas.SelectPen(nullptr);
  canvas.Update();

  PShield shield;
  shield.SetRule(0, 1, RGB(0, 0, 255), 0), shield.SetRule(1, 2, RGB(255, 0, 0), 20);
  shield.SetRule(2, 3, 120, 30), shield.SetRule(3, 4, 250, 5);
  canvas.SelectShield(&shield);
  EXPECT_TRUE(pattern.SetPattern(&photo) && pattern.SetOrigin(1, 1));
  canvas.SelectBrush(&pattern);
  RECT rect = {10, 40, 70, 60}, ellipse = {20, 5, 80, 65};
  EXPECT_TRUE(canvas.FillRect(&rect));
  canvas.Update();
  PTexture texture;
  EXPECT_TRUE(texture.SetTexture(&grays));
  canvas.SelectTexture(&texture);
  canvas.SelectMask(&mask);
  EXPECT_TRUE(canvas.FillEllipse(&ellipse));
  canvas.Update();
  canvas.SelectTexture(nullptr);
  EXPECT_TRUE(solid.SetColors(RGB(0x80, 0x40, 0xC0), 0));
  canvas.SelectBrush(&solid);
  EXPECT_TRUE(canvas.FillTriangle({0, 69}, {45, 35}, {89, 69}));
  canvas.Update();
  PQelDraw source;
  ASSERT_TRUE(source.GenerateImage(&photo, 1, 0, 0));
  EXPECT_TRUE(canvas.BitBlt(60, -5, 20, 25, &source, 2, 3));
  canvas.SelectMask(nullptr);
  canvas.SelectShield(nullptr);
  EXPECT_TRUE(canvas.FloodFill({1, 1}, 40, nullptr) && canvas.FloodFill({88, 1}, 255, &mask));
  RECT beyond = {-5, 60, 15, 80};
  canvas.SetRepeat(7, 3);
  EXPECT_TRUE(canvas.FillRect(&beyond));
  canvas.EnableRepeat(0);
  canvas.EnableAntiAlias(1);
  EXPECT_TRUE(upright.SetShape(5, 7) && upright.ChangeColor(RGB(255, 255, 255)));
  canvas.SelectPen(&upright);
  move(80, 80), line(500, 400);
  canvas.SelectPen(nullptr);
}

TEST(DrawVerb, DrawsWhatTheContextDraws) {
  const test::Scratch scratch;
  test::SaveRandom(scratch / "in.bmp", 1, kWidth, kHeight, 1);
  test::SaveRandom(scratch / "photo.bmp", 1, 31, 29, 2);
  test::SaveRandom(scratch / "grays.bmp", 5, 48, 17, 3);
  test::SaveRandom(scratch / "mask.bmp", 5, kWidth, kHeight, 4);
  const auto outcome = Draw(scratch, scratch / "in.bmp", kEverything);
  ASSERT_EQ(outcome.status, 0) << outcome.err;

  PQel photo, grays, mask;
  PQelDraw canvas;
  ASSERT_TRUE(canvas.OpenDIBImage((scratch / "in.bmp").c_str()) && mask.OpenDIBImage((scratch / "mask.bmp").c_str()));
  ASSERT_TRUE(photo.OpenDIBImage((scratch / "photo.bmp").c_str()) &&
              grays.OpenDIBImage((scratch / "grays.bmp").c_str()));
  canvas.Validate();
  DrawEverything(canvas, photo, grays, mask);
  canvas.EnableAntiAlias(0);
  EXPECT_TRUE(Load(scratch / "out.bmp", 1) == PixelsOf(canvas));
}

TEST(DrawVerb, TakesColoursAndPicturesToEveryType) {
  const test::Scratch scratch;
  test::SaveRandom(scratch / "photo.bmp", 1, 20, 20);
  constexpr const char *kTypes[10] = {"mono", "rgb", "16", "256", "gray16", "gray256", "555", "565", "32", "48"};
  for (int type = 0; type < 10; ++type) {
    const auto outcome = Draw(scratch, std::string("new:40x30:") + kTypes[type] + ":#000000",
                              "brush solid #ffffff\nrect 4,4,10,10\npen square 3 color #ffffff\ndot 30,20\n"
                              "brush hatch 5 #ffffff #000000\nellipse 15,2,9,9\ncopy photo.bmp 20,25\n"
                              "brush pattern photo.bmp\nrect 0,25,10,5\n");
    ASSERT_EQ(outcome.status, 0) << kTypes[type] << outcome.err;
    PQel drawn;
    ASSERT_TRUE(drawn.OpenDIBImage((scratch / "out.bmp").c_str()));
    EXPECT_EQ(drawn.GetImageType(), type);
    for (const POINT &white : {POINT{4, 4}, POINT{13, 13}, POINT{30, 20}})
      EXPECT_EQ(drawn.GetPixelBGR(white.x, white.y), 0xFFFFFFu) << kTypes[type];
    for (const POINT &black : {POINT{3, 4}, POINT{14, 13}, POINT{33, 20}})
      EXPECT_EQ(drawn.GetPixelBGR(black.x, black.y), 0u) << kTypes[type];
  }
}

TEST(DrawVerb, UndoesToTheMarkAndDoesAgain) {
  const test::Scratch scratch;
  const std::string in = scratch / "in.bmp", red = "brush solid #ff0000\nrect 0,0,9,9\n",
                    blue = "brush solid #0000ff\nrect 5,5,60,60\n";
  test::SaveRandom(in, 1, kWidth, kHeight);
  const auto drawn = [&](const std::string &script) {
    const auto outcome = Draw(scratch, in, script);
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    return Load(scratch / "out.bmp", 1);
  };
  EXPECT_TRUE(drawn(red + blue + "undo\n") == Load(in, 1));
  EXPECT_TRUE(drawn(red + "mark\n" + blue + "undo\n") == drawn(red));
  EXPECT_TRUE(drawn(red + "mark\n" + blue + "undo\nredo\n") == drawn(red + blue));
  EXPECT_TRUE(drawn(red + "undo\n" + blue + "undo\nredo\n") == drawn(blue));
  // a shield follows what undo brings back: red is protected only while it is there
  EXPECT_TRUE(drawn("shield color #ff0000\n" + red + "undo\n" + blue) == drawn(blue));
}

TEST(DrawVerb, TellsTheLineAndTheReason) {
  const test::Scratch scratch;
  const std::string in = scratch / "in.bmp";
  test::SaveRandom(in, 1, kWidth, kHeight);
  test::SaveRandom(scratch / "small.bmp", 5, 8, 8);
  const std::vector<std::pair<std::string, std::string>> cases = {
      {"circle 1,2", "'circle' is no command"},
      {"pen round", "the size is missing"},
      {"pen blob 3", "'blob' is no shape: round, square, slash, backslash, flat, upright or tile:N"},
      {"pen tile:3 9", "the library of shapes has no such tile"},
      {"pen round 2049", "the size is '2049', not a whole number from 1 to 2048"},
      {"pen round 3 spacing nan", "the spacing is 'nan', not a number from 0.01 to 100"},
      {"pen round 3 hue 9", "'hue' is no option of pens: feather, color, spacing, style, image or footprint"},
      {"pen round 3 color #12345", "a colour is missing"},
      {"pen round 3 color red", "'red' is no colour such as #ff8000"},
      {"move 1,2", "there is no pen; 'pen round 1' takes one"},
      {"line 1,2", "there is no pen; 'pen round 1' takes one"},
      {"rect all", "there is no brush; 'brush solid #000000' takes one"},
      {"move 1;2", "'1;2' is not a point X,Y"},
      {"move 1,2,3", "'1,2,3' is not a point X,Y"},
      {"move 1000001,2", "'1000001,2' lies beyond 1000000"},
      {"move 99999999999999999999,2", "'99999999999999999999,2' lies beyond 1000000"},
      {"move 1,2 3,4", "'3,4' is one word too many"},
      {"rect 1,2,0,4", "'1,2,0,4' has no width or no height"},
      {"polygon 1,2 3,4", "a point X,Y is missing"},
      {"triangle 1,2 3,4 5,6 7,8", "a triangle has three corners"},
      {"brush wet #000000", "'wet' is no brush: solid, hatch or pattern"},
      {"brush hatch 6 #000000 #ffffff", "the hatch is '6', not a whole number from 0 to 5"},
      {"shield hue 361 1", "the hue is '361', not a whole number from 0 to 360"},
      {"shield color #000000 color #000001 color #000002 color #000003 color #000004 color #000005 color #000006 "
       "color #000007 color #000008 color #000009 color #00000a",
       "a shield has ten rules at most"},
      {"copy nowhere.bmp 1,1", scratch / "nowhere.bmp: No such file or directory"},
      {"mask small.bmp", "the mask has 8 x 8 pixels, not those of the picture"},
      {"brush solid #000000\nfill 1,1 reference small.bmp", "the reference is not as large as the picture"},
      {"pen round 3 footprint small.bmp\ncolor #ffffff",
       "this pen has a footprint of its own, which keeps its feather and colour"},
      {"repeat on\nbrush solid #000000\nrect -1000000,-1000000,1000000,1000000",
       "this takes more than 2000000000 pixels"},
      {"copy \"small.bmp 1,1", "a quotation mark is not closed"},
      {"redo", "nothing was undone"},
      {"undo\nundo", "this is undone already"},
      {"mo\x01ve 1,2", "'mo?ve' is no command"},
  };
  for (const auto &[wrong, reason] : cases) {
    const auto outcome = Draw(scratch, in, "# first\n\n" + wrong + "\n");
    const long line = 3 + std::count(wrong.begin(), wrong.end(), '\n');
    EXPECT_EQ(outcome.status, 1) << wrong;
    EXPECT_EQ(outcome.err, "qel: " + (scratch / "s.txt:") + std::to_string(line) + ": " + reason + "\n");
    EXPECT_FALSE(std::filesystem::exists(scratch / "out.bmp")) << wrong;
  }
  for (const char *canvas : {"new:", "new:0x5", "new:5", "new:5x5:rgb:#fff", "new:5x5:9", "new:5x5:rgb:#ffffff:1"})
    EXPECT_EQ(Draw(scratch, canvas, "").status, 2) << canvas;
}

}  // namespace

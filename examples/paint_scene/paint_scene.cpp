// Paints an evening on a meadow with every drawing tool and saves it: paint_scene OUT.bmp
//
// Pens stroke, brushes fill; textures, shields and masks keep their colours away from some of the pixels.
#include <qel/qel.h>

#include <cstdio>
#include <cstdlib>
#include <functional>
#include <vector>

namespace {

constexpr long kWidth = 480, kHeight = 300, kHorizon = 180;

void Require(int result, const char *what) {
  if (result) return;
  std::fprintf(stderr, "paint_scene: %s failed\n", what);
  std::exit(1);
}

unsigned char Byte(double v) {
  return static_cast<unsigned char>(v < 0 ? 0 : v > 255 ? 255 : v);
}

/// A canvas of 24-bit colour, or an image of weights (type 5): 0 takes a tool's colour, 255 keeps what is there.
void Create(PQel &image, int type, long width, long height) {
  Require(image.CreateImage(type, width, height, 0, nullptr, 3780, 3780, 1, 0, 0), "creating an image");
}

void SetWeights(PQel &image, long width, long height, const std::function<double(long x, long y)> &weight) {
  Create(image, 5, width, height);
  std::vector<unsigned char> row(image.GetLineBytes());
  for (long y = 0; y < height; ++y) {
    for (long x = 0; x < width; ++x) row[x] = Byte(weight(x, y));
    Require(image.PutHorLine(y, row.data()), "writing weights");
  }
}

/// A brush whose pattern is a picture: the sky, from dark blue to the glow above the horizon.
void PaintSky(PQelDraw &canvas) {
  PQel sky;
  Create(sky, 1, 8, kHeight);
  std::vector<unsigned char> row(sky.GetLineBytes());
  for (long y = 0; y < kHeight; ++y) {
    const double t = static_cast<double>(y) / kHorizon;
    for (long x = 0; x < 8; ++x)
      row[3 * x] = Byte(130 - 30 * t), row[3 * x + 1] = Byte(60 + 110 * t), row[3 * x + 2] = Byte(50 + 200 * t);
    Require(sky.PutHorLine(y, row.data()), "writing the sky");
  }
  PBrush brush;
  brush.SetPattern(&sky);
  canvas.SelectBrush(&brush);
  Require(canvas.FillRect(nullptr), "the sky");
}  // the brush leaves the canvas by itself

/// A soft pen for the glow, a hard one for the disc, and a dashed ring.
void PaintSun(PQelDraw &canvas) {
  PPen glow, disc, ray;
  glow.SetShape(0, 180);
  glow.SetFeather(255);
  glow.ChangeColor(canvas.GetColorRef(RGB(255, 225, 130)));
  canvas.SelectPen(&glow);
  canvas.DrawPixel(350, 120);
  disc.SetShape(0, 56);
  disc.ChangeColor(canvas.GetColorRef(RGB(255, 245, 200)));
  canvas.SelectPen(&disc);
  canvas.DrawPixel(350, 120);
  ray.SetShape(0, 4);
  ray.SetLineStyle(2);
  ray.ChangeColor(canvas.GetColorRef(RGB(255, 240, 180)));
  canvas.SelectPen(&ray);
  RECT ring = {310, 80, 390, 160};
  Require(canvas.FrameEllipse(&ring), "the ring");
}

/// Polygons for the hills, an ellipse in front of them, a hatch for the field.
void PaintLand(PQelDraw &canvas) {
  PBrush brush;
  canvas.SelectBrush(&brush);
  brush.SetColors(canvas.GetColorRef(RGB(88, 92, 130)), 0);
  POINT hills[] = {{0, 190},   {0, 150},   {70, 105},  {130, 150}, {200, 120},
                   {290, 170}, {380, 135}, {479, 175}, {479, 190}, {0, 190}};
  canvas.FillPolygon(hills, 9);
  brush.SetColors(canvas.GetColorRef(RGB(74, 122, 64)), 0);
  RECT meadow = {-120, kHorizon - 25, 600, 430};
  Require(canvas.FillEllipse(&meadow), "the meadow");

  PBrush furrows;
  furrows.SetColors(canvas.GetColorRef(RGB(120, 96, 50)), canvas.GetColorRef(RGB(152, 124, 66)));
  furrows.SetStyle(2);
  canvas.SelectBrush(&furrows);
  Require(canvas.FillTriangle({479, 190}, {479, 262}, {300, 190}), "the field");
}

/// A texture lets a second green through here and there only.
void PaintGrass(PQelDraw &canvas) {
  PQel blades;
  SetWeights(blades, 61, 53, [](long x, long y) {
    unsigned n = static_cast<unsigned>(x) * 374761393u + static_cast<unsigned>(y / 4) * 668265263u;
    n = (n ^ n >> 13) * 1274126177u;
    return (n >> 16) % 10 < 3 ? 90 : 255;
  });
  PTexture texture;
  texture.SetTexture(&blades);
  canvas.SelectTexture(&texture);
  // The shield holds the field and the hills: only the meadow's own green takes the colour.
  PShield shield;
  shield.SetRule(0, 2, RGB(136, 110, 58), 24);
  shield.SetRule(1, 2, RGB(88, 92, 130), 4);
  canvas.SelectShield(&shield);
  PBrush brush;
  brush.SetColors(canvas.GetColorRef(RGB(150, 190, 80)), 0);
  canvas.SelectBrush(&brush);
  RECT ground = {0, kHorizon + 12, kWidth, kHeight};
  Require(canvas.FillRect(&ground), "the grass");
  canvas.Update();
}

/// Rectangles, a triangle, frames; the panes are filled between their bars from a seed.
void PaintHouse(PQelDraw &canvas) {
  PBrush brush;
  canvas.SelectBrush(&brush);
  const auto fill = [&](RECT area, COLORREF color) {
    brush.SetColors(canvas.GetColorRef(color), 0);
    Require(canvas.FillRect(&area), "a wall");
  };
  fill({90, 170, 190, 235}, RGB(232, 222, 200));
  brush.SetColors(canvas.GetColorRef(RGB(150, 50, 40)), 0);
  Require(canvas.FillTriangle({78, 171}, {140, 122}, {202, 171}), "the roof");
  fill({154, 192, 176, 235}, RGB(90, 60, 40));

  PPen bar;
  bar.SetShape(1, 3);
  bar.ChangeColor(canvas.GetColorRef(RGB(70, 50, 40)));
  canvas.SelectPen(&bar);
  RECT window = {102, 184, 140, 216};
  canvas.FrameRect(&window);
  canvas.DrawLine(121, 186, 121, 214);
  brush.SetColors(canvas.GetColorRef(RGB(255, 214, 90)), 0);
  Require(canvas.FloodFill({110, 200}, 10, nullptr) && canvas.FloodFill({130, 200}, 10, nullptr), "the panes");
}

/// A tree on a context of its own, whose mask tells what of it is copied.
void PlantTrees(PQelDraw &canvas) {
  PQelDraw tree;
  Create(tree, 1, 50, 80);
  PPen crown, trunk;
  crown.SetShape(0, 24);
  crown.SetFeather(80);
  trunk.SetShape(1, 7);
  PQel mask;  // what of it is copied: strokes with soft edges, in white on black
  PQelDraw outline;
  Create(outline, 5, 50, 80);
  Require(tree.Clear(tree.GetColorRef(RGB(40, 84, 50))) && outline.Clear(0), "clearing");
  PPointArray leaves;
  for (const POINT &at : {POINT{25, 14}, POINT{14, 26}, POINT{36, 27}, POINT{25, 34}, POINT{17, 42}, POINT{34, 42}})
    leaves.Add(at.x, at.y);
  trunk.ChangeColor(tree.GetColorRef(RGB(84, 58, 38)));
  tree.SelectPen(&trunk);
  tree.DrawLine(25, 50, 25, 76);
  tree.SelectPen(nullptr);  // a pen serves one depth at a time
  trunk.ChangeColor(255);
  outline.SelectPen(&trunk);
  outline.DrawLine(25, 50, 25, 76);
  crown.ChangeColor(255);
  Require(outline.DoStroke(&leaves, &crown), "the crown");
  Require(mask.GenerateImage(&outline, 1, 0, 0), "the mask");
  tree.SelectMask(&mask);
  for (const POINT &at : {POINT{24, 138}, POINT{212, 150}, POINT{258, 142}, POINT{420, 150}})
    Require(canvas.BitBlt(at.x, at.y, 50, 80, &tree, 0, 0), "a tree");
  tree.SelectMask(nullptr);
}

/// Pens with a picture of colours, from the library of shapes, and flat ones; a dashed way.
void PaintDetails(PQelDraw &canvas) {
  PPen way;
  way.SetShape(4, 16);
  way.SetSpacing(1.0 / 16);
  way.ChangeColor(canvas.GetColorRef(RGB(200, 180, 130)));
  canvas.SelectPen(&way);
  POINT bends[] = {{165, 236}, {190, 254}, {180, 276}, {215, 310}};
  Require(canvas.DrawPolyLine(bends, 4), "the way");

  PQel tiles, petals;  // a flower: four petals around a hole
  SetWeights(tiles, 32, 32, [](long x, long y) {
    const double u = x - 15.5, v = y - 15.5, far = u * u + v * v;
    return far > 20 && far < 230 && u * u * v * v > 9 * far ? 0.0 : 255.0;
  });
  Require(PPen::LoadShapeLibrary(&tiles, 32), "the library of shapes");
  Create(petals, 1, 13, 13);
  std::vector<unsigned char> row(petals.GetLineBytes());
  for (long y = 0; y < 13; ++y) {
    for (long x = 0; x < 13; ++x)
      row[3 * x] = Byte(60 + 14 * x), row[3 * x + 1] = Byte(60 + 8 * y), row[3 * x + 2] = 250;
    Require(petals.PutHorLine(y, row.data()), "writing petals");
  }
  PPen flower;
  flower.SetShape(10, 13);
  flower.SetColorImage(&petals);
  PPointArray flowers;
  for (long i = 0; i < 26; ++i) flowers.Add(8 + i * 97 % 460, 246 + i * 61 % 48);
  Require(canvas.DoStroke(&flowers, &flower), "the flowers");

  PPen wing;
  wing.ChangeColor(canvas.GetColorRef(RGB(40, 36, 60)));
  for (const POINT &at : {POINT{190, 60}, POINT{216, 48}, POINT{240, 66}})
    for (const int shape : {2, 3}) {
      wing.SetShape(shape, 12);
      canvas.SelectPen(&wing);
      canvas.DrawPixel(shape == 3 ? at.x - 4 : at.x + 4, at.y);
    }
}

/// A mask darkens the corners; a stroke too many is taken back.
void Finish(PQelDraw &canvas) {
  PQel corners;
  SetWeights(corners, kWidth, kHeight, [](long x, long y) {
    const double u = 2.0 * x / kWidth - 1, v = 2.0 * y / kHeight - 1;
    return 255 - 110 * (u * u * u * u + v * v * v * v);
  });
  canvas.SelectMask(&corners);
  PBrush dark;
  dark.SetColors(canvas.GetColorRef(RGB(20, 10, 40)), 0);
  canvas.SelectBrush(&dark);
  Require(canvas.FillRect(nullptr), "the corners");
  canvas.SelectMask(nullptr);

  Require(canvas.EnableUndo(1), "the snapshot");
  PPen slip;
  slip.SetShape(0, 40);
  canvas.SelectPen(&slip);
  canvas.DrawLine(0, 0, kWidth, kHeight);
  Require(canvas.DoUndo(), "taking back");
}

}  // namespace

int main(int argc, char **argv) {
  if (argc != 2) return std::fputs("usage: paint_scene OUT.bmp\n", stderr), 2;
  PQelDraw canvas;
  Create(canvas, 1, kWidth, kHeight);
  PaintSky(canvas);
  PaintSun(canvas);
  PaintLand(canvas);
  PaintGrass(canvas);
  PaintHouse(canvas);
  PlantTrees(canvas);
  PaintDetails(canvas);
  Finish(canvas);
  Require(canvas.SaveDIB(argv[1], 0), "saving");
  std::printf("%s: %ld x %ld pixels\n", argv[1], canvas.GetImageWidth(), canvas.GetImageHeight());
}

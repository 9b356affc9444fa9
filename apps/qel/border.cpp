// qel border IN and qel bounds IN: the border pixels of the dark parts of a picture, and the rectangle around them.
#include <cstdio>
#include <memory>
#include <string>

#include "apps/qel/failure.h"
#include "apps/qel/picture_file.h"
#include "apps/qel/recolour.h"
#include "apps/qel/steps.h"
#include "apps/qel/verbs.h"
#include "qel/draw/point_array.h"

namespace app {
namespace {

struct Options {
  Course course;
  std::string drawing;  // file for the picture with its border; none: the points as text
  int threshold = 127;
};

constexpr long long kRed = 0xFF0000;

BYTE Threshold(const Options &options) {
  return static_cast<BYTE>(options.threshold);
}

void DrawBorder(PPointArray &points, Picture picture, const Options &options) {
  if (picture->GetImageType() != 1) picture = ChangeType(*picture, 1, {}, options.course);
  POINT point;
  for (points.SetReadPos(0); points.GetNext(&point);) picture->SetPixel(point.x, point.y, kRed);
  WritePicture(*picture, options.drawing);
}

int RunBorder(const Options &options) {
  Picture picture = Read(options.course);
  PPointArray points;
  Require(picture->FindBorder(&points, Threshold(options), nullptr, 1), options.course);
  if (!options.drawing.empty()) {
    DrawBorder(points, std::move(picture), options);
    return 0;
  }
  POINT point;
  for (points.SetReadPos(0); points.GetNext(&point);)
    std::printf("%ld %ld\n", static_cast<long>(point.x), static_cast<long>(point.y));
  return 0;
}

int RunBounds(const Options &options) {
  Picture picture = Read(options.course);
  RECT rc = {};
  if (!picture->FindBoundaryRect(&rc, Threshold(options)))
    throw Failure(options.course.path,
                  "no two columns and rows of pixels at or below " + std::to_string(options.threshold));
  std::printf("%ld,%ld,%ld,%ld\n", static_cast<long>(rc.left), static_cast<long>(rc.top),
              static_cast<long>(rc.right) - rc.left, static_cast<long>(rc.bottom) - rc.top);
  return 0;
}

CLI::App *AddSearch(CLI::App &app, const char *name, const char *help, Options &options) {
  CLI::App *verb = app.add_subcommand(name, help);
  verb->add_option("IN", options.course.path, "picture to read")->required();
  verb->add_option("--threshold", options.threshold, "gray level up to which a pixel belongs to a shape (default: 127)")
      ->check(CLI::Range(0, 255))
      ->type_name("N");
  AddKeepingOptions(*verb, options.course.keeping);
  return verb;
}

}  // namespace

void AddBorder(CLI::App &app, int &status) {
  auto options = std::make_shared<Options>();
  CLI::App *verb = AddSearch(app, "border", "Lists the pixels (x y) of dark shapes that touch a lighter one", *options);
  verb->add_option("--draw", options->drawing, "picture to write instead: the picture with the border in red");
  verb->callback([options, &status] { status = RunBorder(*options); });
}

void AddBounds(CLI::App &app, int &status) {
  auto options = std::make_shared<Options>();
  CLI::App *verb =
      AddSearch(app, "bounds",
                "Tells the rectangle of the dark pixels as left,top,width,height, with a row to spare above "
                "and below",
                *options);
  verb->callback([options, &status] { status = RunBounds(*options); });
}

}  // namespace app

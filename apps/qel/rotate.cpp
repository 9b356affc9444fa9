// qel rotate IN OUT DEGREES: turns a picture by any angle, in true colour, or in 256 grays when the picture has grays.
#include <memory>
#include <optional>
#include <string>

#include "apps/qel/colours.h"
#include "apps/qel/numbers.h"
#include "apps/qel/picture_file.h"
#include "apps/qel/recolour.h"
#include "apps/qel/steps.h"
#include "apps/qel/verbs.h"

namespace app {
namespace {

struct Background {
  bool edge = false;  // the picture's edge pixels go on
  DWORD colour = 0xFFFFFF;
};

struct Options {
  Course course;
  std::string output;
  int degrees = 0;
  int samples = 4;
  Background background;
};

Background ParseBackground(const std::string &option, const std::string &text) {
  if (text == "edge") return {true, 0};
  const auto colour = ParseColour(text);
  if (!colour) throw CLI::ValidationError(option, "'" + text + "' is neither a colour such as ff8000 nor edge");
  return {false, *colour};
}

int Red(DWORD colour) {
  return colour >> 16 & 0xFF;
}
int Green(DWORD colour) {
  return colour >> 8 & 0xFF;
}
int Blue(DWORD colour) {
  return colour & 0xFF;
}

int RotateInto(PQel &made, PQel &picture, const Options &options) {
  const DWORD colour = options.background.colour;
  const int degrees = options.degrees, samples = options.samples;
  if (options.background.edge) return made.Rotate24bitImage(&picture, degrees, samples);
  if (picture.GetImageType() == 5 && Red(colour) == Green(colour) && Green(colour) == Blue(colour))
    return made.RotateGrayImage(&picture, degrees, samples, colour & 0xFF);
  return made.Rotate24bitImage(&picture, degrees, samples, RGB(Red(colour), Green(colour), Blue(colour)));
}

int Run(const Options &options) {
  const Course &course = options.course;
  Picture picture = ToSmooth(Read(course), course);
  PQel made;
  Require(RotateInto(made, *picture, options), course);
  made.GetBIH()->biXPelsPerMeter = picture->GetBIH()->biXPelsPerMeter;
  made.GetBIH()->biYPelsPerMeter = picture->GetBIH()->biYPelsPerMeter;
  WritePicture(made, options.output);
  return 0;
}

}  // namespace

void AddRotate(CLI::App &app, int &status) {
  auto options = std::make_shared<Options>();
  CLI::App *verb = app.add_subcommand(
      "rotate", "Turns a picture by any angle into a larger one, in true colour (256 grays for pictures of grays)");
  AddFiles(*verb, options->course, options->output);
  verb->add_option("DEGREES", options->degrees, "whole degrees, counter-clockwise; clockwise below 0")->required();
  verb->add_option("--samples", options->samples,
                   "points of the picture that each pixel averages, along each axis: 1 (hard edges) to 256; default: 4")
      ->check(CLI::Range(1, 256))
      ->type_name("N");
  AddParsed(*verb, "--background", options->background,
            "colour of the corners (default: ffffff), or edge: the picture's edge pixels go on", ParseBackground)
      ->type_name("RRGGBB|edge");
  AddKeepingOptions(*verb, options->course.keeping);
  verb->callback([options, &status] { status = Run(*options); });
}

}  // namespace app

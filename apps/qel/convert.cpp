// qel convert IN OUT: reads a picture into a store and layout, does to it what the options ask for, in the order crop,
// type, invert, tile, and writes it from there.
#include <memory>
#include <optional>
#include <string>

#include "apps/qel/numbers.h"
#include "apps/qel/picture_file.h"
#include "apps/qel/steps.h"
#include "apps/qel/type_options.h"
#include "apps/qel/verbs.h"

namespace app {
namespace {

struct Options {
  Course course;
  std::string output;
  std::optional<RECT> crop;
  TypeChoice type;
  bool invert = false;
  std::optional<SIZE> tile;
  POINT periods{0, 0};
  bool topDown = false;
};

int Run(Options &options) {
  Complete(options.type);
  const Course &course = options.course;
  Picture picture = Read(course);
  if (options.crop) picture = Crop(*picture, *options.crop, course);
  ApplyType(picture, options.type, course);
  if (options.invert) Negate(*picture, course);
  if (options.tile) picture = Tile(*picture, *options.tile, options.periods, course);
  if (options.topDown && picture->GetBIH()->biHeight > 0) picture = TurnStorage(*picture, course);
  WritePicture(*picture, options.output);
  return 0;
}

void AddStepOptions(CLI::App &verb, Options &options) {
  AddParsed(verb, "--crop", options.crop, "keep this part of the picture: left, top, width, height", ParseArea)
      ->type_name("X,Y,W,H");
  AddTypeOptions(verb, options.type);
  verb.add_flag("--invert", options.invert, "make the negative");
  CLI::Option *tile = AddParsed(verb, "--tile", options.tile, "tile the picture over a canvas of this size", ParseBox)
                          ->type_name("WxH");
  AddParsed(verb, "--shift", options.periods,
            "shift the tiles by X columns every Y rows and by Y rows every X columns (0: the picture's own size)",
            [](const std::string &name, const std::string &text) {
              const auto n = ParseNumbers(name, text, ',', 2, 0);
              return POINT{n[0], n[1]};
            })
      ->type_name("X,Y")
      ->needs(tile);
}

}  // namespace

void AddConvert(CLI::App &app, int &status) {
  auto options = std::make_shared<Options>();
  CLI::App *verb =
      app.add_subcommand("convert", "Writes a picture again: another part, type, palette, negative or tiling of it");
  AddFiles(*verb, options->course, options->output);
  AddStepOptions(*verb, *options);
  AddKeepingOptions(*verb, options->course.keeping);
  verb->add_flag("--top-down", options->topDown, "store the top row first");
  verb->callback([options, &status] { status = Run(*options); });
}

}  // namespace app

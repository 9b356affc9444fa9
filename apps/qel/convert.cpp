// qel convert IN OUT: reads a picture into a store and layout, does to it what the options ask for, in the order crop,
// type, invert, tile, and writes it from there.
#include <map>
#include <memory>
#include <optional>
#include <string>

#include "apps/qel/numbers.h"
#include "apps/qel/picture_file.h"
#include "apps/qel/steps.h"
#include "apps/qel/verbs.h"

namespace app {
namespace {

struct Options {
  std::string input, output;
  Keeping keeping;
  std::optional<RECT> crop;
  std::optional<int> type;
  bool invert = false;
  std::optional<SIZE> tile;
  POINT periods{0, 0};
  bool topDown = false;
};

int Run(const Options &options) {
  const Course course{options.input, options.keeping};
  auto picture = std::make_unique<PQel>();
  ReadPicture(options.input, *picture, options.keeping);
  if (options.crop) picture = Crop(*picture, *options.crop, course);
  if (options.type && *options.type != picture->GetImageType()) picture = ChangeType(*picture, *options.type, course);
  if (options.invert) Negate(*picture, course);
  if (options.tile) picture = Tile(*picture, *options.tile, options.periods, course);
  if (options.topDown && picture->GetBIH()->biHeight > 0) picture = TurnStorage(*picture, course);
  WritePicture(*picture, options.output);
  return 0;
}

/// An option whose text is read into `target` by `parse` while the command line is parsed.
template <class Target, class Parse>
CLI::Option *AddParsed(CLI::App &verb, const std::string &name, Target &target, const std::string &help, Parse parse) {
  return verb.add_option_function<std::string>(
      name, [&target, name, parse](const std::string &text) { target = parse(name, text); }, help);
}

void AddStepOptions(CLI::App &verb, Options &options) {
  AddParsed(verb, "--crop", options.crop, "keep this part of the picture: left, top, width, height",
            [](const std::string &name, const std::string &text) {
              const auto n = ParseNumbers(name, text, ',', 4, 0);
              const auto end = [](LONG start, LONG size) {
                LONG sum = 0;
                return __builtin_add_overflow(start, size, &sum) ? INT32_MAX : sum;
              };
              return RECT{n[0], n[1], end(n[0], n[2]), end(n[1], n[3])};
            })
      ->type_name("X,Y,W,H");
  const std::map<std::string, int> types{{"mono", 0},    {"rgb", 1}, {"16", 2},  {"256", 3}, {"gray16", 4},
                                         {"gray256", 5}, {"555", 6}, {"565", 7}, {"32", 8},  {"48", 9}};
  AddParsed(verb, "--type", options.type,
            "image type of the result: mono, rgb, 16, 256, gray16, gray256, 555, 565, 32 or 48",
            [types](const std::string &name, const std::string &text) {
              const auto found = types.find(text);
              if (found == types.end()) throw CLI::ValidationError(name, "there is no image type '" + text + "'");
              return found->second;
            })
      ->type_name("TYPE");
  verb.add_flag("--invert", options.invert, "make the negative");
  CLI::Option *tile = AddParsed(verb, "--tile", options.tile, "tile the picture over a canvas of this size",
                                [](const std::string &name, const std::string &text) {
                                  const auto n = ParseNumbers(name, text, 'x', 2, 1);
                                  return SIZE{n[0], n[1]};
                                })
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
      app.add_subcommand("convert", "Writes a picture again: another part, type, negative or tiling of it");
  verb->add_option("IN", options->input, "BMP file to read")->required();
  verb->add_option("OUT", options->output, "BMP file to write; may be IN")->required();
  AddStepOptions(*verb, *options);
  AddKeepingOptions(*verb, options->keeping);
  verb->add_flag("--top-down", options->topDown, "store the top row first");
  verb->callback([options, &status] { status = Run(*options); });
}

}  // namespace app

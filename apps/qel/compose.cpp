// qel compose BASE LAYER MASK OUT: lays one picture over another through a mask.
#include <algorithm>
#include <memory>
#include <string>

#include "apps/qel/numbers.h"
#include "apps/qel/picture_file.h"
#include "apps/qel/recolour.h"
#include "apps/qel/steps.h"
#include "apps/qel/verbs.h"

namespace app {
namespace {

struct Options {
  Course base, layer, mask;
  std::string output;
  POINT at{0, 0};
};

POINT ParsePlace(const std::string &option, const std::string &text) {
  const auto n = ParseNumbers(option, text, ',', 2, INT32_MIN);
  return {n[0], n[1]};
}

/// The picture in a type; a picture that has it is passed on.
Picture InType(Picture picture, int type, const Course &course) {
  return picture->GetImageType() == type ? std::move(picture) : ChangeType(*picture, type, {}, course);
}

bool IsColoured(PQel &picture) {
  const int type = picture.GetImageType();
  if (type == 4 || type == 5) return false;
  const Colours colours = ColoursOf(picture);
  return type != 0 || std::any_of(colours.begin(), colours.end(), [](DWORD colour) {
           return (colour & 0xFF) != (colour >> 8 & 0xFF) || (colour & 0xFF) != (colour >> 16 & 0xFF);
         });
}

int Run(const Options &options) {
  Picture base = ToSmooth(Read(options.base), options.base), layer = Read(options.layer), mask = Read(options.mask);
  if (base->GetImageType() == 5 && IsColoured(*layer)) base = InType(std::move(base), 1, options.base);
  layer = InType(std::move(layer), base->GetImageType(), options.layer);
  mask = InType(std::move(mask), 5, options.mask);
  POINT at = options.at;
  Require(base->CombineImage(layer.get(), mask.get(), &at, nullptr), options.base);
  WritePicture(*base, options.output);
  return 0;
}

}  // namespace

void AddCompose(CLI::App &app, int &status) {
  auto options = std::make_shared<Options>();
  CLI::App *verb = app.add_subcommand(
      "compose",
      "Lays a picture over another through a mask: where it is black the layer shows, where it is white the base");
  verb->add_option("BASE", options->base.path, "the picture underneath")->required();
  verb->add_option("LAYER", options->layer.path, "the picture on top")->required();
  verb->add_option("MASK", options->mask.path, "the layer's mask; beyond its edges the layer is left out")->required();
  verb->add_option("OUT", options->output, "picture to write")->required();
  AddParsed(*verb, "--at", options->at, "where the layer's top left corner lies in the base (default: 0,0)", ParsePlace)
      ->type_name("X,Y");
  AddKeepingOptions(*verb, options->base.keeping);
  verb->callback([options, &status] { status = Run(*options); });
}

}  // namespace app

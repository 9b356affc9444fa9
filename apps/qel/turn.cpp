// qel turn IN OUT WAY: quarter and half turns and mirrors; every pixel stays what it is.
#include <map>
#include <memory>
#include <string>
#include <utility>

#include "apps/qel/picture_file.h"
#include "apps/qel/steps.h"
#include "apps/qel/verbs.h"

namespace app {
namespace {

struct Options {
  Course course;
  std::string output;
  std::string way;
};

using Operation = int (PQel::*)(PQel *);

int Run(const Options &options) {
  static const std::map<std::string, Operation> kInPlace = {
      {"mirror", &PQel::MirrorHorizontal}, {"flip", &PQel::MirrorVertical}, {"half", &PQel::MirrorDiagonal}};
  const Course &course = options.course;
  Picture picture = Read(course);
  if (const auto found = kInPlace.find(options.way); found != kInPlace.end()) {
    Require((picture.get()->*found->second)(nullptr), course);
  } else {
    const Operation turn = options.way == "left" ? &PQel::RotateImageLeft : &PQel::RotateImageRight;
    Picture made = MakeAlike(*picture, picture->GetImageHeight(), picture->GetImageWidth(), course);
    Require((made.get()->*turn)(picture.get()), course);
    picture = std::move(made);
  }
  WritePicture(*picture, options.output);
  return 0;
}

}  // namespace

void AddTurn(CLI::App &app, int &status) {
  auto options = std::make_shared<Options>();
  CLI::App *verb = app.add_subcommand("turn", "Turns a picture by a quarter or half, or mirrors it, without any loss");
  AddFiles(*verb, options->course, options->output);
  verb->add_option("WAY", options->way,
                   "left or right (a quarter turn), half, mirror (left to right) or flip (top to bottom)")
      ->required()
      ->check(CLI::IsMember({"left", "right", "half", "mirror", "flip"}))
      ->type_name("");
  AddKeepingOptions(*verb, options->course.keeping);
  verb->callback([options, &status] { status = Run(*options); });
}

}  // namespace app

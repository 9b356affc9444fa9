// qel mask IN OUT OUT_MASK and qel shadow IN MASK OUT OUT_MASK: masks of a key colour, and soft shadows. A mask is a
// picture of 256 grays: 0 shows the picture, 255 does not.
#include <filesystem>
#include <memory>
#include <string>

#include "apps/qel/colours.h"
#include "apps/qel/failure.h"
#include "apps/qel/numbers.h"
#include "apps/qel/picture_file.h"
#include "apps/qel/recolour.h"
#include "apps/qel/steps.h"
#include "apps/qel/verbs.h"

namespace app {
namespace {

constexpr int kMostBlur = 100;

struct Options {
  Course course;
  Course mask;  // the input of shadow
  std::string output, outputMask;
  DWORD key = 0;
  int blur = 0;
};

DWORD ParseKey(const std::string &option, const std::string &text) {
  const auto colour = ParseColour(text);
  if (!colour) throw CLI::ValidationError(option, "'" + text + "' is no colour such as ff8000");
  return *colour;
}

/// Neither file may replace the other.
void RequireTwoFiles(const Options &options) {
  std::error_code none;  // files that are not there yet are told apart by their names
  if (options.output == options.outputMask || std::filesystem::equivalent(options.output, options.outputMask, none))
    throw Failure(options.outputMask, "is the file for the picture already");
}

void Write(PQel &picture, PQel &mask, const Options &options) {
  WritePicture(picture, options.output);
  WritePicture(mask, options.outputMask);
}

int RunMask(const Options &options) {
  RequireTwoFiles(options);
  Picture picture = Read(options.course);
  PQel mask;
  Require(picture->GenerateImageMask(&mask, options.blur, options.key), options.course);
  Write(*picture, mask, options);
  return 0;
}

int RunShadow(const Options &options) {
  RequireTwoFiles(options);
  Picture picture = Read(options.course), given = Read(options.mask);
  if (given->GetImageWidth() != picture->GetImageWidth() || given->GetImageHeight() != picture->GetImageHeight())
    throw Failure(options.mask.path, "is not as large as the picture");
  Picture mask = ChangeType(*given, 5, {}, options.mask);
  Require(picture->GenerateImageMask(mask.get(), options.blur), options.course);
  Write(*picture, *mask, options);
  return 0;
}

void AddOutputs(CLI::App &verb, Options &options) {
  verb.add_option("OUT", options.output, "picture to write")->required();
  verb.add_option("OUT_MASK", options.outputMask, "its mask to write, 0 shown to 255 left out")->required();
}

CLI::Option *AddBlurOption(CLI::App &verb, Options &options, int least) {
  return verb
      .add_option("--blur", options.blur,
                  "softness of the shadow; it falls twice as many pixels down and to the right, and the picture grows")
      ->check(CLI::Range(least, kMostBlur))
      ->type_name("N");
}

}  // namespace

void AddMask(CLI::App &app, int &status) {
  auto options = std::make_shared<Options>();
  CLI::App *verb =
      app.add_subcommand("mask", "Cuts a picture out of a key colour, which becomes black: picture and mask");
  verb->add_option("IN", options->course.path, "picture to read")->required();
  AddOutputs(*verb, *options);
  AddParsed(*verb, "--key", options->key, "the colour that is left out", ParseKey)->required()->type_name("RRGGBB");
  AddBlurOption(*verb, *options, 0);
  AddKeepingOptions(*verb, options->course.keeping);
  verb->callback([options, &status] { status = RunMask(*options); });
}

void AddShadow(CLI::App &app, int &status) {
  auto options = std::make_shared<Options>();
  CLI::App *verb = app.add_subcommand("shadow", "Gives a picture and its mask a soft black shadow");
  verb->add_option("IN", options->course.path, "picture to read")->required();
  verb->add_option("MASK", options->mask.path, "its mask, black shown, white left out")->required();
  AddOutputs(*verb, *options);
  AddBlurOption(*verb, *options, 1)->required();
  AddKeepingOptions(*verb, options->course.keeping);
  verb->callback([options, &status] { status = RunShadow(*options); });
}

}  // namespace app

// qel blur IN OUT SIGMA: a Gaussian blur of a picture or a part of it.
#include <charconv>
#include <memory>
#include <optional>
#include <string>

#include "apps/qel/numbers.h"
#include "apps/qel/picture_file.h"
#include "apps/qel/recolour.h"
#include "apps/qel/steps.h"
#include "apps/qel/verbs.h"

namespace app {
namespace {

struct Options {
  Course course;
  std::string output;
  double sigma = 0;
  std::optional<RECT> area;
};

double ParseSigma(const std::string &option, const std::string &text) {
  double sigma = 0;
  const auto [next, error] = std::from_chars(text.data(), text.data() + text.size(), sigma);
  if (error != std::errc() || next != text.data() + text.size() || !(sigma >= 0.1 && sigma <= 100))
    throw CLI::ValidationError(option, "'" + text + "' is no number from 0.1 to 100");
  return sigma;
}

int Run(const Options &options) {
  const Course &course = options.course;
  Picture picture = ToSmooth(Read(course), course);
  RECT area{0, 0, static_cast<LONG>(picture->GetImageWidth()), static_cast<LONG>(picture->GetImageHeight())};
  if (options.area) area = *options.area;
  RequireInside(*picture, area, course);
  Require(picture->GaussianBlur(nullptr, options.sigma, &area), course);
  WritePicture(*picture, options.output);
  return 0;
}

}  // namespace

void AddBlur(CLI::App &app, int &status) {
  auto options = std::make_shared<Options>();
  CLI::App *verb = app.add_subcommand(
      "blur", "Blurs a picture; palette pictures become true colour, monochrome and 16-gray ones 256 grays");
  AddFiles(*verb, options->course, options->output);
  AddParsed(*verb, "SIGMA", options->sigma,
            "standard deviation of the blur in pixels, 0.1 to 100; no blur reaches further than 60 pixels", ParseSigma)
      ->required()
      ->type_name("");
  AddParsed(*verb, "--area", options->area, "blur this part alone: left, top, width, height", ParseArea)
      ->type_name("X,Y,W,H");
  AddKeepingOptions(*verb, options->course.keeping);
  verb->callback([options, &status] { status = Run(*options); });
}

}  // namespace app

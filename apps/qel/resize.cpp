// qel resize IN OUT SIZE: the picture in another size, by area averages and linear interpolation or, for palettes, by
// nearest neighbour.
#include <memory>
#include <string>

#include "apps/qel/numbers.h"
#include "apps/qel/picture_file.h"
#include "apps/qel/recolour.h"
#include "apps/qel/steps.h"
#include "apps/qel/verbs.h"

namespace app {
namespace {

/// A size as asked for: pixels (0: in the picture's proportion) or percent.
struct Size {
  long width = 0, height = 0;
  long percent = 0;
};

struct Options {
  Course course;
  std::string output;
  Size size;
  bool smooth = false;
};

Size ParseSize(const std::string &option, const std::string &text) {
  if (!text.empty() && text.back() == '%')
    return {0, 0, ParseNumbers(option, text.substr(0, text.size() - 1), ',', 1, 1)[0]};
  const std::size_t parting = text.find('x');
  const auto Side = [&](const std::string &side) {
    return side.empty() ? 0 : ParseNumbers(option, side, ',', 1, 1)[0];
  };
  if (parting == std::string::npos || text.size() == 1)
    throw CLI::ValidationError(option, "'" + text + "' is no size such as 640x480, 640x, x480 or 50%");
  return {Side(text.substr(0, parting)), Side(text.substr(parting + 1))};
}

/// The size in pixels for a picture.
Size Resolve(const Size &size, const PQel &picture) {
  const long width = picture.GetImageWidth(), height = picture.GetImageHeight();
  if (size.percent > 0) return {Share(width, size.percent, 100), Share(height, size.percent, 100)};
  if (size.width == 0) return {Share(width, size.height, height), size.height};
  if (size.height == 0) return {size.width, Share(height, size.width, width)};
  return size;
}

int Run(const Options &options) {
  const Course &course = options.course;
  Picture picture = Read(course);
  if (options.smooth) picture = ToSmooth(std::move(picture), course);
  const Size size = Resolve(options.size, *picture);
  WritePicture(*Resize(*picture, size.width, size.height, course), options.output);
  return 0;
}

}  // namespace

void AddResize(CLI::App &app, int &status) {
  auto options = std::make_shared<Options>();
  CLI::App *verb = app.add_subcommand(
      "resize", "Makes a picture larger or smaller; the colours of a palette picture stay as they are (see --smooth)");
  AddFiles(*verb, options->course, options->output);
  AddParsed(*verb, "SIZE", options->size, "WxH pixels, Wx or xH in proportion, or N%", ParseSize)->required();
  verb->add_flag("--smooth", options->smooth,
                 "bring palette pictures to true colour and monochrome ones to grays first, so that they are blended "
                 "instead of repeating or leaving out pixels");
  AddKeepingOptions(*verb, options->course.keeping);
  verb->callback([options, &status] { status = Run(*options); });
}

}  // namespace app

// qel text IN OUT TEXT: writes a line of text into a picture.
#include <memory>
#include <optional>
#include <string>

#include "apps/qel/lettering.h"
#include "apps/qel/numbers.h"
#include "apps/qel/picture_file.h"
#include "apps/qel/verbs.h"

namespace app {
namespace {

struct Options {
  Course course;
  std::string output, text;
  Lettering lettering;
  std::optional<RECT> rect;
};

DWORD ParseInk(const std::string &option, const std::string &text) {
  const auto colour = ParseColour(text);
  if (!colour) throw CLI::ValidationError(option, "'" + text + "' is no colour such as ff8000");
  return *colour;
}

std::string ParseText(const std::string &option, const std::string &text) {
  if (text.empty()) throw CLI::ValidationError(option, "there is nothing to write");
  return text;
}

std::string ParseFont(const std::string &option, const std::string &text) {
  if (text.size() > kLongestFontName)
    throw CLI::ValidationError(
        option, "'" + text + "' is longer than the " + std::to_string(kLongestFontName) + " bytes of a font's name");
  return text;
}

Align ParseAlign(const std::string &option, const std::string &text) {
  if (text == "left") return Align::kLeft;
  if (text == "center") return Align::kCentre;
  if (text == "right") return Align::kRight;
  throw CLI::ValidationError(option, "'" + text + "' is not left, center or right");
}

int Run(const Options &options) {
  const Lettering &lettering = options.lettering;
  if (lettering.height > kLargestLine / lettering.scale)
    throw CLI::ValidationError("--height", "a line of " + std::to_string(lettering.height) + " pixels at scale " +
                                               std::to_string(lettering.scale) + " exceeds " +
                                               std::to_string(kLargestLine));
  const Picture picture = Read(options.course);
  RECT rect = {0, 0, static_cast<LONG>(picture->GetImageWidth()), static_cast<LONG>(picture->GetImageHeight())};
  if (options.rect) rect = *options.rect;
  Write(*picture, options.text, rect, lettering, options.course);
  WritePicture(*picture, options.output);
  return 0;
}

}  // namespace

void AddText(CLI::App &app, int &status) {
  auto options = std::make_shared<Options>();
  Lettering &lettering = options->lettering;
  CLI::App *verb =
      app.add_subcommand("text", "Writes a line of text into a picture, on palettes in the nearest colour");
  AddFiles(*verb, options->course, options->output);
  AddParsed(*verb, "TEXT", options->text, "the line, in UTF-8; what does not fit the rectangle is cut", ParseText)
      ->required()
      ->type_name("");
  AddParsed(*verb, "--rect", options->rect, "left, top, width, height of the line's rectangle; default: the picture",
            ParseArea)
      ->type_name("X,Y,W,H");
  AddParsed(*verb, "--font", lettering.font, "a font's name, or sans, serif or mono; default: sans", ParseFont)
      ->type_name("NAME");
  verb->add_option("--height", lettering.height, "of the line, in pixels (default: 16)")
      ->check(CLI::Range(1, kLargestLine))
      ->type_name("N");
  AddParsed(*verb, "--color", lettering.colour, "default: 000000", ParseInk)->type_name("RRGGBB");
  verb->add_option("--scale", lettering.scale, "drawn so many times as large and reduced; 1: hard edges (default: 4)")
      ->check(CLI::Range(1, kLargestScale))
      ->type_name("N");
  AddParsed(*verb, "--align", lettering.align, "left, center or right (default: center)", ParseAlign)
      ->type_name("WORD");
  verb->add_flag("--bold", lettering.bold, "in bold");
  verb->add_flag("--italic", lettering.italic, "in italics");
  AddKeepingOptions(*verb, options->course.keeping);
  verb->callback([options, &status] { status = Run(*options); });
}

}  // namespace app

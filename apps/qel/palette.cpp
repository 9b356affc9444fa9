// qel palette SOURCE: the colours of a picture or palette, shown or written to a file.
#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>

#include "apps/qel/colours.h"
#include "apps/qel/failure.h"
#include "apps/qel/formats.h"
#include "apps/qel/output_file.h"
#include "apps/qel/picture_file.h"
#include "apps/qel/recolour.h"
#include "apps/qel/steps.h"
#include "apps/qel/verbs.h"

namespace app {
namespace {

struct Options {
  std::string source, output;
  bool custom = false;
};

// Colours ------------------------------------------------------------------------------------------------------------

Colours MakeCustom(const std::string &path) {
  const Course course{path, {}};
  const Picture picture = Read(course);
  if (picture->GetBitCount() <= 8) throw Failure(path, "has a palette; one is made for pictures without");
  return MakeColours(*picture, course);
}

// Showing ------------------------------------------------------------------------------------------------------------

/// True when standard output is a terminal that says that it knows 24-bit colours.
bool ShowsColours() {
  const char *const told = std::getenv("COLORTERM");
  return isatty(STDOUT_FILENO) && told && (std::string(told) == "truecolor" || std::string(told) == "24bit");
}

/// Swatches with their hex numbers, as many a line as fit.
void ShowSwatches(const Colours &colours) {
  constexpr unsigned kCell = 15;  // "      #rrggbb  "
  winsize window{};
  const bool known = ioctl(STDOUT_FILENO, TIOCGWINSZ, &window) == 0 && window.ws_col >= kCell;
  const std::size_t columns = known ? window.ws_col / kCell : 5;
  for (std::size_t i = 0; i < colours.size(); ++i) {
    const DWORD c = colours[i];
    std::printf("\x1b[48;2;%u;%u;%um     \x1b[0m %s%s", c >> 16 & 0xFF, c >> 8 & 0xFF, c & 0xFF, HexOf(c).c_str(),
                (i + 1) % columns == 0 || i + 1 == colours.size() ? "\n" : "  ");
  }
}

// Writing ------------------------------------------------------------------------------------------------------------

std::string ToText(const Colours &colours) {
  std::string text;
  for (const DWORD colour : colours) text += HexOf(colour) + '\n';
  return text;
}

/// A picture with a square of each colour, 16 a row, that carries the palette.
void WriteSwatches(const Colours &colours, const std::string &path) {
  constexpr long kSquare = 16, kAcross = 16;
  const long count = static_cast<long>(colours.size()), across = std::min(count, kAcross);
  std::vector<RGBQUAD> table = TableOf(colours);
  PQel image;
  const bool made =
      image.CreateImage(TypeForColours(colours.size()), kSquare * across, kSquare * ((count + kAcross - 1) / kAcross),
                        static_cast<int>(count), table.data(), 3780, 3780, 1, 0, 0);
  if (!made || !image.Clear(0)) throw Failure(path, "out of memory");
  for (long y = 0; y < image.GetImageHeight(); ++y)
    for (long x = 0; x < image.GetImageWidth(); ++x)
      image.SetPixel(x, y, std::min(y / kSquare * kAcross + x / kSquare, count - 1));
  WritePicture(image, path);
}

void WriteText(const Colours &colours, const std::string &path) {
  const std::string text = ToText(colours);
  WithFile(path, [&] {
    OutputFile output(path);
    output.File().Write(text.data(), static_cast<UINT>(text.size()));
    output.Commit();
  });
}

int Run(const Options &options) {
  const Colours colours = options.custom ? MakeCustom(options.source) : LoadColours(options.source);
  if (options.output.empty() && ShowsColours())
    ShowSwatches(colours);
  else if (options.output.empty())
    std::fputs(ToText(colours).c_str(), stdout);
  else if (NamesPicture(options.output))
    WriteSwatches(colours, options.output);
  else
    WriteText(colours, options.output);
  return 0;
}

}  // namespace

void AddPalette(CLI::App &app, int &status) {
  auto options = std::make_shared<Options>();
  CLI::App *verb = app.add_subcommand("palette", "Shows the colours of a picture or palette, or writes them to a file");
  verb->add_option("SOURCE", options->source,
                   "picture, text file with a colour such as #ff8000 a line, or one of " + BuiltInNames())
      ->required();
  verb->add_flag("--custom", options->custom, "make a palette of 256 colours for a picture that has none");
  verb->add_option("-o,--output", options->output,
                   "write the colours: as squares in a picture that has them as its palette when the name is one of a "
                   "picture, such as colours.png, else as text")
      ->type_name("FILE");
  verb->callback([options, &status] { status = Run(*options); });
}

}  // namespace app

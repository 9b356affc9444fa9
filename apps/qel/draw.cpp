// qel draw IN OUT SCRIPT: draws on a picture, or on an empty one, what a script tells.
#include <algorithm>
#include <memory>
#include <string>

#include "apps/qel/colours.h"
#include "apps/qel/draw_board.h"
#include "apps/qel/failure.h"
#include "apps/qel/image_type.h"
#include "apps/qel/numbers.h"
#include "apps/qel/picture_file.h"
#include "apps/qel/verbs.h"

namespace app {
namespace {

constexpr const char *kNew = "new:";

/// Makes an empty canvas from new:WxH[:TYPE[:#RRGGBB]]. Throws CLI::ValidationError for other texts.
void MakeCanvas(const std::string &text, PQelDraw &canvas) {
  const char *const option = "IN";
  std::string parts[3] = {"", "rgb", "#ffffff"};
  std::size_t count = 0;
  for (std::size_t start = std::char_traits<char>::length(kNew); start <= text.size(); ++count) {
    if (count == 3) throw CLI::ValidationError(option, "'" + text + "' has more than a size, a type and a colour");
    const std::size_t end = std::min(text.find(':', start), text.size());
    parts[count] = text.substr(start, end - start);
    start = end + 1;
  }
  const auto type = FindType(parts[1]);
  const auto colour = ParseColour(parts[2]);
  if (!type) throw CLI::ValidationError(option, "'" + parts[1] + "' is no type of pictures");
  if (!colour) throw CLI::ValidationError(option, "'" + parts[2] + "' is no colour such as #ff8000");
  const SIZE size = ParseBox(option, parts[0]);
  if (!canvas.CreateImage(*type, size.cx, size.cy, 0, nullptr, 3780, 3780, 1, 0, 0) ||
      !canvas.Clear(canvas.GetColorRef(SwapRedAndBlue(*colour))))
    throw Failure(text, "out of memory");
}

struct Options {
  Course course;
  std::string output, script;
};

/// Runs the commands; a fault of one is told with its line.
void Perform(Board &board, const std::string &path, const std::vector<ScriptLine> &script) {
  for (const ScriptLine &line : script) {
    try {
      board.Run(line.command, line.words);
    } catch (const std::runtime_error &error) {
      throw Failure(PlaceOf(path, line.number), error.what());
    }
  }
}

int Run(const Options &options) {
  const std::vector<ScriptLine> script = ReadScript(options.script);
  for (const ScriptLine &line : script)
    if (!Board::Knows(line.command))
      throw Failure(PlaceOf(options.script, line.number), "'" + Shown(line.command) + "' is no command");

  const std::size_t slash = options.script.rfind('/');
  Board board(slash == options.script.npos ? "" : options.script.substr(0, slash + 1));
  PQelDraw &canvas = board.Canvas();
  if (options.course.path.rfind(kNew, 0) == 0)
    MakeCanvas(options.course.path, canvas);
  else
    ReadPicture(options.course.path, canvas, options.course.keeping);

  const bool undoes = std::any_of(script.begin(), script.end(), [](const ScriptLine &line) {
    return line.command == "undo" || line.command == "redo" || line.command == "mark";
  });
  if (undoes) Require(canvas.EnableUndo(1), options.course);
  canvas.Validate();
  Perform(board, options.script, script);
  canvas.EnableAntiAlias(0);
  canvas.EnableRepeat(0);
  WritePicture(canvas, options.output);
  return 0;
}

}  // namespace

void AddDraw(CLI::App &app, int &status) {
  auto options = std::make_shared<Options>();
  CLI::App *verb =
      app.add_subcommand("draw", "Draws with pens, brushes, textures, shields and masks what a script tells");
  verb->add_option("IN", options->course.path, "picture to draw on, or new:WxH[:TYPE[:#RRGGBB]]")->required();
  verb->add_option("OUT", options->output, "picture to write, in the format of its extension; may be IN")->required();
  verb->add_option("SCRIPT", options->script, "text with a command a line; docs/drawing.md tells all of them")
      ->required();
  AddKeepingOptions(*verb, options->course.keeping);
  verb->callback([options, &status] { status = Run(*options); });
}

}  // namespace app

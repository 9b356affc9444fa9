// qel convert IN OUT: reads a picture into a store and layout and writes it from there.
#include <memory>
#include <string>
#include <vector>

#include "apps/qel/failure.h"
#include "apps/qel/picture_file.h"
#include "apps/qel/verbs.h"

namespace app {
namespace {

struct Options {
  std::string input, output;
  Keeping keeping;
  bool topDown = false;
};

/// Makes `copy` the picture `image` with its top row stored first.
bool CopyTopDown(PQel &image, PQel &copy, const Keeping &keeping) {
  const long width = image.GetImageWidth(), height = image.GetImageHeight();
  if (!copy.CreateImage(image.GetBI(), width, -height, 10, keeping.store, keeping.block, 0)) return false;
  std::vector<unsigned char> row(static_cast<std::size_t>(image.GetLineBytes()));
  for (long y = 0; y < height; ++y)
    if (!image.GetHorLine(y, row.data()) || !copy.PutHorLine(y, row.data())) return false;
  return true;
}

int Run(const Options &options) {
  PQel image;
  ReadPicture(options.input, image, options.keeping);
  if (!options.topDown || image.GetBIH()->biHeight < 0) {
    WritePicture(image, options.output);
    return 0;
  }
  PQel copy;
  if (!CopyTopDown(image, copy, options.keeping)) throw Failure(options.input, "out of memory");
  WritePicture(copy, options.output);
  return 0;
}

}  // namespace

void AddConvert(CLI::App &app, int &status) {
  auto options = std::make_shared<Options>();
  CLI::App *verb = app.add_subcommand("convert", "Writes a picture again, kept in any store and layout meanwhile");
  verb->add_option("IN", options->input, "BMP file to read")->required();
  verb->add_option("OUT", options->output, "BMP file to write; may be IN")->required();
  AddKeepingOptions(*verb, options->keeping);
  verb->add_flag("--top-down", options->topDown, "store the top row first");
  verb->callback([options, &status] { status = Run(*options); });
}

}  // namespace app

// qel info FILE...: what a picture is and how it is kept.
#include <cstdio>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "apps/qel/failure.h"
#include "apps/qel/image_type.h"
#include "apps/qel/picture_file.h"
#include "apps/qel/verbs.h"
#include "qel/platform/gdi/object.h"

namespace app {
namespace {

/// "256 colours, standard"; "none" for a picture without a colour table.
std::string DescribePalette(PQel &image) {
  const HPALETTE palette = image.GetPalette(nullptr);
  const int colours = PQel::GetColorNum(palette);
  if (colours == 0) return "none";
  const bool gray = image.GetImageType() == 4 || image.GetImageType() == 5;
  const char *kind = gray ? "gray ramp" : PQel::IsStdPalette(palette) ? "standard" : "custom";
  DeleteObject(palette);
  return std::to_string(colours) + " colours, " + kind;
}

void Describe(const std::string &path, const std::string &format, PQel &image) {
  const int type = image.GetImageType();
  tagLmmInfo lmm;
  std::printf("%s\n", path.c_str());
  std::printf("  format      %s\n", format.c_str());
  std::printf("  size        %ld x %ld pixels, %s\n", image.GetImageWidth(), image.GetImageHeight(),
              image.GetBIH()->biHeight < 0 ? "top-down" : "bottom-up");
  std::printf("  type        %d (%s), %d bits a pixel\n", type, NameOfType(type).text, image.GetBitCount());
  std::printf("  palette     %s\n", DescribePalette(image).c_str());
  std::printf("  resolution  %ld x %ld dots per metre\n", image.GetDpmX(), image.GetDpmY());
  std::printf("  store       %s, %lu bytes\n", NameOfStore(image.GetMemType()), image.GetImageSize());
  std::printf("  layout      %s, %ld bytes a row\n", image.GetLmmInfo(&lmm) ? "linear" : "block", image.GetLineBytes());
}

struct Options {
  std::vector<std::string> paths;
  Keeping keeping;
};

/// Describes every picture that can be read, so that one bad file hides no other.
int Run(const Options &options) {
  int status = 0;
  for (const std::string &path : options.paths) {
    try {
      PQel image;
      const std::string format = ReadPicture(path, image, options.keeping);
      Describe(path, format, image);
    } catch (const Failure &failure) {
      Complain(failure);
      status = 1;
    }
  }
  return status;
}

}  // namespace

void AddInfo(CLI::App &app, int &status) {
  auto options = std::make_shared<Options>();
  CLI::App *verb = app.add_subcommand("info", "Tells what pictures are: format, size, type, palette, store, layout");
  verb->add_option("FILE", options->paths, "pictures")->required();
  AddKeepingOptions(*verb, options->keeping);
  verb->callback([options, &status] { status = Run(*options); });
}

}  // namespace app

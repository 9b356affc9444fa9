// qel compare A B: tells whether two pictures of one size and depth hold the same pixels and colours.
#include <cstdio>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "apps/qel/failure.h"
#include "apps/qel/picture_file.h"
#include "apps/qel/verbs.h"
#include "qel/platform/gdi/object.h"

namespace app {
namespace {

struct Options {
  std::string first, second;
};

/// The colours that pixels refer to, as bytes; empty for pixels that hold their colour.
std::vector<unsigned char> ColoursOf(PQel &image) {
  if (image.GetBitCount() > 8) return {};
  const HPALETTE palette = image.GetPalette(nullptr);
  std::vector<unsigned char> colours(3 * 256);
  PQel::GetPaletteRGB(palette, colours.data());
  DeleteObject(palette);
  return colours;
}

/// The first row that differs, or -1.
long FirstDifference(PQel &a, PQel &b) {
  const long last = a.GetImageWidth() - 1;
  // Span reads leave the bits behind the last pixel alone, so both lines end in the same zeros.
  std::vector<unsigned char> rowA(static_cast<std::size_t>(a.GetLineBytes())), rowB(rowA.size());
  for (long y = 0; y < a.GetImageHeight(); ++y) {
    if (!a.GetHorLine(0, last, y, rowA.data()) || !b.GetHorLine(0, last, y, rowB.data())) return y;
    if (rowA != rowB) return y;
  }
  return -1;
}

int Run(const Options &options) {
  PQel a, b;
  ReadPicture(options.first, a, {});
  ReadPicture(options.second, b, {});
  const auto Differs = [&](const std::string &how) { return Failure(options.second, how + " " + options.first); };
  if (a.GetImageWidth() != b.GetImageWidth() || a.GetImageHeight() != b.GetImageHeight())
    throw Differs("has another size than");
  if (a.GetImageType() != b.GetImageType()) throw Differs("has another type than");
  if (ColoursOf(a) != ColoursOf(b)) throw Differs("has other palette colours than");
  if (const long y = FirstDifference(a, b); y >= 0) throw Differs("row " + std::to_string(y) + " differs from that of");
  std::printf("%s: the same %ld x %ld pixels of %d bits as %s\n", options.second.c_str(), a.GetImageWidth(),
              a.GetImageHeight(), a.GetBitCount(), options.first.c_str());
  return 0;
}

}  // namespace

void AddCompare(CLI::App &app, int &status) {
  auto options = std::make_shared<Options>();
  CLI::App *verb = app.add_subcommand("compare", "Tells whether two pictures hold the same pixels; fails if not");
  verb->add_option("A", options->first, "picture")->required();
  verb->add_option("B", options->second, "picture")->required();
  verb->callback([options, &status] { status = Run(*options); });
}

}  // namespace app

// qel gallery IN OUT: a contact sheet of a picture in every type, method and dither, each with its name below it.
#include <algorithm>
#include <cstdio>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "apps/qel/failure.h"
#include "apps/qel/image_type.h"
#include "apps/qel/lettering.h"
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
  SIZE tile{240, 180};
};

// What is shown ------------------------------------------------------------------------------------------------------

struct Entry {
  std::string label;
  int type;
  Reduction reduction;
};
using Row = std::vector<Entry>;

Entry Plain(int type) {
  return {NameOfType(type).text, type, {}};
}

Entry By(int type, Method method) {
  Reduction reduction;
  reduction.method = method;
  return {std::string(NameOfType(type).option) + " " + kMethodWords[method], type, reduction};
}

Entry Onto(const std::string &palette) {
  Reduction reduction;
  reduction.palette = LoadColours(palette);
  return {palette, TypeForColours(reduction.palette.size()), reduction};
}

Entry Dithered(int type, unsigned short dither, unsigned short size) {
  Reduction reduction;
  reduction.method = kDither, reduction.dither = dither, reduction.size = size;
  return {std::string(NameOfType(type).option) + " " + kDitherWords[dither] + " " + std::to_string(size), type,
          reduction};
}

std::vector<Row> Plan() {
  Reduction half;
  half.threshold = 128;
  std::vector<Row> rows = {
      {Plain(1), Plain(8), Plain(9), Plain(7), Plain(6), Plain(5)},
      {Plain(4), {"mono threshold 128", 0, half}, By(0, kMap), By(2, kMap), By(3, kMap), By(3, kCustom)},
      {By(0, kDiffuse), By(2, kDiffuse), By(3, kDiffuse), Onto("black-white-red"), Onto("gray4"), Onto("epaper7")}};
  for (unsigned short dither = 0; dither < 6; ++dither) {
    Row &row = rows.emplace_back();
    for (const int type : {0, 2, 3})
      for (const unsigned short size : {4, 8}) row.push_back(Dithered(type, dither, size));
  }
  return rows;
}

// The sheet ----------------------------------------------------------------------------------------------------------

/// The picture in true colour, made smaller in proportion when it does not fit a tile.
Picture Reduced(PQel &picture, const SIZE &tile, const Course &course) {
  const long width = picture.GetImageWidth(), height = picture.GetImageHeight();
  Picture colours = ChangeType(picture, 1, {}, course);
  if (width <= tile.cx && height <= tile.cy) return colours;
  if (width * tile.cy >= height * tile.cx) return Resize(*colours, tile.cx, Share(height, tile.cx, width), course);
  return Resize(*colours, Share(width, tile.cy, height), tile.cy, course);
}

constexpr long kGap = 8;
constexpr LONG kCaption = 16;  // rows below a tile

/// Letters of one size for all captions, smaller when the longest would leave its tile; on the narrowest tiles it is
/// cut at its end.
Lettering CaptionsOf(const std::vector<Row> &rows, long width, const Course &course) {
  constexpr int kLargest = 14, kSmallest = 7;
  Lettering lettering;
  lettering.height = kLargest, lettering.align = Align::kLeft;
  long widest = 1;
  for (const Row &row : rows)
    for (const Entry &entry : row) widest = std::max(widest, WidthOf(entry.label, lettering, course));
  lettering.height = static_cast<int>(std::clamp<long>(kLargest * width / widest, kSmallest, kLargest));
  return lettering;
}

int Run(const Options &options) {
  const Course &course = options.course;
  const Picture picture = Reduced(*Read(course), options.tile, course);
  const long width = picture->GetImageWidth(), stepX = width + kGap;
  const long height = picture->GetImageHeight(), stepY = height + kCaption + kGap;
  const std::vector<Row> rows = Plan();
  std::optional<Lettering> captions;
  try {
    captions = CaptionsOf(rows, width, course);
  } catch (const Failure &noFont) {  // the legend tells all the same
    Complain(noFont);
  }
  Picture sheet = MakeAlike(*picture, static_cast<long>(rows[0].size()) * stepX + kGap,
                            static_cast<long>(rows.size()) * stepY + kGap, course);
  Require(sheet->Clear(0xFFFFFF), course);
  std::string legend;
  for (std::size_t y = 0; y < rows.size(); ++y) {
    legend += "row " + std::to_string(y + 1) + ": ";
    for (std::size_t x = 0; x < rows[y].size(); ++x) {
      const Entry &entry = rows[y][x];
      const Picture shown = ChangeType(*ChangeType(*picture, entry.type, entry.reduction, course), 1, {}, course);
      POINT place{static_cast<LONG>(static_cast<long>(x) * stepX + kGap),
                  static_cast<LONG>(static_cast<long>(y) * stepY + kGap)};
      Require(sheet->CopyRect(shown.get(), &place, nullptr), course);
      const LONG below = place.y + static_cast<LONG>(height);
      if (captions)
        Write(*sheet, entry.label, {place.x, below, place.x + static_cast<LONG>(width), below + kCaption}, *captions,
              course);
      legend += (x == 0 ? "" : " | ") + entry.label;
    }
    legend += '\n';
  }
  WritePicture(*sheet, options.output);
  std::fputs(legend.c_str(), stdout);
  return 0;
}

}  // namespace

void AddGallery(CLI::App &app, int &status) {
  auto options = std::make_shared<Options>();
  CLI::App *verb = app.add_subcommand(
      "gallery", "Makes a contact sheet: a picture in every type, method and dither, with captions; tells them too");
  AddFiles(*verb, options->course, options->output);
  AddParsed(*verb, "--tile", options->tile, "the picture is made smaller to fit WxH pixels; default: 240x180", ParseBox)
      ->type_name("WxH");
  AddKeepingOptions(*verb, options->course.keeping);
  verb->callback([options, &status] { status = Run(*options); });
}

}  // namespace app

// Steps on whole pictures, each a few calls of the library.
#include "apps/qel/steps.h"

#include <algorithm>
#include <vector>

#include "apps/qel/failure.h"
#include "apps/qel/picture_file.h"

namespace app {
namespace {

using Line = std::vector<unsigned char>;

bool IsTopDown(const PQel &picture) {
  return picture.GetBIH()->biHeight < 0;
}

std::string SizeOf(const PQel &picture) {
  return std::to_string(picture.GetImageWidth()) + " x " + std::to_string(picture.GetImageHeight());
}

/// True for a palette that a negative of the pixels turns into a negative of the picture.
bool NegatesByPixels(PQel &picture) {
  if (picture.GetBitCount() > 8 || picture.GetImageType() == 4 || picture.GetImageType() == 5) return true;
  if (picture.GetImageType() != 0) return false;
  CPalette palette;
  palette.Attach(picture.GetPalette(nullptr));
  return PQel::IsStdPalette(palette) != 0;
}

}  // namespace

// Steps --------------------------------------------------------------------------------------------------------------

void AddFiles(CLI::App &verb, Course &course, std::string &output) {
  verb.add_option("IN", course.path, "picture to read")->required();
  verb.add_option("OUT", output, "picture to write, in the format of its extension; may be IN")->required();
}

long Share(long a, long b, long c) {
  return std::max((a * b + c / 2) / c, 1L);
}

Picture Read(const Course &course) {
  auto picture = std::make_unique<PQel>();
  ReadPicture(course.path, *picture, course.keeping);
  return picture;
}

void RunOutOfMemory(const Course &course) {
  throw Failure(course.path, "out of memory");
}

void Require(int result, const Course &course) {
  if (!result) RunOutOfMemory(course);
}

void RequireInside(PQel &picture, const RECT &part, const Course &course) {
  if (CRect(part).IsRectEmpty() || part.left < 0 || part.top < 0 || part.right > picture.GetImageWidth() ||
      part.bottom > picture.GetImageHeight())
    throw Failure(course.path, "the part asked for does not lie in the picture of " + SizeOf(picture) + " pixels");
}

Picture MakeOfType(PQel &like, int type, const Colours &colours, const Course &course) {
  auto made = std::make_unique<PQel>();
  const long height = like.GetImageHeight();
  std::vector<RGBQUAD> table = TableOf(colours);
  if (!made->CreateImage(type, like.GetImageWidth(), IsTopDown(like) ? -height : height, static_cast<int>(table.size()),
                         table.empty() ? nullptr : table.data(), static_cast<unsigned long>(like.GetDpmX()),
                         static_cast<unsigned long>(like.GetDpmY()), course.keeping.store, course.keeping.block, 0))
    RunOutOfMemory(course);
  return made;
}

Picture MakeAlike(PQel &like, long width, long height, const Course &course) {
  auto made = std::make_unique<PQel>();
  if (!made->CreateImage(like.GetBI(), width, IsTopDown(like) ? -height : height, 10, course.keeping.store,
                         course.keeping.block, 0))
    RunOutOfMemory(course);
  return made;
}

Picture Resize(PQel &picture, long width, long height, const Course &course) {
  Picture made = MakeAlike(picture, width, height, course);
  Require(made->RescaleImage(&picture), course);
  return made;
}

Picture Crop(PQel &picture, const RECT &part, const Course &course) {
  RequireInside(picture, part, course);
  Picture made = MakeAlike(picture, part.right - part.left, part.bottom - part.top, course);
  RECT from = part;
  Require(made->CopyRect(&picture, nullptr, &from), course);
  return made;
}

void Negate(PQel &picture, const Course &course) {
  Require(picture.Invert(NegatesByPixels(picture)), course);
}

Picture Tile(PQel &picture, const SIZE &canvas, const POINT &periods, const Course &course) {
  Picture made = MakeAlike(picture, canvas.cx, canvas.cy, course);
  picture.SetRepeat(periods.x, periods.y);
  RECT all = {0, 0, canvas.cx, canvas.cy};
  Require(made->CopyRect(&picture, nullptr, &all), course);
  return made;
}

Picture TurnStorage(PQel &picture, const Course &course) {
  auto made = std::make_unique<PQel>();
  const long height = picture.GetImageHeight();
  if (!made->CreateImage(picture.GetBI(), 0, -height, 10, course.keeping.store, course.keeping.block, 0))
    RunOutOfMemory(course);
  Line row(static_cast<std::size_t>(picture.GetLineBytes()));
  for (long y = 0; y < height; ++y)
    Require(picture.GetHorLine(y, row.data()) && made->PutHorLine(y, row.data()), course);
  return made;
}

}  // namespace app

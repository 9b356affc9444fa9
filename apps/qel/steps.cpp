// The steps of `qel convert`, each a few calls of the library.
#include "apps/qel/steps.h"

#include <cstdlib>
#include <vector>

#include "apps/qel/failure.h"
#include "apps/qel/image_type.h"
#include "qel/lines/convert.h"

namespace app {
namespace {

using Line = std::vector<unsigned char>;

[[noreturn]] void RunOutOfMemory(const Course &course) {
  throw Failure(course.path, "out of memory");
}

/// Ends the step when an operation of the library failed, which only memory can be the reason for here.
void Require(int result, const Course &course) {
  if (!result) RunOutOfMemory(course);
}

bool IsTopDown(const PQel &picture) {
  return picture.GetBIH()->biHeight < 0;
}

std::string SizeOf(const PQel &picture) {
  return std::to_string(picture.GetImageWidth()) + " x " + std::to_string(picture.GetImageHeight());
}

// Types --------------------------------------------------------------------------------------------------------------

bool IsGray(int type) {
  return type == 0 || type == 4 || type == 5;
}
bool TakesColour(int type) {
  return type == 1 || type >= 5;
}

/// Rows of a colour picture as gray levels.
int GetLevels(PQel &picture, long y, Line &levels, Line &colours) {
  const long last = picture.GetImageWidth() - 1;
  if (IsGray(picture.GetImageType())) return picture.GetGrayHorLine(0, last, y, levels.data(), nullptr);
  if (!picture.Get24bitHorLine(0, last, y, colours.data(), nullptr)) return 0;
  QelAsmConvert24to8G(levels.data(), colours.data(), static_cast<unsigned long>(last + 1));
  return 1;
}

void CopyRows(PQel &from, PQel &to, const Course &course) {
  const long width = from.GetImageWidth();
  Line colours(static_cast<std::size_t>(3 * width)), levels(static_cast<std::size_t>(width));
  // gray to gray keeps levels that a way through colours would keep too, and serves the types that take no colours
  const bool byLevels = !TakesColour(to.GetImageType()) || (to.GetImageType() == 5 && IsGray(from.GetImageType()));
  for (long y = 0; y < from.GetImageHeight(); ++y) {
    if (byLevels) {
      Require(GetLevels(from, y, levels, colours) && to.PutGrayHorLine(0, width - 1, y, levels.data()), course);
    } else {
      Require(from.Get24bitHorLine(0, width - 1, y, colours.data(), nullptr), course);
      Require(to.Put24bitHorLine(0, width - 1, y, colours.data()), course);
    }
  }
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

Picture MakeAlike(PQel &like, long width, long height, const Course &course) {
  auto made = std::make_unique<PQel>();
  if (!made->CreateImage(like.GetBI(), width, IsTopDown(like) ? -height : height, 10, course.keeping.store,
                         course.keeping.block, 0))
    RunOutOfMemory(course);
  return made;
}

Picture Crop(PQel &picture, const RECT &rect, const Course &course) {
  const CRect part(rect);
  if (part.IsRectEmpty() || part.left < 0 || part.top < 0 || part.right > picture.GetImageWidth() ||
      part.bottom > picture.GetImageHeight())
    throw Failure(course.path, "the part to keep does not lie in the picture of " + SizeOf(picture) + " pixels");
  Picture made = MakeAlike(picture, part.right - part.left, part.bottom - part.top, course);
  RECT from = part;
  Require(made->CopyRect(&picture, nullptr, &from), course);
  return made;
}

Picture ChangeType(PQel &picture, int type, const Course &course) {
  if (!TakesColour(type) && !IsGray(type))
    throw Failure(course.path, std::string("a picture of the type ") + NameOfType(picture.GetImageType()).text +
                                   " is not brought to a " + NameOfType(type).text);
  auto made = std::make_unique<PQel>();
  const long height = picture.GetImageHeight();
  if (!made->CreateImage(type, picture.GetImageWidth(), IsTopDown(picture) ? -height : height, 0, nullptr,
                         static_cast<unsigned long>(picture.GetDpmX()), static_cast<unsigned long>(picture.GetDpmY()),
                         course.keeping.store, course.keeping.block, 0))
    RunOutOfMemory(course);
  CopyRows(picture, *made, course);
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

// Lines of text in pictures. A line is drawn in black on a white sheet as large as its rectangle, and the sheet is the
// mask through which the colour comes into the picture: so it is cut at the rectangle wherever it begins, and 48-bit
// pictures get all bits of the colour.
#include "apps/qel/lettering.h"

#include <algorithm>
#include <cstring>

#include "apps/qel/colours.h"
#include "apps/qel/failure.h"
#include "qel/draw/draw.h"
#include "qel/platform/gdi/text.h"
#include "qel/platform/mfc/dc.h"
#include "qel/platform/mfc/font.h"

namespace app {
namespace {

constexpr int k256Grays = 5;
constexpr int kGlobalMemory = 1;
constexpr LONG kBold = 700, kRegular = 400;

void MakeFont(const Lettering &lettering, int scale, CFont &font, const Course &course) {
  LOGFONTA description = {};
  description.lfHeight = lettering.height * scale;
  description.lfWeight = lettering.bold ? kBold : kRegular;
  description.lfItalic = lettering.italic;
  lettering.font.copy(description.lfFaceName, kLongestFontName);
  Require(font.CreateFontIndirect(&description), course);
}

/// In texts to draw "&" underlines what follows, "&&" stands for one.
std::string WithoutMarks(const std::string &text) {
  std::string doubled;
  for (const char c : text) doubled.append(c == '&' ? 2 : 1, c);
  return doubled;
}

/// A sheet's rectangle in whose middle the line begins, lies or ends where it should on a sheet `room` wide. Its width
/// differs from the line's by an even number, so that halves are whole pixels.
RECT Place(long width, const SIZE &room, Align align) {
  if (align == Align::kCentre) return {0, 0, room.cx, room.cy};
  const long across = std::max(width, room.cx + (std::max(room.cx - width, 0L) & 1));
  const long left = (align == Align::kLeft ? width - across : 2 * room.cx - width - across) / 2;
  return {static_cast<LONG>(left), 0, static_cast<LONG>(left + across), room.cy};
}

}  // namespace

long WidthOf(const std::string &text, const Lettering &lettering, const Course &course) {
  CFont font;
  MakeFont(lettering, lettering.scale, font, course);
  CDC dc;
  Require(dc.Attach(CreateCompatibleDC(nullptr)), course);
  const HGDIOBJ old = SelectObject(dc, font);
  SIZE size = {};
  const bool measured = GetTextExtentPointA(dc, text.data(), static_cast<int>(text.size()), &size);
  SelectObject(dc, old);
  if (!measured) throw Failure(course.path, "there is no font to write with");
  return (long{size.cx} + lettering.scale - 1) / lettering.scale;
}

void Write(PQel &picture, const std::string &text, const RECT &rect, const Lettering &lettering, const Course &course) {
  RequireInside(picture, rect, course);
  const SIZE room = {rect.right - rect.left, rect.bottom - rect.top};
  RECT place = Place(WidthOf(text, lettering, course), room, lettering.align);
  CFont font;
  MakeFont(lettering, 1, font, course);
  PQel sheet;
  Require(sheet.CreateImage(k256Grays, room.cx, room.cy, 0, nullptr, 3780, 3780, kGlobalMemory, 0, 0) &&
              sheet.Clear(0xFF) && sheet.DrawTextA(WithoutMarks(text).c_str(), &place, &font, 0, lettering.scale),
          course);

  PQelDraw colour;  // knows what pixels of a colour are
  POINT at = {rect.left, rect.top};
  Require(colour.CreateImage(picture.GetBI(), room.cx, room.cy, 10, kGlobalMemory, 0, 0) &&
              colour.Clear(colour.GetColorRef(SwapRedAndBlue(lettering.colour))) &&
              picture.CombineImage(&colour, &sheet, &at, nullptr),
          course);
}

}  // namespace app

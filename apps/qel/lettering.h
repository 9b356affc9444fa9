// Lines of text in pictures, written by the engine's own text.
#pragma once

#include <string>

#include "apps/qel/steps.h"

namespace app {

/// Where a line begins, in its rectangle.
enum class Align { kLeft, kCentre, kRight };

struct Lettering {
  std::string font = "sans";  // a face, or one of the families sans, serif and mono
  int height = 16;            // of a line, in pixels
  DWORD colour = 0;           // 0x00RRGGBB; on palettes the nearest
  int scale = 4;              // the line is drawn so many times as large and reduced; 1: hard edges
  Align align = Align::kCentre;
  bool bold = false, italic = false;
};

constexpr int kLargestScale = 16;
constexpr int kLargestLine = 16383;  // height by scale
constexpr int kLongestFontName = 31;

/// The width of a line in pixels, rounded up. Throws a Failure when there is no font at all.
long WidthOf(const std::string &text, const Lettering &lettering, const Course &course);

/// Writes a line into a rectangle of the picture, in the middle of its height and cut at its edges. The text is shown
/// as it is: "&" is no mark.
void Write(PQel &picture, const std::string &text, const RECT &rect, const Lettering &lettering, const Course &course);

}  // namespace app

// What verbs do to a picture between reading and writing. Each step makes a new image, kept as asked, from the one
// before it, and throws a Failure that names the file when it cannot.
#pragma once

#include <memory>
#include <string>

#include "apps/qel/colours.h"
#include "apps/qel/keeping.h"
#include "qel/image/image.h"

namespace app {

using Picture = std::unique_ptr<PQel>;

/// A picture on its way: what it is kept in, and the file to name when something fails.
struct Course {
  std::string path;
  Keeping keeping;
};

/// Adds the positional arguments IN and OUT to a verb.
void AddFiles(CLI::App &verb, Course &course, std::string &output);

/// a * b / c for sides of pictures, rounded, at least 1.
long Share(long a, long b, long c);

/// A picture from a file, kept as the course tells.
Picture Read(const Course &course);

/// Ends the step when an operation of the library failed, which only memory can be the reason for here.
[[noreturn]] void RunOutOfMemory(const Course &course);
void Require(int result, const Course &course);

/// Ends the step when a part of the picture is empty or does not lie in it.
void RequireInside(PQel &picture, const RECT &part, const Course &course);

/// An image of the size, resolution and storage order of `like` in another type, with these colours (as many as
/// the type has room for at most) or, without any, the standard palette.
Picture MakeOfType(PQel &like, int type, const Colours &colours, const Course &course);

/// An image of the format, palette and storage order of `like` and another size.
Picture MakeAlike(PQel &like, long width, long height, const Course &course);

/// The picture in another size and its own type.
Picture Resize(PQel &picture, long width, long height, const Course &course);

/// The part of a picture inside a rectangle, which must lie in it.
Picture Crop(PQel &picture, const RECT &part, const Course &course);

/// The negative, in place: of the pixels for gray, black-and-white and true-colour pictures, of the palette for others.
void Negate(PQel &picture, const Course &course);

/// The picture tiled over a canvas; every y-period rows the tiles shift by the x-period, every x-period columns by the
/// y-period (0: the picture's own size).
Picture Tile(PQel &picture, const SIZE &canvas, const POINT &periods, const Course &course);

/// The same picture with its top row stored first.
Picture TurnStorage(PQel &picture, const Course &course);

}  // namespace app

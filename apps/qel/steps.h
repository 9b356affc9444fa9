// What `qel convert` can do to a picture between reading and writing. Each step makes a new image, kept as asked, from
// the one before it, and throws a Failure that names the file when it cannot.
#pragma once

#include <memory>
#include <string>

#include "apps/qel/keeping.h"
#include "qel/image/image.h"

namespace app {

using Picture = std::unique_ptr<PQel>;

/// A picture on its way: what it is kept in, and the file to name when something fails.
struct Course {
  std::string path;
  Keeping keeping;
};

/// An image of the format, palette and storage order of `like` and another size.
Picture MakeAlike(PQel &like, long width, long height, const Course &course);

/// The part of a picture inside a rectangle, which must lie in it.
Picture Crop(PQel &picture, const RECT &rect, const Course &course);

/// The picture in another image type: true-colour, high-colour and gray types from every type, monochrome and 16 grays
/// by way of gray levels. Palettes of 16 and 256 colours are kept, not made.
Picture ChangeType(PQel &picture, int type, const Course &course);

/// The negative, in place: of the pixels for gray, black-and-white and true-colour pictures, of the palette for others.
void Negate(PQel &picture, const Course &course);

/// The picture tiled over a canvas; every y-period rows the tiles shift by the x-period, every x-period columns by the
/// y-period (0: the picture's own size).
Picture Tile(PQel &picture, const SIZE &canvas, const POINT &periods, const Course &course);

/// The same picture with its top row stored first.
Picture TurnStorage(PQel &picture, const Course &course);

}  // namespace app

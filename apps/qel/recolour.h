// Pictures in another image type: the colours kept, or reduced to a palette by one of the engine's methods.
#pragma once

#include <array>
#include <optional>

#include "apps/qel/colours.h"
#include "apps/qel/steps.h"

namespace app {

/// Ways to a palette, numbered as the engine's conversion agent numbers them.
enum Method : unsigned short { kMap = 0, kCustom = 1, kDiffuse = 2, kDither = 3 };

/// The words for methods and for families of dither on the command line, in the order of their numbers.
inline constexpr std::array<const char *, 4> kMethodWords{"map", "custom", "diffuse", "dither"};
inline constexpr std::array<const char *, 6> kDitherWords{"bayer", "mesh", "spiral", "fatting", "hmesh", "vmesh"};

/// How a picture is brought to few colours.
struct Reduction {
  std::optional<Method> method;  // none: what keeps the picture best
  unsigned short dither = 0;     // the family
  unsigned short size = 8;       // edge of the dither matrix, 4 or 8
  Colours palette;               // none: the standard palette of the type
  std::optional<int> threshold;  // monochrome only: white from this gray level on, instead of a method
};

/// The engine's palette of 256 colours for a picture of more than 8 bits.
Colours MakeColours(PQel &picture, const Course &course);

/// True for the types whose pixels are indices of a palette that may be chosen.
bool HasPalette(int type);

/// The picture in another image type. Without a method, true-colour, high-colour and gray types take every pixel by
/// itself; types with a palette take the nearest colours when the palette holds all those of the picture, else error
/// diffusion. Says so on standard error when the engine takes another method than the one asked for.
Picture ChangeType(PQel &picture, int type, const Reduction &reduction, const Course &course);

/// The picture in a type whose pixels can be mixed: palettes become true colour, monochrome and 16 grays 256 grays.
Picture ToSmooth(Picture picture, const Course &course);

}  // namespace app

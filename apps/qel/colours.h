// Lists of colours: the palettes that pictures are brought to, from a picture, a text file or a display known by name.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "qel/image/image.h"

namespace app {

/// Colours as 0x00RRGGBB, in the order of their indices.
using Colours = std::vector<DWORD>;

/// The colour of a text such as "#ff8000" or "ff8000"; none for any other text.
std::optional<DWORD> ParseColour(const std::string &text);

/// 0x00RRGGBB as 0x00BBGGRR, which the engine's tools take, and back.
DWORD SwapRedAndBlue(DWORD colour);

/// "#ff8000".
std::string HexOf(DWORD colour);

/// The names of the built-in palettes, parted by commas.
std::string BuiltInNames();

/// The colours of a built-in palette, of a BMP file's colour table, or of a text file with a colour such as #ff8000 a
/// line. Throws a Failure that names the file, and the line when it is one's fault.
Colours LoadColours(const std::string &source);

/// The colours of a palette, and of a picture's colour table (none for a picture without one).
Colours ColoursOf(HPALETTE palette);
Colours ColoursOf(PQel &image);

/// A colour table of these colours.
std::vector<RGBQUAD> TableOf(const Colours &colours);

/// The image type with the smallest table that holds so many colours: 0, 2 or 3.
int TypeForColours(std::size_t count);

}  // namespace app

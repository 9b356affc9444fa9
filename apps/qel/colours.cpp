// Lists of colours. A text file has a colour such as #ff8000 at the start of each line; blank lines, lines that begin
// with ';' or with '#' and a blank, and whatever follows a colour and a blank are for the reader.
#include "apps/qel/colours.h"

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <fstream>
#include <string_view>

#include "apps/qel/failure.h"
#include "apps/qel/picture_file.h"

namespace app {
namespace {

struct BuiltIn {
  const char *name;
  Colours colours;
};

// Displays -----------------------------------------------------------------------------------------------------------

const std::vector<BuiltIn> &BuiltIns() {
  static const std::vector<BuiltIn> kBuiltIns = {
      {"black-white", {0x000000, 0xFFFFFF}},
      {"black-white-red", {0x000000, 0xFFFFFF, 0xFF0000}},
      {"gray4", {0x000000, 0x555555, 0xAAAAAA, 0xFFFFFF}},
      {"epaper7", {0x000000, 0xFFFFFF, 0x00FF00, 0x0000FF, 0xFF0000, 0xFFFF00, 0xFF8000}},
  };
  return kBuiltIns;
}

// Text files ---------------------------------------------------------------------------------------------------------

constexpr std::string_view kBlanks = " \t\r\v\f";
constexpr std::size_t kMostColours = 256;

bool IsComment(std::string_view text) {
  return text[0] == ';' || (text[0] == '#' && (text.size() == 1 || kBlanks.find(text[1]) != kBlanks.npos));
}

Colours ReadText(const std::string &path) {
  std::ifstream file(path, std::ios::binary);
  Colours colours;
  std::string line;
  for (int number = 1; std::getline(file, line); ++number) {
    const std::size_t start = std::min(line.find_first_not_of(kBlanks), line.size());
    if (start == line.size() || IsComment(std::string_view(line).substr(start))) continue;
    const auto colour = ParseColour(line.substr(start, line.find_first_of(kBlanks, start) - start));
    const std::string place = "line " + std::to_string(number);
    if (!colour) throw Failure(path, place + " is no colour such as #ff8000");
    if (colours.size() == kMostColours) throw Failure(path, place + " is colour 257, 256 at most are taken");
    colours.push_back(*colour);
  }
  if (file.bad()) throw Failure(path, "cannot be read");
  return colours;
}

}  // namespace

// Colours ------------------------------------------------------------------------------------------------------------

DWORD SwapRedAndBlue(DWORD colour) {
  return RGB(colour >> 16 & 0xFF, colour >> 8 & 0xFF, colour & 0xFF);
}

std::optional<DWORD> ParseColour(const std::string &text) {
  const std::string_view digits = std::string_view(text).substr(text[0] == '#' ? 1 : 0);
  if (digits.size() != 6) return std::nullopt;
  DWORD colour = 0;
  const auto [next, error] = std::from_chars(digits.data(), digits.data() + 6, colour, 16);
  if (error != std::errc() || next != digits.data() + 6) return std::nullopt;
  return colour;
}

std::string HexOf(DWORD colour) {
  char text[8];
  std::snprintf(text, sizeof text, "#%06x", colour & 0xFFFFFF);
  return text;
}

std::string BuiltInNames() {
  std::string names;
  for (const BuiltIn &builtIn : BuiltIns()) names += (names.empty() ? "" : ", ") + std::string(builtIn.name);
  return names;
}

Colours LoadColours(const std::string &source) {
  for (const BuiltIn &builtIn : BuiltIns())
    if (source == builtIn.name) return builtIn.colours;
  RequireRegularFile(source);
  Colours colours;
  if (HoldsPicture(source)) {
    PQel image;
    ReadPicture(source, image, {});
    colours = ColoursOf(image);
    if (colours.empty()) throw Failure(source, "has no colour table");
  } else {
    colours = ReadText(source);
  }
  if (colours.size() < 2) throw Failure(source, "holds fewer than two colours");
  return colours;
}

Colours ColoursOf(HPALETTE palette) {
  std::vector<unsigned char> rgb(3 * kMostColours);
  if (!PQel::GetPaletteRGB(palette, rgb.data())) return {};
  Colours colours;
  for (int i = 0; i < PQel::GetColorNum(palette); ++i) {
    const unsigned char *const c = &rgb[static_cast<std::size_t>(3 * i)];
    colours.push_back(static_cast<DWORD>(c[0] << 16 | c[1] << 8 | c[2]));
  }
  return colours;
}

Colours ColoursOf(PQel &image) {
  CPalette palette;
  palette.Attach(image.GetBitCount() > 8 ? nullptr : image.GetPalette(nullptr));
  return ColoursOf(palette);
}

std::vector<RGBQUAD> TableOf(const Colours &colours) {
  std::vector<RGBQUAD> table;
  for (const DWORD c : colours)
    table.push_back({static_cast<BYTE>(c), static_cast<BYTE>(c >> 8), static_cast<BYTE>(c >> 16), 0});
  return table;
}

int TypeForColours(std::size_t count) {
  return count <= 2 ? 0 : count <= 16 ? 2 : 3;
}

}  // namespace app

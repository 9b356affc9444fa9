// qel card DIR: the colour card in every image type, as test pictures.
//
// The card has a sweep of hues from white to black, ramps of red, green, blue and gray, and the 16 standard colours.
// Types with few colours get an ordered 4 x 4 dither (Bayer, 1973) before the nearest colour is taken, so that their
// gradients show too. Its width is no multiple of a byte's pixels at any depth.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "apps/qel/failure.h"
#include "apps/qel/image_type.h"
#include "apps/qel/picture_file.h"
#include "apps/qel/verbs.h"
#include "qel/platform/gdi/object.h"
#include "qel/platform/gdi/palette.h"

namespace app {
namespace {

constexpr long kWidth = 363;
constexpr long kHeight = 240;
constexpr long kSweepRows = 120;
constexpr long kRampRows = 20;  // each of four
constexpr long kRampsEnd = kSweepRows + 4 * kRampRows;

struct Colour {
  double red, green, blue;
};

// The picture --------------------------------------------------------------------------------------------------------

/// A pure hue (0 to 1 around the circle), drawn towards white (lightness 1) or black (0).
Colour HueAt(double hue, double lightness) {
  const auto Channel = [&](double offset) {
    const double place = std::fabs(std::fmod(hue + offset, 1.0) * 6 - 3) - 1;
    const double pure = std::clamp(place, 0.0, 1.0);
    return 255 * (lightness < 0.5 ? 2 * lightness * pure : pure + (2 * lightness - 1) * (1 - pure));
  };
  return {Channel(0), Channel(2.0 / 3), Channel(1.0 / 3)};
}

Colour CardAt(long x, long y) {
  const double across = static_cast<double>(x) / (kWidth - 1);
  if (y < kSweepRows) return HueAt(across, 1 - static_cast<double>(y) / (kSweepRows - 1));
  if (y < kRampsEnd) {
    const double level = 255 * across;
    const long ramp = (y - kSweepRows) / kRampRows;
    return {ramp == 0 || ramp == 3 ? level : 0, ramp == 1 || ramp == 3 ? level : 0, ramp >= 2 ? level : 0};
  }
  const PALETTEENTRY &entry = PQel::m_palEntryStd[16 * x / kWidth];
  return {static_cast<double>(entry.peRed), static_cast<double>(entry.peGreen), static_cast<double>(entry.peBlue)};
}

/// How deep the dither of a type must be, and where its pattern starts.
struct Dither {
  int step;      // levels between neighbouring colours
  double start;  // share of the step: -0.5 where the nearest colour is taken, 0 where the one below is
};

Dither DitherOf(int type) {
  switch (type) {
    case 0:
      return {255, -0.5};
    case 2:
      return {128, -0.5};
    case 3:
      return {51, -0.5};
    case 4:
      return {17, 0};
    default:
      return {0, 0};
  }
}

/// A level with its share of the dither pattern.
unsigned char Dithered(double level, const Dither &dither, long x, long y) {
  static constexpr int kBayer[4][4] = {{0, 8, 2, 10}, {12, 4, 14, 6}, {3, 11, 1, 9}, {15, 7, 13, 5}};
  const double shift = ((kBayer[y % 4][x % 4] + 0.5) / 16 + dither.start) * dither.step;
  return static_cast<unsigned char>(std::clamp(std::lround(level + shift), 0L, 255L));
}

// The images ---------------------------------------------------------------------------------------------------------

/// Row y of the card as a 24-bit line, dithered for a type.
void MakeRow(int type, long y, unsigned char *row) {
  const Dither dither = DitherOf(type);
  for (long x = 0; x < kWidth; ++x) {
    const Colour colour = CardAt(x, y);
    *row++ = Dithered(colour.blue, dither, x, y);
    *row++ = Dithered(colour.green, dither, x, y);
    *row++ = Dithered(colour.red, dither, x, y);
  }
}

/// Row y of the card as gray levels, dithered for a type.
void MakeGrayRow(int type, long y, unsigned char *row) {
  const Dither dither = DitherOf(type);
  for (long x = 0; x < kWidth; ++x) {
    const Colour colour = CardAt(x, y);
    *row++ = Dithered((77 * colour.red + 150 * colour.green + 28 * colour.blue) / 255, dither, x, y);
  }
}

/// Writes a 24-bit line as the nearest palette entries.
bool PutAsIndices(PQel &image, HPALETTE palette, long y, const unsigned char *row) {
  for (long x = 0; x < kWidth; ++x, row += 3)
    if (!image.SetPixel(x, y, GetNearestPaletteIndex(palette, RGB(row[2], row[1], row[0])))) return false;
  return true;
}

bool MakeCard(int type, PQel &image) {
  if (!image.CreateImage(type, kWidth, kHeight, 0, nullptr, 3780, 3780, 1, 0, 0)) return false;
  const bool gray = type == 0 || type == 4 || type == 5;
  const HPALETTE palette = image.GetPalette(nullptr);
  std::vector<unsigned char> row(3 * kWidth);
  bool good = true;
  for (long y = 0; good && y < kHeight; ++y) {
    if (gray) {
      MakeGrayRow(type, y, row.data());
      good = image.PutGrayHorLine(0, kWidth - 1, y, row.data()) != 0;
    } else {
      MakeRow(type, y, row.data());
      good = image.GetBitCount() <= 8 ? PutAsIndices(image, palette, y, row.data())
                                      : image.Put24bitHorLine(0, kWidth - 1, y, row.data()) != 0;
    }
  }
  DeleteObject(palette);
  return good;
}

int Run(const std::string &folder) {
  std::error_code error;
  std::filesystem::create_directories(folder, error);
  if (error) throw Failure(folder, error.message());
  for (int type = 0; type < kImageTypes; ++type) {
    const std::string path = folder + "/card-" + NameOfType(type).slug + ".bmp";
    PQel image;
    if (!MakeCard(type, image)) throw Failure(path, "out of memory");
    WritePicture(image, path);
    std::printf("%s\n", path.c_str());
  }
  return 0;
}

}  // namespace

void AddCard(CLI::App &app, int &status) {
  auto folder = std::make_shared<std::string>();
  CLI::App *verb = app.add_subcommand("card", "Makes test pictures: a colour card with gradients in every type");
  verb->add_option("DIR", *folder, "folder for the BMP files, made when missing")->required();
  verb->callback([folder, &status] { status = Run(*folder); });
}

}  // namespace app

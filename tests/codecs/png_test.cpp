// PNG files of every kind, written by libpng itself.
#include <png.h>

#include "codecs/pictures.h"

using namespace test;

namespace {

struct Kind {
  int colors;  // libpng's colour type
  int depth;
  int type;  // that it comes as
};

constexpr Kind kKinds[] = {
    {PNG_COLOR_TYPE_GRAY, 1, 0},    {PNG_COLOR_TYPE_GRAY, 2, 4},        {PNG_COLOR_TYPE_GRAY, 4, 4},
    {PNG_COLOR_TYPE_GRAY, 8, 5},    {PNG_COLOR_TYPE_GRAY, 16, 9},       {PNG_COLOR_TYPE_PALETTE, 1, 0},
    {PNG_COLOR_TYPE_PALETTE, 2, 2}, {PNG_COLOR_TYPE_PALETTE, 4, 2},     {PNG_COLOR_TYPE_PALETTE, 8, 3},
    {PNG_COLOR_TYPE_RGB, 8, 1},     {PNG_COLOR_TYPE_RGB, 16, 9},        {PNG_COLOR_TYPE_GRAY_ALPHA, 8, 8},
    {PNG_COLOR_TYPE_RGBA, 8, 8},    {PNG_COLOR_TYPE_GRAY_ALPHA, 16, 9}, {PNG_COLOR_TYPE_RGBA, 16, 9}};

/// A PNG file of random samples, row by row as the file holds them.
struct RandomPng {
  Kind kind;
  long width, height;
  std::vector<std::vector<unsigned char>> rows;
  std::vector<png_color> palette;

  int Channels() const {
    return kind.colors == PNG_COLOR_TYPE_RGBA         ? 4
           : kind.colors == PNG_COLOR_TYPE_RGB        ? 3
           : kind.colors == PNG_COLOR_TYPE_GRAY_ALPHA ? 2
                                                      : 1;
  }

  RandomPng(const Kind &k, long w, long h, std::mt19937 &random) : kind(k), width(w), height(h) {
    rows.assign(static_cast<std::size_t>(h), std::vector<unsigned char>((w * Channels() * k.depth + 7) / 8));
    for (auto &row : rows)
      for (auto &byte : row) byte = static_cast<unsigned char>(random());
    if (k.colors == PNG_COLOR_TYPE_PALETTE) palette.resize(std::size_t{1} << k.depth);
    for (auto &color : palette) color = {png_byte(random()), png_byte(random()), png_byte(random())};
  }

  void Write(const std::string &path, bool interlaced) {
    std::FILE *file = std::fopen(path.c_str(), "wb");
    png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    png_infop info = png_create_info_struct(png);
    png_init_io(png, file);
    png_set_IHDR(png, info, width, height, kind.depth, kind.colors, interlaced, 0, 0);
    if (!palette.empty()) png_set_PLTE(png, info, palette.data(), static_cast<int>(palette.size()));
    std::vector<png_bytep> lines;
    for (auto &row : rows) lines.push_back(row.data());
    png_write_info(png, info);
    png_write_image(png, lines.data());
    png_write_end(png, info);
    png_destroy_write_struct(&png, &info);
    std::fclose(file);
  }

  /// Sample c of a pixel, as wide as the file has it.
  std::uint64_t Sample(long x, long y, int c) const {
    const unsigned char *row = rows[static_cast<std::size_t>(y)].data();
    const long bit = (x * Channels() + c) * kind.depth;
    if (kind.depth == 16) return row[bit / 8] << 8 | row[bit / 8 + 1];
    return row[bit / 8] >> (8 - kind.depth - bit % 8) & ((1 << kind.depth) - 1);
  }

  /// The pixel as the engine keeps it.
  std::uint64_t Pixel(long x, long y) const {
    if (Channels() == 1 && kind.depth <= 8)
      return kind.depth == 2 && palette.empty() ? Sample(x, y, 0) * 5 : Sample(x, y, 0);
    const bool isGray = Channels() < 3;
    std::uint64_t pixel = 0;
    for (int c = 0; c < 3; ++c) pixel = pixel << kind.depth | Sample(x, y, isGray ? 0 : c);
    return kind.type == 8 ? pixel | Sample(x, y, isGray ? 1 : 3) << 24 : pixel;
  }
};

class Png : public PictureTest {};

TEST_F(Png, EveryKindComesInWhole) {
  const std::string path = scratch / "a.png";
  for (const Kind &kind : kKinds)
    for (const bool interlaced : {false, true})
      for (const long width : {1, 3, 6, 13, 32, 43}) {
        SCOPED_TRACE(testing::Message() << kind.colors << " of " << kind.depth << " width " << width);
        RandomPng png(kind, width, 11, random);
        png.Write(path, interlaced);
        PQel image;
        ASSERT_TRUE(image.OpenImage(path.c_str()));
        EXPECT_EQ(GetCodecTransferError(), nullptr);
        EXPECT_EQ(image.GetImageType(), kind.type);
        NaiveImage expected(width, 11, image.GetBitCount());
        for (long y = 0; y < 11; ++y)
          for (long x = 0; x < width; ++x) expected.At(x, y) = png.Pixel(x, y);
        EXPECT_EQ(Pixels(image), expected);
        const std::vector<unsigned char> colors = Colors(image);
        for (std::size_t i = 0; i < png.palette.size(); ++i) {
          EXPECT_EQ(colors[3 * i], png.palette[i].red);
          EXPECT_EQ(colors[3 * i + 2], png.palette[i].blue);
        }
        const NoisyStore store("zulpng32", path, interlaced);
        EXPECT_EQ(store.pixels, expected);
        EXPECT_TRUE(store.isPaddingClear);
      }
}

/// Rows that came in before the end stay, the others are 0, and the end is told.
TEST_F(Png, EveryPrefixGivesTheRowsThatCameIn) {
  const std::string path = scratch / "a.png";
  RandomPng(kKinds[9], 40, 30, random).Write(path, false);
  const std::string whole = ReadFile(path);
  PQel image;
  ASSERT_TRUE(image.OpenImage(path.c_str()));
  NaiveImage expected = Pixels(image);
  long best = 0;
  for (std::size_t length = 0; length < whole.size(); length += 7) {
    WriteFile(path, whole.substr(0, length));
    NoisyStore store("zulpng32", path, false);
    EXPECT_EQ(store.wasRead, 0);
    if (store.pixels.width == 0) continue;
    EXPECT_EQ(store.error, "the file ends early");
    long rows = 0;
    while (rows < 30 && store.pixels.Row(rows) == expected.Row(rows)) ++rows;
    EXPECT_GE(rows, best);
    best = rows;
    for (long y = rows; y < 30; ++y)
      for (long x = 0; x < 40; ++x) ASSERT_EQ(store.pixels.At(x, y), 0u) << "row " << y << " of " << length << " bytes";
  }
  EXPECT_GE(best, 29);
}

TEST_F(Png, SettingsAndStops) {
  RandomPng(kKinds[9], 8, 20, random).Write(scratch / "a.png", false);
  const int file = open((scratch / "a.png").c_str(), O_RDONLY);
  const auto decoder = FormatOf("zulpng32").open(file);
  qel::codecs::PictureInfo info;
  ASSERT_TRUE(decoder->ReadInfo(info));
  std::vector<unsigned char> bytes(24 * 20, 0xFF);
  long told = 0;
  EXPECT_FALSE(decoder->ReadPixels({bytes.data(), 24, 8, 20, 24}, [&](long done, long all) {
    told = done;
    return done == 5 && all == 20;
  }));
  EXPECT_EQ(decoder->error, "stopped");
  EXPECT_EQ(told, 5);
  EXPECT_EQ(bytes[5 * 24], 0);
  close(file);
}

}  // namespace

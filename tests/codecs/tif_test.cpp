// TIFF files of every kind, written by libtiff itself.
#include <tiffio.h>

#include "codecs/pictures.h"

using namespace test;

namespace {

struct Kind {
  int photometric, bits, samples;
  int type;  // that it comes as
};

constexpr Kind kKinds[] = {
    {PHOTOMETRIC_MINISBLACK, 1, 1, 0}, {PHOTOMETRIC_MINISWHITE, 1, 1, 0},  {PHOTOMETRIC_MINISBLACK, 2, 1, 4},
    {PHOTOMETRIC_MINISWHITE, 2, 1, 4}, {PHOTOMETRIC_MINISBLACK, 4, 1, 4},  {PHOTOMETRIC_MINISWHITE, 4, 1, 4},
    {PHOTOMETRIC_MINISBLACK, 8, 1, 5}, {PHOTOMETRIC_MINISWHITE, 8, 1, 5},  {PHOTOMETRIC_PALETTE, 1, 1, 0},
    {PHOTOMETRIC_PALETTE, 2, 1, 2},    {PHOTOMETRIC_PALETTE, 4, 1, 2},     {PHOTOMETRIC_PALETTE, 8, 1, 3},
    {PHOTOMETRIC_RGB, 8, 3, 1},        {PHOTOMETRIC_RGB, 8, 4, 8},         {PHOTOMETRIC_RGB, 16, 3, 9},
    {PHOTOMETRIC_RGB, 16, 4, 9},       {PHOTOMETRIC_MINISBLACK, 16, 1, 9}, {PHOTOMETRIC_MINISWHITE, 16, 1, 9},
    {PHOTOMETRIC_MINISBLACK, 16, 2, 9}};

/// How the samples of a kind are laid out.
struct Form {
  int compression = COMPRESSION_NONE;
  bool isTiled = false, isSeparate = false;
  int rowsPerStrip = 4;
  int orientation = ORIENTATION_TOPLEFT;
  const char *mode = "w";  // byte order
  std::uint16_t alpha = EXTRASAMPLE_UNASSALPHA;
};

/// A TIFF file of random samples.
struct RandomTiff {
  Kind kind;
  long width, height;
  NaiveImage samples;  // a row holds those of its pixels side by side
  std::vector<std::uint16_t> colors;

  RandomTiff(const Kind &k, long w, long h, std::mt19937 &random)
      : kind(k), width(w), height(h), samples(w * k.samples, h, k.bits), colors(3u << k.bits) {
    samples.Randomise(random);
    for (auto &color : colors) color = static_cast<std::uint16_t>(random());
  }

  void Write(const std::string &path, const Form &form) {
    TIFF *const tiff = TIFFOpen(path.c_str(), form.mode);
    TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, static_cast<std::uint32_t>(width));
    TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, static_cast<std::uint32_t>(height));
    TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, kind.bits);
    TIFFSetField(tiff, TIFFTAG_SAMPLESPERPIXEL, kind.samples);
    TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, kind.photometric);
    TIFFSetField(tiff, TIFFTAG_PLANARCONFIG, form.isSeparate ? PLANARCONFIG_SEPARATE : PLANARCONFIG_CONTIG);
    TIFFSetField(tiff, TIFFTAG_COMPRESSION, form.compression);
    if (form.compression == COMPRESSION_JPEG) TIFFSetField(tiff, TIFFTAG_JPEGCOLORMODE, JPEGCOLORMODE_RGB);
    TIFFSetField(tiff, TIFFTAG_ORIENTATION, form.orientation);
    TIFFSetField(tiff, TIFFTAG_RESOLUTIONUNIT, RESUNIT_INCH);
    TIFFSetField(tiff, TIFFTAG_XRESOLUTION, 300.0);
    TIFFSetField(tiff, TIFFTAG_YRESOLUTION, 72.0);
    const std::uint16_t extra = form.alpha;
    if (kind.samples % 2 == 0) TIFFSetField(tiff, TIFFTAG_EXTRASAMPLES, 1, &extra);
    const std::size_t count = std::size_t{1} << kind.bits;
    if (kind.photometric == PHOTOMETRIC_PALETTE)
      TIFFSetField(tiff, TIFFTAG_COLORMAP, &colors[0], &colors[count], &colors[2 * count]);
    if (form.isTiled) {
      TIFFSetField(tiff, TIFFTAG_TILEWIDTH, 16);
      TIFFSetField(tiff, TIFFTAG_TILELENGTH, 16);
    } else {
      TIFFSetField(tiff, TIFFTAG_ROWSPERSTRIP, form.rowsPerStrip);
    }
    for (int plane = 0; plane < (form.isSeparate ? kind.samples : 1); ++plane)
      form.isTiled ? xWriteTiles(tiff, form, plane) : xWriteLines(tiff, form, plane);
    TIFFClose(tiff);
  }

  /// The pixel as the engine keeps it.
  std::uint64_t Pixel(long x, long y) {
    const auto Sample = [&](int s) { return samples.At(x * kind.samples + s, y); };
    const bool isInverted = kind.photometric == PHOTOMETRIC_MINISWHITE && kind.bits > 1;
    const std::uint64_t level = Sample(0) ^ (isInverted ? (1u << kind.bits) - 1 : 0);
    if (kind.type == 9 && kind.samples < 3) return level << 32 | level << 16 | level;
    if (kind.samples == 1) return kind.bits == 2 && kind.photometric != PHOTOMETRIC_PALETTE ? level * 5 : level;
    const std::uint64_t rgb = Sample(0) << 2 * kind.bits | Sample(1) << kind.bits | Sample(2);
    return kind.type == 8 ? rgb | Sample(3) << 24 : rgb;
  }

 private:
  /// A run of pixels as the file has it, all samples or those of a plane; pixels beyond the picture are 0.
  std::vector<unsigned char> xLine(const Form &form, int plane, long x, long n, long y) {
    const int together = form.isSeparate ? 1 : kind.samples;
    std::vector<unsigned char> line(static_cast<std::size_t>(PackedBytes(kind.bits, n * together)));
    for (long i = 0; i < n && y < height; ++i)
      for (int s = 0; s < together && x + i < width; ++s)
        SetPackedSample(line.data(), i * together + s, samples.At((x + i) * kind.samples + plane + s, y));
    return line;
  }

  void SetPackedSample(unsigned char *line, long i, std::uint64_t value) const {
    if (kind.bits == 2)
      line[i / 4] = static_cast<unsigned char>(line[i / 4] | value << (6 - i % 4 * 2));
    else
      SetPacked(line, kind.bits, i, value);
  }

  void xWriteLines(TIFF *tiff, const Form &form, int plane) {
    for (long y = 0; y < height; ++y)
      EXPECT_EQ(TIFFWriteScanline(tiff, xLine(form, plane, 0, width, y).data(), static_cast<std::uint32_t>(y),
                                  static_cast<std::uint16_t>(plane)),
                1);
  }

  void xWriteTiles(TIFF *tiff, const Form &form, int plane) {
    for (long y = 0; y < height; y += 16)
      for (long x = 0; x < width; x += 16) {
        std::vector<unsigned char> tile;
        for (long i = 0; i < 16; ++i) {
          const auto line = xLine(form, plane, x, 16, y + i);
          tile.insert(tile.end(), line.begin(), line.end());
        }
        EXPECT_GT(TIFFWriteTile(tiff, tile.data(), static_cast<std::uint32_t>(x), static_cast<std::uint32_t>(y), 0,
                                static_cast<std::uint16_t>(plane)),
                  0);
      }
  }
};

class Tiff : public PictureTest {
 protected:
  /// Opens the file and compares every pixel with what a function says of its place.
  template <class Expected>
  void Check(long width, long height, int type, const Expected &expected) {
    PQel image;
    ASSERT_TRUE(image.OpenImage(path.c_str()));
    EXPECT_EQ(GetCodecTransferError(), nullptr);
    EXPECT_EQ(image.GetImageType(), type);
    NaiveImage pixels(width, height, image.GetBitCount());
    for (long y = 0; y < height; ++y)
      for (long x = 0; x < width; ++x) pixels.At(x, y) = expected(x, y);
    EXPECT_EQ(Pixels(image), pixels);
    const NoisyStore store("zultif32", path, width % 2 == 0);
    EXPECT_EQ(store.pixels, pixels);
    EXPECT_TRUE(store.isPaddingClear);
  }

  const std::string path = scratch / "a.tif";
};

TEST_F(Tiff, EveryKindComesInWhole) {
  for (const Kind &kind : kKinds)
    for (const Form &form : {Form{}, Form{COMPRESSION_LZW, true}, Form{COMPRESSION_ADOBE_DEFLATE, false, true},
                             Form{COMPRESSION_PACKBITS, true, true},
                             Form{COMPRESSION_LZW, false, false, 1000, ORIENTATION_BOTLEFT, "wb8"}})
      for (const long width : {1, 7, 33, 64}) {
        SCOPED_TRACE(testing::Message() << kind.photometric << " of " << kind.samples << " x " << kind.bits << " width "
                                        << width << " by " << form.compression);
        RandomTiff tiff(kind, width, 21, random);
        tiff.Write(path, form);
        Check(width, 21, kind.type,
              [&](long x, long y) { return tiff.Pixel(x, form.orientation == ORIENTATION_BOTLEFT ? 20 - y : y); });
        const auto info = InfoOf("zultif32", path);
        EXPECT_EQ(info.dpm_x, 11811);
        EXPECT_EQ(info.dpm_y, 2835);
        const std::size_t count = kind.photometric == PHOTOMETRIC_PALETTE ? std::size_t{1} << kind.bits : 0;
        for (std::size_t i = 0; i < count; ++i) {
          EXPECT_EQ(info.palette[i].rgbRed, tiff.colors[i] >> 8);
          EXPECT_EQ(info.palette[i].rgbBlue, tiff.colors[2 * count + i] >> 8);
        }
        if (kind.photometric == PHOTOMETRIC_MINISWHITE && kind.bits == 1) EXPECT_EQ(info.palette[0].rgbRed, 255);
      }
}

TEST_F(Tiff, EveryLosslessCompression) {
  for (const int compression : {COMPRESSION_CCITTRLE, COMPRESSION_CCITTFAX3, COMPRESSION_CCITTFAX4, COMPRESSION_LZW,
                                COMPRESSION_ADOBE_DEFLATE, COMPRESSION_LZMA, COMPRESSION_ZSTD, COMPRESSION_PACKBITS})
    for (const int rowsPerStrip : {1, 5, 1000}) {
      if (!TIFFIsCODECConfigured(static_cast<std::uint16_t>(compression))) continue;
      SCOPED_TRACE(compression);
      RandomTiff tiff(kKinds[1], 150, 40, random);
      tiff.Write(path, {compression, false, false, rowsPerStrip});
      Check(150, 40, 0, [&](long x, long y) { return tiff.Pixel(x, y); });
    }
}

/// Strips too large to be unpacked at once are read line by line.
TEST_F(Tiff, LargeStrips) {
  for (const bool isSeparate : {false, true}) {
    RandomTiff tiff(kKinds[15], 1200, 700, random);
    tiff.Write(path, {COMPRESSION_ADOBE_DEFLATE, false, isSeparate, 700});
    Check(1200, 700, 9, [&](long x, long y) { return tiff.Pixel(x, y); });
  }
}

/// What libtiff makes the colours of, lying in each of the eight ways.
TEST_F(Tiff, TurnedPictures) {
  for (int orientation = 1; orientation <= 8; ++orientation)
    for (const Kind &kind : {kKinds[12], kKinds[11]}) {
      SCOPED_TRACE(orientation);
      RandomTiff tiff(kind, 23, 11, random);
      tiff.Write(path, {COMPRESSION_NONE, false, false, 3, orientation});
      const bool isOnSide = orientation > 4;
      // Which stored row and column is at the top and at the left.
      const bool flipsRows = orientation == 3 || orientation == 4 || orientation == 6 || orientation == 7;
      const bool flipsColumns = orientation == 2 || orientation == 3 || orientation == 7 || orientation == 8;
      const int type = orientation == 1 || orientation == 4 ? kind.type : 1;
      Check(isOnSide ? 11 : 23, isOnSide ? 23 : 11, type, [&](long x, long y) {
        const long column = isOnSide ? y : x, row = isOnSide ? x : y;
        const std::uint64_t p = tiff.Pixel(flipsColumns ? 22 - column : column, flipsRows ? 10 - row : row);
        if (type == kind.type) return p;
        if (kind.samples == 3) return p;
        // libtiff rounds colours of palettes down to their high bytes.
        return std::uint64_t{tiff.colors[p]} >> 8 << 16 | std::uint64_t{tiff.colors[256 + p]} >> 8 << 8 |
               std::uint64_t{tiff.colors[512 + p]} >> 8;
      });
    }
}

/// JPEG in tiles comes as colours, near to what was saved; process colours come mixed; colours that are multiplied by
/// their alpha come whole.
TEST_F(Tiff, OtherKinds) {
  const Kind colors = {PHOTOMETRIC_YCBCR, 8, 3, 1}, inks = {PHOTOMETRIC_SEPARATED, 8, 4, 1};
  RandomTiff tiff(colors, 32, 32, random);
  for (long x = 0; x < 96; ++x)
    for (long y = 0; y < 32; ++y) tiff.samples.At(x, y) = x % 3 == 0 ? 200u : x % 3 == 1 ? 100u : 50u;
  tiff.Write(path, {COMPRESSION_JPEG, true});
  PQel image;
  ASSERT_TRUE(image.OpenImage(path.c_str()));
  EXPECT_EQ(image.GetImageType(), 1);
  for (int c = 0; c < 3; ++c) EXPECT_NEAR(double(Pixels(image).At(9, 9) >> 8 * c & 0xFF), 50 << c, 4);
  RandomTiff printed(inks, 10, 10, random);
  std::fill(printed.samples.pixels.begin(), printed.samples.pixels.end(), 0);
  printed.samples.At(4 * 3 + 1, 5) = 255;  // magenta
  printed.Write(path, {});
  Check(10, 10, 1, [](long x, long y) { return x == 3 && y == 5 ? 0xFF00FFu : 0xFFFFFFu; });
}

TEST_F(Tiff, AssociatedAlpha) {
  RandomTiff tiff(kKinds[13], 20, 10, random);
  tiff.Write(path, {COMPRESSION_NONE, false, true, 4, ORIENTATION_TOPLEFT, "w", EXTRASAMPLE_ASSOCALPHA});
  Check(20, 10, 8, [&](long x, long y) {
    const std::uint64_t p = tiff.Pixel(x, y), alpha = p >> 24;
    std::uint64_t divided = alpha << 24;
    for (int shift = 0; shift < 24 && alpha > 0; shift += 8)
      divided |= std::min<std::uint64_t>(((p >> shift & 0xFF) * 255 + alpha / 2) / alpha, 255) << shift;
    return alpha > 0 ? divided : p;
  });
}

/// Black and white goes by the code of fax machines, whichever of the two comes first.
TEST_F(Tiff, SavesBlackAndWhiteByGroup4) {
  for (const BYTE first : {0, 255}) {
    const BYTE second = static_cast<BYTE>(255 - first);
    RGBQUAD colors[2] = {{first, first, first, 0}, {second, second, second, 0}};
    PQel image;
    ASSERT_TRUE(image.CreateImage(0, 75, 40, 2, colors, 1000, 1000, 1, 0, 0));
    NaiveImage pixels(75, 40, 1);
    pixels.Randomise(random);
    pixels.Store(image);
    ASSERT_TRUE(image.SaveImage(path.c_str(), "zultiff32"));
    Check(75, 40, 0, [&](long x, long y) { return pixels.At(x, y); });
    EXPECT_EQ(InfoOf("zultif32", path).palette[0].rgbRed, first);
    TIFF *const tiff = TIFFOpen(path.c_str(), "r");
    int compression = 0;
    TIFFGetField(tiff, TIFFTAG_COMPRESSION, &compression);
    EXPECT_EQ(compression & 0xFFFF, COMPRESSION_CCITTFAX4);
    TIFFClose(tiff);
  }
}

/// Lines before the damage stay, the others are 0, and the damage is told.
TEST_F(Tiff, KeepsTheLinesBeforeTheDamage) {
  RandomTiff tiff(kKinds[12], 50, 60, random);
  for (const bool isSeparate : {false, true}) {
    tiff.Write(path, {COMPRESSION_LZW, false, isSeparate, 60});
    std::string bytes = ReadFile(path);
    for (std::size_t i = 4000; i < 4200; ++i) bytes[i] = static_cast<char>(random());
    WriteFile(path, bytes);
    NoisyStore store("zultif32", path, true);
    EXPECT_NE(store.error, "");
    EXPECT_EQ(store.pixels.At(30, 3) & 0xFF0000, tiff.Pixel(30, 3) & 0xFF0000);
    EXPECT_EQ(store.pixels.At(30, 59) & 0xFF, 0u);
  }
}

}  // namespace

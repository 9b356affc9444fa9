// The kinds that are read straight into rows are told by bits, samples and photometric interpretation. Everything that
// is not plainly one of them goes through libtiff's own colour conversion.
#include "codecs/tif/tif_layout.h"

#include <algorithm>

#include "codecs/common/plausible.h"

namespace qel::codecs {
namespace {

struct Directory {
  int bits, samples, photometric, compression, alpha;  // alpha: what the first extra sample is, -1 for none
  bool is_separate;
};

Directory ReadDirectory(const TiffFile &file) {
  Directory directory = {};
  directory.bits = file.Tag<std::uint16_t>(TIFFTAG_BITSPERSAMPLE);
  directory.samples = file.Tag<std::uint16_t>(TIFFTAG_SAMPLESPERPIXEL);
  directory.compression = file.Tag<std::uint16_t>(TIFFTAG_COMPRESSION);
  directory.is_separate =
      directory.samples > 1 && file.Tag<std::uint16_t>(TIFFTAG_PLANARCONFIG) == PLANARCONFIG_SEPARATE;
  std::uint16_t photometric = 0;
  const bool isFax = directory.compression >= COMPRESSION_CCITTRLE && directory.compression <= COMPRESSION_CCITTFAX4;
  if (TIFFGetField(file.Get(), TIFFTAG_PHOTOMETRIC, &photometric) == 0)
    photometric = directory.samples >= 3 ? PHOTOMETRIC_RGB : isFax ? PHOTOMETRIC_MINISWHITE : PHOTOMETRIC_MINISBLACK;
  directory.photometric = photometric;
  std::uint16_t count = 0;
  const std::uint16_t *kinds = nullptr;
  TIFFGetFieldDefaulted(file.Get(), TIFFTAG_EXTRASAMPLES, &count, &kinds);
  directory.alpha = count > 0 && kinds != nullptr ? kinds[0] : -1;
  return directory;
}

/// Colours of a file are words, but some programs have written bytes into them.
bool ReadPalette(const TiffFile &file, int bits, std::vector<RGBQUAD> &palette) {
  std::uint16_t *red = nullptr, *green = nullptr, *blue = nullptr;
  if (TIFFGetField(file.Get(), TIFFTAG_COLORMAP, &red, &green, &blue) == 0) return false;
  const long count = 1L << bits;
  const auto IsWide = [count](const std::uint16_t *map) {
    return std::any_of(map, map + count, [](std::uint16_t level) { return level > 255; });
  };
  const int shift = IsWide(red) || IsWide(green) || IsWide(blue) ? 8 : 0;
  for (long i = 0; i < count; ++i)
    palette.push_back({static_cast<BYTE>(blue[i] >> shift), static_cast<BYTE>(green[i] >> shift),
                       static_cast<BYTE>(red[i] >> shift), 0});
  return true;
}

/// Indices and levels of up to 8 bits.
bool JudgeIndices(const TiffFile &file, const Directory &directory, TiffLayout &layout) {
  const int bits = directory.bits;
  if (directory.samples != 1 || (bits != 1 && bits != 2 && bits != 4 && bits != 8)) return false;
  const bool hasPalette = directory.photometric == PHOTOMETRIC_PALETTE;
  const bool isWhiteFirst = directory.photometric == PHOTOMETRIC_MINISWHITE;
  if (!hasPalette && !isWhiteFirst && directory.photometric != PHOTOMETRIC_MINISBLACK) return false;
  if (hasPalette && !ReadPalette(file, bits, layout.palette)) return false;
  constexpr RGBQUAD kBlack = {0, 0, 0, 0}, kWhite = {255, 255, 255, 0};
  if (!hasPalette && bits == 1) layout.palette = {isWhiteFirst ? kWhite : kBlack, isWhiteFirst ? kBlack : kWhite};
  layout.type = bits == 1 ? 0 : bits == 8 ? (hasPalette ? 3 : 5) : hasPalette ? 2 : 4;
  layout.pixels = bits == 2 ? TiffPixels::kCrumbs : TiffPixels::kAsStored;
  layout.is_inverted = isWhiteFirst && bits > 1;
  return true;
}

/// Channels of 8 and 16 bits.
bool JudgeChannels(const Directory &directory, TiffLayout &layout) {
  const int photometric = directory.photometric, samples = directory.samples;
  const bool isRgb = photometric == PHOTOMETRIC_RGB && samples >= 3;
  const bool isGray = photometric == PHOTOMETRIC_MINISBLACK || photometric == PHOTOMETRIC_MINISWHITE;
  if (directory.bits == 16 && samples <= 8 && (isRgb || isGray)) {
    layout.pixels = isRgb ? TiffPixels::kRgb16 : TiffPixels::kGray16;
    layout.type = 9;
    layout.is_inverted = photometric == PHOTOMETRIC_MINISWHITE;
    layout.planes = directory.is_separate && isRgb ? 3 : 1;
  } else if (directory.bits == 8 && samples <= 4 && isRgb) {
    layout.pixels = samples == 4 ? TiffPixels::kRgba : TiffPixels::kRgb;
    layout.type = samples == 4 ? 8 : 1;
    layout.is_associated = samples == 4 && directory.alpha == EXTRASAMPLE_ASSOCALPHA;
    layout.planes = directory.is_separate ? samples : 1;
  } else if (directory.bits == 8 && samples == 4 && photometric == PHOTOMETRIC_SEPARATED && !directory.is_separate) {
    layout.pixels = TiffPixels::kCmyk;
  } else {
    return false;
  }
  layout.samples = directory.is_separate ? 1 : samples;
  return true;
}

/// Whether libtiff would give lines, or blocks of them, of the size that is reckoned with here.
bool HasLinesAsExpected(const TiffFile &file, const TiffLayout &layout) {
  if (!TIFFIsTiled(file.Get())) return TIFFScanlineSize64(file.Get()) == layout.LineBytes(layout.width);
  const long width = file.Tag<std::uint32_t>(TIFFTAG_TILEWIDTH);
  return width > 0 && width % 8 == 0 && TIFFTileRowSize64(file.Get()) == layout.LineBytes(width);
}

/// Bytes of pixels that a byte of the file makes at the most; 0 for no bound.
int MostOfByte(int compression) {
  switch (compression) {
    case COMPRESSION_NONE:
      return kMostOfPlainRows;
    case COMPRESSION_PACKBITS:
      return kMostOfByteRuns;
    case COMPRESSION_LZW:
      return kMostOfLzw;
    case COMPRESSION_DEFLATE:
    case COMPRESSION_ADOBE_DEFLATE:
      return kMostOfDeflate;
    case COMPRESSION_JPEG:
      return kMostOfHuffmanBlocks;
    default:
      return 0;
  }
}

std::uint64_t LeastBytesOf(const Directory &directory, long width, long height) {
  const int most = MostOfByte(directory.compression);
  const int samples = directory.photometric == PHOTOMETRIC_YCBCR ? 1 : directory.samples;  // colours may be coarser
  return most > 0 ? LeastBytes(width, height, directory.bits * samples, most) : 0;
}

bool IsStraight(const TiffFile &file, Directory directory, TiffLayout &layout) {
  const int format = file.Tag<std::uint16_t>(TIFFTAG_SAMPLEFORMAT);
  if (format != SAMPLEFORMAT_UINT && format != SAMPLEFORMAT_VOID) return false;
  if (layout.orientation != ORIENTATION_TOPLEFT && layout.orientation != ORIENTATION_BOTLEFT) return false;
  if (directory.compression == COMPRESSION_JPEG && directory.photometric == PHOTOMETRIC_YCBCR &&
      !directory.is_separate && directory.samples == 3) {
    TIFFSetField(file.Get(), TIFFTAG_JPEGCOLORMODE, JPEGCOLORMODE_RGB);
    directory.photometric = PHOTOMETRIC_RGB;
  }
  layout.bits = directory.bits;
  return (JudgeIndices(file, directory, layout) || JudgeChannels(directory, layout)) &&
         HasLinesAsExpected(file, layout);
}

}  // namespace

bool JudgeTiff(const TiffFile &file, TiffLayout &layout, std::string &error) {
  TiffLayout common;
  common.width = file.Tag<std::uint32_t>(TIFFTAG_IMAGEWIDTH);
  common.height = file.Tag<std::uint32_t>(TIFFTAG_IMAGELENGTH);
  const int orientation = file.Tag<std::uint16_t>(TIFFTAG_ORIENTATION);
  if (orientation >= ORIENTATION_TOPLEFT && orientation <= ORIENTATION_LEFTBOT) common.orientation = orientation;
  const Directory directory = ReadDirectory(file);
  common.least_bytes = LeastBytesOf(directory, common.width, common.height);
  layout = common;
  if (IsStraight(file, directory, layout)) return true;

  layout = common;
  char reason[1024];
  TIFFRGBAImage image;
  if (TIFFRGBAImageOK(file.Get(), reason) == 0 || TIFFRGBAImageBegin(&image, file.Get(), 0, reason) == 0)
    return error = "the picture's kind of pixels is not supported", false;
  layout.is_associated = image.alpha != 0;
  layout.type = image.alpha != 0 ? 8 : 1;
  TIFFRGBAImageEnd(&image);
  return true;
}

}  // namespace qel::codecs

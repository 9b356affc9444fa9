// JPEG files against libjpeg itself: what it reads and writes, the engine does too, byte for byte.
#include "codecs/pictures.h"

// libjpeg's header has TRUE and FALSE as macros, so the engine's come first.
#include <cstdio>
//
#include <jpeglib.h>

using namespace test;

namespace {

/// A picture's rows, one after another without padding.
struct Plain {
  long width = 0, height = 0;
  int channels = 0;
  std::vector<unsigned char> bytes;

  unsigned char *Row(long y) { return bytes.data() + y * width * channels; }
};

struct Writing {
  J_COLOR_SPACE in, stored;
  bool progressive = false;
  bool adobe = false;
  int quality = 75;
};

std::vector<unsigned char> Encode(Plain &picture, const Writing &writing) {
  jpeg_compress_struct info;
  jpeg_error_mgr error;
  info.err = jpeg_std_error(&error);
  jpeg_create_compress(&info);
  unsigned char *file = nullptr;
  unsigned long size = 0;
  jpeg_mem_dest(&info, &file, &size);
  info.image_width = picture.width;
  info.image_height = picture.height;
  info.input_components = picture.channels;
  info.in_color_space = writing.in;
  jpeg_set_defaults(&info);
  jpeg_set_colorspace(&info, writing.stored);
  jpeg_set_quality(&info, writing.quality, TRUE);
  if (writing.progressive) jpeg_simple_progression(&info);
  info.write_Adobe_marker = writing.adobe;
  info.density_unit = 2;
  info.X_density = info.Y_density = 40;
  jpeg_start_compress(&info, TRUE);
  for (long y = 0; y < picture.height; ++y) {
    JSAMPROW row = picture.Row(y);
    jpeg_write_scanlines(&info, &row, 1);
  }
  jpeg_finish_compress(&info);
  jpeg_destroy_compress(&info);
  std::vector<unsigned char> bytes(file, file + size);
  std::free(file);
  return bytes;
}

Plain Decode(const std::vector<unsigned char> &file, J_COLOR_SPACE out) {
  jpeg_decompress_struct info;
  jpeg_error_mgr error;
  info.err = jpeg_std_error(&error);
  jpeg_create_decompress(&info);
  jpeg_mem_src(&info, file.data(), file.size());
  jpeg_read_header(&info, TRUE);
  info.out_color_space = out;
  jpeg_start_decompress(&info);
  Plain picture{info.image_width, info.image_height, info.output_components, {}};
  picture.bytes.resize(static_cast<std::size_t>(picture.width * picture.height * picture.channels));
  while (info.output_scanline < info.output_height) {
    JSAMPROW row = picture.Row(info.output_scanline);
    jpeg_read_scanlines(&info, &row, 1);
  }
  jpeg_destroy_decompress(&info);
  return picture;
}

/// Soft colours with a little noise, as photographs have.
Plain MakePicture(long width, long height, int channels, std::mt19937 &random) {
  Plain picture{width, height, channels, {}};
  for (long y = 0; y < height; ++y)
    for (long x = 0; x < width; ++x)
      for (int c = 0; c < channels; ++c)
        picture.bytes.push_back(static_cast<unsigned char>(60 + (c + 1) * x + 2 * y / (c + 1) + random() % 8));
  return picture;
}

class Jpeg : public PictureTest {
 protected:
  std::string path = scratch / "a.jpg";
};

TEST_F(Jpeg, EveryKindReadsAsByTheLibrary) {
  const Writing kinds[] = {{JCS_GRAYSCALE, JCS_GRAYSCALE},    {JCS_RGB, JCS_YCbCr},
                           {JCS_RGB, JCS_YCbCr, true},        {JCS_RGB, JCS_RGB, false, true},
                           {JCS_CMYK, JCS_CMYK, false, true}, {JCS_CMYK, JCS_CMYK, true},
                           {JCS_CMYK, JCS_YCCK, false, true}};
  for (const Writing &kind : kinds)
    for (const long width : {1, 17, 50}) {
      SCOPED_TRACE(testing::Message() << kind.in << " as " << kind.stored << " width " << width);
      const int channels = kind.in == JCS_GRAYSCALE ? 1 : kind.in == JCS_RGB ? 3 : 4;
      Plain picture = MakePicture(width, 37, channels, random);
      const std::vector<unsigned char> file = Encode(picture, kind);
      WriteFile(path, file);
      Plain decoded = Decode(file, channels == 3 ? JCS_EXT_BGR : kind.in);
      NaiveImage expected(width, 37, channels == 1 ? 8 : 24);
      for (long i = 0; i < width * 37; ++i) {
        const unsigned char *p = decoded.bytes.data() + i * channels;
        auto &pixel = expected.pixels[static_cast<std::size_t>(i)];
        const auto light = [&](int ink) { return kind.adobe ? p[ink] : 255 - p[ink]; };
        for (int c = 0; c < 3 && channels > 1; ++c)
          pixel = pixel << 8 | static_cast<unsigned>(channels == 3 ? p[2 - c] : (light(c) * light(3) + 127) / 255);
        if (channels == 1) pixel = *p;
      }
      PQel image;
      ASSERT_TRUE(image.OpenImage(path.c_str()));
      EXPECT_EQ(GetCodecTransferError(), nullptr);
      EXPECT_EQ(image.GetImageType(), channels == 1 ? 5 : 1);
      EXPECT_EQ(Pixels(image), expected);
      EXPECT_TRUE(NoisyStore("zuljpeg32", path, true).isPaddingClear);
      if (kind.stored == JCS_YCbCr) EXPECT_EQ(InfoOf("zuljpg32", path).dpm_x, 4000);
    }
}

TEST_F(Jpeg, EveryTypeIsSavedAsByTheLibrary) {
  for (int type = 0; type <= 9; ++type)
    for (const int quality : {0, 75, 101}) {
      SCOPED_TRACE(testing::Message() << "type " << type << " quality " << quality);
      PQel image;
      ASSERT_TRUE(image.CreateImage(type, 29, type % 2 ? 21 : -21, 0, nullptr, 4000, 4000, 1, 0, 0));
      Randomise(image, random);
      NaiveImage colors = To24(image);
      const bool isGray = type == 4 || type == 5;
      Plain plain{29, 21, isGray ? 1 : 3, {}};
      for (const std::uint64_t p : colors.pixels)
        for (int c = 0; c < plain.channels; ++c) plain.bytes.push_back(static_cast<unsigned char>(p >> 8 * c));
      image.SetJPGQuality(quality);
      ASSERT_TRUE(image.SaveJPG(path.c_str(), 0)) << GetCodecTransferError();
      const int taken = quality < 1 ? 1 : quality > 100 ? 100 : quality;
      EXPECT_EQ(ReadFile<std::vector<unsigned char>>(path),
                Encode(plain, {isGray ? JCS_GRAYSCALE : JCS_EXT_BGR, isGray ? JCS_GRAYSCALE : JCS_YCbCr, false, false,
                               taken}));
    }
}

/// Bands of rows that came in before the end stay, the others are 0, and the end is told; a progressive picture comes
/// in whole.
TEST_F(Jpeg, EveryPrefixGivesTheRowsThatCameIn) {
  for (const bool progressive : {false, true}) {
    Plain picture = MakePicture(60, 80, 3, random);
    const std::vector<unsigned char> file = Encode(picture, {JCS_RGB, JCS_YCbCr, progressive});
    WriteFile(path, file);
    NaiveImage expected = NoisyStore("zuljpg32", path, false).pixels;
    long best = 0;
    for (std::size_t length = 0; length + 2 < file.size(); length += 3) {
      WriteFile(path, {file.begin(), file.begin() + static_cast<long>(length)});
      NoisyStore store("zuljpg32", path, false);
      EXPECT_EQ(store.wasRead, 0);
      if (store.pixels.width == 0 || progressive) continue;
      EXPECT_NE(store.error, "");
      long rows = 0;
      while (rows < 80 && store.pixels.Row(rows) == expected.Row(rows)) ++rows;
      EXPECT_GE(rows, best);
      best = rows;
      for (long y = (rows / 16 + 2) * 16; y < 80; ++y) ASSERT_EQ(store.pixels.At(30, y), 0u) << length;
    }
    EXPECT_GE(best, progressive ? 0 : 60);
  }
}

}  // namespace

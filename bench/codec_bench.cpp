// Picture files opened and saved through the format libraries; the yardstick is the library beneath alone, file to
// memory and back. Each run opens its file anew and takes fresh memory, on both sides. Photos are opened too where
// QEL_TEST_DATA names a folder of pictures.
#include <gif_lib.h>
#include <png.h>
#include <sys/mman.h>
#include <tiffio.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "pair.h"
#include "qel/image/image.h"
#include "support/files.h"

// Behind the engine's types: it has TRUE and FALSE as macros.
#include <jpeglib.h>

namespace {

using bench::Repeat;
using bench::Touch;

constexpr long kWidth = 4096, kHeight = 3072, kRowBytes = kWidth * 3;

/// Soft shapes and a little grain, in blue, green, red.
std::vector<unsigned char> MakePhoto() {
  std::vector<unsigned char> photo(static_cast<std::size_t>(kRowBytes * kHeight));
  std::mt19937 random(7);
  std::size_t i = 0;
  for (long y = 0; y < kHeight; ++y)
    for (long x = 0; x < kWidth; ++x)
      for (long c = 0; c < 3; ++c)
        photo[i++] = static_cast<unsigned char>(((x * (c + 2) / 40) ^ (y * (4 - c) / 60)) / 2 + 60 + random() % 24);
  return photo;
}

/// The files of the pairs, made once, and the pixels that they hold.
struct Pictures {
  test::Scratch scratch;
  std::vector<unsigned char> photo = MakePhoto();
  PQel image, grays;
  std::string jpeg = scratch / "photo.jpg", png = scratch / "photo.png", tif = scratch / "photo.tif",
              gif = scratch / "grays.gif", saved = scratch / "saved";

  Pictures() {
    image.CreateImage(1, kWidth, kHeight, 0, nullptr, 0, 0, 1, 0, 0);
    grays.CreateImage(5, kWidth, kHeight, 0, nullptr, 0, 0, 1, 0, 0);
    for (long y = 0; y < kHeight; ++y) {
      image.PutHorLine(y, photo.data() + y * kRowBytes);
      grays.PutHorLine(y, photo.data() + y * kRowBytes);  // the first third of the row
    }
    if (!image.SaveImage(jpeg.c_str(), "zuljpg32") || !image.SaveImage(png.c_str(), "zulpng32") ||
        !image.SaveImage(tif.c_str(), "zultif32") || !grays.SaveImage(gif.c_str(), "zulgif32")) {
      std::fputs("codec_bench: the format libraries are not there\n", stderr);
      std::exit(1);
    }
  }
};

Pictures &Shared() {
  static Pictures pictures;
  return pictures;
}

/// Fresh memory for the yardsticks to decode into, large blocks in huge pages, the best that a program can have; that
/// of a plain malloc makes them several times slower here.
struct Memory {
  static constexpr std::size_t kPage = 2 << 20;

  Memory(std::size_t rowBytes, std::size_t height) {
    const std::size_t size = rowBytes * height, whole = (size + kPage - 1) / kPage * kPage;
    bytes = static_cast<unsigned char *>(size < 2 * kPage ? std::malloc(size) : std::aligned_alloc(kPage, whole));
    if (size >= 2 * kPage) madvise(bytes, whole, MADV_HUGEPAGE);
  }
  ~Memory() {
    Touch(bytes);
    std::free(bytes);
  }
  Memory(const Memory &) = delete;
  Memory &operator=(const Memory &) = delete;

  unsigned char *bytes;
};

// libjpeg alone ------------------------------------------------------------------------------------------------------

void ReadJpeg(const std::string &path) {
  std::FILE *file = std::fopen(path.c_str(), "rb");
  jpeg_decompress_struct info;
  jpeg_error_mgr error;
  info.err = jpeg_std_error(&error);
  jpeg_create_decompress(&info);
  jpeg_stdio_src(&info, file);
  jpeg_read_header(&info, TRUE);
  info.out_color_space = JCS_EXT_BGR;
  jpeg_start_decompress(&info);
  const std::size_t rowBytes = info.output_width * std::size_t{3};
  const Memory memory(rowBytes, info.output_height);
  while (info.output_scanline < info.output_height) {
    JSAMPROW row = memory.bytes + info.output_scanline * rowBytes;
    jpeg_read_scanlines(&info, &row, 1);
  }
  jpeg_finish_decompress(&info);
  jpeg_destroy_decompress(&info);
  std::fclose(file);
}

void WriteJpeg(const std::string &path, const std::vector<unsigned char> &photo) {
  std::FILE *file = std::fopen(path.c_str(), "wb");
  jpeg_compress_struct info;
  jpeg_error_mgr error;
  info.err = jpeg_std_error(&error);
  jpeg_create_compress(&info);
  jpeg_stdio_dest(&info, file);
  info.image_width = kWidth;
  info.image_height = kHeight;
  info.input_components = 3;
  info.in_color_space = JCS_EXT_BGR;
  jpeg_set_defaults(&info);
  jpeg_start_compress(&info, TRUE);
  for (long y = 0; y < kHeight; ++y) {
    JSAMPROW row = const_cast<JSAMPROW>(photo.data() + y * kRowBytes);
    jpeg_write_scanlines(&info, &row, 1);
  }
  jpeg_finish_compress(&info);
  jpeg_destroy_compress(&info);
  std::fclose(file);
}

// libpng alone -------------------------------------------------------------------------------------------------------

void ReadPng(const std::string &path) {
  std::FILE *file = std::fopen(path.c_str(), "rb");
  png_structp png =
      png_create_read_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, [](png_structp, png_const_charp) {});
  png_infop info = png_create_info_struct(png);
  png_init_io(png, file);
  png_read_info(png, info);
  png_set_bgr(png);
  png_read_update_info(png, info);
  const std::size_t rowBytes = png_get_rowbytes(png, info), height = png_get_image_height(png, info);
  const Memory memory(rowBytes, height);
  for (std::size_t y = 0; y < height; ++y) png_read_row(png, memory.bytes + y * rowBytes, nullptr);
  png_read_end(png, nullptr);
  png_destroy_read_struct(&png, &info, nullptr);
  std::fclose(file);
}

// libtiff and giflib alone -------------------------------------------------------------------------------------------

void ReadTiff(const std::string &path) {
  const Memory memory(kRowBytes, kHeight);
  TIFF *tiff = TIFFOpen(path.c_str(), "r");
  unsigned char *to = memory.bytes;
  for (std::uint32_t strip = 0; strip < TIFFNumberOfStrips(tiff); ++strip)
    to += TIFFReadEncodedStrip(tiff, strip, to, -1);
  TIFFClose(tiff);
}

void ReadGif(const std::string &path) {
  const Memory memory(kWidth, kHeight);
  GifFileType *gif = DGifOpenFileName(path.c_str(), nullptr);
  GifRecordType record;
  while (DGifGetRecordType(gif, &record) == GIF_OK && record != IMAGE_DESC_RECORD_TYPE) {
    int code;
    GifByteType *block;
    DGifGetExtension(gif, &code, &block);
    while (block != nullptr) DGifGetExtensionNext(gif, &block);
  }
  DGifGetImageDesc(gif);
  for (long y = 0; y < kHeight; ++y) DGifGetLine(gif, memory.bytes + y * kWidth, kWidth);
  DGifCloseFile(gif, nullptr);
}

// Pairs --------------------------------------------------------------------------------------------------------------

bench::Works Open(const std::string &path, const char *library, void (*bare)(const std::string &)) {
  return {Repeat([=] {
            PQel image;
            if (!image.OpenImage(path.c_str(), library)) std::exit(1);
          }),
          Repeat([=] { bare(path); })};
}

/// Small photos, where opening and closing everything counts.
void AddPhotos() {
  struct Photo {
    const char *name, *library;
    void (*bare)(const std::string &);
  };
  const char *const data = std::getenv("QEL_TEST_DATA");
  if (data == nullptr) return;
  for (const Photo &photo : {Photo{"rocket.jpg", "zuljpg32", ReadJpeg}, Photo{"astronaut.png", "zulpng32", ReadPng}}) {
    const std::string path = std::string(data) + "/photos/" + photo.name;
    if (std::filesystem::exists(path))
      bench::AddPair(
          {std::string("codec/open ") + photo.name, 1.05, 0, [=] { return Open(path, photo.library, photo.bare); }});
  }
}

void AddPairs() {
  AddPhotos();
  constexpr std::size_t kBytes = static_cast<std::size_t>(kRowBytes * kHeight);
  bench::AddPair(
      {"codec/open JPEG, 4096 x 3072, 24-bit", 1.05, kBytes, [] { return Open(Shared().jpeg, "zuljpg32", ReadJpeg); }});
  bench::AddPair(
      {"codec/open PNG, 4096 x 3072, 24-bit", 1.05, kBytes, [] { return Open(Shared().png, "zulpng32", ReadPng); }});
  bench::AddPair(
      {"codec/open TIFF, 4096 x 3072, 24-bit", 1.1, kBytes, [] { return Open(Shared().tif, "zultif32", ReadTiff); }});
  bench::AddPair(
      {"codec/open GIF, 4096 x 3072, 8-bit", 1.1, kBytes / 3, [] { return Open(Shared().gif, "zulgif32", ReadGif); }});
  bench::AddPair({"codec/save JPEG, 4096 x 3072, 24-bit", 1.1, kBytes, [] {
                    Pictures &pictures = Shared();
                    return bench::Works{Repeat([&] { pictures.image.SaveImage(pictures.saved.c_str(), "zuljpg32"); }),
                                        Repeat([&] { WriteJpeg(pictures.saved, pictures.photo); })};
                  }});
}

const bench::PairsAtStart kPairs(AddPairs);

}  // namespace

// PNG files as plain RGB, through libpng's reader without any gamma or colour management.
#pragma once

#include <png.h>

#include <csetjmp>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

namespace test {

/// Red, green, blue bytes, top row first.
struct RgbImage {
  long width = 0, height = 0;
  std::vector<unsigned char> rgb;
};

/// Reads a PNG file; false when it cannot be opened or decoded.
inline bool ReadPng(const std::string &path, RgbImage &image) {
  const std::unique_ptr<std::FILE, int (*)(std::FILE *)> file(std::fopen(path.c_str(), "rb"), std::fclose);
  if (!file) return false;
  png_structp png = png_create_read_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
  png_infop info = png ? png_create_info_struct(png) : nullptr;
  std::vector<png_bytep> rows;  // outlives the jump
  if (!info || setjmp(png_jmpbuf(png))) {
    png_destroy_read_struct(&png, &info, nullptr);
    return false;
  }
  png_init_io(png, file.get());
  png_read_info(png, info);
  png_set_expand(png);
  png_set_strip_16(png);
  png_set_strip_alpha(png);
  png_set_gray_to_rgb(png);
  png_set_interlace_handling(png);
  png_read_update_info(png, info);
  image.width = static_cast<long>(png_get_image_width(png, info));
  image.height = static_cast<long>(png_get_image_height(png, info));
  image.rgb.resize(static_cast<std::size_t>(image.width * image.height * 3));
  for (long y = 0; y < image.height; ++y) rows.push_back(image.rgb.data() + y * image.width * 3);
  png_read_image(png, rows.data());
  png_destroy_read_struct(&png, &info, nullptr);
  return true;
}

}  // namespace test

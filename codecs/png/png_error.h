// How libpng's faults come back: an error keeps its words and jumps to where its owner waits, warnings are passed over.
// No object with a destructor lives in the frames that are jumped over.
#pragma once

#include <png.h>

#include <csetjmp>
#include <cstdio>

namespace qel::codecs {

struct PngError {
  std::jmp_buf jump;
  char message[128] = "";

  [[noreturn]] static void Exit(png_structp png, png_const_charp reason) {
    PngError &error = *static_cast<PngError *>(png_get_error_ptr(png));
    std::snprintf(error.message, sizeof error.message, "%s", reason);
    std::longjmp(error.jump, 1);
  }
  static void Ignore(png_structp, png_const_charp) {}
};

}  // namespace qel::codecs

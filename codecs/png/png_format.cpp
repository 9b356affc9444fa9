// The PNG format library.
#include "codecs/png/png_format.h"

#include <cstring>

namespace qel::codecs {
namespace {

bool IsPng(const unsigned char *pbyHead, std::size_t nBytes) {
  return nBytes >= 8 && std::memcmp(pbyHead, "\x89PNG\r\n\x1A\n", 8) == 0;
}

}  // namespace

const Format kFormat = {"PNG", IsPng, OpenPng, CreatePng};

}  // namespace qel::codecs

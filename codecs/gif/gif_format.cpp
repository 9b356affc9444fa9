// The GIF format library.
#include "codecs/gif/gif_format.h"

#include <cstring>

namespace qel::codecs {
namespace {

bool IsGif(const unsigned char *pbyHead, std::size_t nBytes) {
  return nBytes >= 6 && (std::memcmp(pbyHead, "GIF87a", 6) == 0 || std::memcmp(pbyHead, "GIF89a", 6) == 0);
}

}  // namespace

const Format kFormat = {"GIF", IsGif, OpenGif, CreateGif};

}  // namespace qel::codecs

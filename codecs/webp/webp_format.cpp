// The WebP format library.
#include "codecs/webp/webp_format.h"

#include <cstring>

namespace qel::codecs {
namespace {

bool IsWebp(const unsigned char *pbyHead, std::size_t nBytes) {
  return nBytes >= 12 && std::memcmp(pbyHead, "RIFF", 4) == 0 && std::memcmp(pbyHead + 8, "WEBP", 4) == 0;
}

}  // namespace

const Format kFormat = {"WebP", IsWebp, OpenWebp, CreateWebp};

}  // namespace qel::codecs

// The JPEG format library.
#include <cstring>

#include "codecs/jpeg/jpeg_format.h"

namespace qel::codecs {
namespace {

/// A start mark and the start of the next mark.
bool IsJpeg(const unsigned char *pbyHead, std::size_t nBytes) {
  return nBytes >= 3 && std::memcmp(pbyHead, "\xFF\xD8\xFF", 3) == 0;
}

}  // namespace

const Format kFormat = {"JPEG", IsJpeg, OpenJpeg, CreateJpeg};

}  // namespace qel::codecs

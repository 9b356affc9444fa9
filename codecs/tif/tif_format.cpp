// The TIFF format library.
#include "codecs/tif/tif_format.h"

#include <algorithm>
#include <cstring>

namespace qel::codecs {
namespace {

/// Files of either byte order, with offsets of 4 or 8 bytes.
bool IsTiff(const unsigned char *pbyHead, std::size_t nBytes) {
  constexpr const char *kMarks[] = {"II*\0", "MM\0*", "II+\0", "MM\0+"};
  return nBytes >= 8 && std::any_of(std::begin(kMarks), std::end(kMarks),
                                    [=](const char *mark) { return std::memcmp(pbyHead, mark, 4) == 0; });
}

}  // namespace

const Format kFormat = {"TIFF", IsTiff, OpenTiff, CreateTiff};

}  // namespace qel::codecs

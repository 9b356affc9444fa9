// The BMP format library.
#include "codecs/bmp/bmp_format.h"

#include "codecs/bmp/bmp_header.h"

namespace qel::codecs {
namespace {

bool IsBmp(const unsigned char *pbyHead, std::size_t nBytes) {
  return nBytes >= fileio::kFileHeaderBytes + 4 && pbyHead[0] == 'B' && pbyHead[1] == 'M' &&
         IsBmpHeaderSize(fileio::LoadDword(pbyHead + fileio::kFileHeaderBytes));
}

}  // namespace

const Format kFormat = {"BMP", IsBmp, OpenBmp, nullptr};

}  // namespace qel::codecs

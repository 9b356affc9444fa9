#include "codecs/common/plausible.h"

#include <algorithm>

#include "qel/image/image.h"

namespace qel::codecs {
namespace {

constexpr double kSmallPicture = 64 << 20;  // bytes
constexpr std::uint64_t kShare = 16;        // of the bytes, that any honest part of a file holds

double BytesOf(long width, long height, int bits) {
  return static_cast<double>(width) * static_cast<double>(height) * bits / 8;
}

}  // namespace

std::uint64_t LeastBytes(long width, long height, int bits, int mostOfByte) {
  constexpr double kMost = 1ul << 62;  // sides of 32 bits and many samples would pass it
  return static_cast<std::uint64_t>(std::min(BytesOf(width, height, bits) / mostOfByte, kMost));
}

bool IsPlausible(const PictureInfo &info, std::size_t fileBytes) {
  return BytesOf(info.width, info.height, PQel::GetBitCount(info.type)) <= kSmallPicture ||
         fileBytes >= info.least_bytes / kShare;
}

}  // namespace qel::codecs

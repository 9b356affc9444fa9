// Copies of a line moved left by 1 to 7 bits.
//
// Eight destination bytes at a time come from one big-endian load of eight source bytes and the top bits of the ninth;
// the rest is done byte by byte. The loads stay inside the source bytes that the forms may read, so that a line may end
// with its buffer. The destination may be the source itself: every byte is read before it is written over.
#include "qel/lines/shift_copy.h"

#include <bit>
#include <cstdint>
#include <cstring>

namespace {

constexpr long kStep = 8;

std::uint64_t LoadBigEndian(const unsigned char *p) {
  std::uint64_t value;
  std::memcpy(&value, p, sizeof value);
  return std::endian::native == std::endian::little ? __builtin_bswap64(value) : value;
}

void StoreBigEndian(unsigned char *p, std::uint64_t value) {
  if constexpr (std::endian::native == std::endian::little) value = __builtin_bswap64(value);
  std::memcpy(p, &value, sizeof value);
}

}  // namespace

void ShiftCopyAhead(unsigned char *pDst, const unsigned char *pSrc, long lCount, int nShift) {
  const int nRest = 8 - nShift;
  long i = 0;
  for (; lCount - i >= kStep; i += kStep) {
    const std::uint64_t next = static_cast<std::uint64_t>(pSrc[i + kStep]) >> nRest;
    StoreBigEndian(pDst + i, LoadBigEndian(pSrc + i) << nShift | next);
  }
  for (; i < lCount; ++i) pDst[i] = static_cast<unsigned char>(pSrc[i] << nShift | pSrc[i + 1] >> nRest);
}

void ShiftCopyExact(unsigned char *pDst, const unsigned char *pSrc, long lCount, int nShift) {
  if (lCount < 1) return;
  ShiftCopyAhead(pDst, pSrc, lCount - 1, nShift);
  pDst[lCount - 1] = static_cast<unsigned char>(pSrc[lCount - 1] << nShift);
}

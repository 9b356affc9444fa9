// Exchange of two byte ranges, a word at a time and the rest byte by byte.
#include "qel/lines/swap.h"

#include <cstdint>
#include <cstring>
#include <utility>

namespace qel::lines {

void SwapBytes(unsigned char *pA, unsigned char *pB, unsigned long dwCount) {
  constexpr unsigned long kWord = sizeof(std::uint64_t);
  unsigned long i = 0;
  for (; dwCount - i >= kWord; i += kWord) {
    std::uint64_t a, b;
    std::memcpy(&a, pA + i, kWord);
    std::memcpy(&b, pB + i, kWord);
    std::memcpy(pA + i, &b, kWord);
    std::memcpy(pB + i, &a, kWord);
  }
  for (; i < dwCount; ++i) std::swap(pA[i], pB[i]);
}

}  // namespace qel::lines

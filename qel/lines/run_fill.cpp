// Fills of a line with a repeated unit.
//
// 48 bytes hold a whole number of units of 2, 3, 4 and 6 bytes. So every fill writes one 48-byte pattern over and over,
// which compilers keep in three vector registers, and ends with as much of the pattern as is left over.
#include "qel/lines/run_fill.h"

#include <cstdint>
#include <cstring>

namespace {

constexpr unsigned long kPatternBytes = 48;

/// Fills with the low kUnit bytes of a value.
template <unsigned long kUnit>
inline void FillRun(unsigned char *pDst, std::uint64_t value, unsigned long dwCount) {
  static_assert(kPatternBytes % kUnit == 0);
  constexpr unsigned long kUnits = kPatternBytes / kUnit;
  if (dwCount < kUnits) {  // a short run is done before the pattern would be
    for (unsigned long i = 0; i < dwCount; ++i) std::memcpy(pDst + i * kUnit, &value, kUnit);
    return;
  }
  unsigned char pattern[kPatternBytes];
  for (unsigned long i = 0; i < kUnits; ++i) std::memcpy(pattern + i * kUnit, &value, kUnit);
  for (; dwCount >= kUnits; dwCount -= kUnits, pDst += kPatternBytes) std::memcpy(pDst, pattern, kPatternBytes);
  std::memcpy(pDst, pattern, dwCount * kUnit);
}

}  // namespace

void FillRunWord(unsigned char *pDst, unsigned short w, unsigned long dwCount) {
  FillRun<2>(pDst, w, dwCount);
}

void FillRunTrio(unsigned char *pDst, unsigned long dw, unsigned long dwCount) {
  FillRun<3>(pDst, dw, dwCount);
}

void FillRunDword(unsigned char *pDst, unsigned long dw, unsigned long dwCount) {
  FillRun<4>(pDst, dw, dwCount);
}

void FillRunDlong(unsigned char *pDst, long long ll, unsigned long dwCount) {
  FillRun<6>(pDst, static_cast<std::uint64_t>(ll), dwCount);
}

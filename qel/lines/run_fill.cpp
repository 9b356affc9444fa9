// Fills of a line with a repeated unit.
//
// Three words of 8 bytes hold a whole number of units of 2, 3, 4 and 6 bytes, and so do three vectors of any width. A
// short fill writes three words over and over, a long one a pattern of three vectors (Highway).
#include "qel/lines/run_fill.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "qel/lines/run_fill.cpp"
#include <hwy/foreach_target.h>  // must come before highway.h
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace qel::lines::HWY_NAMESPACE {

#if HWY_TARGET == HWY_SCALAR

unsigned long FillPattern(unsigned char *, const unsigned char *, unsigned long) {
  return 0;
}

#else

namespace hn = hwy::HWY_NAMESPACE;

/// Fills with at least kShortBytes bytes of a pattern that repeats every 48; returns those written. The first vector
/// may lie anywhere, the others on their own boundaries: a store that crosses a cache line costs twice.
unsigned long FillPattern(unsigned char *dst, const unsigned char *pattern, unsigned long bytes) {
  const hn::CappedTag<std::uint8_t, 64> d;
  const unsigned long lanes = hn::Lanes(d);
  hn::StoreU(hn::LoadU(d, pattern), d, dst);
  unsigned long i = lanes - reinterpret_cast<std::uintptr_t>(dst) % lanes;
  const unsigned char *const from = pattern + i % 48;
  const auto a = hn::LoadU(d, from), b = hn::LoadU(d, from + lanes), c = hn::LoadU(d, from + 2 * lanes);
  for (; i + 3 * lanes <= bytes; i += 3 * lanes) {
    hn::Store(a, d, dst + i);
    hn::Store(b, d, dst + i + lanes);
    hn::Store(c, d, dst + i + 2 * lanes);
  }
  return i;
}

#endif

}  // namespace qel::lines::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace qel::lines {

HWY_EXPORT(FillPattern);

namespace {

constexpr unsigned long kPatternBytes = 240;  // three vectors of 64 bytes from any of the first 48
constexpr unsigned long kShortBytes = 384;    // a pattern is made in the time of a fill of this length

/// Bytes 8k to 8k + 7 of a fill with the low kUnit bytes of a value.
template <unsigned long kUnit>
constexpr std::uint64_t FillWord(std::uint64_t value, unsigned long k) {
  value &= (std::uint64_t{1} << 8 * kUnit) - 1;
  const unsigned long skipped = 8 * k % kUnit;
  std::uint64_t word = value >> 8 * skipped;
  for (unsigned long i = kUnit - skipped; i < 8; i += kUnit) word |= value << 8 * i;
  return word;
}

template <unsigned long kUnit>
inline void FillRun(unsigned char *dst, std::uint64_t value, unsigned long count) {
  const unsigned long bytes = count * kUnit;
  const std::uint64_t words[] = {FillWord<kUnit>(value, 0), FillWord<kUnit>(value, 1), FillWord<kUnit>(value, 2)};
  const auto put = [words](unsigned char *to) {  // word by word: a vector of them would wait for their stores
    for (int k = 0; k < 3; ++k) std::memcpy(to + 8 * k, &words[k], 8);
  };
  if (bytes < sizeof words) {
    for (unsigned long i = 0; i < bytes; i += kUnit) std::memcpy(dst + i, &value, kUnit);
    return;
  }
  if (bytes < kShortBytes) {
    for (unsigned long i = 0; i + sizeof words < bytes; i += sizeof words) put(dst + i);
    put(dst + bytes - sizeof words);
    return;
  }
  unsigned char pattern[kPatternBytes];
  for (unsigned long i = 0; i < kPatternBytes; i += sizeof words) put(pattern + i);
  unsigned long done = HWY_DYNAMIC_DISPATCH(FillPattern)(dst, pattern, bytes);
  while (done < bytes) {
    const unsigned long part = std::min(bytes - done, 192ul);
    std::memcpy(dst + done, pattern + done % 48, part);
    done += part;
  }
}

}  // namespace
}  // namespace qel::lines

using qel::lines::FillRun;

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

#endif  // HWY_ONCE

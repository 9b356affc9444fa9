// Fills of a line with a repeated unit.
//
// Three vectors hold a whole number of units of 2, 3, 4 and 6 bytes, whatever a vector's width. So a long fill writes
// one pattern of three vectors over and over (Highway); a short one is done unit by unit before a pattern would be
// made.
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
constexpr unsigned long kShortBytes = 96;

/// Fills with the low kUnit bytes of a value.
template <unsigned long kUnit>
inline void FillRun(unsigned char *dst, std::uint64_t value, unsigned long count) {
  static_assert(kPatternBytes % kUnit == 0);
  const unsigned long bytes = count * kUnit;
  if (bytes < kShortBytes) {
    for (unsigned long i = 0; i < count; ++i) std::memcpy(dst + i * kUnit, &value, kUnit);
    return;
  }
  unsigned char pattern[kPatternBytes];
  for (unsigned long i = 0; i < kPatternBytes / kUnit; ++i) std::memcpy(pattern + i * kUnit, &value, kUnit);
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

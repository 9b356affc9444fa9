// Packing finds the ends of runs and of literal blocks by comparing whole vectors: a run ends at the first byte that is
// not its value, a literal block where three equal bytes begin (three overlapping loads). Blocks are then copied, and
// runs filled, in whole vectors as long as those stay inside the destination: what they write too much is written again
// by the next command. A reader does not know where its source ends, so there literal blocks are read to the byte.
// One source for every vector width, chosen at run time (Highway).
#include "qel/lines/byte_stream.h"

#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstring>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "qel/lines/byte_stream.cpp"
#include <hwy/foreach_target.h>  // must come before highway.h
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace qel::lines::HWY_NAMESPACE {

constexpr long kLongestLiteral = 127;
constexpr long kLongestShortRun = 127;
constexpr long kLongestRun = 65535;
constexpr int kRunBit = 0x80;  // alone: a long run

#if HWY_TARGET != HWY_SCALAR

namespace hn = hwy::HWY_NAMESPACE;

using Bytes = hn::ScalableTag<std::uint8_t>;
using Block = hn::CappedTag<std::uint8_t, 16>;

#endif

// Ends ---------------------------------------------------------------------------------------------------------------

/// Finds where runs begin and end, from the front to the back of `n` bytes. Of one vector at a time it keeps as bits
/// which bytes equal the next one and where three equal ones begin, so that short runs and blocks are told from a
/// register instead of waiting for memory one after the other.
class Scanner {
 public:
  Scanner(const unsigned char *src, long n) : m_src(src), m_n(n) {}

  /// The first of three equal bytes from `i` on; `n` when there are none.
  HWY_INLINE long FindRun(long i) {
#if HWY_TARGET != HWY_SCALAR
    for (; i < m_end || xMoveTo(i); i = m_end) {
      const std::uint64_t found = m_runs >> (i - m_at);
      if (found != 0) return i + std::countr_zero(found);
    }
#endif
    for (; i + 2 < m_n; ++i)
      if (m_src[i] == m_src[i + 1] && m_src[i] == m_src[i + 2]) return i;
    return m_n;
  }

  /// The first byte from `i` on that does not equal byte `i`; `n` when there is none.
  HWY_INLINE long FindRunEnd(long i) const {
    const unsigned char value = m_src[i];
#if HWY_TARGET != HWY_SCALAR
    if (i < m_end) {
      const std::uint64_t found = m_breaks >> (i - m_at);
      if (found != 0) return i + std::countr_zero(found) + 1;
      i = m_end;
    }
    if (xSkip(Bytes(), i, value) || xSkip(Block(), i, value)) return i;
#endif
    while (i < m_n && m_src[i] == value) ++i;
    return i;
  }

 private:
  const unsigned char *m_src;
  long m_n;

#if HWY_TARGET != HWY_SCALAR

  /// Looks at the vector at `i`; false when less than that and two more bytes are left.
  HWY_INLINE bool xMoveTo(long i) {
    const Bytes d;
    const long lanes = static_cast<long>(hn::Lanes(d));
    if (lanes > 64 || i + lanes + 2 > m_n) return false;
    const auto second = hn::LoadU(d, m_src + i + 1);
    const auto isSame = hn::Eq(hn::LoadU(d, m_src + i), second);
    m_runs = xToBits(hn::And(isSame, hn::Eq(second, hn::LoadU(d, m_src + i + 2))));
    m_breaks = xToBits(hn::Not(isSame));
    m_at = i;
    m_end = i + lanes;
    return true;
  }

  template <class M>
  static HWY_INLINE std::uint64_t xToBits(M mask) {
    std::uint8_t bytes[8] = {};
    hn::StoreMaskBits(Bytes(), mask, bytes);
    std::uint64_t bits;
    std::memcpy(&bits, bytes, sizeof bits);
    return bits;
  }

  /// Moves `i` on by whole vectors to the first byte that is not `value`; false when there is none in them.
  template <class D>
  HWY_INLINE bool xSkip(D d, long &i, unsigned char value) const {
    const long lanes = static_cast<long>(hn::Lanes(d));
    for (; i + lanes <= m_n; i += lanes) {
      const auto found = hn::FindFirstTrue(d, hn::Ne(hn::LoadU(d, m_src + i), hn::Set(d, value)));
      if (found < 0) continue;
      i += found;
      return true;
    }
    return false;
  }

  long m_at = 0;               // the vector's first byte
  long m_end = 0;              // the byte behind its last one
  std::uint64_t m_runs = 0;    // bit k: three equal bytes begin at m_at + k
  std::uint64_t m_breaks = 0;  // bit k: the byte behind m_at + k is another

#endif
};

// Moves --------------------------------------------------------------------------------------------------------------

/// Fills `count` bytes; may write the rest of the `room` bytes too.
HWY_INLINE void Fill(unsigned char *dst, unsigned char value, long count, [[maybe_unused]] long room) {
#if HWY_TARGET != HWY_SCALAR
  const Bytes d;
  const long step = static_cast<long>(hn::Lanes(d));
  if (count <= room - step) {
    const auto values = hn::Set(d, value);
    for (long i = 0; i < count; i += step) hn::StoreU(values, d, dst + i);
    return;
  }
#endif
  std::memset(dst, value, static_cast<std::size_t>(count));
}

/// Copies `count` bytes; may read and write the rest of the `room` bytes too.
HWY_INLINE void CopyLoosely(unsigned char *dst, const unsigned char *src, long count, [[maybe_unused]] long room) {
#if HWY_TARGET != HWY_SCALAR
  const Bytes d;
  const long step = static_cast<long>(hn::Lanes(d));
  if (count <= room - step) {
    for (long i = 0; i < count; i += step) hn::StoreU(hn::LoadU(d, src + i), d, dst + i);
    return;
  }
#endif
  std::memcpy(dst, src, static_cast<std::size_t>(count));
}

/// Copies as many bytes as two units hold, at least one unit: the units overlap.
template <class Unit>
HWY_INLINE void CopyEnds(unsigned char *dst, const unsigned char *src, long count) {
  Unit first, last;
  std::memcpy(&first, src, sizeof first);
  std::memcpy(&last, src + count - sizeof last, sizeof last);
  std::memcpy(dst, &first, sizeof first);
  std::memcpy(dst + count - sizeof last, &last, sizeof last);
}

/// Copies up to 127 bytes and touches no other. Not a call of memcpy, which takes longer than most literal blocks.
HWY_INLINE void CopyExactly(unsigned char *dst, const unsigned char *src, long count) {
  if (count >= 16) {
    for (long i = 0; i < count - 16; i += 16) std::memcpy(dst + i, src + i, 16);
    std::memcpy(dst + count - 16, src + count - 16, 16);
  } else if (count >= 8) {
    CopyEnds<std::uint64_t>(dst, src, count);
  } else if (count >= 4) {
    CopyEnds<std::uint32_t>(dst, src, count);
  } else {
    for (long i = 0; i < count; ++i) dst[i] = src[i];
  }
}

// Commands -----------------------------------------------------------------------------------------------------------

HWY_INLINE unsigned char *PutLongRun(unsigned char *dst, long count, unsigned char value) {
  *dst++ = kRunBit;
  *dst++ = static_cast<unsigned char>(count);
  *dst++ = static_cast<unsigned char>(count >> 8);
  *dst++ = value;
  return dst;
}

HWY_INLINE unsigned char *PutRun(unsigned char *dst, long count, unsigned char value) {
  for (; count > kLongestRun; count -= kLongestRun) dst = PutLongRun(dst, kLongestRun, value);
  if (count > kLongestShortRun) return PutLongRun(dst, count, value);
  *dst++ = static_cast<unsigned char>(kRunBit + count);
  *dst++ = value;
  return dst;
}

long PackBytes(unsigned char *dst, const unsigned char *src, long n) {
  unsigned char *p = dst;
  const unsigned char *const end = dst + PackedRoom(n);
  Scanner scanner(src, n);
  for (long i = 0; i < n;) {
    const long run = scanner.FindRun(i);
    while (i < run) {
      const long count = std::min(run - i, kLongestLiteral);
      *p++ = static_cast<unsigned char>(count);
      CopyLoosely(p, src + i, count, std::min(n - i, static_cast<long>(end - p)));
      p += count;
      i += count;
    }
    if (i == n) break;
    const long runEnd = scanner.FindRunEnd(i);
    p = PutRun(p, runEnd - i, src[i]);
    i = runEnd;
  }
  return static_cast<long>(p - dst);
}

void UnpackBytes(unsigned char *dst, const unsigned char *src, long n) {
  while (n > 0) {
    const int control = *src++;
    long count = control & ~kRunBit;
    if (control < kRunBit) {
      count = std::min(count, n);
      CopyExactly(dst, src, count);
      src += count;
    } else {
      if (control == kRunBit) {
        count = src[0] | src[1] << 8;
        src += 2;
      }
      count = std::min(count, n);
      Fill(dst, *src++, count, n);
    }
    dst += count;
    n -= count;
  }
}

}  // namespace qel::lines::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace qel::lines {

HWY_EXPORT(PackBytes);
HWY_EXPORT(UnpackBytes);

long PackBytes(unsigned char *dst, const unsigned char *src, long n) {
  return HWY_DYNAMIC_DISPATCH(PackBytes)(dst, src, n);
}

void UnpackBytes(unsigned char *dst, const unsigned char *src, long n) {
  HWY_DYNAMIC_DISPATCH(UnpackBytes)(dst, src, n);
}

long UnpackedBytes(const unsigned char *src, long n) {
  long made = 0;
  for (long i = 0; i < n;) {
    const long control = src[i];
    const long size = control < 0x80 ? 1 + control : control == 0x80 ? 4 : 2;
    if (size > n - i) return -1;
    made += control < 0x80 ? control : control == 0x80 ? src[i + 1] | src[i + 2] << 8 : control - 0x80;
    i += size;
  }
  return made;
}

}  // namespace qel::lines

#endif  // HWY_ONCE

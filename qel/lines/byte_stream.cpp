// Packing finds the ends of runs and of literal blocks by comparing whole vectors: a run ends at the first byte that is
// not its value, a literal block where three equal bytes begin (three overlapping loads). Blocks are then copied, and
// runs filled, in whole vectors as long as those stay inside the destination: what they write too much is written again
// by the next command. A reader does not know where its source ends, so there literal blocks are read to the byte.
// One source for every vector width, chosen at run time (Highway).
#include "qel/lines/byte_stream.h"

#include <algorithm>
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

#if HWY_TARGET != HWY_SCALAR

/// Moves `i` on by whole vectors, as far as `n`, to the first byte that `isEnd` marks; true when there is one.
template <class D, class IsEnd>
bool MoveToEnd(D d, long &i, long n, IsEnd isEnd) {
  const long step = static_cast<long>(hn::Lanes(d));
  for (; i + step <= n; i += step) {
    const auto found = hn::FindFirstTrue(d, isEnd(d, i));
    if (found >= 0) {
      i += found;
      return true;
    }
  }
  return false;
}

#endif

/// The first byte from `i` on that is not `value`; `n` when there is none.
HWY_INLINE long FindRunEnd(const unsigned char *src, long i, long n, unsigned char value) {
#if HWY_TARGET != HWY_SCALAR
  const auto differs = [=](auto d, long at) HWY_ATTR { return hn::Ne(hn::LoadU(d, src + at), hn::Set(d, value)); };
  if (MoveToEnd(Bytes(), i, n, differs) || MoveToEnd(Block(), i, n, differs)) return i;
#endif
  while (i < n && src[i] == value) ++i;
  return i;
}

/// The first of three equal bytes from `i` on; `n` when there are none.
HWY_INLINE long FindRun(const unsigned char *src, long i, long n) {
#if HWY_TARGET != HWY_SCALAR
  const auto begins = [=](auto d, long at) HWY_ATTR {
    const auto second = hn::LoadU(d, src + at + 1);
    return hn::And(hn::Eq(hn::LoadU(d, src + at), second), hn::Eq(second, hn::LoadU(d, src + at + 2)));
  };
  if (MoveToEnd(Bytes(), i, n - 2, begins) || MoveToEnd(Block(), i, n - 2, begins)) return i;
#endif
  for (; i + 2 < n; ++i)
    if (src[i] == src[i + 1] && src[i] == src[i + 2]) return i;
  return n;
}

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

/// Copies 1 to 127 bytes and touches no other.
HWY_INLINE void CopyExactly(unsigned char *dst, const unsigned char *src, long count) {
#if HWY_TARGET != HWY_SCALAR
  const Block d;
  if (count >= 16) {
    for (long i = 0; i < count - 16; i += 16) hn::StoreU(hn::LoadU(d, src + i), d, dst + i);
    hn::StoreU(hn::LoadU(d, src + count - 16), d, dst + count - 16);
    return;
  }
#endif
  for (long i = 0; i < count; ++i) dst[i] = src[i];
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
  for (long i = 0; i < n;) {
    const long run = FindRun(src, i, n);
    while (i < run) {
      const long count = std::min(run - i, kLongestLiteral);
      *p++ = static_cast<unsigned char>(count);
      CopyLoosely(p, src + i, count, std::min(n - i, static_cast<long>(end - p)));
      p += count;
      i += count;
    }
    if (i == n) break;
    const long runEnd = FindRunEnd(src, i + 3, n, src[i]);
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

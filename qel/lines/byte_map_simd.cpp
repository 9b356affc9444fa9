// Maps of bytes through tables of 256, in vectors where these are wide: one source for every vector width, chosen at
// run time (Highway). A table is 16 pieces of 16 entries, each looked up by a shuffle of all bytes. The shuffles of one
// half of the table give 0 for a byte of the other half, and for a byte that lies before their piece; the pieces hold
// the differences (exclusive or) to the piece before, so that those up to a byte's own add up to its entry. That takes
// 3 instructions a piece, no comparison and no selection; byte by byte a processor is bound by its stores.

#include <array>
#include <cstdint>
#include <cstring>

#include "qel/lines/byte_map_plain.h"
#include "qel/lines/convert.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "qel/lines/byte_map_simd.cpp"
#include <hwy/foreach_target.h>  // must come before highway.h
#include <hwy/highway.h>

#include "qel/lines/byte_lanes-inl.h"

HWY_BEFORE_NAMESPACE();
namespace qel::lines::HWY_NAMESPACE {

// Narrower vectors do not win, and a shuffle that takes the low four bits of any index without the highest bit is a
// matter of these processors.
#if HWY_ARCH_X86 && HWY_TARGET <= HWY_AVX2

/// The pieces of a table as differences to the piece before, within each half.
struct Differences {
  alignas(16) std::uint8_t pieces[256];
  explicit Differences(const unsigned char *map) {
    std::memcpy(pieces, map, sizeof pieces);
    for (int i = 16; i < 128; ++i) {
      pieces[i] ^= map[i - 16];
      pieces[128 + i] ^= map[128 + i - 16];
    }
  }
};

template <class V>
V LookUp(V bytes, const Differences &table) {
  const Bytes d;
  const hn::RebindToSigned<Bytes> d8;
  const auto low = hn::BitCast(d8, bytes), high = hn::Xor(low, hn::Set(d8, -128));  // those of the other half are < 0
  const auto find = [&](decltype(low) half, int k, const std::uint8_t *pieces) {
    const auto index = hn::BitCast(d, hn::SaturatedSub(half, hn::Set(d8, static_cast<std::int8_t>(k))));
    return hn::TableLookupBytesOr0(hn::LoadDup128(d, pieces + k), index);
  };
  V found = hn::Zero(d);
  for (int k = 0; k < 128; k += 16)
    found = hn::Xor(found, hn::Xor(find(low, k, table.pieces), find(high, k, table.pieces + 128)));
  return found;
}

void MapBytes(unsigned char *line, long n, const unsigned char *map) {
  const Bytes d;
  const long step = static_cast<long>(hn::Lanes(d));
  long i = 0;
  if (n >= step) {
    const Differences table(map);
    for (; i + step <= n; i += step) hn::StoreU(LookUp(hn::LoadU(d, line + i), table), d, line + i);
  }
  plain::MapBytes(line + i, n - i, map);
}

/// Bytes 0, 3, 6... of a vector are all ones; from 2 and 1 on, those of bytes 1, 4, 7... and 2, 5, 8...
constexpr auto kEveryThird = [] {
  std::array<std::uint8_t, 66> pattern{};
  for (std::size_t i = 0; i < pattern.size(); i += 3) pattern[i] = 255;
  return pattern;
}();

/// Three vectors of pixels hold a channel at other places each, because their length is no multiple of 3: so what lies
/// at the places of one channel in any of them can be picked into one vector, and put back, without moving a byte.
struct Places {
  hn::Mask<Bytes> first;
  hn::Mask<Bytes> second;
  Places()
      : first(hn::MaskFromVec(hn::LoadU(Bytes(), kEveryThird.data()))),
        second(hn::MaskFromVec(hn::LoadU(Bytes(), kEveryThird.data() + 2))) {}
  template <class V>
  V Pick(V a, V b, V c) const {
    return hn::IfThenElse(first, a, hn::IfThenElse(second, b, c));
  }
};

void Map24(unsigned char *line, long n, const unsigned char *map) {
  const Bytes d;
  const long step = static_cast<long>(hn::Lanes(d));
  long i = 0;
  if (n >= step) {
    const Differences redTable(map), greenTable(map + 256), blueTable(map + 512);
    const Places places;
    for (; i + step <= n; i += step) {
      unsigned char *const p0 = line + 3 * i;  // starts with blue; the other two with green and with red
      unsigned char *const p1 = p0 + (step % 3 == 1 ? step : 2 * step), *const p2 = p0 + 3 * step - (p1 - p0);
      const auto v0 = hn::LoadU(d, p0), v1 = hn::LoadU(d, p1), v2 = hn::LoadU(d, p2);
      const auto blue = LookUp(places.Pick(v0, v2, v1), blueTable);
      const auto green = LookUp(places.Pick(v1, v0, v2), greenTable);
      const auto red = LookUp(places.Pick(v2, v1, v0), redTable);
      hn::StoreU(places.Pick(blue, green, red), d, p0);
      hn::StoreU(places.Pick(green, red, blue), d, p1);
      hn::StoreU(places.Pick(red, blue, green), d, p2);
    }
  }
  plain::Map24(line + 3 * i, n - i, map);
}

#else

using plain::Map24;
using plain::MapBytes;

#endif

}  // namespace qel::lines::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

// Entry points: each chooses its vector width on its first call ------------------------------------------------------

namespace qel::lines {

HWY_EXPORT(MapBytes);
HWY_EXPORT(Map24);

void MapBytes(unsigned char *line, long n, const unsigned char *map) {
  HWY_DYNAMIC_DISPATCH(MapBytes)(line, n, map);
}
void Map24(unsigned char *line, long n, const unsigned char *map) {
  HWY_DYNAMIC_DISPATCH(Map24)(line, n, map);
}

}  // namespace qel::lines

#endif  // HWY_ONCE

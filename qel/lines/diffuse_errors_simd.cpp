// Errors of diffused lines between rows and loops: one source for every vector width, chosen at run time (Highway). A
// compiler leaves most of these loops to single pixels, because of the order of the channels and the narrowing of sums.
//
// Three vectors of eight 16-bit channels hold eight pixels. Where a channel stands for three, three vectors of 32-bit
// entries hold the triples of four pixels.

#include <cstring>

#include "qel/lines/diffuse_errors.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "qel/lines/diffuse_errors_simd.cpp"
#include <hwy/foreach_target.h>  // must come before highway.h
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace qel::lines::HWY_NAMESPACE {

#if HWY_TARGET == HWY_SCALAR

using plain::GatherDisplayErrors;
using plain::GatherErrors;
using plain::GatherGrayErrors;
using plain::SpreadDisplayErrors;
using plain::SpreadErrors;
using plain::SpreadGrayErrors;

#else

namespace hn = hwy::HWY_NAMESPACE;

using Bytes = hn::FixedTag<std::uint8_t, 16>;
using Channels = hn::FixedTag<std::int16_t, 8>;
using HalfChannels = hn::FixedTag<std::int16_t, 4>;
using Entries = hn::FixedTag<std::int32_t, 4>;
using Row = hn::ScalableTag<std::int32_t>;
using RowChannels = hn::Rebind<std::int16_t, Row>;

constexpr std::uint8_t kNone = 0x80;  // this byte becomes 0

// Gathering ----------------------------------------------------------------------------------------------------------

/// Eight entries of a row, limited to 16 bits.
hn::Vec<Channels> LoadEntries(const std::int32_t *row) {
  const Entries d32;
  const HalfChannels half;
  const auto low = hn::DemoteTo(half, hn::LoadU(d32, row)), high = hn::DemoteTo(half, hn::LoadU(d32, row + 4));
  return hn::Combine(Channels(), high, low);
}

/// The same; they become 0.
hn::Vec<Channels> TakeEntries(std::int32_t *row) {
  const Entries d32;
  const auto entries = LoadEntries(row);
  hn::StoreU(hn::Zero(d32), d32, row);
  hn::StoreU(hn::Zero(d32), d32, row + 4);
  return entries;
}

/// Calls `step` with the place and the colours of every eight channels of 24-bit pixels, in the order red, green, blue;
/// returns how many pixels of n it came past.
template <class Step>
long ForEachEight(const unsigned char *colors, long n, Step step) {
  // channels 8 k .. of eight pixels, and where 16 bytes begin that hold them
  alignas(16) static constexpr std::uint8_t kOrder[3][16] = {
      {2, kNone, 1, kNone, 0, kNone, 5, kNone, 4, kNone, 3, kNone, 8, kNone, 7, kNone},
      {0, kNone, 5, kNone, 4, kNone, 3, kNone, 8, kNone, 7, kNone, 6, kNone, 11, kNone},
      {8, kNone, 7, kNone, 12, kNone, 11, kNone, 10, kNone, 15, kNone, 14, kNone, 13, kNone}};
  constexpr long kFrom[3] = {0, 6, 8};
  long i = 0;
  for (; i + 8 <= n; i += 8) {
    for (int k = 0; k < 3; ++k) {
      const auto bytes = hn::LoadU(Bytes(), colors + 3 * i + kFrom[k]);
      step(3 * i + 8 * k, hn::BitCast(Channels(), hn::TableLookupBytesOr0(bytes, hn::Load(Bytes(), kOrder[k]))));
    }
  }
  return i;
}

void GatherErrors(std::int16_t *sums, std::int16_t *least, std::int16_t *greatest, const unsigned char *colors,
                  std::int32_t *errors, long n) {
  const Channels d;
  const auto reach = hn::Set(d, 128), widest = hn::Set(d, 256), white = hn::Set(d, 255);
  const long i = ForEachEight(colors, n, [&](long to, hn::Vec<Channels> color) {
    const auto error = hn::Min(hn::Max(TakeEntries(errors + to), hn::Neg(widest)), widest);
    hn::StoreU(hn::ShiftLeft<4>(hn::Add(color, error)), d, sums + to);
    hn::StoreU(hn::ShiftLeft<4>(hn::Max(hn::Sub(color, reach), hn::Zero(d))), d, least + to);
    hn::StoreU(hn::ShiftLeft<4>(hn::Min(hn::Add(color, reach), white)), d, greatest + to);
  });
  plain::GatherErrors(sums + 3 * i, least + 3 * i, greatest + 3 * i, colors + 3 * i, errors + 3 * i, n - i);
}

void GatherDisplayErrors(const DisplaySums &to, const unsigned char *colors, const std::int32_t *errors, long n) {
  const Channels d;
  const auto reach = hn::Set(d, 128), widest = hn::Set(d, 296), white = hn::Set(d, 255);
  const long i = ForEachEight(colors, n, [&](long at, hn::Vec<Channels> color) {
    const auto error = hn::Min(hn::Max(LoadEntries(errors + at), hn::Neg(widest)), widest);
    const auto least = hn::Sub(color, reach), greatest = hn::Add(color, reach);
    hn::StoreU(hn::ShiftLeft<4>(hn::Add(color, error)), d, to.sums + at);
    hn::StoreU(hn::ShiftLeft<4>(least), d, to.least + at);
    hn::StoreU(hn::ShiftLeft<4>(greatest), d, to.greatest + at);
    hn::StoreU(hn::ShiftLeft<4>(hn::Max(least, hn::Zero(d))), d, to.leastKey + at);
    hn::StoreU(hn::ShiftLeft<4>(hn::Min(greatest, white)), d, to.greatestKey + at);
  });
  plain::GatherDisplayErrors(to + 3 * i, colors + 3 * i, errors + 3 * i, n - i);
}

bool GatherGrayErrors(std::int16_t *sums, const unsigned char *levels, std::int32_t *errors, long n, int limit,
                      int offset) {
  const Row d;
  const RowChannels d16;
  const hn::Rebind<std::uint8_t, Row> d8;
  const long step = static_cast<long>(hn::Lanes(d));
  const auto greatest = hn::Set(d, limit), start = hn::Set(d, offset);
  auto isBad = hn::Zero(d);  // bits of unequal channels, a sign where one lies beyond the limit
  long i = 0;
  for (; i + step <= n; i += step) {
    hn::Vec<Row> red, green, blue;
    hn::LoadInterleaved3(d, errors + 3 * i, red, green, blue);
    isBad = hn::Or(isBad, hn::Or(hn::Xor(red, green), hn::Xor(red, blue)));
    isBad = hn::Or(isBad, hn::Xor(red, hn::Min(hn::Max(red, hn::Neg(greatest)), greatest)));
    const auto level = hn::PromoteTo(d, hn::LoadU(d8, levels + i));
    hn::StoreU(hn::DemoteTo(d16, hn::Add(hn::Add(level, start), red)), d16, sums + i);
  }
  if (!hn::AllTrue(d, hn::Eq(isBad, hn::Zero(d)))) return false;
  if (!plain::GatherGrayErrors(sums + i, levels + i, errors + 3 * i, n - i, limit, offset)) return false;
  std::memset(errors, 0, static_cast<std::size_t>(3 * i) * sizeof *errors);
  return true;
}

// Spreading ----------------------------------------------------------------------------------------------------------

/// 5, 3 and 1 sixteenths.
template <class V>
V SharesOf(V below, V ahead, V behind) {
  const auto five = hn::Add(hn::ShiftLeft<2>(below), below), three = hn::Add(hn::ShiftLeft<1>(ahead), ahead);
  return hn::Add(hn::Add(hn::ShiftRight<4>(five), hn::ShiftRight<4>(three)), hn::ShiftRight<4>(behind));
}

template <class D>
hn::Vec<D> SharesAt(D d, const std::int16_t *errors, long ahead) {
  return SharesOf(hn::LoadU(d, errors), hn::LoadU(d, errors + ahead), hn::LoadU(d, errors - ahead));
}

void SpreadErrors(std::int32_t *row, const std::int16_t *errors, long n, long ahead) {
  const Row d;
  const RowChannels d16;
  const long step = static_cast<long>(hn::Lanes(d));
  long i = 0;
  for (; i + step <= n; i += step) {
    const auto shares = hn::PromoteTo(d, SharesAt(d16, errors + i, ahead));
    hn::StoreU(hn::Add(hn::LoadU(d, row + i), shares), d, row + i);
  }
  plain::SpreadErrors(row + i, errors + i, n - i, ahead);
}

void SpreadGrayErrors(std::int32_t *row, const std::int16_t *errors, long n, long ahead) {
  alignas(16) static constexpr std::uint8_t kThrice[3][16] = {
      {0, 1, 2, 3, 0, 1, 2, 3, 0, 1, 2, 3, 4, 5, 6, 7},
      {4, 5, 6, 7, 4, 5, 6, 7, 8, 9, 10, 11, 8, 9, 10, 11},
      {8, 9, 10, 11, 12, 13, 14, 15, 12, 13, 14, 15, 12, 13, 14, 15}};
  const Entries d;
  const HalfChannels d16;
  const Bytes d8;
  long i = 0;
  for (; i + 4 <= n; i += 4, row += 12) {
    const auto shares = hn::BitCast(d8, hn::PromoteTo(d, SharesAt(d16, errors + i, ahead)));
    for (int k = 0; k < 3; ++k) {
      const auto thrice = hn::BitCast(d, hn::TableLookupBytes(shares, hn::Load(d8, kThrice[k])));
      hn::StoreU(hn::Add(hn::LoadU(d, row + 4 * k), thrice), d, row + 4 * k);
    }
  }
  plain::SpreadGrayErrors(row, errors + i, n - i, ahead);
}

/// `Times` sixteenths, truncated toward zero.
template <int Times, class D>
hn::Vec<D> Share(D d, hn::Vec<D> errors) {
  const auto times = hn::Mul(errors, hn::Set(d, Times));
  const auto bias = hn::And(hn::ShiftRight<15>(times), hn::Set(d, 15));
  return hn::ShiftRight<4>(hn::Add(times, bias));
}

void SpreadDisplayErrors(std::int32_t *current, std::int32_t *next, const std::int16_t *errors, long n) {
  const Row d;
  const RowChannels d16;
  const long step = static_cast<long>(hn::Lanes(d));
  long i = 0;
  for (; i + step <= n; i += step) {
    const auto before = hn::LoadU(d16, errors + i), above = hn::LoadU(d16, errors + i + 3),
               after = hn::LoadU(d16, errors + i + 6);
    const auto below = hn::Add(hn::Add(Share<1>(d16, before), Share<5>(d16, above)), Share<3>(d16, after));
    hn::StoreU(hn::Add(hn::LoadU(d, current + i + 3), hn::PromoteTo(d, Share<7>(d16, before))), d, current + i + 3);
    hn::StoreU(hn::PromoteTo(d, below), d, next + i + 3);
  }
  plain::SpreadDisplayErrors(current + i, next + i, errors + i, n - i);
}

#endif  // HWY_TARGET == HWY_SCALAR

}  // namespace qel::lines::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

// Entry points: each chooses its vector width on its first call ------------------------------------------------------

namespace qel::lines {

HWY_EXPORT(GatherErrors);
HWY_EXPORT(GatherGrayErrors);
HWY_EXPORT(SpreadErrors);
HWY_EXPORT(SpreadGrayErrors);
HWY_EXPORT(GatherDisplayErrors);
HWY_EXPORT(SpreadDisplayErrors);

void GatherErrors(std::int16_t *sums, std::int16_t *least, std::int16_t *greatest, const unsigned char *colors,
                  std::int32_t *errors, long n) {
  HWY_DYNAMIC_DISPATCH(GatherErrors)(sums, least, greatest, colors, errors, n);
}

bool GatherGrayErrors(std::int16_t *sums, const unsigned char *levels, std::int32_t *errors, long n, int limit,
                      int offset) {
  return HWY_DYNAMIC_DISPATCH(GatherGrayErrors)(sums, levels, errors, n, limit, offset);
}

void SpreadErrors(std::int32_t *row, const std::int16_t *errors, long n, long ahead) {
  HWY_DYNAMIC_DISPATCH(SpreadErrors)(row, errors, n, ahead);
}

void SpreadGrayErrors(std::int32_t *row, const std::int16_t *errors, long n, long ahead) {
  HWY_DYNAMIC_DISPATCH(SpreadGrayErrors)(row, errors, n, ahead);
}

void GatherDisplayErrors(const DisplaySums &to, const unsigned char *colors, const std::int32_t *errors, long n) {
  HWY_DYNAMIC_DISPATCH(GatherDisplayErrors)(to, colors, errors, n);
}

void SpreadDisplayErrors(std::int32_t *current, std::int32_t *next, const std::int16_t *errors, long n) {
  HWY_DYNAMIC_DISPATCH(SpreadDisplayErrors)(current, next, errors, n);
}

}  // namespace qel::lines

#endif  // HWY_ONCE

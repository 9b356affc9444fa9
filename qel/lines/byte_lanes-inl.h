// Vectors of bytes as 16-bit lanes, for the line functions that compute with bytes. Even and odd bytes stay apart (mask
// and shift), so that no lane needs to be moved. Included once a vector width, below highway.h.

#if defined(QEL_LINES_BYTE_LANES_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef QEL_LINES_BYTE_LANES_INL_H_
#undef QEL_LINES_BYTE_LANES_INL_H_
#else
#define QEL_LINES_BYTE_LANES_INL_H_
#endif

#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace qel::lines::HWY_NAMESPACE {

#if HWY_TARGET != HWY_SCALAR

namespace hn = hwy::HWY_NAMESPACE;

using Bytes = hn::ScalableTag<std::uint8_t>;
using Words = hn::Repartition<std::uint16_t, Bytes>;

/// The even or odd bytes of a vector.
template <class V>
auto EvenBytes(V v) {
  return hn::And(hn::BitCast(Words(), v), hn::Set(Words(), 0xFF));
}
template <class V>
auto OddBytes(V v) {
  return hn::ShiftRight<8>(hn::BitCast(Words(), v));
}

/// Bytes of lanes below 256.
template <class V>
auto JoinBytes(V even, V odd) {
  return hn::BitCast(Bytes(), hn::Or(even, hn::ShiftLeft<8>(odd)));
}

/// The even or odd bytes times 256, and their products with a constant: a multiply-high, because compilers make chains
/// of shifts and sums of a plain one, which take longer.
template <class V>
auto EvenRaised(V v) {
  return hn::ShiftLeft<8>(hn::BitCast(Words(), v));
}
template <class V>
auto OddRaised(V v) {
  return hn::And(hn::BitCast(Words(), v), hn::Set(Words(), 0xFF00));
}
template <unsigned kFactor, class V>
V Times(V raised) {
  return hn::MulHigh(raised, hn::Set(Words(), kFactor << 8));
}

#endif  // HWY_TARGET != HWY_SCALAR

}  // namespace qel::lines::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif  // QEL_LINES_BYTE_LANES_INL_H_

// Zoomed lines: walks along a zoom table, and nearest neighbours. These follow the tables entry by entry.

#include "qel/lines/rescale.h"

#include <algorithm>

namespace qel::lines {

// Zoom tables --------------------------------------------------------------------------------------------------------

namespace {

/// Walks a zoom-out table until `m` destination pixels are closed. The sums are 32 bits wide.
template <int kChannels>
void Average(unsigned char *dst, const unsigned char *src, const int *map, const std::int32_t *weights, long n, long m,
             std::uint32_t start) {
  const auto divisor = static_cast<std::uint32_t>(n);
  std::uint32_t sums[kChannels];
  std::fill_n(sums, kChannels, start);
  for (long k = 0, i = 0; k < n && i < m; ++map, ++weights) {
    for (int c = 0; c < kChannels; ++c) sums[c] += src[kChannels * k + c] * static_cast<std::uint32_t>(*weights);
    if (*map == 0) {
      ++k;
      continue;
    }
    for (int c = 0; c < kChannels; ++c) {
      dst[kChannels * i + c] = static_cast<unsigned char>(sums[c] / divisor);
      sums[c] = start;
    }
    ++i;
  }
}

template <int kChannels>
void Interpolate(unsigned char *dst, const unsigned char *src, const int *map, const std::int32_t *weights1,
                 const std::int32_t *weights2, long n, long m) {
  for (long i = 0, k = 0; i < m; ++i) {
    const unsigned char *const a = src + kChannels * k;
    const unsigned char *const b = k + 1 < n ? a + kChannels : a;  // the last pixel's partner has no weight
    const std::int64_t w1 = weights1[i], w2 = weights2[i];
    for (int c = 0; c < kChannels; ++c)
      dst[kChannels * i + c] = static_cast<unsigned char>((a[c] * w1 + b[c] * w2 + m / 2) / m);
    if (map[i] != 0 && k + 1 < n) ++k;
  }
}

}  // namespace

void ZoomOut(unsigned char *dst, const unsigned char *src, const int *map, const std::int32_t *weights, long n, long m,
             int channels) {
  (channels == 3 ? Average<3> : Average<1>)(dst, src, map, weights, n, m, static_cast<std::uint32_t>(n / 2));
}

void ZoomIn(unsigned char *dst, const unsigned char *src, const int *map, const std::int32_t *weights1,
            const std::int32_t *weights2, long n, long m, int channels) {
  (channels == 3 ? Interpolate<3> : Interpolate<1>)(dst, src, map, weights1, weights2, n, m);
}

// Runs ---------------------------------------------------------------------------------------------------------------

void SetPicks(std::uint32_t *picks, const std::uint32_t *starts, long count) {
  for (long i = 0; i < count; ++i)
    picks[i] = (starts[i] - starts[i / 4 * 4]) * 0x10001 + 0x80018000;  // byte, none, next byte, none
}

// Nearest neighbours -------------------------------------------------------------------------------------------------

namespace {

/// The source positions of successive destination pixels, stepped without a division.
class NearestWalk {
 public:
  NearestWalk(long n, long m)
      : m_divisor(m > 1 ? m - 1 : 1),
        m_step(m > 1 ? (n - 1) / m_divisor : 0),
        m_rest(m > 1 ? (n - 1) % m_divisor : 0),
        m_position(0),
        m_fraction(m > 1 ? (m - 1) / 2 : 0) {}

  long Next() {
    const long position = m_position;
    m_position += m_step;
    m_fraction += m_rest;
    if (m_fraction >= m_divisor) {
      m_fraction -= m_divisor;
      ++m_position;
    }
    return position;
  }

 private:
  long m_divisor, m_step, m_rest, m_position, m_fraction;
};

}  // namespace

void NearestBytes(unsigned char *dst, const unsigned char *src, long n, long m) {
  NearestWalk walk(n, m);
  for (long i = 0; i < m; ++i) dst[i] = src[walk.Next()];
}

void NearestNibbles(unsigned char *dst, const unsigned char *src, long n, long m) {
  NearestWalk walk(n, m);
  for (long i = 0; i < m; ++i) {
    const long x = walk.Next();
    const int v = x % 2 ? src[x / 2] & 0x0F : src[x / 2] >> 4;
    dst[i / 2] = static_cast<unsigned char>(i % 2 ? dst[i / 2] | v : v << 4);
  }
}

// Pixels left out ----------------------------------------------------------------------------------------------------

void LeaveOut(unsigned char *colours, unsigned char *levels, long n) {
  for (long i = 0; i < n; ++i) {
    if (levels[i] == 255)
      std::fill_n(colours + 3 * i, 3, static_cast<unsigned char>(0));
    else
      levels[i] = 0;
  }
}

void GiveBack(unsigned char *colours, unsigned char *levels, long n) {
  for (long i = 0; i < n; ++i) {
    const int rest = 255 - levels[i];
    if (rest == 0 || rest == 255) continue;
    for (unsigned char *p = colours + 3 * i, *end = p + 3; p < end; ++p)
      *p = static_cast<unsigned char>(*p < rest ? *p * 255 / rest : 255);
  }
}

}  // namespace qel::lines

// Public lines --------------------------------------------------------------------------------------------------------

namespace {

/// The first entry of a zoom-out table closes the first source pixel, so that its weight is the length of one: m.
template <int kChannels>
void AverageLine(const unsigned char *src, unsigned char *dst, const int *map, const std::int32_t *weights, long n,
                 long start) {
  if (src == nullptr || dst == nullptr || map == nullptr || weights == nullptr || n < 1) return;
  qel::lines::Average<kChannels>(dst, src, map, weights, n, weights[0], static_cast<std::uint32_t>(start));
}

}  // namespace

void ZoomOutGrayLine(const unsigned char *pSrc, unsigned char *pOut, const int *pnMap, const std::int32_t *plWeights,
                     long n, long nStart) {
  AverageLine<1>(pSrc, pOut, pnMap, plWeights, n, nStart);
}

void ZoomOut24bitLine(const unsigned char *pSrc, unsigned char *pOut, const int *pnMap, const std::int32_t *plWeights,
                      long n, long nStart) {
  AverageLine<3>(pSrc, pOut, pnMap, plWeights, n, nStart);
}

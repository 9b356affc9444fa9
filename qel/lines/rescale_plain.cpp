// The plain loops behind the vector forms of rescaling.

#include "qel/lines/rescale_plain.h"

namespace qel::lines::plain {

void Accumulate(std::uint32_t *acc, const unsigned char *line, long n, std::uint32_t weight) {
  for (long i = 0; i < n; ++i) acc[i] += line[i] * weight;
}

void Divide(unsigned char *out, const std::uint32_t *acc, long n, std::uint32_t divisor) {
  for (long i = 0; i < n; ++i) out[i] = static_cast<unsigned char>(acc[i] / divisor);
}

void Blend(unsigned char *out, const unsigned char *a, const unsigned char *b, std::int32_t divisor,
           std::int32_t weight1, std::int32_t weight2, long n) {
  const std::int64_t w1 = weight1, w2 = weight2;
  for (long i = 0; i < n; ++i) out[i] = static_cast<unsigned char>((a[i] * w1 + b[i] * w2) / divisor);
}

namespace {

template <int kChannels>
void SumRuns(unsigned char *dst, const unsigned char *src, const Runs &runs) {
  for (long i = 0; i < runs.count; ++i) {
    const unsigned char *p = src + runs.starts[i];
    const std::uint32_t *weights = runs.weights + i / kGroup * kGroup * runs.pairs + i % kGroup;
    std::uint32_t sums[kChannels];
    for (auto &sum : sums) sum = runs.start;
    for (long k = 0; k < runs.pairs; ++k, p += 2 * kChannels, weights += kGroup)
      for (int c = 0; c < kChannels; ++c) sums[c] += p[c] * (*weights & 0xFFFF) + p[kChannels + c] * (*weights >> 16);
    for (int c = 0; c < kChannels; ++c) dst[kChannels * i + c] = static_cast<unsigned char>(sums[c] / runs.divisor);
  }
}

}  // namespace

void SumRuns8(unsigned char *dst, const unsigned char *src, const Runs &runs) {
  SumRuns<1>(dst, src, runs);
}

void SumRuns24(unsigned char *dst, const unsigned char *src, const Runs &runs) {
  SumRuns<3>(dst, src, runs);
}

void SumSpans(unsigned char *dst, const unsigned char *src, const Spans &spans) {
  for (long i = 0; i < spans.count; ++i) {
    const unsigned char *const p = src + spans.starts[i], *const last = p + spans.lengths[i] - 1;
    std::uint32_t sum = 0;
    for (const unsigned char *q = p; q <= last; ++q) sum += *q;
    sum = spans.start + sum * spans.weight - *p * spans.cuts[0][i] - *last * spans.cuts[1][i];
    dst[i] = static_cast<unsigned char>(sum / spans.divisor);
  }
}

}  // namespace qel::lines::plain

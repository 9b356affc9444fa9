// The plain loops behind the vector forms of rescaling: their tails, and the truth that tests hold them against.
#pragma once

#include "qel/lines/rescale.h"

namespace qel::lines::plain {

void Accumulate(std::uint32_t *acc, const unsigned char *line, long n, std::uint32_t weight);
void Divide(unsigned char *out, const std::uint32_t *acc, long n, std::uint32_t divisor);
void Blend(unsigned char *out, const unsigned char *a, const unsigned char *b, std::int32_t divisor,
           std::int32_t weight1, std::int32_t weight2, long n);
void SumRuns8(unsigned char *dst, const unsigned char *src, const Runs &runs);
void SumRuns24(unsigned char *dst, const unsigned char *src, const Runs &runs);
void SumSpans(unsigned char *dst, const unsigned char *src, const Spans &spans);

}  // namespace qel::lines::plain

// The plain loops behind the quick filters: their tails, and the truth that tests hold them against.
#pragma once

#include "qel/lines/gaussian.h"

namespace qel::lines::plain {

void SmoothRow(unsigned char *out, const unsigned char *in, long count, long stride, const SmoothKernel &kernel);
void ZipRows(unsigned char *pairs, const unsigned char *a, const unsigned char *b, long count);

/// Columns from .. count - 1.
void SmoothColumns(unsigned char *const *out, const unsigned char *const *pairs, long from, long count,
                   const SmoothKernel &kernel);

}  // namespace qel::lines::plain

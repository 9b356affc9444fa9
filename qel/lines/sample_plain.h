// The plain loops behind the vector forms: the truth that tests hold those against.
#pragma once

#include "qel/lines/sample.h"

namespace qel::lines::plain {

bool FindSamples(std::int32_t *places, SampleWalks &walks, const SampleGrid &grid, long count);
void AverageSamples(unsigned char *dst, const SamplePixels &pixels, const std::int32_t *places, long count, long points,
                    bool all);

}  // namespace qel::lines::plain

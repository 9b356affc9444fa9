// The plain loop behind the search for samples: the truth that tests hold the vector form against.
#pragma once

#include "qel/lines/sample.h"

namespace qel::lines::plain {

bool FindSamples(std::int32_t *places, SampleWalks &walks, const SampleGrid &grid, long count);

}  // namespace qel::lines::plain

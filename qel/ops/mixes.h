// The mask mix of each image type.
#pragma once

#include "qel/lines/mix.h"

namespace qel::ops {

using Mix = void (*)(unsigned char *line, const unsigned char *fresh, const unsigned char *mask, long n);

/// By type code, 0 to 9.
constexpr Mix kMixes[] = {lines::MixBits, lines::Mix24,  lines::MixNibbles, lines::MixIndices, lines::MixNibbles,
                          lines::MixGray, lines::Mix555, lines::Mix565,     lines::Mix32,      lines::Mix48};

}  // namespace qel::ops

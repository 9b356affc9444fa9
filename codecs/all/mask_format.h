// Mask files as one more format of the reader library. They have no format library: the engine itself opens them by
// name, and would take the library's answer, which knows no resolution, instead of its own.
#pragma once

#include "codecs/common/format.h"

namespace qel::codecs {

/// Reads what PQel::LoadMask reads.
extern const Format kMaskFormat;

}  // namespace qel::codecs

// Reading BMP files, also those that the engine's own reader of device-independent bitmaps leaves alone. Writing them
// is the engine's.
#pragma once

#include <memory>

#include "codecs/common/format.h"

namespace qel::codecs {

/// Files with headers of 12 and of 40 to 124 bytes. Palettes, 5-5-5, 5-6-5, 24 and 32 bits come as they are; words with
/// other channel masks as 24 bits or, when they have an alpha channel, as 32. Packed rows come with the palette of the
/// file and 0 where they skip pixels. Pixels that did not come in are 0.
std::unique_ptr<Decoder> OpenBmp(int nFile);

}  // namespace qel::codecs

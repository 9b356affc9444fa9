// Reading and writing TIFF files.
#pragma once

#include <memory>

#include "codecs/common/format.h"

namespace qel::codecs {

/// The first picture of a file, with every compression that libtiff has: bits, grays and palettes of up to 8 bits as
/// they are (2 bits as 4), colours of 8 bits as 24 bits or, with a fourth channel, 32, channels of 16 bits as 48, all
/// others (other colour spaces, odd depths, turned pictures) as 24 or 32 bits. Colours are not multiplied by their
/// alpha then. Pixels that did not come in are 0.
std::unique_ptr<Decoder> OpenTiff(int nFile);

/// Black and white is saved by the code of fax machines (group 4), everything else packed without loss: grays and
/// palettes with the bits that they have, 16 bits as 24, 32 bits with its fourth channel when somebody has set it.
std::unique_ptr<Encoder> CreateTiff(int nFile);

}  // namespace qel::codecs

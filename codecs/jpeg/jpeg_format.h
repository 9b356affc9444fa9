// Reading and writing JPEG files.
#pragma once

#include <memory>

#include "codecs/common/format.h"

namespace qel::codecs {

/// Gray pictures come as 256 gray levels, all others as 24 bits. A file that ends early gives the rows that came in,
/// the others are 0; a progressive one all of them, as fine as they came.
std::unique_ptr<Decoder> OpenJpeg(int nFile);

/// Gray tables are saved as gray levels, everything else as colour, in the quality of the settings (75 when there is
/// none).
std::unique_ptr<Encoder> CreateJpeg(int nFile);

}  // namespace qel::codecs

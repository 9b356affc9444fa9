// Reading and writing WebP files.
#pragma once

#include <memory>

#include "codecs/common/format.h"

namespace qel::codecs {

/// Pictures come as 24 bits, those with an alpha channel as 32 bits, the fourth byte as the file tells it, not
/// premultiplied. Animations are refused. The format tells no resolution.
std::unique_ptr<Decoder> OpenWebp(int nFile);

/// Saves all types as colours of 8 bits a channel: without loss, or in the quality of the settings when there is one.
/// The alpha of type 8 goes with them when some fourth byte is above 0. Sides up to 16383 pixels.
std::unique_ptr<Encoder> CreateWebp(int nFile);

}  // namespace qel::codecs

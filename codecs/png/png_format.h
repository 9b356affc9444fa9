// Reading and writing PNG files.
#pragma once

#include <memory>

#include "codecs/common/format.h"

namespace qel::codecs {

/// What a file holds and the type it comes as:
///   gray of 1, 2 and 4, 8 bits                  types 0, 4, 5
///   palettes of 1, 2 and 4, 8 bits              types 0, 2, 3
///   8 bits a channel: colour; with alpha        types 1; 8, the fourth byte as the file tells it, not premultiplied
///   16 bits a channel, gray and colour          type 9
/// Nothing that such a type can hold is lost. What it cannot hold is left out: the alpha of 16-bit pixels, and the
/// transparent entries or the one transparent colour of pictures without an alpha channel, whose colours stay as they
/// are.
std::unique_ptr<Decoder> OpenPng(int nFile);

/// Saves every type as it comes in above; types 6 and 7 as 24 bits, type 8 without alpha when all its fourth bytes are
/// 0.
std::unique_ptr<Encoder> CreatePng(int nFile);

}  // namespace qel::codecs

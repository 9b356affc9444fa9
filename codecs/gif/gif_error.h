// Faults of giflib in words.
#pragma once

#include <gif_lib.h>

#include <string>

namespace qel::codecs {

/// The words for one of giflib's error codes, as told to users: lower case, without a full stop.
std::string GifReason(int code);

}  // namespace qel::codecs

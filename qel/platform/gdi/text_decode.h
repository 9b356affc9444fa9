// Bytes of text as characters. Internal.
#pragma once

#include <string>
#include <string_view>

namespace qel::gdi {

/// UTF-8 as characters; each byte that is not part of a sound sequence counts as one character of Windows-1252.
std::u32string DecodeText(std::string_view text);

}  // namespace qel::gdi

// Reading and writing GIF files.
#pragma once

#include <memory>

#include "codecs/common/format.h"

namespace qel::codecs {

/// The first frame of a file on its screen, whose rest has the background's index; a frame that reaches beyond the
/// screen makes it larger. The palette is the frame's own, else that of the file, filled up with black to 2, 16 or 256
/// colours, which tell the type; a file without any comes as gray levels. Pixels that did not come in are 0.
std::unique_ptr<Decoder> OpenGif(int nFile);

/// Saves pictures of 8 bits and fewer with the whole table of their bit count.
std::unique_ptr<Encoder> CreateGif(int nFile);

}  // namespace qel::codecs

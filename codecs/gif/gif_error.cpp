#include "codecs/gif/gif_error.h"

#include <cctype>

namespace qel::codecs {

std::string GifReason(int code) {
  if (code == D_GIF_ERR_READ_FAILED || code == D_GIF_ERR_EOF_TOO_SOON) return "the file ends early";
  if (code == E_GIF_ERR_WRITE_FAILED || code == E_GIF_ERR_CLOSE_FAILED) return "the file cannot be written";
  const char *const words = GifErrorString(code);
  std::string reason = words != nullptr ? words : "the file is damaged";
  reason[0] = static_cast<char>(std::tolower(static_cast<unsigned char>(reason[0])));
  return reason;
}

}  // namespace qel::codecs

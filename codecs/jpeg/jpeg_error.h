// How libjpeg's faults come back: an error jumps to where its owner waits, the first warning that tells of damaged
// data is remembered, nothing is printed. No object with a destructor lives in the frames that are jumped over.
#pragma once

#include <cstddef>
#include <cstdio>

// libjpeg's header needs the two above, and has TRUE and FALSE as macros, so the engine's come first.
#include "qel/platform/types.h"
//
#include <jpeglib.h>

#include <csetjmp>

namespace qel::codecs {

struct JpegError : jpeg_error_mgr {
  std::jmp_buf jump;
  char message[JMSG_LENGTH_MAX] = "";

  /// Installs this as the error manager.
  void Install(jpeg_common_struct &info);
};

}  // namespace qel::codecs

#include "codecs/jpeg/jpeg_error.h"

#include <jerror.h>

namespace qel::codecs {
namespace {

JpegError &Of(j_common_ptr info) {
  return static_cast<JpegError &>(*info->err);
}

[[noreturn]] void Exit(j_common_ptr info) {
  JpegError &error = Of(info);
  error.format_message(info, error.message);
  std::longjmp(error.jump, 1);
}

/// Bytes that mean nothing between markers and marks of other makers' versions harm no pixel.
bool IsHarmless(int code) {
  return code == JWRN_EXTRANEOUS_DATA || code == JWRN_JFIF_MAJOR || code == JWRN_ADOBE_XFORM;
}

void Emit(j_common_ptr info, int level) {
  JpegError &error = Of(info);
  if (level >= 0 || IsHarmless(error.msg_code)) return;
  if (error.num_warnings++ == 0) error.format_message(info, error.message);
}

void Ignore(j_common_ptr) {}

}  // namespace

void JpegError::Install(jpeg_common_struct &info) {
  info.err = jpeg_std_error(this);
  error_exit = Exit;
  emit_message = Emit;
  output_message = Ignore;
}

}  // namespace qel::codecs

// File descriptors: calls that a signal interrupts, and opening without waiting for somebody at the other end.
#pragma once

#include <cerrno>

namespace qel::kernel {

/// Repeats a system call that a signal interrupted.
template <class Call>
auto Retry(Call call) {
  auto result = call();
  while (result < 0 && errno == EINTR) result = call();
  return result;
}

/// A descriptor, with O_CLOEXEC and O_NOCTTY, of a file or a device; -1 with errno. Folders (EISDIR), pipes and sockets
/// (ESPIPE) have no bytes at a position and are refused at once, even where opening them would wait. What is created
/// may be read and written by everybody, less the process's mask.
int OpenPositioned(const char *path, int flags);

}  // namespace qel::kernel

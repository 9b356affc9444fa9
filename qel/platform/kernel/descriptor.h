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

/// A descriptor, with O_CLOEXEC and O_NOCTTY; -1 with errno. Opened for reading alone, it must be a regular file:
/// pipes, sockets and devices (ESPIPE) are refused at once, as opening them or waiting for their bytes might never end.
/// What is written may go anywhere but into a folder (EISDIR). A created file may be read and written by everybody,
/// less the process's mask.
int OpenDescriptor(const char *path, int flags);

}  // namespace qel::kernel

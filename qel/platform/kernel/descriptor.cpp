// Opening files. Pipes are told apart by what was opened, not by a look at the name beforehand, which could be another
// file by then.

#include "qel/platform/kernel/descriptor.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace qel::kernel {

namespace {

constexpr mode_t kForEverybody = 0666;

int WhyRefused(int nDescriptor) {
  struct stat status;
  if (fstat(nDescriptor, &status) != 0) return errno;
  if (S_ISDIR(status.st_mode)) return EISDIR;
  return S_ISFIFO(status.st_mode) || S_ISSOCK(status.st_mode) ? ESPIPE : 0;
}

}  // namespace

int OpenPositioned(const char *path, int flags) {
  flags |= O_CLOEXEC | O_NOCTTY | O_NONBLOCK;
  const int nDescriptor = Retry([=] { return open(path, flags, kForEverybody); });
  if (nDescriptor < 0) return -1;
  int nErrno = WhyRefused(nDescriptor);
  if (nErrno == 0 && fcntl(nDescriptor, F_SETFL, 0) != 0) nErrno = errno;
  if (nErrno == 0) return nDescriptor;
  close(nDescriptor);
  return errno = nErrno, -1;
}

}  // namespace qel::kernel

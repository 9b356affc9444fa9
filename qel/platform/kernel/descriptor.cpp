// Opening files. What a name leads to is told by what was opened, not by a look at the name beforehand, which could be
// another file by then.

#include "qel/platform/kernel/descriptor.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace qel::kernel {

namespace {

constexpr mode_t kForEverybody = 0666;

int WhyRefused(int nDescriptor, bool bReads) {
  struct stat status;
  if (fstat(nDescriptor, &status) != 0) return errno;
  if (S_ISDIR(status.st_mode)) return EISDIR;
  if (!bReads) return 0;
  if (!S_ISREG(status.st_mode)) return ESPIPE;
  return fcntl(nDescriptor, F_SETFL, 0) == 0 ? 0 : errno;  // O_NONBLOCK is for opening alone
}

}  // namespace

int OpenDescriptor(const char *path, int flags) {
  const bool bReads = (flags & O_ACCMODE) == O_RDONLY;
  const int nAllFlags = flags | O_CLOEXEC | O_NOCTTY | (bReads ? O_NONBLOCK : 0);
  const int nDescriptor = Retry([=] { return open(path, nAllFlags, kForEverybody); });
  if (nDescriptor < 0) return -1;
  const int nErrno = WhyRefused(nDescriptor, bReads);
  if (nErrno == 0) return nDescriptor;
  close(nDescriptor);
  return errno = nErrno, -1;
}

}  // namespace qel::kernel

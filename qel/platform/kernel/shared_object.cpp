// Naming, locking, making, opening and sweeping of shared memory objects.
//
// The objects are files of the system's shared memory file system: "qel-UID-NAME", the name's bytes other than letters,
// digits and '_' written as %XX. The lock file "qel-UID.lock" goes when the user's last object does, so whoever has got
// its lock looks whether the file that bears the name is still the one locked.
#include "qel/platform/kernel/shared_object.h"

#include <dirent.h>
#include <fcntl.h>
#include <signal.h>
#include <sys/file.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <limits>

#include "qel/platform/kernel/error.h"

namespace qel::kernel {
namespace {

constexpr char kFolder[] = "/dev/shm/";
constexpr int kOpenFlags = O_RDWR | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK;
constexpr mode_t kOwnerOnly = 0600;

bool FailWithErrno(int nErrno) {
  SetLastError(ErrorFromErrno(nErrno));
  return false;
}

// Names --------------------------------------------------------------------------------------------------------------

std::string UserPrefix() {
  return "qel-" + std::to_string(geteuid());
}

std::string ObjectPrefix() {
  return UserPrefix() + "-";
}

std::string EncodeName(const char *pszName) {
  constexpr char kHex[] = "0123456789ABCDEF";
  std::string strResult;
  for (const char *p = pszName; *p != 0; ++p) {
    unsigned char by = static_cast<unsigned char>(*p);
    bool bPlain = (by >= '0' && by <= '9') || (by >= 'A' && by <= 'Z') || (by >= 'a' && by <= 'z') || by == '_';
    if (bPlain)
      strResult += *p;
    else
      strResult.append({'%', kHex[by >> 4], kHex[by & 15]});
  }
  return strResult;
}

// Files and locks ----------------------------------------------------------------------------------------------------

bool Lock(int fd, int nOperation) {
  int nResult;
  do nResult = flock(fd, nOperation);
  while (nResult != 0 && errno == EINTR);
  return nResult == 0;
}

/// A plain file that is this user's and that nobody else may open.
bool IsOurs(int fd) {
  struct stat status;
  return fstat(fd, &status) == 0 && S_ISREG(status.st_mode) && status.st_uid == geteuid() &&
         (status.st_mode & 077) == 0;
}

bool IsAtPath(int fd, const std::string &strPath) {
  struct stat open, named;
  return fstat(fd, &open) == 0 && lstat(strPath.c_str(), &named) == 0 && open.st_dev == named.st_dev &&
         open.st_ino == named.st_ino;
}

/// Removes the object at a path when nobody holds it. True when one is left there.
bool SweepOne(const std::string &strPath) {
  int fd = open(strPath.c_str(), kOpenFlags);
  if (fd < 0) return errno != ENOENT;
  bool bGone = IsOurs(fd) && Lock(fd, LOCK_EX | LOCK_NB) && unlink(strPath.c_str()) == 0;
  close(fd);
  return !bGone;
}

/// Removes this user's objects that nobody holds. Returns how many objects are left.
std::size_t Sweep() {
  DIR *folder = opendir(kFolder);
  if (folder == nullptr) return std::numeric_limits<std::size_t>::max();
  std::string strPrefix = ObjectPrefix();
  std::size_t left = 0;
  while (const dirent *entry = readdir(folder)) {
    std::string strName = entry->d_name;
    if (strName.compare(0, strPrefix.size(), strPrefix) == 0) left += SweepOne(kFolder + strName);
  }
  closedir(folder);
  return left;
}

/// This user's turn to open or close objects.
class Turn {
 public:
  Turn() : m_strPath(kFolder + UserPrefix() + ".lock") {
    do m_nFd = open(m_strPath.c_str(), kOpenFlags | O_CREAT, kOwnerOnly);
    while (m_nFd >= 0 && !xTake());
  }
  Turn(const Turn &) = delete;
  Turn &operator=(const Turn &) = delete;
  ~Turn() { xLeave(); }

  /// False, with errno telling why, when there is no turn to be had.
  explicit operator bool() const { return m_nFd >= 0; }

  /// Removes the lock file: no object is left that it would serve.
  void RemoveFile() { unlink(m_strPath.c_str()); }

 private:
  /// True when the turn is ours, or when it never will be and the descriptor is closed; false: try again.
  bool xTake() {
    if (!IsOurs(m_nFd) || fchmod(m_nFd, kOwnerOnly) != 0 || !Lock(m_nFd, LOCK_EX)) {
      close(m_nFd);
      m_nFd = -1;
      errno = EACCES;
      return true;
    }
    if (IsAtPath(m_nFd, m_strPath)) return true;
    xLeave();
    return false;
  }

  void xLeave() {
    if (m_nFd < 0) return;
    flock(m_nFd, LOCK_UN);  // said outright, as a child forked meanwhile would keep the lock with its copy
    close(m_nFd);
    m_nFd = -1;
  }

  std::string m_strPath;
  int m_nFd = -1;
};

// What an object holds -----------------------------------------------------------------------------------------------

/// The head of every object; the states of its pages follow.
struct ObjectHead {
  std::uint64_t mark;
  std::uint64_t pages;
};
constexpr std::uint64_t kMark = 0x3130504D2D4C4551;  // "QEL-MP01": the layout below

std::size_t StateBytes(std::size_t pages) {
  return RoundUpToPages(sizeof(ObjectHead) + PageStates::Bytes(pages));
}

/// Size of an object of `pages` pages; 0 when there is no such size.
std::size_t ObjectBytes(std::size_t pages) {
  constexpr std::size_t kMost = std::numeric_limits<off_t>::max();
  std::size_t stateBytes = StateBytes(pages);
  return pages > (kMost - stateBytes) >> PageShift() ? 0 : stateBytes + (pages << PageShift());
}

/// Brings a new object to its size: 0 or an errno. Growing a file beyond the process's limit would end the process.
int Grow(int fd, std::size_t bytes) {
  rlimit limit;
  if (getrlimit(RLIMIT_FSIZE, &limit) == 0 && limit.rlim_cur != RLIM_INFINITY && bytes > limit.rlim_cur) return EFBIG;
  return ftruncate(fd, static_cast<off_t>(bytes)) == 0 ? 0 : errno;
}

}  // namespace

int ReserveObjectSpace(int fd, std::size_t offset, std::size_t bytes) {
  auto reserve = [&] {
    return fallocate(fd, 0, static_cast<off_t>(offset), static_cast<off_t>(bytes)) == 0 ? 0 : errno;
  };
  int nErrno = reserve();
  if (nErrno != EINTR) return nErrno;
  // A signal undoes the whole call; with a timer running, a long one would never end. So signals wait now.
  sigset_t all, before;
  sigfillset(&all);
  pthread_sigmask(SIG_SETMASK, &all, &before);
  nErrno = reserve();
  pthread_sigmask(SIG_SETMASK, &before, nullptr);
  return nErrno;
}

// Life ---------------------------------------------------------------------------------------------------------------

std::shared_ptr<SharedObject> SharedObject::Open(const char *pszName, std::size_t bytes, bool bCommit) {
  auto object = std::make_shared<SharedObject>();
  object->m_nOwner = getpid();
  bool bOpen;
  if (pszName == nullptr || *pszName == 0) {
    object->m_nFd = open(kFolder, O_TMPFILE | O_RDWR | O_CLOEXEC, kOwnerOnly);
    bOpen = object->m_nFd >= 0 ? object->xMake(bytes, bCommit) : FailWithErrno(errno);
  } else {
    std::string strFile = ObjectPrefix() + EncodeName(pszName);
    object->m_strPath = kFolder + strFile;
    bOpen = strFile.size() <= NAME_MAX ? object->xOpenNamed(bytes, bCommit) : FailWithErrno(ENAMETOOLONG);
  }
  return bOpen ? object : nullptr;
}

SharedObject::~SharedObject() {
  if (m_pMapping != nullptr) munmap(m_pMapping, m_stateBytes);
  if (m_nFd < 0) return;
  if (m_strPath.empty() || getpid() != m_nOwner) {
    close(m_nFd);
    return;
  }
  // Without a turn the object is left to the next sweep.
  Turn turn;
  flock(m_nFd, LOCK_UN);  // said outright: see Turn
  close(m_nFd);
  if (turn && Sweep() == 0) turn.RemoveFile();
}

bool SharedObject::xOpenNamed(std::size_t bytes, bool bCommit) {
  Turn turn;
  if (!turn) return FailWithErrno(errno);
  Sweep();
  m_nFd = open(m_strPath.c_str(), kOpenFlags);
  m_bExisted = m_nFd >= 0;
  if (m_nFd < 0 && errno == ENOENT) m_nFd = open(m_strPath.c_str(), kOpenFlags | O_CREAT | O_EXCL, kOwnerOnly);
  bool bOpen = false;
  if (m_nFd < 0)
    FailWithErrno(errno);
  else if (!IsOurs(m_nFd))
    FailWithErrno(EACCES);
  else if (!Lock(m_nFd, LOCK_SH | LOCK_NB))
    FailWithErrno(errno);
  else
    bOpen = m_bExisted ? xOpenExisting() : xMake(bytes, bCommit);
  if (bOpen) return true;

  // The turn is still ours: let go and clean up here, so that the destructor has nothing left to wait for.
  if (m_nFd >= 0) close(m_nFd);
  m_nFd = -1;
  if (Sweep() == 0) turn.RemoveFile();
  return false;
}

bool SharedObject::xOpenExisting() {
  ObjectHead head;
  struct stat status;
  if (fstat(m_nFd, &status) != 0) return FailWithErrno(errno);
  if (pread(m_nFd, &head, sizeof head, 0) != sizeof head || head.mark != kMark ||
      head.pages > static_cast<std::uint64_t>(status.st_size) >> PageShift() ||
      ObjectBytes(head.pages) != static_cast<std::size_t>(status.st_size))
    return FailWithErrno(EACCES);  // not an object of this layout
  return xMapStates(head.pages);
}

bool SharedObject::xMake(std::size_t bytes, bool bCommit) {
  std::size_t pages = PagesFor(bytes);
  std::size_t total = ObjectBytes(pages);
  if (total == 0) return FailWithErrno(ENOMEM);
  int nErrno = fchmod(m_nFd, kOwnerOnly) == 0 ? Grow(m_nFd, total) : errno;  // whatever the process's mask took away
  // The states are always backed, so that looking at them never faults.
  if (nErrno == 0) nErrno = ReserveObjectSpace(m_nFd, 0, bCommit ? total : StateBytes(pages));
  if (nErrno != 0) return FailWithErrno(nErrno);
  ObjectHead head = {kMark, pages};
  if (pwrite(m_nFd, &head, sizeof head, 0) != sizeof head) return FailWithErrno(EIO);
  if (!xMapStates(pages)) return false;
  if (bCommit) m_states.Set(0, pages);
  return true;
}

bool SharedObject::xMapStates(std::size_t pages) {
  m_stateBytes = StateBytes(pages);
  void *mapping = mmap(nullptr, m_stateBytes, PROT_READ | PROT_WRITE, MAP_SHARED, m_nFd, 0);
  if (mapping == MAP_FAILED) return FailWithErrno(errno);
  m_pMapping = mapping;
  m_states = PageStates::At(static_cast<ObjectHead *>(mapping) + 1, pages);
  return true;
}

}  // namespace qel::kernel

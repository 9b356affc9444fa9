// Shared memory objects of this user, found by name, that vanish with their last opener.
//
// Every opener holds a shared lock on the object, so an object whose lock can be had alone is held by nobody, however
// its openers ended. Opening and closing take turns through one lock file of the user and sweep such objects away. An
// object starts with the states of its pages, which all openers share; its data follow.
#pragma once

#include <sys/types.h>

#include <memory>
#include <string>

#include "qel/platform/kernel/region.h"

namespace qel::kernel {

/// Reserves real space for a range of an object: 0 or an errno, nothing reserved then.
int ReserveObjectSpace(int fd, std::size_t offset, std::size_t bytes);

class SharedObject {
 public:
  SharedObject() = default;
  SharedObject(const SharedObject &) = delete;
  SharedObject &operator=(const SharedObject &) = delete;
  ~SharedObject();

  /// Opens the object of that name (null or empty: a private one without a name), or makes it with `bytes` bytes of
  /// data, all of them backed by real space when `bCommit` is set. Null on failure, with the last error set and nothing
  /// left.
  static std::shared_ptr<SharedObject> Open(const char *pszName, std::size_t bytes, bool bCommit);

  bool Existed() const { return m_bExisted; }
  int Fd() const { return m_nFd; }
  const PageStates &States() const { return m_states; }

  /// Where the data start in the object.
  std::size_t DataOffset() const { return m_stateBytes; }

 private:
  bool xOpenNamed(std::size_t bytes, bool bCommit);
  bool xOpenExisting();
  bool xMake(std::size_t bytes, bool bCommit);
  bool xMapStates(std::size_t pages);

  int m_nFd = -1;
  bool m_bExisted = false;
  pid_t m_nOwner = 0;     // a forked child has no say about its parent's object
  std::string m_strPath;  // empty: no name
  void *m_pMapping = nullptr;
  std::size_t m_stateBytes = 0;
  PageStates m_states{};
};

}  // namespace qel::kernel

// Named mappings: shared between handles, views and processes, gone with their last opener, refused when memory
// is short.
#include "qel/platform/kernel/file_mapping.h"

#include <dirent.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sched.h>
#include <signal.h>
#include <sys/file.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cstring>
#include <functional>
#include <memory>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "qel/platform/kernel/error.h"
#include "qel/platform/kernel/reserved_memory.h"

using namespace qel::kernel;

namespace {

constexpr const char *kFolder = "/dev/shm/";

std::string Prefix() {
  return "qel-" + std::to_string(geteuid());
}

/// A name that no other run of these tests uses at the same time.
std::string Unique(const std::string &what) {
  return what + std::to_string(getpid());
}

HANDLE Create(const std::string &name, std::size_t bytes, DWORD dwSection = SEC_RESERVE) {
  return CreateFileMappingA(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE | dwSection, static_cast<DWORD>(bytes >> 32),
                            static_cast<DWORD>(bytes), name.empty() ? nullptr : name.c_str());
}

unsigned char *View(HANDLE hMapping) {
  return static_cast<unsigned char *>(MapViewOfFile(hMapping, FILE_MAP_ALL_ACCESS, 0, 0, 0));
}

std::size_t PageBytes() {
  return static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
}

/// This user's files in the folder of shared memory whose names contain a text.
std::set<std::string> Files(const std::string &part) {
  std::set<std::string> result;
  DIR *folder = opendir(kFolder);
  while (const dirent *entry = readdir(folder)) {
    std::string name = entry->d_name;
    if (name.compare(0, Prefix().size(), Prefix()) == 0 && name.find(part) != std::string::npos) result.insert(name);
  }
  closedir(folder);
  return result;
}

/// A handle and its view, closed together.
struct Opened {
  Opened(const std::string &name, std::size_t bytes, DWORD dwSection = SEC_RESERVE)
      : handle(Create(name, bytes, dwSection)), existed(GetLastError() == ERROR_ALREADY_EXISTS), view(View(handle)) {}
  ~Opened() { Close(); }
  void Close() {
    if (view != nullptr) EXPECT_TRUE(UnmapViewOfFile(view));
    if (handle != nullptr) EXPECT_TRUE(CloseHandle(handle));
    view = nullptr;
    handle = nullptr;
  }
  std::size_t Bytes() const {
    std::size_t total = 0;
    for (MEMORY_BASIC_INFORMATION info; VirtualQuery(view + total, &info, sizeof info) != 0;) {
      if (info.AllocationBase != view) break;
      total += info.RegionSize;
    }
    return total;
  }

  HANDLE handle;
  bool existed;
  unsigned char *view;
};

/// A child process that runs `first`, reports, and waits until it is told to run `then` and to exit.
class Child {
 public:
  Child(
      const std::function<bool()> &first, const std::function<bool()> &then = [] { return true; }) {
    int toChild[2], toParent[2];
    EXPECT_EQ(pipe(toChild) | pipe(toParent), 0);
    m_pid = fork();
    if (m_pid == 0) {
      close(toChild[1]);
      close(toParent[0]);
      char c = first() ? 'y' : 'n';
      if (write(toParent[1], &c, 1) != 1 || read(toChild[0], &c, 1) != 1) _exit(9);
      _exit(then() ? 0 : 1);
    }
    close(toChild[0]);
    close(toParent[1]);
    m_go = toChild[1];
    char c = 0;
    m_ready = read(toParent[0], &c, 1) == 1 && c == 'y';
    close(toParent[0]);
  }
  ~Child() {
    if (m_pid > 0) Kill();
  }
  bool Ready() const { return m_ready; }
  void Kill() {
    kill(m_pid, SIGKILL);
    xWait();
  }
  /// Its exit status.
  int Finish() {
    if (write(m_go, "g", 1) != 1) return -1;
    return xWait();
  }

 private:
  int xWait() {
    int status = 0;
    waitpid(m_pid, &status, 0);
    close(m_go);
    m_pid = 0;
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
  }
  pid_t m_pid;
  int m_go;
  bool m_ready;
};

// One process --------------------------------------------------------------------------------------------------------

TEST(FileMapping, TwoOpenersSeeOneMemoryAndItsOwnSize) {
  std::string name = Unique("two");
  Opened first(name, 3 * PageBytes() + 1);
  ASSERT_NE(first.view, nullptr);
  EXPECT_FALSE(first.existed);
  EXPECT_EQ(first.Bytes(), 4 * PageBytes());
  EXPECT_FALSE(ArePagesCommitted(first.view, 0, 1));
  ASSERT_TRUE(CommitPages(first.view, PageBytes() + 5, 1));
  std::memcpy(first.view + PageBytes() + 5, "hello", 5);

  Opened second(name, 1);
  ASSERT_NE(second.view, nullptr);
  EXPECT_TRUE(second.existed);
  EXPECT_NE(second.view, first.view);
  EXPECT_EQ(second.Bytes(), 4 * PageBytes());
  EXPECT_TRUE(ArePagesCommitted(second.view, PageBytes(), PageBytes())) << "committed by the first";
  EXPECT_FALSE(ArePagesCommitted(second.view, PageBytes(), PageBytes() + 1));
  EXPECT_EQ(std::memcmp(second.view + PageBytes() + 5, "hello", 5), 0);
  MEMORY_BASIC_INFORMATION info;
  ASSERT_NE(VirtualQuery(second.view + PageBytes() + 9, &info, sizeof info), 0U);
  EXPECT_EQ(info.State, MEM_COMMIT);
  EXPECT_EQ(info.RegionSize, PageBytes());
  EXPECT_EQ(info.Type, MEM_MAPPED);

  // The views' pages are everybody's: no decommit, no release, but commits by address.
  EXPECT_FALSE(VirtualFree(second.view, 0, MEM_RELEASE));
  EXPECT_FALSE(VirtualFree(second.view, 0, MEM_DECOMMIT));
  DecommitAllPages(second.view);
  EXPECT_EQ(first.view[PageBytes() + 5], 'h');
  EXPECT_NE(VirtualAlloc(second.view, 1, MEM_COMMIT, PAGE_READWRITE), nullptr);
  EXPECT_TRUE(ArePagesCommitted(first.view, 0, 2 * PageBytes()));
}

TEST(FileMapping, LivesUntilItsLastHandleAndView) {
  std::string name = Unique("last");
  HANDLE hMapping = Create(name, 10000, SEC_COMMIT);
  ASSERT_NE(hMapping, nullptr);
  unsigned char *one = View(hMapping);
  unsigned char *two = View(hMapping);
  ASSERT_TRUE(one != nullptr && two != nullptr && one != two);
  one[9999] = 42;
  EXPECT_EQ(Files(name).size(), 1U);
  EXPECT_TRUE(CloseHandle(hMapping));
  EXPECT_FALSE(CloseHandle(hMapping));
  EXPECT_TRUE(UnmapViewOfFile(one));
  EXPECT_FALSE(UnmapViewOfFile(one));
  EXPECT_EQ(two[9999], 42);
  {
    Opened third(name, 1);
    EXPECT_TRUE(third.existed);
    EXPECT_EQ(third.view[9999], 42);
  }
  EXPECT_EQ(Files(name).size(), 1U) << "the second opener's close ended the first one's object";
  EXPECT_TRUE(UnmapViewOfFile(two));
  EXPECT_TRUE(Files(name).empty());
  Opened again(name, 5000);
  EXPECT_FALSE(again.existed);
  ASSERT_TRUE(CommitPages(again.view, 0, 5000));
  EXPECT_EQ(again.view[4999], 0);
}

TEST(FileMapping, AnyNameIsAFileOfItsOwnerOnly) {
  std::string bytes;
  for (int c = 1; c < 256; c += 7) bytes += static_cast<char>(c);
  std::string unique = Unique("name");
  std::set<std::string> names;
  for (const char *ending : {"", "/b", "%2Fb", "/../b", ".b", ".lock", "A", "a"}) names.insert(unique + ending);
  names.insert(unique + bytes);
  names.insert("../" + unique);
  std::vector<std::unique_ptr<Opened>> opened;
  mode_t before = umask(0777);
  for (const std::string &name : names) {
    opened.push_back(std::make_unique<Opened>(name, 100, SEC_COMMIT));
    ASSERT_NE(opened.back()->view, nullptr) << name;
    EXPECT_FALSE(opened.back()->existed) << name;
    opened.back()->view[0] = static_cast<unsigned char>(opened.size());
  }
  umask(before);
  for (std::size_t i = 0; i < opened.size(); ++i) EXPECT_EQ(opened[i]->view[0], i + 1);
  std::set<std::string> files = Files(unique);
  EXPECT_EQ(files.size(), names.size());
  files.insert(Prefix() + ".lock");
  for (const std::string &file : files) {
    struct stat status;
    ASSERT_EQ(stat((kFolder + file).c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777, 0600U) << file;
  }
  Opened again(unique + "/b", 1);
  EXPECT_TRUE(again.existed);
  EXPECT_EQ(Create(std::string(300, 'n'), 1), nullptr);
  EXPECT_EQ(GetLastError(), ERROR_INVALID_PARAMETER);
}

TEST(FileMapping, UnnamedMappingsArePrivate) {
  Opened one("", 5000, SEC_COMMIT), two("", 5000);
  ASSERT_TRUE(one.view != nullptr && two.view != nullptr);
  EXPECT_FALSE(two.existed);
  one.view[0] = 1;
  ASSERT_TRUE(CommitPages(two.view, 0, 1));
  EXPECT_EQ(two.view[0], 0);
}

TEST(FileMapping, RefusesWhatItCannotDo) {
  int local = 0;
  EXPECT_EQ(CreateFileMappingA(nullptr, nullptr, PAGE_READWRITE, 0, 1, "x"), nullptr);
  EXPECT_EQ(CreateFileMappingA(INVALID_HANDLE_VALUE, nullptr, PAGE_NOACCESS, 0, 1, "x"), nullptr);
  EXPECT_EQ(CreateFileMappingA(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0, 0, "x"), nullptr);
  EXPECT_EQ(CreateFileMappingA(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE | SEC_COMMIT | SEC_RESERVE, 0, 1, "x"),
            nullptr);
  EXPECT_EQ(CreateFileMappingA(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE | SEC_RESERVE, ~0U, ~0U, "x"), nullptr);
  for (HANDLE h : {static_cast<HANDLE>(nullptr), INVALID_HANDLE_VALUE, static_cast<HANDLE>(&local)}) {
    EXPECT_EQ(View(h), nullptr);
    EXPECT_EQ(GetLastError(), ERROR_INVALID_HANDLE);
    EXPECT_FALSE(CloseHandle(h));
    EXPECT_FALSE(UnmapViewOfFile(h));
  }
  HANDLE h = Create("", 100000);
  EXPECT_EQ(MapViewOfFile(h, FILE_MAP_READ, 0, 0, 0), nullptr);
  EXPECT_EQ(MapViewOfFile(h, FILE_MAP_WRITE, 0, 4096, 0), nullptr);
  EXPECT_EQ(MapViewOfFile(h, FILE_MAP_WRITE, 1, 0, 0), nullptr);
  EXPECT_EQ(MapViewOfFile(h, FILE_MAP_WRITE, 0, 0, 10), nullptr);
  EXPECT_TRUE(CloseHandle(h));
}

TEST(FileMapping, ForeignFilesOfTheNameAreRefused) {
  // Open to others, too short, not laid out as an object, or telling a wrong size: held before they get the name, so
  // that no sweep takes them.
  std::string name = Unique("foreign");
  std::string path = kFolder + Prefix() + "-" + name;
  std::string made = kFolder + name;
  std::uint64_t head[2] = {};
  {
    std::string real = Unique("real");
    Opened mapping(real, 100);
    int fd = open((kFolder + Prefix() + "-" + real).c_str(), O_RDONLY);
    ASSERT_EQ(pread(fd, head, sizeof head, 0), 16);
    EXPECT_EQ(head[1], 1U);
    close(fd);
  }
  for (int kind = 0; kind < 5; ++kind) {
    int fd = open(made.c_str(), O_RDWR | O_CREAT, 0600);
    ASSERT_GE(fd, 0);
    ASSERT_EQ(fchmod(fd, kind == 0 ? 0644 : 0600), 0);
    ASSERT_EQ(ftruncate(fd, kind == 1 ? 3 : 8192), 0);
    head[1] = kind == 3 ? 2 : ~std::uint64_t{0};
    if (kind >= 3) ASSERT_EQ(pwrite(fd, head, sizeof head, 0), 16);
    Child holder([&] { return flock(fd, LOCK_SH) == 0 && rename(made.c_str(), path.c_str()) == 0; });
    close(fd);
    ASSERT_TRUE(holder.Ready());
    EXPECT_EQ(Create(name, 100), nullptr) << kind;
    EXPECT_EQ(GetLastError(), ERROR_ACCESS_DENIED) << kind;
    holder.Kill();
    unlink(path.c_str());
  }
  ASSERT_EQ(symlink("/etc/passwd", path.c_str()), 0);
  EXPECT_EQ(Create(name, 100), nullptr);
  EXPECT_EQ(GetLastError(), ERROR_ACCESS_DENIED);
  unlink(path.c_str());
}

TEST(FileMapping, ThreadsOpeningOneNameMeetInOneObject) {
  std::string name = Unique("threads");
  std::atomic<int> made{0}, failed{0};
  for (int round = 0; round < 20; ++round) {
    made = 0;
    std::atomic<int> open{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t)
      threads.emplace_back([&] {
        Opened mapping(name, 8192);
        made += !mapping.existed;
        failed += mapping.view == nullptr || !CommitPages(mapping.view, 0, 8192);
        for (++open; open < 4;) std::this_thread::yield();
        if (mapping.view != nullptr) std::atomic_ref(mapping.view[0]).fetch_add(1);
      });
    for (std::thread &thread : threads) thread.join();
    EXPECT_EQ(made, 1);
  }
  EXPECT_EQ(failed, 0);
  EXPECT_TRUE(Files(name).empty());
}

// Processes ----------------------------------------------------------------------------------------------------------

TEST(FileMapping, IsSharedBetweenProcesses) {
  std::string name = Unique("shared");
  Opened *held = nullptr;
  Child child(
      [&] {
        held = new Opened(name, 3 * PageBytes());
        if (held->existed || !CommitPages(held->view, 2 * PageBytes(), 4)) return false;
        std::memcpy(held->view + 2 * PageBytes(), "ping", 4);
        return true;
      },
      [&] {
        bool bPong = ArePagesCommitted(held->view, 0, 4) && std::memcmp(held->view, "pong", 4) == 0;
        held->Close();
        return bPong;
      });
  ASSERT_TRUE(child.Ready());
  Opened mine(name, 1);
  ASSERT_TRUE(mine.existed);
  EXPECT_EQ(mine.Bytes(), 3 * PageBytes());
  EXPECT_FALSE(ArePagesCommitted(mine.view, 0, 1));
  ASSERT_TRUE(ArePagesCommitted(mine.view, 2 * PageBytes(), PageBytes()));
  EXPECT_EQ(std::memcmp(mine.view + 2 * PageBytes(), "ping", 4), 0);
  ASSERT_TRUE(CommitPages(mine.view, 0, 4));
  std::memcpy(mine.view, "pong", 4);
  EXPECT_EQ(child.Finish(), 0);
  EXPECT_EQ(Files(name).size(), 1U) << "the first opener's close ended the second one's object";
  mine.Close();
  EXPECT_TRUE(Files(name).empty());
}

TEST(FileMapping, AKilledOpenerLeavesNothing) {
  std::string name = Unique("killed");
  Opened other(Unique("other"), 1);
  for (bool bSameName : {true, false}) {
    Child child([&] { return Create(name, 100, SEC_COMMIT) != nullptr; });
    ASSERT_TRUE(child.Ready());
    child.Kill();
    {
      Opened mine(bSameName ? name : Unique("unrelated"), 3 * PageBytes());
      EXPECT_FALSE(mine.existed);
      EXPECT_EQ(mine.Bytes(), 3 * PageBytes());
      EXPECT_EQ(Files(name).size(), bSameName ? 1U : 0U);
    }
    EXPECT_TRUE(Files(name).empty());
  }
  // One of two openers killed: the other keeps it.
  Opened mine(name, 100, SEC_COMMIT);
  Child child([&] { return Opened(name, 1).existed && Create(name, 1) != nullptr; });
  ASSERT_TRUE(child.Ready());
  child.Kill();
  EXPECT_TRUE(Opened(name, 1).existed);
}

TEST(FileMapping, AForkedChildsCloseLeavesTheParentsObject) {
  std::string name = Unique("forked");
  Opened mine(name, 100, SEC_COMMIT);
  Child child([&] {
    mine.Close();
    return true;
  });
  ASSERT_TRUE(child.Ready());
  EXPECT_EQ(child.Finish(), 0);
  EXPECT_EQ(Files(name).size(), 1U);
  EXPECT_TRUE(Opened(name, 1).existed);
  // A child that holds copies of the parent's descriptors does not keep the object after the parent.
  Child holder([] { return true; });
  mine.Close();
  EXPECT_TRUE(Files(name).empty());
}

TEST(FileMapping, UsersHaveMappingsOfTheirOwn) {
  if (geteuid() != 0) GTEST_SKIP() << "takes the right to become another user";
  std::string name = Unique("users");
  Opened mine(name, 100, SEC_COMMIT);
  Child child([&] {
    if (setuid(static_cast<uid_t>(70000 + getpid())) != 0) return false;
    bool bAlone;
    {
      Opened theirs(name, 5);
      bAlone = theirs.view != nullptr && !theirs.existed && Files("").size() == 2;
    }
    return bAlone && Files("").empty();  // the lock file went with the user's last object
  });
  EXPECT_TRUE(child.Ready());
  EXPECT_TRUE(Opened(name, 1).existed);
}

// Short of memory ----------------------------------------------------------------------------------------------------

TEST(FileMapping, AFullFileSystemIsARefusalAndNeverAFault) {
  struct statvfs space;
  ASSERT_EQ(statvfs(kFolder, &space), 0);
  std::size_t total = space.f_blocks * space.f_frsize;
  if (total == 0) GTEST_SKIP() << "shared memory has no limit here";
  std::string name = Unique("full");
  std::size_t bytes = total + (std::size_t{1} << 30);

  EXPECT_EQ(Create(name, bytes, SEC_COMMIT), nullptr);
  EXPECT_EQ(GetLastError(), ERROR_DISK_FULL);
  EXPECT_TRUE(Files(name).empty());

  Opened sparse(name, bytes);
  ASSERT_NE(sparse.view, nullptr);
  ASSERT_TRUE(CommitPages(sparse.view, bytes - 1, 1));
  sparse.view[bytes - 1] = 9;
  EXPECT_FALSE(CommitPages(sparse.view, 0, bytes));
  EXPECT_EQ(GetLastError(), ERROR_DISK_FULL);
  EXPECT_EQ(VirtualAlloc(sparse.view, bytes, MEM_COMMIT, PAGE_READWRITE), nullptr);
  EXPECT_FALSE(ArePagesCommitted(sparse.view, 0, 1)) << "a refused commit counted";
  EXPECT_EQ(sparse.view[bytes - 1], 9) << "a refused commit lost data";
  ASSERT_TRUE(CommitPages(sparse.view, 0, 1)) << "the space of a refused commit was not given back";
}

TEST(FileMapping, SpaceThatRunsOutIsARefusalAndComesBack) {
  // In a child that has a shared memory file system of 4 MiB to itself.
  constexpr std::size_t kMiB = std::size_t{1} << 20;
  auto fillUp = [] {
    Opened first("first", 16 * kMiB), second("second", 16 * kMiB);
    if (first.view == nullptr || second.view == nullptr || !CommitPages(first.view, 0, 3 * kMiB)) return false;
    std::memset(first.view, 1, 3 * kMiB);
    if (CommitPages(second.view, 0, 2 * kMiB) || GetLastError() != ERROR_DISK_FULL) return false;
    if (ArePagesCommitted(second.view, 0, 1) || Create("third", 2 * kMiB, SEC_COMMIT) != nullptr) return false;
    if (Files("third").size() != 0 || first.view[3 * kMiB - 1] != 1) return false;
    first.Close();
    if (!CommitPages(second.view, 0, 2 * kMiB)) return false;
    std::memset(second.view, 2, 2 * kMiB);
    second.Close();
    return Files("").empty();
  };
  if (!Child([] { return unshare(CLONE_NEWNS) == 0; }).Ready()) GTEST_SKIP() << "takes the right to mount";
  Child child([&] {
    return unshare(CLONE_NEWNS) == 0 && mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
           mount("none", kFolder, "tmpfs", 0, "size=4m") == 0 && fillUp();
  });
  EXPECT_TRUE(child.Ready());
}

TEST(FileMapping, ASizeBeyondTheProcessesFileLimitIsARefusal) {
  Child child([] {
    rlimit limit = {1 << 20, 1 << 20};
    return setrlimit(RLIMIT_FSIZE, &limit) == 0 && Create(Unique("limit"), 2 << 20) == nullptr &&
           GetLastError() == ERROR_DISK_FULL && Create(Unique("limit"), 1 << 19, SEC_COMMIT) != nullptr;
  });
  EXPECT_TRUE(child.Ready());
  EXPECT_EQ(child.Finish(), 0);
  Opened sweeper(Unique("sweeper"), 1);
}

TEST(FileMapping, CommitsRunThroughUnderATimer) {
  struct sigaction action = {}, before;
  action.sa_handler = [](int) {};
  sigaction(SIGALRM, &action, &before);
  itimerval fast = {{0, 500}, {0, 500}}, off = {};
  setitimer(ITIMER_REAL, &fast, nullptr);
  for (int i = 0; i < 10; ++i) {
    Opened mapping(Unique("timer"), 64 << 20);
    EXPECT_TRUE(mapping.view != nullptr && CommitPages(mapping.view, 0, 64 << 20));
  }
  setitimer(ITIMER_REAL, &off, nullptr);
  sigaction(SIGALRM, &before, nullptr);
}

}  // namespace

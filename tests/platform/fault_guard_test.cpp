// Guarded accesses: what faults, what the filter is told and may do, nesting, threads, and the handlers before ours.
#include "qel/platform/kernel/fault_guard.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstring>
#include <numeric>
#include <thread>
#include <vector>

using namespace qel::kernel;

namespace {

std::size_t PageBytes() {
  return static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
}

/// Pages of this process with chosen access.
struct Pages {
  explicit Pages(std::size_t count, int nAccess = PROT_NONE)
      : bytes(count * PageBytes()),
        at(static_cast<unsigned char *>(mmap(nullptr, bytes, nAccess, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0))) {}
  ~Pages() { munmap(at, bytes); }
  std::size_t bytes;
  unsigned char *at;
};

void Write(unsigned char *p, unsigned char by) {
  *static_cast<volatile unsigned char *>(p) = by;
}
unsigned char Read(const unsigned char *p) {
  return *static_cast<const volatile unsigned char *>(p);
}

/// What a filter saw, and what it is to do.
struct Seen {
  int calls = 0;
  EXCEPTION_RECORD record{};
  bool pointersThere = false;
  int openWith = -1;  // access to give the faulting page
  int answer = EXCEPTION_EXECUTE_HANDLER;
};

int Note(void *context, EXCEPTION_POINTERS *fault) {
  Seen &seen = *static_cast<Seen *>(context);
  ++seen.calls;
  seen.record = *fault->ExceptionRecord;
  seen.pointersThere = fault->ContextRecord != nullptr && seen.record.ExceptionAddress != nullptr;
  std::uintptr_t address = fault->ExceptionRecord->ExceptionInformation[1];
  if (seen.openWith >= 0) mprotect(reinterpret_cast<void *>(address & ~(PageBytes() - 1)), PageBytes(), seen.openWith);
  return seen.answer;
}

// Faults -------------------------------------------------------------------------------------------------------------

TEST(FaultGuard, AnAccessThatFaultsReturnsZero) {
  unsigned char *nearNull = reinterpret_cast<unsigned char *>(16);
  Seen seen;
  EXPECT_EQ(Guarded(Note, &seen, [&] { Write(nearNull, 1); }), 0);
  EXPECT_EQ(seen.calls, 1);
  EXPECT_TRUE(seen.pointersThere);
  EXPECT_EQ(seen.record.ExceptionCode, EXCEPTION_ACCESS_VIOLATION);
  EXPECT_EQ(seen.record.NumberParameters, 2U);
  EXPECT_EQ(seen.record.ExceptionInformation[1], 16U);
#if defined(__x86_64__)
  EXPECT_EQ(seen.record.ExceptionInformation[0], 1U);
  EXPECT_EQ(Guarded(Note, &seen, [&] { Read(nearNull); }), 0);
  EXPECT_EQ(seen.record.ExceptionInformation[0], 0U);
#endif
  EXPECT_EQ(Guarded(nullptr, nullptr, [&] { Write(nearNull, 1); }), 0);
  EXPECT_EQ(t_faultFrame, nullptr);
}

TEST(FaultGuard, KeepsTheCallersValuesAcrossAJump) {
  // Enough live values that some of them stay in registers across the guarded call.
  Pages none(1);
  std::vector<long> values(12);
  std::iota(values.begin(), values.end(), 100);
  long a = values[0], b = values[1], c = values[2], d = values[3], e = values[4], f = values[5], sum = 0;
  double x = 0.5 * static_cast<double>(values[6]);
  for (int i = 0; i < 1000; ++i) {
    int result = Guarded(nullptr, nullptr, [&] { Write(none.at + i, 1); });
    sum += a * i + b - c * 3 + d - e * i + f + result;
    a += 1, b += 2, c += 3, d += 4, e += 5, f += 6, x += 0.25;
  }
  long A = 100, B = 101, C = 102, D = 103, E = 104, F = 105, expected = 0;
  for (int i = 0; i < 1000; ++i) {
    expected += A * i + B - C * 3 + D - E * i + F;
    A += 1, B += 2, C += 3, D += 4, E += 5, F += 6;
  }
  EXPECT_EQ(sum, expected);
  EXPECT_EQ(x, 53 + 250);
}

TEST(FaultGuard, AFilterMayRepairAndContinue) {
  Pages pages(5);
  Seen seen;
  seen.openWith = PROT_READ | PROT_WRITE;
  seen.answer = EXCEPTION_CONTINUE_EXECUTION;
  EXPECT_EQ(Guarded(Note, &seen, [&] { std::memset(pages.at + 10, 0x5A, 4 * PageBytes()); }), 1);
  EXPECT_EQ(seen.calls, 5);
  for (std::size_t i = 0; i < pages.bytes; ++i)
    ASSERT_EQ(pages.at[i], i >= 10 && i < 10 + 4 * PageBytes() ? 0x5A : 0) << i;
}

TEST(FaultGuard, AFilterThatRepairsNothingEndsTheAccess) {
  Pages pages(1);
  Seen seen;
  seen.answer = EXCEPTION_CONTINUE_EXECUTION;
  EXPECT_EQ(Guarded(Note, &seen, [&] { Write(pages.at, 1); }), 0);
  EXPECT_EQ(seen.calls, 1);
  EXPECT_EQ(Guarded(Note, &seen, [&] { Write(pages.at, 1); }), 0) << "the next access starts afresh";
  EXPECT_EQ(seen.calls, 2);
}

TEST(FaultGuard, AFaultOnTheCallersBufferKeepsWhatWasWritten) {
  Pages source(2, PROT_READ | PROT_WRITE);
  std::memset(source.at, 7, source.bytes);
  ASSERT_EQ(mprotect(source.at + PageBytes(), PageBytes(), PROT_NONE), 0);
  std::vector<unsigned char> target(source.bytes, 1);
  Seen seen;
  EXPECT_EQ(Guarded(Note, &seen,
                    [&] {
                      for (std::size_t i = 0; i < source.bytes; ++i) Write(&target[i], Read(source.at + i));
                    }),
            0);
  for (std::size_t i = 0; i < source.bytes; ++i) ASSERT_EQ(target[i], i < PageBytes() ? 7 : 1);
  EXPECT_EQ(seen.record.ExceptionInformation[1], reinterpret_cast<std::uintptr_t>(source.at + PageBytes()));
  EXPECT_EQ(Guarded(Note, &seen, [&] { std::memcpy(target.data(), source.at, source.bytes); }), 0);
}

#if defined(__x86_64__) && !defined(__SANITIZE_ADDRESS__)
TEST(FaultGuard, AnAddressThatIsNoneIsNotOfferedForRepair) {
  Seen seen;
  seen.answer = EXCEPTION_CONTINUE_EXECUTION;
  EXPECT_EQ(Guarded(Note, &seen, [&] { Write(reinterpret_cast<unsigned char *>(0x8123456789ABCDEF), 1); }), 0);
  EXPECT_EQ(seen.calls, 0);
}
#endif

TEST(FaultGuard, ABusErrorEndsTheAccess) {
  int fd = open("/dev/shm", O_TMPFILE | O_RDWR, 0600);
  ASSERT_GE(fd, 0);
  ASSERT_EQ(ftruncate(fd, 2 * static_cast<off_t>(PageBytes())), 0);
  void *map = mmap(nullptr, 2 * PageBytes(), PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0);
  ASSERT_NE(map, MAP_FAILED);
  ASSERT_EQ(ftruncate(fd, static_cast<off_t>(PageBytes())), 0);
  unsigned char *p = static_cast<unsigned char *>(map);
  Seen seen;
  EXPECT_EQ(Guarded(Note, &seen, [&] { Write(p, 1); }), 1);
  EXPECT_EQ(Guarded(Note, &seen, [&] { Write(p + PageBytes(), 1); }), 0);
  EXPECT_EQ(seen.record.ExceptionCode, EXCEPTION_IN_PAGE_ERROR);
  munmap(map, 2 * PageBytes());
  close(fd);
}

// Nesting and threads ------------------------------------------------------------------------------------------------

TEST(FaultGuard, NestedAccessesEndOneByOne) {
  Pages pages(1);
  Seen outer, inner;
  int nInner = -1;
  EXPECT_EQ(Guarded(Note, &outer,
                    [&] {
                      nInner = Guarded(Note, &inner, [&] { Write(pages.at, 1); });
                      Write(pages.at + 1, 1);
                    }),
            0);
  EXPECT_EQ(nInner, 0);
  EXPECT_EQ(inner.calls, 1);
  EXPECT_EQ(outer.calls, 1);
  EXPECT_EQ(t_faultFrame, nullptr);
}

TEST(FaultGuard, AFilterMayGuardAccessesOfItsOwn) {
  Pages pages(2);
  struct Both {
    unsigned char *at;
    int nInFilter;
  } both = {pages.at, -1};
  FaultFilter repair = [](void *context, EXCEPTION_POINTERS *) {
    Both &b = *static_cast<Both *>(context);
    b.nInFilter = Guarded(nullptr, nullptr, [&] { Write(b.at + PageBytes(), 1); });
    mprotect(b.at, PageBytes(), PROT_READ | PROT_WRITE);
    return EXCEPTION_CONTINUE_EXECUTION;
  };
  EXPECT_EQ(Guarded(repair, &both, [&] { Write(both.at, 3); }), 1);
  EXPECT_EQ(both.nInFilter, 0);
  EXPECT_EQ(pages.at[0], 3);
}

TEST(FaultGuard, AFaultOfTheFilterIsTheOuterAccesss) {
  Pages pages(2);
  FaultFilter bad = [](void *context, EXCEPTION_POINTERS *) {
    Write(static_cast<unsigned char *>(context) + PageBytes(), 1);
    return EXCEPTION_CONTINUE_EXECUTION;
  };
  Seen outer;
  int nAfter = 0;
  EXPECT_EQ(Guarded(Note, &outer,
                    [&] {
                      Guarded(bad, pages.at, [&] { Write(pages.at, 1); });
                      nAfter = 1;
                    }),
            0);
  EXPECT_EQ(outer.calls, 1);
  EXPECT_EQ(nAfter, 0);
  EXPECT_EQ(outer.record.ExceptionInformation[1], reinterpret_cast<std::uintptr_t>(pages.at + PageBytes()));
  EXPECT_EQ(t_faultFrame, nullptr);
}

TEST(FaultGuard, ThreadsFaultOnTheirOwn) {
  std::vector<std::thread> threads;
  std::vector<int> wrong(6, 0);
  for (std::size_t t = 0; t < wrong.size(); ++t)
    threads.emplace_back([&, t] {
      for (int i = 0; i < 300; ++i) {
        Pages pages(2);
        Seen seen;
        seen.openWith = PROT_READ | PROT_WRITE;
        seen.answer = i % 2 != 0 ? EXCEPTION_CONTINUE_EXECUTION : EXCEPTION_CONTINUE_SEARCH;
        wrong[t] += Guarded(Note, &seen, [&] { Write(pages.at + i, 1); }) != i % 2;
        wrong[t] += seen.calls != 1;
      }
    });
  for (std::thread &thread : threads) thread.join();
  EXPECT_EQ(wrong, std::vector<int>(6, 0));
}

// The handlers before ours -------------------------------------------------------------------------------------------

/// Runs in a process of its own, started anew, that has `action` for SIGSEGV when its first guarded access comes.
template <class Body>
[[noreturn]] void RunAfter(struct sigaction action, Body body) {
  if (g_faultHandlersInstalled || sigaction(SIGSEGV, &action, nullptr) != 0) _exit(99);
  Pages pages(1);
  Seen seen;
  if (Guarded(Note, &seen, [&] { Write(pages.at, 1); }) != 0 || seen.calls != 1) _exit(98);
  body(pages.at);
  _exit(0);
}

struct sigaction Plain(void (*handler)(int)) {
  struct sigaction action = {};
  action.sa_handler = handler;
  return action;
}

struct sigaction WithInfo(void (*handler)(int, siginfo_t *, void *)) {
  struct sigaction action = {};
  action.sa_sigaction = handler;
  action.sa_flags = SA_SIGINFO;
  return action;
}

void Exit5(int) {
  _exit(5);
}
volatile sig_atomic_t g_nCalls = 0;
void Count(int) {
  g_nCalls = g_nCalls + 1;
}

void Repair(int, siginfo_t *pInfo, void *) {
  sigset_t blocked;
  pthread_sigmask(SIG_SETMASK, nullptr, &blocked);
  if (!sigismember(&blocked, SIGSEGV) || !sigismember(&blocked, SIGUSR1) || sigismember(&blocked, SIGUSR2)) _exit(97);
  g_nCalls = g_nCalls + 1;
  mprotect(pInfo->si_addr, PageBytes(), PROT_READ | PROT_WRITE);
}

class FaultGuardDeathTest : public testing::Test {
 protected:
  void SetUp() override { testing::FLAGS_gtest_death_test_style = "threadsafe"; }
};

TEST_F(FaultGuardDeathTest, FaultsOutsideGoToTheHandlerBefore) {
  EXPECT_EXIT(RunAfter(Plain(Exit5), [](unsigned char *p) { Write(p, 1); }), testing::ExitedWithCode(5), "");

  auto repaired = [] {
    struct sigaction action = WithInfo(Repair);
    sigaddset(&action.sa_mask, SIGUSR1);
    RunAfter(action, [](unsigned char *p) {
      Write(p, 1);
      sigset_t blocked;
      pthread_sigmask(SIG_SETMASK, nullptr, &blocked);
      _exit(g_nCalls == 1 && p[0] == 1 && !sigismember(&blocked, SIGUSR1) ? 6 : 7);
    });
  };
  EXPECT_EXIT(repaired(), testing::ExitedWithCode(6), "");

  auto once = [] {
    struct sigaction action = WithInfo(Repair);
    sigaddset(&action.sa_mask, SIGUSR1);
    action.sa_flags |= static_cast<int>(SA_RESETHAND);
    RunAfter(action, [](unsigned char *p) {
      Write(p, 1);
      mprotect(p, PageBytes(), PROT_NONE);
      Write(p, 1);
    });
  };
  EXPECT_EXIT(once(), testing::KilledBySignal(SIGSEGV), "");
}

TEST_F(FaultGuardDeathTest, FaultsOutsideEndTheProcessByDefault) {
  EXPECT_EXIT(RunAfter(Plain(SIG_DFL), [](unsigned char *p) { Write(p, 1); }), testing::KilledBySignal(SIGSEGV), "");
  EXPECT_EXIT(RunAfter(Plain(SIG_IGN), [](unsigned char *p) { Write(p, 1); }), testing::KilledBySignal(SIGSEGV), "");
}

TEST_F(FaultGuardDeathTest, SignalsThatAreSentAreNoFaults) {
  EXPECT_EXIT(RunAfter(Plain(SIG_DFL), [](unsigned char *) { raise(SIGSEGV); }), testing::KilledBySignal(SIGSEGV), "");
  EXPECT_EXIT(RunAfter(Plain(SIG_IGN), [](unsigned char *) { raise(SIGSEGV); }), testing::ExitedWithCode(0), "");
  auto inside = [](unsigned char *) {
    Seen seen;
    int nResult = Guarded(Note, &seen, [] { raise(SIGSEGV); });
    _exit(nResult == 1 && seen.calls == 0 && g_nCalls == 1 ? 8 : 9);
  };
  EXPECT_EXIT(RunAfter(Plain(Count), inside), testing::ExitedWithCode(8), "");
}

// Cost ---------------------------------------------------------------------------------------------------------------

TEST(FaultGuard, CostsNextToNothing) {
#if !defined(NDEBUG) || defined(__SANITIZE_ADDRESS__)
  GTEST_SKIP() << "only optimised code is timed";
#endif
  constexpr int kCount = 20000;
  unsigned char byte = 0;
  double best = 1e9;
  for (int batch = 0; batch < 100; ++batch) {
    auto start = std::chrono::steady_clock::now();
    for (int i = 0; i < kCount; ++i) Guarded(nullptr, nullptr, [&] { Write(&byte, 1); });
    std::chrono::duration<double, std::nano> spent = std::chrono::steady_clock::now() - start;
    best = std::min(best, spent.count() / kCount);
  }
  RecordProperty("picoseconds", static_cast<int>(best * 1000));
  EXPECT_LT(best, 10) << "ns";
}

}  // namespace

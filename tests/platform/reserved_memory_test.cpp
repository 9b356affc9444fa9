// Reservations: page states against a vector of bools, what decommitting leaves, what a huge reservation costs,
// refusals.
#include "qel/platform/kernel/reserved_memory.h"

#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <chrono>
#include <cstring>
#include <fstream>
#include <random>
#include <string>
#include <vector>

#include "qel/platform/kernel/error.h"

using namespace qel::kernel;

namespace {

constexpr std::size_t kTiB = std::size_t{1} << 40;

std::size_t PageBytes() {
  SYSTEM_INFO info;
  GetSystemInfo(&info);
  return info.dwPageSize;
}

unsigned char *Reserve(std::size_t bytes, DWORD dwType = MEM_RESERVE) {
  return static_cast<unsigned char *>(VirtualAlloc(nullptr, bytes, dwType, PAGE_READWRITE));
}

MEMORY_BASIC_INFORMATION Query(const void *p) {
  MEMORY_BASIC_INFORMATION info{};
  EXPECT_EQ(VirtualQuery(p, &info, sizeof info), sizeof info);
  return info;
}

/// A line of /proc/self/status, in KiB.
long StatusKiB(const std::string &field) {
  std::ifstream status("/proc/self/status");
  for (std::string word; status >> word;)
    if (word == field + ":") {
      long value = 0;
      status >> value;
      return value;
    }
  return -1;
}

/// Holds a reservation beside the plain account of its pages.
class Oracle {
 public:
  explicit Oracle(std::size_t pages, bool bCommit)
      : m_page(PageBytes()),
        m_base(Reserve(pages * m_page - 7, bCommit ? MEM_COMMIT | MEM_RESERVE : MEM_RESERVE)),
        m_committed(pages, bCommit) {}
  ~Oracle() { EXPECT_TRUE(VirtualFree(m_base, 0, MEM_RELEASE)); }

  unsigned char *Base() const { return m_base; }

  void Commit(std::size_t offset, std::size_t count, bool bByAddress) {
    if (bByAddress)
      ASSERT_EQ(VirtualAlloc(m_base + offset, count, MEM_COMMIT, PAGE_READWRITE), m_base + offset / m_page * m_page);
    else
      ASSERT_TRUE(CommitPages(m_base, offset, count));
    xMark(offset, count, true);
  }

  void Decommit(std::size_t offset, std::size_t count) {
    ASSERT_TRUE(VirtualFree(m_base + offset, count, MEM_DECOMMIT));
    xMark(offset, count, false);
  }

  void DecommitAll(bool bByAddress) {
    if (bByAddress)
      ASSERT_TRUE(VirtualFree(m_base, 0, MEM_DECOMMIT));
    else
      DecommitAllPages(m_base);
    m_committed.assign(m_committed.size(), false);
  }

  /// Walks the runs, and asks about random ranges.
  void Check(std::mt19937 &random) const {
    for (std::size_t page = 0; page < m_committed.size();) {
      std::size_t end = page;
      while (end < m_committed.size() && m_committed[end] == m_committed[page]) ++end;
      MEMORY_BASIC_INFORMATION info = Query(m_base + page * m_page + random() % m_page);
      ASSERT_EQ(info.BaseAddress, m_base + page * m_page);
      ASSERT_EQ(info.AllocationBase, m_base);
      ASSERT_EQ(info.RegionSize, (end - page) * m_page) << "at page " << page << " of " << m_committed.size();
      ASSERT_EQ(info.State, m_committed[page] ? MEM_COMMIT : MEM_RESERVE);
      ASSERT_EQ(info.Type, MEM_PRIVATE);
      page = end;
    }
    for (int i = 0; i < 20; ++i) {
      std::size_t offset = random() % (m_committed.size() * m_page);
      std::size_t count = random() % (m_committed.size() * m_page - offset) + 1;
      if (i % 2 != 0) count = std::min(count, 3 * m_page);
      bool bAll = true;
      for (std::size_t page = offset / m_page; page <= (offset + count - 1) / m_page; ++page) bAll &= m_committed[page];
      ASSERT_EQ(ArePagesCommitted(m_base, offset, count), bAll) << offset << "+" << count;
    }
  }

 private:
  void xMark(std::size_t offset, std::size_t count, bool bCommitted) {
    for (std::size_t page = offset / m_page; page <= (offset + count - 1) / m_page; ++page)
      m_committed[page] = bCommitted;
  }

  std::size_t m_page;
  unsigned char *m_base;
  std::vector<bool> m_committed;
};

// Page states --------------------------------------------------------------------------------------------------------

TEST(ReservedMemory, PageStatesFollowCommitsAndDecommits) {
  std::mt19937 random(71);
  // Around the borders of a state word, of a summary word, and of a page of states.
  for (std::size_t pages : {1, 2, 63, 64, 65, 127, 128, 500, 4095, 4096, 4097, 9000, 40000, 300001}) {
    Oracle oracle(pages, pages % 2 != 0);
    std::size_t bytes = pages * PageBytes();
    ASSERT_NO_FATAL_FAILURE(oracle.Check(random));
    for (int step = 0; step < 30; ++step) {
      std::size_t offset = random() % bytes;
      std::size_t most = step % 3 == 0 ? bytes : 70 * PageBytes();
      std::size_t count = random() % std::min(bytes - offset, most) + 1;
      switch (random() % 8) {
        case 0:
          oracle.DecommitAll(step % 2 != 0);
          break;
        case 1:
        case 2:
          oracle.Decommit(offset, count);
          break;
        default:
          oracle.Commit(offset, count, step % 2 != 0);
      }
      ASSERT_NO_FATAL_FAILURE(oracle.Check(random)) << "step " << step;
    }
  }
}

TEST(ReservedMemory, DecommittedPagesReadAsZero) {
  std::size_t page = PageBytes();
  for (DWORD dwType : {MEM_RESERVE, MEM_COMMIT}) {
    std::size_t pages = 50;
    unsigned char *base = Reserve(pages * page, dwType);
    ASSERT_NE(base, nullptr);
    ASSERT_TRUE(CommitPages(base, 0, pages * page));
    std::memset(base, 0xA5, pages * page);
    // From a byte of page 3 to a byte of page 6: whole pages go.
    ASSERT_TRUE(VirtualFree(base + 3 * page + 100, 3 * page, MEM_DECOMMIT));
    for (std::size_t i = 0; i < pages * page; i += 13)
      ASSERT_EQ(base[i], i / page >= 3 && i / page <= 6 ? 0 : 0xA5) << "page " << i / page;
    DecommitAllPages(base);
    for (std::size_t i = 0; i < pages * page; i += 13) ASSERT_EQ(base[i], 0);
    EXPECT_FALSE(ArePagesCommitted(base, 0, 1));
    EXPECT_TRUE(VirtualFree(base, 0, MEM_RELEASE));
  }
}

TEST(ReservedMemory, LockedPagesReadAsZeroToo) {
  std::size_t page = PageBytes();
  unsigned char *base = Reserve(8 * page);
  ASSERT_TRUE(CommitPages(base, 2 * page, 4 * page));
  std::memset(base + 2 * page, 1, 4 * page);
  if (mlock(base + 2 * page, 2 * page) != 0) GTEST_SKIP() << "no page may be locked here";
  ASSERT_TRUE(VirtualFree(base, 4 * page, MEM_DECOMMIT));
  EXPECT_EQ(base[2 * page], 0);
  EXPECT_EQ(base[4 * page - 1], 0);
  EXPECT_EQ(base[4 * page], 1);
  DecommitAllPages(base);
  EXPECT_EQ(base[4 * page], 0);
  EXPECT_EQ(Query(base).RegionSize, 8 * page);
  EXPECT_TRUE(VirtualFree(base, 0, MEM_RELEASE));
}

// Cost ---------------------------------------------------------------------------------------------------------------

TEST(ReservedMemory, ATebibyteCostsNextToNothing) {
  std::size_t page = PageBytes();
  long before = StatusKiB("VmRSS");
  long tables = StatusKiB("VmPTE");
  auto start = std::chrono::steady_clock::now();

  unsigned char *base = Reserve(kTiB);
  ASSERT_NE(base, nullptr);
  const std::size_t offsets[] = {0, kTiB / 3, kTiB / 2, kTiB - 1};
  for (std::size_t offset : offsets) {
    ASSERT_TRUE(CommitPages(base, offset, 1));
    base[offset] = 7;
  }
  std::size_t committed = 0, total = 0, runs = 0;
  while (total < kTiB) {
    MEMORY_BASIC_INFORMATION info = Query(base + total);
    ASSERT_EQ(info.AllocationBase, base);
    if (info.State == MEM_COMMIT) committed += info.RegionSize;
    total += info.RegionSize;
    ++runs;
  }
  EXPECT_EQ(total, kTiB);
  EXPECT_EQ(committed, 4 * page);
  EXPECT_EQ(runs, 7U);
  long cost = StatusKiB("VmRSS") - before + StatusKiB("VmPTE") - tables;
  DecommitAllPages(base);
  EXPECT_EQ(base[kTiB / 3], 0);
  EXPECT_EQ(Query(base).RegionSize, kTiB);
  EXPECT_TRUE(VirtualFree(base, 0, MEM_RELEASE));

  auto spent = std::chrono::steady_clock::now() - start;
  EXPECT_LT(cost, 64 * 1024) << "KiB";
  EXPECT_LT(std::chrono::duration_cast<std::chrono::milliseconds>(spent).count(), 200);  // some 2 on an idle machine
  RecordProperty("cost_kib", static_cast<int>(cost));
  RecordProperty("microseconds",
                 static_cast<int>(std::chrono::duration_cast<std::chrono::microseconds>(spent).count()));
}

TEST(ReservedMemory, OneTouchedByteCostsOnePage) {
  std::size_t page = PageBytes();
  std::size_t step = std::size_t{4} << 20;  // more than a huge page apart
  unsigned char *base = Reserve(512 * step);
  ASSERT_NE(base, nullptr);
  long before = StatusKiB("VmRSS");
  for (std::size_t offset = 0; offset < 512 * step; offset += step) {
    ASSERT_TRUE(CommitPages(base, offset, 1));
    base[offset] = 1;
  }
  long touched = 512 * static_cast<long>(page) / 1024;
  EXPECT_LT(StatusKiB("VmRSS") - before, 4 * touched + 4096);
  EXPECT_TRUE(VirtualFree(base, 0, MEM_RELEASE));
}

// Refusals -----------------------------------------------------------------------------------------------------------

TEST(ReservedMemory, RefusesWhatCannotBeReserved) {
  for (std::size_t bytes : {std::size_t{0}, ~std::size_t{0}, ~std::size_t{0} - 4095, ~std::size_t{0} / 2, kTiB << 10})
    for (DWORD dwType : {MEM_RESERVE, MEM_COMMIT, MEM_RESERVE | MEM_COMMIT}) {
      SetLastError(ERROR_SUCCESS);
      EXPECT_EQ(Reserve(bytes, dwType), nullptr) << bytes;
      EXPECT_NE(GetLastError(), ERROR_SUCCESS);
    }
  EXPECT_EQ(Reserve(kTiB, MEM_COMMIT), nullptr) << "the system cannot back it";
  EXPECT_EQ(GetLastError(), ERROR_COMMITMENT_LIMIT);
  EXPECT_EQ(VirtualAlloc(nullptr, 1, 0, PAGE_READWRITE), nullptr);
  EXPECT_EQ(VirtualAlloc(nullptr, 1, MEM_RELEASE, PAGE_READWRITE), nullptr);
  EXPECT_EQ(VirtualAlloc(nullptr, 1, MEM_COMMIT, PAGE_NOACCESS), nullptr);
  EXPECT_EQ(VirtualAlloc(nullptr, 1, MEM_RESERVE, 64), nullptr);
}

TEST(ReservedMemory, RefusesRangesThatAreNoReservations) {
  std::size_t page = PageBytes();
  unsigned char *base = Reserve(4 * page);
  int local = 0;
  for (unsigned char *p : {static_cast<unsigned char *>(nullptr), reinterpret_cast<unsigned char *>(&local), base - 1,
                           base + 4 * page, reinterpret_cast<unsigned char *>(~std::uintptr_t{0})}) {
    MEMORY_BASIC_INFORMATION info;
    EXPECT_EQ(VirtualQuery(p, &info, sizeof info), 0U);
    EXPECT_FALSE(VirtualFree(p, 0, MEM_RELEASE));
    EXPECT_FALSE(VirtualFree(p, 0, MEM_DECOMMIT));
    EXPECT_FALSE(VirtualFree(p, 1, MEM_DECOMMIT));
    EXPECT_EQ(GetLastError(), ERROR_INVALID_ADDRESS);
    if (p != nullptr) EXPECT_EQ(VirtualAlloc(p, 1, MEM_COMMIT, PAGE_READWRITE), nullptr);
  }
  EXPECT_EQ(VirtualAlloc(base, page, MEM_RESERVE, PAGE_READWRITE), nullptr);
  EXPECT_EQ(VirtualAlloc(base + 1, 4 * page, MEM_COMMIT, PAGE_READWRITE), nullptr);
  EXPECT_EQ(VirtualAlloc(base + 1, ~std::size_t{0}, MEM_COMMIT, PAGE_READWRITE), nullptr);
  EXPECT_FALSE(CommitPages(base, 0, 4 * page + 1));
  EXPECT_FALSE(CommitPages(base, 4 * page + 1, 0));
  EXPECT_FALSE(CommitPages(base, page, ~std::size_t{0}));
  EXPECT_FALSE(CommitPages(nullptr, 0, 1));
  EXPECT_TRUE(CommitPages(base, 4 * page, 0));
  EXPECT_FALSE(VirtualFree(base, 5 * page, MEM_DECOMMIT));
  EXPECT_FALSE(VirtualFree(base + page, 0, MEM_DECOMMIT));
  EXPECT_FALSE(VirtualFree(base, page, MEM_RELEASE));
  EXPECT_FALSE(VirtualFree(base + page, 0, MEM_RELEASE));
  EXPECT_FALSE(VirtualFree(base, 0, MEM_RELEASE | MEM_DECOMMIT));
  EXPECT_EQ(Query(base).State, MEM_RESERVE) << "a refused call committed something";
  EXPECT_EQ(Query(base).RegionSize, 4 * page);
  MEMORY_BASIC_INFORMATION info;
  EXPECT_EQ(VirtualQuery(base, &info, sizeof info - 1), 0U);
  EXPECT_EQ(VirtualQuery(base, nullptr, sizeof info), 0U);
  EXPECT_TRUE(VirtualFree(base, 0, MEM_RELEASE));
  EXPECT_FALSE(VirtualFree(base, 0, MEM_RELEASE)) << "released twice";
}

}  // namespace

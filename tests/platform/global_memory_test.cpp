// Global memory against a plain table of what was allocated: random runs, cleared blocks, wrong handles and addresses,
// lock counts, and threads that use their own blocks and each other's.
#include "qel/platform/kernel/global_memory.h"

#include <gtest/gtest.h>

#include <cstring>
#include <deque>
#include <map>
#include <mutex>
#include <random>
#include <thread>
#include <vector>

#include "qel/platform/kernel/error.h"

namespace {

constexpr UINT kInvalidFlags = 0x8000;

struct Block {
  SIZE_T size = 0;
  UINT flags = 0;
  UINT locks = 0;
  unsigned char *data = nullptr;  // null before the first lock
  unsigned char fill = 0;
};

/// A size that visits all kinds of blocks: none, within one size class, around the borders of classes, large.
SIZE_T RandomSize(std::mt19937 &random) {
  switch (random() % 8) {
    case 0:
      return random() % 3;
    case 1:
      return (SIZE_T{64} << random() % 12) + random() % 3 - 1;
    case 2:
      return (SIZE_T{96} << random() % 11) + random() % 3 - 1;
    case 3:
      return random() % 200000;
    default:
      return random() % 5000;
  }
}

bool IsFilled(const unsigned char *data, SIZE_T size, unsigned char fill) {
  return size == 0 || (data[0] == fill && std::memcmp(data, data + 1, size - 1) == 0);
}

// One block of every kind -----------------------------------------------------------------------------------------

/// Random calls, every answer compared with the table; contents show blocks that overlap.
class Oracle {
 public:
  explicit Oracle(unsigned seed) : m_random(seed) {}
  ~Oracle() {
    for (const auto &[handle, block] : m_blocks) EXPECT_EQ(GlobalFree(handle), nullptr);
  }

  void Step() {
    const unsigned action = m_random() % 10;
    if (m_blocks.empty() || (action < 3 && m_blocks.size() < 150)) return Alloc();
    auto at = m_blocks.begin();
    std::advance(at, m_random() % m_blocks.size());
    if (action < 6) {
      Lock(at->first, at->second);
    } else if (action < 8) {
      Unlock(at->first, at->second);
    } else if (action < 9) {
      Free(at);
    }
    if (action < 8 || action == 9) Look(at->first, at->second);
  }

 private:
  void Alloc() {
    Block block;
    block.size = RandomSize(m_random);
    block.flags = (m_random() % 2 ? GMEM_MOVEABLE : GMEM_FIXED) | (m_random() % 2 ? GMEM_ZEROINIT : 0);
    const HGLOBAL handle = GlobalAlloc(block.flags, block.size);
    ASSERT_NE(handle, nullptr);
    ASSERT_TRUE(m_blocks.emplace(handle, block).second) << "a handle in use was given out again";
    Look(handle, block);
  }

  void Lock(HGLOBAL handle, Block &block) {
    auto *data = static_cast<unsigned char *>(GlobalLock(handle));
    ASSERT_EQ(data == nullptr, block.size == 0);
    if (!data) return;
    ++block.locks;
    if (block.data) {
      ASSERT_EQ(data, block.data) << "a block moved";
      ASSERT_TRUE(IsFilled(data, block.size, block.fill)) << "another block wrote into this one";
    } else {
      ASSERT_EQ(reinterpret_cast<std::uintptr_t>(data) % 16, 0u);
      if (block.flags & GMEM_ZEROINIT) {
        ASSERT_TRUE(IsFilled(data, block.size, 0));
      }
    }
    block.data = data;
    block.fill = static_cast<unsigned char>(m_random());
    std::memset(data, block.fill, block.size);
  }

  void Unlock(HGLOBAL handle, Block &block) {
    const bool wasLocked = block.locks != 0;
    if (wasLocked) --block.locks;
    ASSERT_EQ(GlobalUnlock(handle) != 0, wasLocked && block.locks != 0);
  }

  void Free(std::map<HGLOBAL, Block>::iterator at) {
    const auto [handle, block] = *at;
    if (block.data) {
      ASSERT_TRUE(IsFilled(block.data, block.size, block.fill));
    }
    m_blocks.erase(at);
    ASSERT_EQ(GlobalFree(handle), nullptr);
    ASSERT_EQ(GlobalFree(handle), handle);
    ASSERT_EQ(GlobalHandle(block.data), nullptr);
    ASSERT_EQ(GlobalFlags(handle), kInvalidFlags);
  }

  void Look(HGLOBAL handle, const Block &block) {
    ASSERT_EQ(GlobalSize(handle), block.size);
    ASSERT_EQ(GlobalFlags(handle), block.flags << 8 | block.locks);
    if (block.data) {
      ASSERT_EQ(GlobalHandle(block.data), block.locks ? handle : nullptr);
    }
  }

  std::mt19937 m_random;
  std::map<HGLOBAL, Block> m_blocks;
};

TEST(GlobalMemory, AnswersLikeATableOfItsBlocks) {
  for (unsigned seed = 1; seed <= 4; ++seed) {
    Oracle oracle(seed);
    for (int step = 0; step < 6000; ++step) {
      oracle.Step();
      if (HasFatalFailure()) FAIL() << "seed " << seed << ", step " << step;
    }
  }
}

TEST(GlobalMemory, ClearsBlocksThatWereUsedBefore) {
  for (const SIZE_T size : {1, 40, 64, 65, 2048, 4096, 5000, 65536, 65537, 400000}) {
    for (int round = 0; round < 3; ++round) {
      const HGLOBAL dirty = GlobalAlloc(GMEM_MOVEABLE, size);
      std::memset(GlobalLock(dirty), 0xA5, size);
      ASSERT_EQ(GlobalFree(dirty), nullptr);
      const HGLOBAL clean = GlobalAlloc(GHND, size);
      EXPECT_TRUE(IsFilled(static_cast<unsigned char *>(GlobalLock(clean)), size, 0)) << size;
      ASSERT_EQ(GlobalFree(clean), nullptr);
    }
  }
}

TEST(GlobalMemory, SizesAtBothEnds) {
  const HGLOBAL none = GlobalAlloc(GMEM_MOVEABLE, 0);
  ASSERT_NE(none, nullptr);
  EXPECT_EQ(GlobalLock(none), nullptr);
  EXPECT_EQ(GlobalFlags(none), GMEM_MOVEABLE << 8);
  EXPECT_EQ(GlobalUnlock(none), FALSE);
  EXPECT_EQ(GlobalFree(none), nullptr);

  for (const SIZE_T size : {~SIZE_T{0}, ~SIZE_T{0} - 63, SIZE_T{PTRDIFF_MAX}, SIZE_T{1} << 62}) {
    for (const UINT flags : {GMEM_MOVEABLE, GHND}) {
      SetLastError(ERROR_SUCCESS);
      EXPECT_EQ(GlobalAlloc(flags, size), nullptr);
      EXPECT_EQ(GetLastError(), ERROR_NOT_ENOUGH_MEMORY);
    }
  }
}

TEST(GlobalMemory, CountsLocksAndKeepsFlags) {
  const HGLOBAL handle = GlobalAlloc(GHND, 100);
  void *data = GlobalLock(handle);
  for (UINT locks = 2; locks <= 300; ++locks) {
    EXPECT_EQ(GlobalLock(handle), data);
    EXPECT_EQ(GlobalFlags(handle), GHND << 8 | (locks < 255 ? locks : 255));
  }
  for (int locks = 299; locks > 0; --locks) EXPECT_NE(GlobalUnlock(handle), FALSE);
  EXPECT_EQ(GlobalHandle(data), handle);
  EXPECT_EQ(GlobalUnlock(handle), FALSE);
  EXPECT_EQ(GlobalHandle(data), nullptr);
  EXPECT_EQ(GlobalUnlock(handle), FALSE);
  EXPECT_EQ(GlobalFlags(handle), GHND << 8);
  EXPECT_EQ(GlobalFree(handle), nullptr);
}

// Wrong handles and addresses -------------------------------------------------------------------------------------

TEST(GlobalMemory, TurnsAwayWhatIsNoHandle) {
  const HGLOBAL live = GlobalAlloc(GMEM_MOVEABLE, 500);
  auto *data = static_cast<unsigned char *>(GlobalLock(live));
  const HGLOBAL freedSmall = GlobalAlloc(GMEM_MOVEABLE, 500);
  GlobalFree(freedSmall);
  const HGLOBAL freedLarge = GlobalAlloc(GMEM_MOVEABLE, 500000);
  GlobalFree(freedLarge);
  int onStack = 0;
  auto *inside = static_cast<unsigned char *>(live);

  std::vector<HGLOBAL> wrong = {nullptr, &onStack, data, data + 1, freedSmall, freedLarge};
  for (const std::ptrdiff_t offset : {1, 8, 63, 64 << 10, 1 << 30}) wrong.push_back(inside + offset);
  for (const std::uintptr_t value : {std::uintptr_t{1}, std::uintptr_t{64}, std::uintptr_t{0x123456789ABCDEC0},
                                     ~std::uintptr_t{0}, ~std::uintptr_t{63}}) {
    wrong.push_back(reinterpret_cast<HGLOBAL>(value));
  }
  for (const HGLOBAL handle : wrong) {
    EXPECT_EQ(GlobalLock(handle), nullptr) << handle;
    EXPECT_EQ(GlobalUnlock(handle), FALSE) << handle;
    EXPECT_EQ(GlobalFree(handle), handle);
    EXPECT_EQ(GlobalSize(handle), 0u) << handle;
    EXPECT_EQ(GlobalFlags(handle), kInvalidFlags) << handle;
  }
  EXPECT_EQ(GlobalFlags(live), GMEM_MOVEABLE << 8 | 1);
  EXPECT_EQ(GlobalFree(live), nullptr);
}

TEST(GlobalMemory, FindsOnlyTheStartOfLockedBlocks) {
  for (const SIZE_T size : {1, 100, 4096, 65536, 65537, 1 << 20}) {
    const HGLOBAL handle = GlobalAlloc(GMEM_MOVEABLE, size);
    auto *data = static_cast<unsigned char *>(GlobalLock(handle));
    EXPECT_EQ(GlobalHandle(data), handle);
    EXPECT_EQ(GlobalHandle(data + 1), nullptr);
    EXPECT_EQ(GlobalHandle(data - 1), nullptr);
    EXPECT_EQ(GlobalHandle(data + size / 2 + 1), nullptr);
    GlobalUnlock(handle);
    EXPECT_EQ(GlobalHandle(data), nullptr);
    GlobalLock(handle);
    GlobalFree(handle);
    EXPECT_EQ(GlobalHandle(data), nullptr);
  }
  const std::vector<unsigned char> foreign(100);
  for (const void *address : {static_cast<const void *>(nullptr), static_cast<const void *>(&foreign),
                              static_cast<const void *>(foreign.data()), reinterpret_cast<const void *>(0x40),
                              reinterpret_cast<const void *>(~std::uintptr_t{0})}) {
    EXPECT_EQ(GlobalHandle(address), nullptr);
  }
}

// Threads -------------------------------------------------------------------------------------------------------------

/// Blocks on their way from the thread that allocated them to the one that frees them.
class Exchange {
 public:
  void Put(HGLOBAL handle) {
    const std::lock_guard lock(m_mutex);
    m_handles.push_back(handle);
  }
  HGLOBAL Take() {
    const std::lock_guard lock(m_mutex);
    if (m_handles.empty()) return nullptr;
    const HGLOBAL handle = m_handles.front();
    m_handles.pop_front();
    return handle;
  }

 private:
  std::mutex m_mutex;
  std::deque<HGLOBAL> m_handles;
};

/// Allocates a locked block filled with the low byte of its size.
HGLOBAL MakeFilled(std::mt19937 &random) {
  const SIZE_T size = RandomSize(random) + 1;
  const HGLOBAL handle = GlobalAlloc(GMEM_MOVEABLE, size);
  std::memset(GlobalLock(handle), static_cast<int>(size & 0xFF), size);
  return handle;
}

bool FreeFilled(HGLOBAL handle) {
  const SIZE_T size = GlobalSize(handle);
  const auto *data = static_cast<const unsigned char *>(GlobalLock(handle));
  const bool sound = GlobalFlags(handle) == (GMEM_MOVEABLE << 8 | 2) && GlobalHandle(data) == handle &&
                     IsFilled(data, size, static_cast<unsigned char>(size));
  return GlobalFree(handle) == nullptr && GlobalHandle(data) != handle && sound;
}

TEST(GlobalMemory, ThreadsUseTheirOwnBlocksAndEachOthers) {
  Exchange exchange;
  std::atomic<int> faults{0};
  {
    std::vector<std::jthread> threads;
    for (unsigned seed = 1; seed <= 4; ++seed) {
      threads.emplace_back([&exchange, &faults, seed] {
        std::mt19937 random(seed);
        for (int round = 0; round < 4000; ++round) {
          if (!FreeFilled(MakeFilled(random))) ++faults;
          if (random() % 2) exchange.Put(MakeFilled(random));
          const HGLOBAL handle = random() % 2 ? exchange.Take() : nullptr;
          if (handle && !FreeFilled(handle)) ++faults;
        }
      });
    }
  }
  while (const HGLOBAL handle = exchange.Take()) faults += FreeFilled(handle) ? 0 : 1;
  EXPECT_EQ(faults, 0);
}

/// Two threads free the same handles: exactly one of them succeeds with each.
TEST(GlobalMemory, FreesABlockOnce) {
  std::vector<HGLOBAL> handles;
  for (int i = 0; i < 2000; ++i) handles.push_back(GlobalAlloc(GMEM_MOVEABLE, 300));
  std::atomic<int> freed{0};
  {
    std::vector<std::jthread> threads;
    for (int i = 0; i < 2; ++i) {
      threads.emplace_back([&] {
        for (const HGLOBAL handle : handles) freed += GlobalFree(handle) == nullptr;
      });
    }
  }
  EXPECT_EQ(freed, 2000);
}

std::atomic<int> g_soundEnds{0};

/// Uses global memory when its thread ends, before or after the memory's own end of that thread.
struct AtThreadEnd {
  HGLOBAL kept = nullptr;

  ~AtThreadEnd() {
    std::mt19937 random(7);
    bool sound = FreeFilled(kept);
    for (int i = 0; i < 100; ++i) sound = FreeFilled(MakeFilled(random)) && sound;
    g_soundEnds += sound;
  }
};

TEST(GlobalMemory, ServesDestructorsOfAnEndingThread) {
  for (const bool memoryFirst : {false, true}) {
    std::jthread([memoryFirst] {
      std::mt19937 random(3);
      if (memoryFirst) FreeFilled(MakeFilled(random));
      thread_local AtThreadEnd end;
      end.kept = MakeFilled(random);
    }).join();
  }
  EXPECT_EQ(g_soundEnds, 2);
}

}  // namespace

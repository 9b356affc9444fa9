// Reserved blocks: what is committed when, what a view taken over is, and blocks far larger than memory.
#include <fstream>

#include "stores.h"

namespace {

using test::Bytes;

unsigned long CountCommitted(const PMem &mem) {
  const auto pages = test::CommittedPages(mem);
  return static_cast<unsigned long>(std::count(pages.begin(), pages.end(), true));
}

TEST(VirtualMem, PagesAreCommittedByTheFirstTouch) {
  PVirtualMem mem;
  ASSERT_NE(mem.AllocMemory(MEM_RESERVE, 1 << 24), nullptr);
  EXPECT_EQ(CountCommitted(mem), 0u);
  EXPECT_EQ(mem.PokeByte(5000000, 7), 1);
  EXPECT_EQ(CountCommitted(mem), 1u);
  EXPECT_TRUE(test::CommittedPages(mem)[5000000 / 4096]);
  EXPECT_EQ(mem.PeekByte(5000000), 7);
  EXPECT_EQ(CountCommitted(mem), 1u);
  mem.DeCommitMemory();
  EXPECT_EQ(CountCommitted(mem), 0u);
  EXPECT_EQ(mem.PeekByte(5000000), 0);
  mem.FreeMemory();
  ASSERT_NE(mem.AllocMemory(MEM_COMMIT | MEM_RESERVE, 10000), nullptr);
  EXPECT_EQ(CountCommitted(mem), 3u);
}

TEST(VirtualMem, StridedAccessCommitsOnlyThePagesOfItsUnits) {
  PVirtualMem mem;
  ASSERT_NE(mem.AllocMemory(MEM_RESERVE, 100 * 4096), nullptr);
  Bytes line(30, 1);
  ASSERT_EQ(mem.PutSkipBlock(4096 - 1, 10, 3, 10 * 4096, line.data()), 1);
  std::vector<bool> expected(100);
  for (std::size_t i = 0; i < 100; i += 10) expected[i] = expected[i + 1] = true;
  EXPECT_EQ(test::CommittedPages(mem), expected);
  ASSERT_EQ(mem.GetSkipBlock(99 * 4096, 10, 3, -10 * 4096, line.data()), 1);
  for (std::size_t i = 9; i < 100; i += 10) expected[i] = true;
  EXPECT_EQ(test::CommittedPages(mem), expected);
}

TEST(VirtualMem, RangesCommitWholeAndStopAtTheLastPage) {
  PVirtualMem mem;
  ASSERT_NE(mem.AllocMemory(MEM_RESERVE, 10000), nullptr);
  unsigned char *const p = mem.GetPointer();
  EXPECT_EQ(mem.CommitMemory(4095, 2), p + 4095);
  EXPECT_EQ(test::CommittedPages(mem), (std::vector<bool>{true, true, false}));
  EXPECT_EQ(mem.CommitMemory(p + 9000), 1);
  EXPECT_EQ(CountCommitted(mem), 3u);
  EXPECT_EQ(mem.CommitMemory(p - 1), 0);
  EXPECT_EQ(mem.CommitMemory(p + 12288), 0);
  EXPECT_EQ(mem.CommitMemory(1, ~0UL), nullptr);
  EXPECT_EQ(mem.CommitMemory(~0UL, 2), nullptr);
}

TEST(VirtualMem, DetachOfAnUntouchedBlockGivesZeros) {
  PVirtualMem mem;
  ASSERT_NE(mem.AllocMemory(MEM_RESERVE, 10000), nullptr);
  void *const handle = mem.Detach();
  ASSERT_NE(handle, nullptr);
  const auto *p = static_cast<unsigned char *>(GlobalLock(handle));
  EXPECT_EQ(Bytes(p, p + GlobalSize(handle)), Bytes(10000));
  GlobalFree(handle);
}

TEST(VirtualMem, ResizeOfASparseBlockKeepsItsHoles) {
  PVirtualMem mem;
  ASSERT_NE(mem.AllocMemory(MEM_RESERVE, 1UL << 40), nullptr);
  ASSERT_EQ(mem.PokeByte(20000, 3), 1);
  ASSERT_EQ(mem.PokeByte((1UL << 40) - 1, 3), 1);
  ASSERT_EQ(mem.Resize(30000), 1);
  Bytes expected(30000);
  expected[20000] = 3;
  EXPECT_EQ(test::Contents(mem), expected);
}

TEST(VirtualMem, AttachTakesWholeReservationsOnly) {
  auto *const p = static_cast<unsigned char *>(VirtualAlloc(nullptr, 10000, MEM_RESERVE, PAGE_READWRITE));
  ASSERT_NE(p, nullptr);
  PVirtualMem mem;
  EXPECT_EQ(mem.Attach(p + 4096), 0);
  EXPECT_EQ(mem.Attach(static_cast<unsigned char *>(nullptr)), 0);
  PMem global;
  EXPECT_EQ(mem.Attach(global.AllocMemory(GMEM_MOVEABLE, 100)), 0);
  EXPECT_EQ(mem.GetSize(), 0u);
  ASSERT_EQ(mem.Attach(p), 1);
  EXPECT_EQ(mem.GetSize(), 12288u);
  EXPECT_EQ(mem.Attach(p), 0);
  EXPECT_EQ(mem.PokeByte(12287, 1), 1);
  EXPECT_EQ(mem.GetMirrorMem(), nullptr);
  mem.FreeMemory();
  EXPECT_EQ(PMem::GetSize(p), 0u);
}

TEST(VirtualMem, AViewTakenOverStaysMapped) {
  PMemMapFile mapped;
  unsigned char *const view = mapped.AllocMemory(MEM_RESERVE, 10000);
  ASSERT_NE(view, nullptr);
  EXPECT_EQ(mapped.Attach(view), 0);
  {
    PVirtualMem guest;
    ASSERT_EQ(guest.Attach(view), 1);
    EXPECT_EQ(guest.PokeByte(5000, 77), 1);
    ASSERT_EQ(guest.CreateMirrorMem(), 1);
    EXPECT_EQ(guest.PokeByte(5000, 78), 1);
    guest.DeCommitMemory();
  }
  EXPECT_EQ(mapped.PeekByte(5000), 78);
  EXPECT_EQ(PMem::GetSize(view), 12288u);
}

TEST(VirtualMem, BlocksBeyondFourGigabytesReachTheirLastByte) {
  const unsigned long size = 6UL << 30;
  PVirtualMem mem;
  ASSERT_NE(mem.AllocMemory(MEM_RESERVE, size), nullptr);
  ASSERT_EQ(mem.CreateMirrorMem(), 1);
  EXPECT_EQ(mem.PokeByte(0, 1), 1);
  EXPECT_EQ(mem.PokeByte(size - 1, 2), 1);
  EXPECT_EQ(mem.PokeByte(size, 3), 0);
  EXPECT_EQ(mem.SetBlockWORD(size - 5, ~0UL, 0x0403), 1);
  unsigned char line[3] = {};
  EXPECT_EQ(mem.GetSkipBlock(size - 1, 2, 1, -static_cast<long>(size - 1), line), 1);
  EXPECT_EQ(line[0], 2);
  EXPECT_EQ(line[1], 1);
  EXPECT_EQ(CountCommitted(mem), 2u);
  EXPECT_EQ(mem.SwapMirrorMem(), 1);
  EXPECT_EQ(mem.PeekByte(size - 1), 0);
  EXPECT_EQ(mem.PeekByte(0), 0);
}

/// Bytes of memory that the process takes now.
unsigned long ResidentBytes() {
  unsigned long total = 0, resident = 0;
  std::ifstream("/proc/self/statm") >> total >> resident;
  return resident * PMem::GetPageSize();
}

TEST(VirtualMem, ATebibyteCostsOnlyWhatIsTouched) {
  const unsigned long before = ResidentBytes();
  PVirtualMem mem;
  ASSERT_NE(mem.AllocMemory(MEM_RESERVE, 1UL << 40), nullptr);
  ASSERT_EQ(mem.CreateMirrorMem(), 1);
  EXPECT_EQ(mem.PokeByte((1UL << 40) - 1, 9), 1);
  EXPECT_EQ(mem.SwapMirrorMem(), 1);
  EXPECT_EQ(mem.PeekByte((1UL << 40) - 1), 0);
  EXPECT_EQ(mem.Detach(), nullptr) << "no machine has a global block of that size";
  EXPECT_FALSE(mem.IsEmpty());
  EXPECT_EQ(PMem::GetSize(mem.GetPointer() + (1UL << 39)), 1UL << 40);
  EXPECT_LT(ResidentBytes(), before + (64UL << 20));
}

}  // namespace

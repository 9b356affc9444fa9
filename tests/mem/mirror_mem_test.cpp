// Snapshots: which pages they save, what those hold, and the exchange that undoes and redoes.
#include "stores.h"

namespace {

using test::Bytes;
using test::Kind;

constexpr unsigned long kPage = 4096;

void MarkPages(std::vector<bool> &pages, const test::Touched &touched) {
  for (unsigned long i = touched.low; i < touched.high; i = (i / kPage + 1) * kPage) pages[i / kPage] = true;
}

TEST(Mirror, SavesExactlyTheOverwrittenPagesAsTheyWere) {
  std::mt19937 random(6);
  for (Kind kind : test::kAllKinds) {
    for (unsigned long size : {1UL, kPage, 5 * kPage, 60 * kPage + 123}) {
      auto mem = test::Make(kind, size);
      Bytes now = test::RandomBytes(random, size);
      mem->PutBlock(0, size, now.data());
      ASSERT_EQ(mem->CreateMirrorMem(), 1);
      PMirrorMem &mirror = *mem->GetMirrorMem();
      for (int round = 0; round < 6; ++round) {
        const Bytes before = now;
        std::vector<bool> saved((size + kPage - 1) / kPage);
        for (int i = 0; i < 4; ++i) MarkPages(saved, test::WriteRandomly(random, *mem, now));
        ASSERT_EQ(test::CommittedPages(mirror), saved) << static_cast<int>(kind) << ' ' << size;
        for (unsigned long i = 0; i < size; ++i) {
          if (saved[i / kPage]) {
            ASSERT_EQ(mirror.GetPointer()[i], before[i]) << i;
          }
        }
        ASSERT_EQ(mem->SwapMirrorMem(), 1);
        ASSERT_EQ(test::Contents(*mem), before);
        ASSERT_EQ(mem->SwapMirrorMem(), 1);
        ASSERT_EQ(test::Contents(*mem), now);
        ASSERT_EQ(test::CommittedPages(mirror), saved);
        ASSERT_EQ(round % 2 ? mem->ClearMirrorMem() : mem->CreateMirrorMem(), 1);
        ASSERT_EQ(mem->SwapMirrorMem(), 1);
        ASSERT_EQ(test::Contents(*mem), now);
      }
    }
  }
}

TEST(Mirror, AWriteAcrossABorderSavesBothPages) {
  for (Kind kind : test::kAllKinds) {
    auto mem = test::Make(kind, 3 * kPage);
    mem->SetBlock(0, 3 * kPage, 0x11);
    ASSERT_EQ(mem->CreateMirrorMem(), 1);
    Bytes line(10, 0x22);
    ASSERT_EQ(mem->PutBlock(2 * kPage - 5, 10, line.data()), 1);
    EXPECT_EQ(test::CommittedPages(*mem->GetMirrorMem()), (std::vector<bool>{false, true, true}));
    mem->PutBlock(2 * kPage - 5, 10, Bytes(10, 0x33).data());
    mem->SwapMirrorMem();
    EXPECT_EQ(test::Contents(*mem), Bytes(3 * kPage, 0x11));
  }
}

TEST(Mirror, StridedNoticesSaveFromTheLowestToTheHighestUnit) {
  PMem mem;
  ASSERT_NE(mem.AllocMemory(GHND, 10 * kPage), nullptr);
  ASSERT_EQ(mem.CreateMirrorMem(), 1);
  PMirrorMem &mirror = *mem.GetMirrorMem();
  const auto saved = [&](std::size_t first, std::size_t last) {
    std::vector<bool> pages(10);
    for (std::size_t i = first; i <= last; ++i) pages[i] = true;
    return pages;
  };
  EXPECT_EQ(mirror.CopySourceSkipBlock(5 * kPage + 1, 4, 3, -static_cast<long>(kPage)), 1);
  EXPECT_EQ(test::CommittedPages(mirror), saved(2, 5));
  mem.ClearMirrorMem();
  EXPECT_EQ(mirror.CopySourceSkipBlock(kPage - 1, 3, 2, 2 * kPage), 1);
  EXPECT_EQ(test::CommittedPages(mirror), saved(0, 5));
  mem.ClearMirrorMem();
  EXPECT_EQ(mirror.CopySourceSkipBlock(8 * kPage, 1000, 2, 2 * kPage), 0);
  EXPECT_EQ(test::CommittedPages(mirror), saved(8, 9));
  EXPECT_EQ(mirror.CopySourceSkipBlock(~0UL, ~0UL, ~0UL, LONG_MAX), 0);
  EXPECT_EQ(mirror.CopySourceSkipBlock(0, ~0UL, 1, LONG_MIN), 0);
  EXPECT_EQ(mirror.CopySource(10 * kPage, 1), 0);
  EXPECT_EQ(mirror.CopySource(3, 0), 1);
  EXPECT_EQ(test::CommittedPages(mirror)[1], false);
}

TEST(Mirror, SavedPagesMoveToAnotherBlockAndBack) {
  std::mt19937 random(7);
  auto mem = test::Make(Kind::kReserved, 20 * kPage + 5);
  const Bytes before = test::RandomBytes(random, mem->GetSize());
  mem->PutBlock(0, before.size(), const_cast<unsigned char *>(before.data()));
  ASSERT_EQ(mem->CreateMirrorMem(), 1);
  mem->PokeByte(3 * kPage, 0);
  mem->SetBlock(18 * kPage, ~0UL, 0);
  const Bytes after = test::Contents(*mem);

  PVirtualMem store;
  ASSERT_NE(store.AllocMemory(MEM_RESERVE, mem->GetSize()), nullptr);
  store.PokeByte(0, 1);
  ASSERT_EQ(mem->GetMirrorMem(&store), 1);
  EXPECT_EQ(test::CommittedPages(store), test::CommittedPages(*mem->GetMirrorMem()));
  EXPECT_EQ(store.PeekByte(18 * kPage + 9), before[18 * kPage + 9]);

  mem->ClearMirrorMem();
  mem->PokeByte(7 * kPage, 1);
  mem->SwapMirrorMem();
  ASSERT_EQ(mem->PutMirrorMem(&store), 1);
  EXPECT_EQ(test::CommittedPages(store), test::CommittedPages(*mem->GetMirrorMem()));
  ASSERT_EQ(mem->SwapMirrorMem(), 1);
  EXPECT_EQ(test::Contents(*mem), before);
  ASSERT_EQ(mem->SwapMirrorMem(), 1);
  EXPECT_EQ(test::Contents(*mem), after);
}

TEST(Mirror, WhatCannotBeAnsweredIsRefused) {
  PMem mem;
  EXPECT_EQ(mem.CreateMirrorMem(), 0);
  EXPECT_EQ(mem.GetMirrorMem(), nullptr);
  EXPECT_EQ(mem.ClearMirrorMem(), 0);
  EXPECT_EQ(mem.SwapMirrorMem(), 0);
  PVirtualMem empty;
  EXPECT_EQ(mem.GetMirrorMem(&empty), 0);
  EXPECT_EQ(mem.PutMirrorMem(&empty), 0);
  EXPECT_EQ(mem.CopyVirtualMemory(&empty), 0);
  EXPECT_EQ(mem.CopyVirtualMemory(nullptr), 0);
  ASSERT_NE(mem.AllocMemory(GHND, 100), nullptr);
  EXPECT_EQ(mem.GetMirrorMem(), nullptr) << "a mirror that could not be made is not wished for any more";
  ASSERT_EQ(mem.CreateMirrorMem(), 1);
  EXPECT_EQ(mem.GetMirrorMem(nullptr), 0);
  EXPECT_EQ(mem.PutMirrorMem(nullptr), 0);
  EXPECT_EQ(mem.PutMirrorMem(&empty), 0);
  EXPECT_EQ(mem.GetMirrorMem()->SetSourceMem(nullptr), 0);
  EXPECT_EQ(mem.GetMirrorMem()->SetSourceMem(mem.GetMirrorMem()), 0);
  void *const handle = mem.Detach();
  EXPECT_EQ(mem.GetMirrorMem(), nullptr);
  GlobalFree(handle);
  ASSERT_NE(mem.AllocMemory(GHND, 100), nullptr);
  EXPECT_NE(mem.GetMirrorMem(), nullptr);
}

TEST(Mirror, PagesComeOnlyByBeingFilled) {
  std::mt19937 random(8);
  auto mem = test::Make(Kind::kReserved, 5 * kPage);
  Bytes before = test::RandomBytes(random, 5 * kPage);
  mem->PutBlock(0, before.size(), before.data());
  ASSERT_EQ(mem->CreateMirrorMem(), 1);
  PMirrorMem &mirror = *mem->GetMirrorMem();
  ASSERT_EQ(mem->PokeByte(kPage, static_cast<unsigned char>(before[kPage] + 1)), 1);
  ASSERT_EQ(mirror.Resize(3 * kPage), 1);
  EXPECT_EQ(test::CommittedPages(mirror), (std::vector<bool>{false, true, false}));
  EXPECT_EQ(mem->SwapMirrorMem(), 1);
  EXPECT_EQ(test::Contents(*mem), before);

  ASSERT_NE(mirror.AllocMemory(MEM_COMMIT, 5 * kPage), nullptr);
  EXPECT_EQ(test::CommittedPages(mirror), std::vector<bool>(5));
  EXPECT_EQ(mem->SwapMirrorMem(), 1);
  EXPECT_EQ(test::Contents(*mem), before);
  EXPECT_EQ(mirror.CommitMemory(mirror.GetPointer() + 3 * kPage), 1);
  EXPECT_EQ(mem->PokeByte(3 * kPage, 0), 1);
  EXPECT_EQ(mirror.PeekByte(3 * kPage), before[3 * kPage]);
}

/// A block that loses one page.
struct LossyMem : PVirtualMem {
  using PVirtualMem::CommitMemory;
  unsigned char *CommitMemory(unsigned long dwOffset, unsigned long dwCount) override {
    return lost && dwOffset == 0 ? nullptr : PVirtualMem::CommitMemory(dwOffset, dwCount);
  }
  bool lost = false;
};

TEST(Mirror, AnExchangePassesOverWhatTheBlockCannotCommit) {
  LossyMem mem;
  ASSERT_NE(mem.AllocMemory(MEM_RESERVE, 3 * kPage), nullptr);
  ASSERT_EQ(mem.CreateMirrorMem(), 1);
  for (unsigned long page : {0UL, 2UL}) EXPECT_EQ(mem.PokeByte(page * kPage, 5), 1);
  mem.lost = true;
  EXPECT_EQ(mem.SwapMirrorMem(), 1);
  mem.lost = false;
  EXPECT_EQ(mem.PeekByte(0), 5);
  EXPECT_EQ(mem.PeekByte(2 * kPage), 0);
}

TEST(Mirror, ASourceThatShrinksStopsBeingSaved) {
  PMem small, large;
  ASSERT_NE(small.AllocMemory(GHND, 100), nullptr);
  ASSERT_NE(large.AllocMemory(GHND, 5 * kPage), nullptr);
  PMirrorMem mirror;
  ASSERT_EQ(mirror.SetSourceMem(&large), 1);
  ASSERT_EQ(large.Resize(kPage), 1);
  EXPECT_EQ(mirror.CopySource(0, 5 * kPage), 0);
  EXPECT_EQ(test::CommittedPages(mirror), (std::vector<bool>{true, false, false, false, false}));
  ASSERT_EQ(mirror.SetSourceMem(&large), 1);
  EXPECT_EQ(mirror.GetSize(), kPage);
  ASSERT_EQ(mirror.SetSourceMem(&small), 1);
  EXPECT_EQ(mirror.GetSize(), 100u);
}

}  // namespace

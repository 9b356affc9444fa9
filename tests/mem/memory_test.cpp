// How blocks come by their memory, change its size and hand it over, the same for every store where it is the same.
#include "stores.h"

namespace {

using test::Bytes;
using test::Kind;

TEST(Memory, HoldsWhatItWasGivenUntilItIsFreed) {
  for (Kind kind : test::kAllKinds) {
    auto mem = test::MakeEmpty(kind);
    EXPECT_TRUE(mem->IsEmpty());
    unsigned char *const p = mem->AllocMemory(test::FlagsOf(kind), 10000);
    ASSERT_NE(p, nullptr);
    EXPECT_EQ(mem->GetPointer(), p);
    EXPECT_EQ(mem->GetSize(), 10000u);
    EXPECT_EQ(mem->GetHandle() != nullptr, kind == Kind::kGlobal);
    EXPECT_EQ(test::Contents(*mem), Bytes(10000));
    mem->FreeMemory();
    mem->FreeMemory();
    EXPECT_TRUE(mem->IsEmpty());
    EXPECT_EQ(mem->GetSize(), 0u);
    EXPECT_EQ(mem->GetHandle(), nullptr);
  }
}

TEST(Memory, SizesThatCannotBeLeaveTheBlockEmpty) {
  for (Kind kind : test::kAllKinds) {
    auto mem = test::MakeEmpty(kind);
    for (unsigned long size : {0UL, 1UL << 62, ~0UL}) {
      EXPECT_EQ(mem->AllocMemory(test::FlagsOf(kind), size), nullptr) << size;
      EXPECT_TRUE(mem->IsEmpty());
      EXPECT_EQ(mem->GetSize(), 0u);
      EXPECT_EQ(mem->GetMirrorMem(), nullptr);
    }
    ASSERT_NE(mem->AllocMemory(test::FlagsOf(kind), 5), nullptr);
  }
}

TEST(Memory, ResizeKeepsWhatFits) {
  std::mt19937 random(4);
  for (Kind kind : {Kind::kGlobal, Kind::kReserved, Kind::kCommitted}) {
    auto mem = test::Make(kind, 10000);
    Bytes model = test::RandomBytes(random, 10000);
    mem->PutBlock(0, model.size(), model.data());
    for (unsigned long size : {30000UL, 4096UL, 4097UL, 1UL}) {
      ASSERT_EQ(mem->Resize(size), 1);
      EXPECT_EQ(mem->GetSize(), size);
      model.resize(size);
      EXPECT_EQ(test::Contents(*mem), model);
    }
    for (unsigned long size : {0UL, 1UL << 62, ~0UL}) {
      EXPECT_EQ(mem->Resize(size), 0);
      EXPECT_EQ(test::Contents(*mem), model);
    }
  }
}

TEST(Memory, ANewMemoryGetsAMirrorOfItsSize) {
  for (Kind kind : test::kAllKinds) {
    auto mem = test::Make(kind, 10000);
    ASSERT_EQ(mem->CreateMirrorMem(), 1);
    EXPECT_EQ(mem->PokeByte(0, 1), 1);
    mem->FreeMemory();
    if (kind != Kind::kGlobal) {
      EXPECT_EQ(mem->CreateMirrorMem(), 1) << "the mirror is there still, to be given its size by the next memory";
    }
    EXPECT_EQ(mem->SwapMirrorMem(), 0);
    ASSERT_NE(mem->AllocMemory(test::FlagsOf(kind), 50000), nullptr);
    ASSERT_NE(mem->GetMirrorMem(), nullptr);
    EXPECT_EQ(mem->GetMirrorMem()->GetSize(), 50000u);
    EXPECT_EQ(test::CommittedPages(*mem->GetMirrorMem()), std::vector<bool>(13));
    EXPECT_EQ(mem->PokeByte(49999, 5), 1);
    if (kind == Kind::kMapped || kind == Kind::kMappedCommitted) continue;
    ASSERT_EQ(mem->Resize(70000), 1);
    EXPECT_EQ(mem->GetMirrorMem()->GetSize(), 70000u);
    EXPECT_EQ(test::CommittedPages(*mem->GetMirrorMem()), std::vector<bool>(18));
    EXPECT_EQ(mem->PeekByte(49999), 5);
    EXPECT_EQ(mem->PokeByte(49999, 6), 1);
    EXPECT_EQ(mem->SwapMirrorMem(), 1);
    EXPECT_EQ(mem->PeekByte(49999), 5);
  }
}

TEST(Memory, HandlesTravelThroughAttachAndDetach) {
  std::mt19937 random(5);
  const Bytes bytes = test::RandomBytes(random, 10000);
  for (Kind kind : test::kAllKinds) {
    void *const handle = GlobalAlloc(GMEM_MOVEABLE, bytes.size());
    std::copy(bytes.begin(), bytes.end(), static_cast<unsigned char *>(GlobalLock(handle)));
    GlobalUnlock(handle);

    auto mem = test::Make(kind, 5);
    EXPECT_EQ(mem->CreateMirrorMem(), 1);
    EXPECT_EQ(mem->Attach(handle), 0);
    mem->FreeMemory();
    EXPECT_EQ(mem->Attach(static_cast<void *>(nullptr)), kind == Kind::kGlobal) << "the handle it has already";
    EXPECT_TRUE(mem->IsEmpty());
    EXPECT_EQ(mem->Attach(static_cast<void *>(mem.get())), 0);
    ASSERT_EQ(mem->Attach(handle), 1);
    EXPECT_EQ(test::Contents(*mem), bytes);
    ASSERT_NE(mem->GetMirrorMem(), nullptr);
    EXPECT_EQ(mem->GetMirrorMem()->GetSize(), bytes.size());
    EXPECT_EQ(test::CommittedPages(*mem->GetMirrorMem()), std::vector<bool>(3));
    EXPECT_EQ(GlobalSize(handle) != 0, kind == Kind::kGlobal);
    EXPECT_EQ(mem->Attach(handle), kind == Kind::kGlobal);

    void *const out = mem->Detach();
    ASSERT_NE(out, nullptr);
    EXPECT_TRUE(mem->IsEmpty());
    EXPECT_EQ(GlobalSize(out), bytes.size());
    const auto *p = static_cast<unsigned char *>(GlobalLock(out));
    EXPECT_TRUE(std::equal(bytes.begin(), bytes.end(), p));
    GlobalFree(out);
    EXPECT_EQ(mem->Detach(), nullptr);
  }
}

TEST(Memory, AHandleThatFindsNoRoomStaysTheCallers) {
  struct Full : PVirtualMem {
    using PVirtualMem::m_bMirror;
    unsigned char *AllocMemory(unsigned int, unsigned long) override { return nullptr; }
  } full;
  full.m_bMirror = 1;
  void *const handle = GlobalAlloc(GHND, 100);
  EXPECT_EQ(full.Attach(handle), 0);
  EXPECT_TRUE(full.IsEmpty());
  EXPECT_EQ(full.m_bMirror, 1);
  EXPECT_EQ(GlobalSize(handle), 100u);
  EXPECT_EQ(GlobalFlags(handle) & 0xFF, 0u) << "no lock is left behind";
  EXPECT_EQ(GlobalFree(handle), nullptr);
}

TEST(Memory, AttachOfAnAddressTakesItsGlobalBlock) {
  void *const handle = GlobalAlloc(GMEM_MOVEABLE, 100);
  auto *const p = static_cast<unsigned char *>(GlobalLock(handle));
  PMem mem;
  EXPECT_EQ(mem.Attach(static_cast<unsigned char *>(nullptr)), 0);
  EXPECT_EQ(mem.Attach(p + 1), 1) << "no block starts there: the null handle, which the block has already";
  EXPECT_TRUE(mem.IsEmpty());
  ASSERT_EQ(mem.Attach(p), 1);
  EXPECT_EQ(mem.GetHandle(), handle);
  EXPECT_EQ(mem.GetSize(), 100u);
  EXPECT_EQ(mem.Attach(p), 1);
  EXPECT_EQ(mem.Attach(p + 1), 0);
  EXPECT_EQ(mem.Attach(static_cast<void *>(nullptr)), 0);
  EXPECT_EQ(mem.GetHandle(), handle);
}

TEST(Memory, ResizeKeepsTheAllocationFlags) {
  PMem mem;
  ASSERT_NE(mem.AllocMemory(GHND, 10), nullptr);
  ASSERT_EQ(mem.Resize(100000), 1);
  EXPECT_EQ(test::Contents(mem), Bytes(100000));
  EXPECT_EQ(GlobalFlags(mem.GetHandle()) >> 8, GHND);
}

TEST(Memory, SizeOfAnAddressIsThatOfTheWholeAllocation) {
  const unsigned long page = PMem::GetPageSize();
  EXPECT_EQ(PMem::m_dwPageSize, page);
  for (Kind kind : test::kAllKinds) {
    auto mem = test::Make(kind, 5 * page - 10);
    EXPECT_EQ(PMem::GetSize(mem->GetPointer()), kind == Kind::kGlobal ? 5 * page - 10 : 5 * page);
    mem->PokeByte(2 * page, 1);
    if (kind != Kind::kGlobal) {
      EXPECT_EQ(PMem::GetSize(mem->GetPointer() + 3 * page + 17), 5 * page);
    }
  }
  unsigned char local = 0;
  EXPECT_EQ(PMem::GetSize(&local), 0u);
  EXPECT_EQ(PMem::GetSize(nullptr), 0u);
}

TEST(Memory, ClassRecordsNameTheClassesAndTheirBases) {
  PMirrorMem mirror;
  EXPECT_STREQ(mirror.GetRuntimeClass()->m_lpszClassName, "PMirrorMem");
  EXPECT_TRUE(mirror.IsKindOf(RUNTIME_CLASS(PVirtualMem)));
  EXPECT_TRUE(mirror.IsKindOf(RUNTIME_CLASS(PMem)));
  EXPECT_FALSE(mirror.IsKindOf(RUNTIME_CLASS(PMemMapFile)));
  EXPECT_EQ(RUNTIME_CLASS(PMemMapFile)->CreateObject(), nullptr);
}

}  // namespace

// Accesses that fault: memory of the caller or of the block that is not there ends the operation with 0 and nothing
// worse.
#include <sys/mman.h>

#include "stores.h"

namespace {

using test::Bytes;
using test::Kind;

/// Two pages, the second of which cannot be touched.
class HalfPages {
 public:
  HalfPages() {
    p_ = static_cast<unsigned char *>(mmap(nullptr, 8192, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
    mprotect(p_ + 4096, 4096, PROT_NONE);
  }
  ~HalfPages() { munmap(p_, 8192); }
  unsigned char *get() const { return p_; }

 private:
  unsigned char *p_;
};

TEST(Fault, ACallersBufferThatIsNotThereEndsTheOperation) {
  HalfPages half;
  for (Kind kind : test::kAllKinds) {
    auto mem = test::Make(kind, 20000);
    mem->CreateMirrorMem();
    EXPECT_EQ(mem->GetBlock(0, 5000, half.get()), 0);
    EXPECT_EQ(mem->PutBlock(0, 5000, half.get()), 0);
    EXPECT_EQ(mem->GetSkipBlock(0, 5, 3, 100, half.get() + 4094), 0);
    EXPECT_EQ(mem->PutSkipBlock(0, 5, 3, 100, half.get() + 4094), 0);
    EXPECT_EQ(mem->GetBlock(0, 4096, half.get()), 1);
    EXPECT_EQ(mem->PokeByte(19999, 3), 1);
    EXPECT_EQ(mem->PeekByte(19999), 3);
  }
}

TEST(Fault, ABlockWhosePageIsGoneAnswersZero) {
  for (Kind kind : {Kind::kReserved, Kind::kCommitted, Kind::kMappedCommitted}) {
    auto mem = test::Make(kind, 5 * 4096);
    mem->SetBlock(0, ~0UL, 1);
    ASSERT_EQ(mem->CreateMirrorMem(), 1);
    unsigned char *const lost = mem->GetPointer() + 2 * 4096;
    ASSERT_EQ(mprotect(lost, 4096, PROT_NONE), 0);
    Bytes line(5 * 4096);
    EXPECT_EQ(mem->PeekByte(2 * 4096), 0);
    EXPECT_EQ(mem->PokeByte(2 * 4096, 1), 0);
    EXPECT_EQ(mem->GetBlock(0, line.size(), line.data()), 0);
    EXPECT_EQ(mem->PutBlock(4096, 4097, line.data()), 0);
    EXPECT_EQ(mem->SetBlockTRIO(0, ~0UL, 1), 0);
    EXPECT_EQ(mem->PutSkipBlock(0, 5, 2, 4096, line.data()), 0);
    EXPECT_EQ(test::CommittedPages(*mem->GetMirrorMem()), (std::vector<bool>{true, true, false, true, true}))
        << "a page that cannot be read is not saved";
    EXPECT_EQ(mem->PeekByte(5 * 4096 - 1), 1);
    ASSERT_EQ(mprotect(lost, 4096, PROT_READ | PROT_WRITE), 0);
    EXPECT_EQ(mem->PeekByte(2 * 4096), 1);
  }
}

/// A store that makes its pages accessible one at a time, when the filter asks.
class LazyMem : public PMem {
 public:
  LazyMem() {
    m_pbyMem = static_cast<unsigned char *>(mmap(nullptr, 4 * 4096, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
    m_dwSize = 4 * 4096;
  }
  ~LazyMem() override {
    munmap(m_pbyMem, 4 * 4096);
    m_pbyMem = nullptr;
  }
  using PMem::CommitMemory;
  int CommitMemory(unsigned char *pAddress) override {
    ++asked;
    return mprotect(m_pbyMem + (pAddress - m_pbyMem) / 4096 * 4096, 4096, PROT_READ | PROT_WRITE) == 0;
  }
  int asked = 0;
};

TEST(Fault, AnAccessGoesOnWhereTheStoreFoundAPage) {
  LazyMem mem;
  Bytes line(9000, 7);
  EXPECT_EQ(mem.PutBlock(4000, 9000, line.data()), 1);
  EXPECT_EQ(mem.asked, 4);
  EXPECT_EQ(mem.PeekByte(12999), 7);
  EXPECT_EQ(mem.asked, 4);
}

TEST(Fault, TheFilterJudgesCodeAndAddress) {
  PVirtualMem mem;
  unsigned char *const p = mem.AllocMemory(MEM_RESERVE, 10000);
  ASSERT_NE(p, nullptr);
  const auto filter = [&](DWORD code, const void *address) {
    EXCEPTION_RECORD record{};
    record.ExceptionCode = code;
    record.NumberParameters = 2;
    record.ExceptionInformation[1] = reinterpret_cast<std::uintptr_t>(address);
    _EXCEPTION_POINTERS pointers{&record, nullptr};
    return mem.ExpFilter(&pointers);
  };
  EXPECT_EQ(filter(EXCEPTION_IN_PAGE_ERROR, p), EXCEPTION_EXECUTE_HANDLER);
  EXPECT_EQ(filter(EXCEPTION_ACCESS_VIOLATION, p - 1), EXCEPTION_EXECUTE_HANDLER);
  EXPECT_EQ(filter(EXCEPTION_ACCESS_VIOLATION, p + 10000), EXCEPTION_EXECUTE_HANDLER);
  EXPECT_EQ(test::CommittedPages(mem), std::vector<bool>(3));
  EXPECT_EQ(filter(EXCEPTION_ACCESS_VIOLATION, p + 9999), EXCEPTION_CONTINUE_EXECUTION);
  EXPECT_EQ(test::CommittedPages(mem), (std::vector<bool>{false, false, true}));
  PMem global;
  EXPECT_EQ(global.CommitMemory(global.AllocMemory(GHND, 10)), 0);
  EXPECT_EQ(global.ExpFilter(nullptr), EXCEPTION_EXECUTE_HANDLER);
}

}  // namespace

// The guarded operations of every store against a vector of bytes, with ranges inside, across and far outside the
// block.
#include "stores.h"

namespace {

using test::Bytes;
using test::Kind;

constexpr unsigned long kSizes[] = {1, 7, 4096, 3 * 4096, 21001};

TEST(Access, EveryOperationDoesToEveryStoreWhatItDoesToAVector) {
  std::mt19937 random(1);
  for (Kind kind : test::kAllKinds) {
    for (unsigned long size : kSizes) {
      for (bool mirrored : {false, true}) {
        auto mem = test::Make(kind, size);
        if (mirrored) {
          ASSERT_EQ(mem->CreateMirrorMem(), 1);
        }
        Bytes model(size);
        for (int i = 0; i < 600; ++i) {
          test::WriteRandomly(random, *mem, model);
          test::ReadRandomly(random, *mem, model);
        }
        ASSERT_EQ(test::Contents(*mem), model) << static_cast<int>(kind) << ' ' << size << ' ' << mirrored;
      }
    }
  }
}

TEST(Access, AMirrorReadsAsItsSourceAndTakesWrites) {
  std::mt19937 random(2);
  for (Kind kind : test::kAllKinds) {
    auto source = test::Make(kind, 21001);
    Bytes model = test::RandomBytes(random, 21001);
    ASSERT_EQ(source->PutBlock(0, model.size(), model.data()), 1);
    PMirrorMem mirror;
    ASSERT_EQ(mirror.SetSourceMem(source.get()), 1);
    const Bytes before = model;
    for (int i = 0; i < 600; ++i) {
      test::ReadRandomly(random, mirror, model);
      test::WriteRandomly(random, mirror, model);
    }
    EXPECT_EQ(test::Contents(mirror), model);
    EXPECT_EQ(test::Contents(*source), before);
  }
}

TEST(Access, EmptyBlocksAndNullBuffersAreRefused) {
  for (Kind kind : test::kAllKinds) {
    auto mem = test::MakeEmpty(kind);
    unsigned char byte = 9;
    EXPECT_EQ(mem->PeekByte(0), 0);
    EXPECT_EQ(mem->PokeByte(0, 1), 0);
    EXPECT_EQ(mem->GetBlock(0, 1, &byte), 0);
    EXPECT_EQ(mem->PutBlock(0, 1, &byte), 0);
    EXPECT_EQ(mem->GetSkipBlock(0, 1, 1, 1, &byte), 0);
    EXPECT_EQ(mem->PutSkipBlock(0, 1, 1, 1, &byte), 0);
    EXPECT_EQ(mem->SetBlockDLONG(0, 1, 1), 0);
    EXPECT_EQ(mem->CommitMemory(0, 1), nullptr);
    EXPECT_EQ(byte, 9);

    mem = test::Make(kind, 100);
    EXPECT_EQ(mem->GetBlock(0, 1, nullptr), 0);
    EXPECT_EQ(mem->PutBlock(0, 1, nullptr), 0);
    EXPECT_EQ(mem->GetSkipBlock(0, 1, 1, 1, nullptr), 0);
    EXPECT_EQ(mem->PutSkipBlock(0, 1, 1, 1, nullptr), 0);
    EXPECT_EQ(mem->CopyBlock(nullptr, 0, 0, 1), 0);
    EXPECT_EQ(mem->GetBlock(100, 0, nullptr), 1);
    EXPECT_EQ(mem->PutBlock(99, 0, nullptr), 1);
    EXPECT_EQ(mem->PutBlock(100, 0, nullptr), 0);
    EXPECT_EQ(mem->PutSkipBlock(100, 0, 3, 1, nullptr), 1);
    EXPECT_EQ(mem->PutSkipBlock(0, LONG_MAX, 0, 0, &byte), 1);
    EXPECT_EQ(mem->GetSkipBlock(0, ~0UL, 1, 0, &byte), 0) << "no buffer is that long";
  }
}

TEST(Access, OverlappingCopiesInsideABlockMoveTheBytes) {
  std::mt19937 random(3);
  for (Kind kind : test::kAllKinds) {
    auto mem = test::Make(kind, 10000);
    Bytes model = test::RandomBytes(random, 10000);
    mem->PutBlock(0, model.size(), model.data());
    EXPECT_EQ(mem->CopyBlock(mem.get(), 3, 0, 9000), 1);
    std::copy_backward(model.begin(), model.begin() + 9000, model.begin() + 9003);
    EXPECT_EQ(mem->CopyBlock(mem.get(), 0, 5, 9000), 1);
    std::copy(model.begin() + 5, model.begin() + 9005, model.begin());
    EXPECT_EQ(test::Contents(*mem), model);
  }
}

}  // namespace

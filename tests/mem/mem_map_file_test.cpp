// Named mappings: names, sharing inside the process and with another one, and what a mapping cannot do.
#include <sys/wait.h>
#include <unistd.h>

#include <cstring>

#include "stores.h"

namespace {

using test::Bytes;

/// A name that no other test run uses.
std::string UniqueName(const char *tag) {
  return std::string(tag) + std::to_string(getpid() % 1000000);
}

TEST(MemMapFile, NamesHaveAtMostFifteenCharacters) {
  PMemMapFile mem;
  EXPECT_EQ(mem.SetShareName("123456789012345"), 1);
  EXPECT_EQ(mem.SetShareName("1234567890123456"), 0);
  EXPECT_STREQ(mem.GetShareName(), "123456789012345");
  EXPECT_EQ(mem.SetShareName(mem.GetShareName() + 5), 1);
  EXPECT_STREQ(mem.GetShareName(), "6789012345");
  EXPECT_EQ(mem.SetShareName(nullptr), 1);
  EXPECT_STREQ(mem.GetShareName(), "");
}

TEST(MemMapFile, GeneratesANameAndForgetsItWhenFreed) {
  PMemMapFile mem;
  ASSERT_NE(mem.AllocMemory(MEM_RESERVE, 100), nullptr);
  const std::string name = mem.GetShareName();
  ASSERT_EQ(name.size(), 11u);
  EXPECT_EQ(name.substr(0, 3), "RV_");
  EXPECT_EQ(name.find_first_not_of("0123456789ABCDEF", 3), std::string::npos);
  mem.FreeMemory();
  EXPECT_STREQ(mem.GetShareName(), "");
}

TEST(MemMapFile, PassesOverAGeneratedNameThatIsTaken) {
  struct Named : PMemMapFile {
    using PMemMapFile::xGenerateShareName;
  } mem;
  mem.xGenerateShareName();
  PMemMapFile other;
  ASSERT_EQ(other.SetShareName(mem.GetShareName()), 1);
  ASSERT_NE(other.AllocMemory(MEM_RESERVE, 4096), nullptr);
  mem.SetShareName(nullptr);
  ASSERT_NE(mem.AllocMemory(MEM_RESERVE, 100), nullptr);
  EXPECT_STRNE(mem.GetShareName(), other.GetShareName());
  EXPECT_EQ(mem.GetSize(), 100u);
  mem.PokeByte(0, 1);
  EXPECT_EQ(other.PeekByte(0), 0);
}

TEST(MemMapFile, TwoBlocksOfOneNameShareTheirBytes) {
  const std::string name = UniqueName("share");
  for (unsigned int flags : {MEM_RESERVE, MEM_COMMIT}) {
    PMemMapFile first, second;
    ASSERT_EQ(first.SetShareName(name.c_str()), 1);
    ASSERT_NE(first.AllocMemory(flags, 10000), nullptr);
    ASSERT_EQ(second.SetShareName(name.c_str()), 1);
    ASSERT_NE(second.AllocMemory(MEM_RESERVE, 1), nullptr);
    EXPECT_EQ(first.GetSize(), 10000u);
    EXPECT_EQ(second.GetSize(), 12288u);
    EXPECT_NE(first.GetPointer(), second.GetPointer());
    EXPECT_EQ(first.PokeByte(9999, 5), 1);
    EXPECT_EQ(second.PeekByte(9999), 5);
    EXPECT_EQ(second.SetBlockTRIO(0, 100, 0x030201), 1);
    EXPECT_EQ(first.PeekByte(299), 3);
    first.DeCommitMemory();
    EXPECT_EQ(second.PeekByte(9999), 5);
    first.FreeMemory();
    EXPECT_EQ(second.PeekByte(9999), 5);
  }
}

TEST(MemMapFile, ResizeBringsTheBlockUpToTheWholeMapping) {
  PMemMapFile mem;
  EXPECT_EQ(mem.Resize(100), 0);
  EXPECT_TRUE(mem.IsEmpty());
  EXPECT_EQ(mem.GetSize(), 0u);
  ASSERT_NE(mem.AllocMemory(MEM_RESERVE, 5000), nullptr);
  ASSERT_EQ(mem.CreateMirrorMem(), 1);
  mem.PokeByte(10, 4);
  unsigned char *const view = mem.GetPointer();
  EXPECT_EQ(mem.Resize(0), 0);
  EXPECT_EQ(mem.GetSize(), 5000u);
  ASSERT_EQ(mem.SetShareName(UniqueName("later").c_str()), 1);  // for the next mapping: nothing to do with this one
  ASSERT_EQ(mem.Resize(1 << 20), 1);
  EXPECT_EQ(mem.GetPointer(), view);
  EXPECT_EQ(mem.GetSize(), 8192u);
  ASSERT_NE(mem.GetMirrorMem(), nullptr);
  EXPECT_EQ(mem.GetMirrorMem()->GetSize(), 8192u);
  EXPECT_EQ(test::CommittedPages(*mem.GetMirrorMem()), std::vector<bool>(2));
  EXPECT_EQ(mem.PeekByte(10), 4);
}

TEST(MemMapFile, AnotherProcessOpensTheSameBytes) {
  const std::string name = UniqueName("fork");
  PMemMapFile mem;
  ASSERT_EQ(mem.SetShareName(name.c_str()), 1);
  ASSERT_NE(mem.AllocMemory(MEM_RESERVE, 10000), nullptr);
  ASSERT_EQ(mem.PokeByte(100, 1), 1);
  const pid_t child = fork();
  ASSERT_GE(child, 0);
  if (child == 0) {
    PMemMapFile other;
    const bool opened = other.SetShareName(name.c_str()) && other.AllocMemory(MEM_RESERVE, 1) != nullptr;
    const bool read = opened && other.GetSize() == 12288 && other.PeekByte(100) == 1;
    const bool written = read && other.PokeByte(9000, 2) && other.PokeByte(12287, 3);
    _exit(written ? 0 : 1);
  }
  int status = 0;
  ASSERT_EQ(waitpid(child, &status, 0), child);
  EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
  EXPECT_EQ(mem.PeekByte(9000), 2);
}

TEST(MemMapFile, ANameIsFreeAgainAfterItsLastUser) {
  const std::string name = UniqueName("again");
  for (unsigned long size : {5000UL, 50000UL}) {
    PMemMapFile mem;
    ASSERT_EQ(mem.SetShareName(name.c_str()), 1);
    ASSERT_NE(mem.AllocMemory(MEM_RESERVE, size), nullptr);
    EXPECT_EQ(mem.GetSize(), size);
    EXPECT_EQ(mem.PeekByte(100), 0);
    mem.PokeByte(100, 1);
  }
}

}  // namespace

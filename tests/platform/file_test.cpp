// CFile against a vector of bytes, its exceptions and its sharing; files by number.

#include "qel/platform/mfc/file.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <random>
#include <string>
#include <vector>

#include "qel/platform/kernel/file.h"
#include "qel/platform/kernel/profile.h"

namespace {

class FileTest : public testing::Test {
 protected:
  FileTest() {
    std::string pattern = testing::TempDir() + "qel_file_XXXXXX";
    m_folder = mkdtemp(pattern.data());
  }
  ~FileTest() override { std::filesystem::remove_all(m_folder); }

  std::string Path(const char *name) const { return m_folder + "/" + name; }

  std::string Make(const char *name, const std::string &content) const {
    std::ofstream(Path(name), std::ios::binary) << content;
    return Path(name);
  }

  static std::string Content(const std::string &path) {
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), {});
  }

  std::string m_folder;
};

// The cause that a call throws; -1 when it throws nothing.
template <class Call>
int Thrown(Call call) {
  try {
    call();
  } catch (CFileException *e) {
    const int cause = e->m_cause;
    e->Delete();
    return cause;
  }
  return -1;
}

int OpenCause(const char *path, UINT flags) {
  CFile file;
  CFileException error;
  if (file.Open(path, flags, &error)) return CFileException::none;
  EXPECT_FALSE(file.Open(path, flags));
  return error.m_cause;
}

TEST_F(FileTest, RandomTrafficMatchesAVectorOfBytes) {
  std::mt19937 random(2);
  std::vector<unsigned char> oracle;
  std::uint64_t position = 0;
  CFile file;
  ASSERT_TRUE(file.Open(Path("traffic").c_str(), CFile::modeCreate | CFile::modeReadWrite));
  for (int step = 0; step < 4000; ++step) {
    const UINT count = random() % 5 == 0 ? random() % 70000 : random() % 40;
    switch (random() % 3) {
      case 0: {
        std::vector<unsigned char> data(count);
        for (auto &byte : data) byte = static_cast<unsigned char>(random());
        file.Write(data.data(), count);
        if (count > 0) oracle.resize(std::max<size_t>(oracle.size(), position + count));
        std::copy(data.begin(), data.end(), oracle.begin() + static_cast<long>(std::min(position, oracle.size())));
        break;
      }
      case 1: {
        std::vector<unsigned char> data(count, 0xCD), expected(count, 0xCD);
        const size_t held = position < oracle.size() ? std::min<size_t>(count, oracle.size() - position) : 0;
        std::copy_n(oracle.begin() + static_cast<long>(std::min(position, oracle.size())), held, expected.begin());
        ASSERT_EQ(file.Read(data.data(), count), held);
        ASSERT_EQ(data, expected);
        position += held;
        ASSERT_EQ(file.GetPosition(), position);
        continue;
      }
      default: {
        const UINT from = random() % 3;
        const long base = from == CFile::begin ? 0 : static_cast<long>(from == CFile::end ? oracle.size() : position);
        const long target = static_cast<long>(random() % (oracle.size() + 100)) - 20;
        if (target < 0) {
          ASSERT_EQ(Thrown([&] { file.Seek(target - base, from); }), CFileException::badSeek);
        } else {
          ASSERT_EQ(file.Seek(target - base, from), target);
          position = static_cast<std::uint64_t>(target);
        }
        ASSERT_EQ(file.GetPosition(), position);
        continue;
      }
    }
    position += count;
    ASSERT_EQ(file.GetPosition(), position);
    ASSERT_EQ(file.GetLength(), oracle.size());
  }
  file.Close();
  EXPECT_EQ(Content(Path("traffic")), std::string(oracle.begin(), oracle.end()));
}

TEST_F(FileTest, PassesFourGigabytes) {
  constexpr LONGLONG kFar = 5LL << 30;
  CFile file;
  ASSERT_TRUE(file.Open(Path("sparse").c_str(), CFile::modeCreate | CFile::modeReadWrite));
  EXPECT_EQ(file.Seek(kFar, CFile::begin), kFar);
  file.Write("far", 3);
  EXPECT_EQ(file.GetLength(), static_cast<std::uint64_t>(kFar + 3));
  char bytes[8] = {};
  EXPECT_EQ(file.Seek(-4, CFile::end), kFar - 1);
  EXPECT_EQ(file.Read(bytes, 8), 4u);
  EXPECT_EQ(std::string(bytes, 4), std::string("\0far", 4));
}

TEST_F(FileTest, OpenTellsWhyItFails) {
  const std::string file = Make("file", "x");
  EXPECT_EQ(OpenCause(nullptr, CFile::modeRead), CFileException::fileNotFound);
  EXPECT_EQ(OpenCause("", CFile::modeRead), CFileException::fileNotFound);
  EXPECT_EQ(OpenCause(Path("missing").c_str(), CFile::modeReadWrite), CFileException::fileNotFound);
  EXPECT_EQ(OpenCause((file + "/below").c_str(), CFile::modeRead), CFileException::badPath);
  EXPECT_EQ(OpenCause(std::string(5000, 'n').c_str(), CFile::modeRead), CFileException::badPath);
  EXPECT_EQ(OpenCause(m_folder.c_str(), CFile::modeRead), CFileException::accessDenied);
  EXPECT_EQ(OpenCause(m_folder.c_str(), CFile::modeCreate | CFile::modeWrite), CFileException::accessDenied);
  EXPECT_EQ(OpenCause(file.c_str(), 3), CFileException::genericException);
  const std::string fifo = Path("fifo");  // nobody writes into it, so opening it in the usual way would wait
  ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
  EXPECT_EQ(OpenCause(fifo.c_str(), CFile::modeRead), CFileException::badSeek);
  EXPECT_EQ(OpenCause("/dev/zero", CFile::modeRead), CFileException::badSeek);
  EXPECT_EQ(OpenFile(fifo.c_str(), nullptr, OF_READ), HFILE_ERROR);
  EXPECT_FALSE(WritePrivateProfileStringA("s", "k", "1", fifo.c_str()));
  EXPECT_TRUE(std::filesystem::is_fifo(fifo));
  EXPECT_EQ(OpenCause(fifo.c_str(), CFile::modeCreate | CFile::modeReadWrite), CFileException::none);  // to a reader

  CFile open;  // an open object keeps its file
  CFileException error;
  ASSERT_TRUE(open.Open(file.c_str(), CFile::modeRead));
  EXPECT_FALSE(open.Open(Path("other").c_str(), CFile::modeCreate | CFile::modeWrite, &error));
  EXPECT_EQ(error.m_cause, CFileException::genericException);
  EXPECT_EQ(open.GetLength(), 1u);
  EXPECT_FALSE(std::filesystem::exists(Path("other")));
}

TEST_F(FileTest, TrafficThrowsWithACause) {
  const std::string path = Make("file", "content");
  char bytes[4];
  CFile file;
  ASSERT_TRUE(file.Open(path.c_str(), CFile::modeRead));
  EXPECT_EQ(Thrown([&] { file.Write("x", 1); }), CFileException::invalidFile);
  EXPECT_EQ(Thrown([&] { file.Seek(-1, CFile::begin); }), CFileException::badSeek);
  EXPECT_EQ(Thrown([&] { file.Seek(0, 3); }), CFileException::badSeek);
  EXPECT_EQ(file.GetPosition(), 0u);
  EXPECT_EQ(Content(path), "content");
  file.Close();
  EXPECT_EQ(Thrown([&] { file.Read(bytes, 4); }), CFileException::invalidFile);
  EXPECT_EQ(Thrown([&] { file.Write("x", 1); }), CFileException::invalidFile);
  EXPECT_EQ(Thrown([&] { file.Seek(0, CFile::begin); }), CFileException::invalidFile);
  EXPECT_EQ(Thrown([&] { file.GetPosition(); }), CFileException::invalidFile);
  EXPECT_EQ(Thrown([&] { file.GetLength(); }), CFileException::invalidFile);
  EXPECT_EQ(Thrown([&] { file.Close(); }), -1);

  CFile full;
  ASSERT_TRUE(full.Open("/dev/full", CFile::modeCreate | CFile::modeWrite | CFile::shareExclusive));
  try {
    full.Write("x", 1);
    FAIL();
  } catch (CException *e) {
    auto *error = dynamic_cast<CFileException *>(e);
    ASSERT_NE(error, nullptr);
    EXPECT_TRUE(e->IsKindOf(RUNTIME_CLASS(CFileException)));
    EXPECT_EQ(error->m_cause, CFileException::diskFull);
    EXPECT_EQ(error->m_lOsError, ENOSPC);
    EXPECT_EQ(error->m_strFileName, "/dev/full");
    e->Delete();
  }
}

TEST_F(FileTest, ShareModesKeepOthersOut) {
  const std::string path = Make("shared", "content");
  const UINT reads[] = {CFile::modeRead | CFile::shareExclusive, CFile::modeRead | CFile::shareDenyWrite,
                        CFile::modeRead | CFile::shareDenyNone};
  const UINT create = CFile::modeCreate | CFile::modeWrite;
  // Whether the second opener gets in beside the first.
  const bool allowed[3][3] = {{false, false, true}, {false, true, true}, {true, true, true}};
  for (int i = 0; i < 3; ++i) {
    CFile first;
    ASSERT_TRUE(first.Open(path.c_str(), reads[i]));
    for (int j = 0; j < 3; ++j)
      EXPECT_EQ(OpenCause(path.c_str(), reads[j]),
                allowed[i][j] ? CFileException::none : CFileException::sharingViolation)
          << i << j;
    const UINT write = CFile::modeReadWrite | CFile::shareDenyWrite;
    EXPECT_EQ(OpenCause(path.c_str(), write) == CFileException::none, i == 2);
    if (i == 2) break;
    for (const UINT share : {CFile::shareDenyNone, CFile::shareDenyWrite, CFile::shareExclusive})
      EXPECT_EQ(OpenCause(path.c_str(), create | share), CFileException::sharingViolation);
    EXPECT_EQ(Content(path), "content");
  }
  EXPECT_EQ(OpenCause(path.c_str(), create | CFile::modeNoTruncate), CFileException::none);
  EXPECT_EQ(Content(path), "content");

  // A creator that denies nothing gives the lock back, one that denies writers keeps it.
  CFile creator;
  ASSERT_TRUE(creator.Open(path.c_str(), create | CFile::shareDenyNone));
  EXPECT_EQ(Content(path), "");
  EXPECT_EQ(OpenCause(path.c_str(), CFile::modeWrite | CFile::shareExclusive), CFileException::none);
  creator.Close();
  ASSERT_TRUE(creator.Open(path.c_str(), create | CFile::shareDenyWrite));
  EXPECT_EQ(OpenCause(path.c_str(), create), CFileException::sharingViolation);
}

TEST_F(FileTest, FilesByNumber) {
  const std::string path = Path("numbered");
  OFSTRUCT report;
  EXPECT_EQ(OpenFile(path.c_str(), &report, OF_EXIST), HFILE_ERROR);
  EXPECT_EQ(report.nErrCode, ERROR_FILE_NOT_FOUND);
  EXPECT_EQ(OpenFile(nullptr, nullptr, OF_READ), HFILE_ERROR);
  EXPECT_EQ(OpenFile("", nullptr, OF_CREATE), HFILE_ERROR);
  EXPECT_EQ(OpenFile(m_folder.c_str(), nullptr, OF_READ), HFILE_ERROR);

  const HFILE hFile = OpenFile(path.c_str(), &report, OF_CREATE | OF_WRITE);
  ASSERT_NE(hFile, HFILE_ERROR);
  EXPECT_EQ(report.nErrCode, ERROR_SUCCESS);
  EXPECT_EQ(path.compare(0, 127, report.szPathName), 0);
  EXPECT_EQ(write(hFile, "abc", 3), 3);
  EXPECT_EQ(_lclose(hFile), 0);
  EXPECT_EQ(_lclose(hFile), HFILE_ERROR);
  EXPECT_EQ(_lclose(STDERR_FILENO), HFILE_ERROR);  // not one of its own
  EXPECT_NE(fcntl(STDERR_FILENO, F_GETFD), -1);
  EXPECT_NE(OpenFile(path.c_str(), nullptr, OF_EXIST), HFILE_ERROR);
  EXPECT_EQ(Content(path), "abc");

  EXPECT_TRUE(DeleteFileA(path.c_str()));
  EXPECT_FALSE(DeleteFileA(path.c_str()));
  EXPECT_FALSE(DeleteFileA(m_folder.c_str()));
  EXPECT_FALSE(DeleteFileA(nullptr));
  EXPECT_TRUE(std::filesystem::exists(m_folder));
}

}  // namespace

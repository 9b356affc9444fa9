// Profiles: what is read from files that others wrote, what is changed in them and what stays, and where they lie.
#include "qel/platform/kernel/profile.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>

#include "support/files.h"

namespace {

using test::ReadFile;
using test::WriteFile;

const std::string kJpeg = "[ jpeg ] \r\n  QFactor =  80 \r\n;q2=7\nq2=-12%\nempty=\nquoted=\" 31\"\n[x=5\n\n";
const std::string kWritten = "stray=1\r\n; [JPEG]\r\n\r\n" + kJpeg + "[Other]\nQFACTOR=4294967297\nword=high";

TEST(ProfileTest, NumbersAreReadAsTheyWereWrittenByOthers) {
  const test::Scratch folder;
  const std::string path = folder / "a.ini";
  WriteFile(path, kWritten);
  const struct {
    const char *pszSection, *pszKey;
    int nExpected;
  } cases[] = {{"JPEG", "QFACTOR", 80}, {" Jpeg", "qfactor ", 80}, {"JPEG", "q2", -12},     {"JPEG", "empty", -1},
               {"JPEG", "quoted", 31},  {"JPEG", "[x", 5},         {"OTHER", "qfactor", 1}, {"Other", "word", 0},
               {"Other", "q2", -1},     {"None", "QFACTOR", -1},   {"", "stray", -1},       {nullptr, "QFACTOR", -1},
               {"JPEG", nullptr, -1},   {"JPEG", ";q2", -1},       {"JPEG", "", -1}};
  for (const auto &c : cases)
    EXPECT_EQ(static_cast<int>(GetPrivateProfileIntA(c.pszSection, c.pszKey, -1, path.c_str())), c.nExpected)
        << (c.pszSection ? c.pszSection : "null") << " " << (c.pszKey ? c.pszKey : "null");
  for (const char *pszFile : {(const char *)nullptr, "", "/nowhere/a.ini", "/"})
    EXPECT_EQ(GetPrivateProfileIntA("JPEG", "QFACTOR", 9, pszFile), 9u);
}

/// The text with one part of it replaced.
std::string With(std::string text, const std::string &part, const std::string &by) {
  return text.replace(text.find(part), part.size(), by);
}

TEST(ProfileTest, AWriteChangesOneThing) {
  const test::Scratch folder;
  const std::string path = folder / "a.ini", whole = kWritten + "\n";
  const struct {
    const char *pszSection, *pszKey, *pszValue;
    std::string expected;
  } cases[] = {{"JPEG", "QFACTOR", "75", With(whole, "  QFactor =  80 \r\n", "QFACTOR=75\n")},
               {"jpeg", "new", "a = b", With(whole, "[x=5\n", "[x=5\nnew=a = b\n")},
               {"Other", "new", "", whole + "new=\n"},
               {"New one", "k", "1", whole + "[New one]\nk=1\n"},
               {"JPEG", "Q2", nullptr, With(kWritten, "q2=-12%\n", "")},
               {"JPEG", nullptr, "ignored", With(kWritten, kJpeg, "")},
               {"JPEG", "none", nullptr, kWritten},
               {"None", nullptr, nullptr, kWritten}};
  for (const auto &c : cases) {
    WriteFile(path, kWritten);
    chmod(path.c_str(), 0644);
    EXPECT_TRUE(WritePrivateProfileStringA(c.pszSection, c.pszKey, c.pszValue, path.c_str()));
    EXPECT_EQ(ReadFile(path), c.expected);
    EXPECT_EQ(std::filesystem::status(path).permissions(), std::filesystem::perms(0644));
  }
  WriteFile(path, kWritten);
  for (const std::string bad : {"", " ", "a]b", "a\nb", ";a", "[a"}) {
    EXPECT_FALSE(WritePrivateProfileStringA(bad.c_str(), "k", "1", path.c_str()));
    EXPECT_FALSE(WritePrivateProfileStringA("s", bad == "a]b" ? "a=b" : bad.c_str(), "1", path.c_str()));
  }
  EXPECT_FALSE(WritePrivateProfileStringA("s", "k", "1\n[t]", path.c_str()));
  EXPECT_FALSE(WritePrivateProfileStringA(nullptr, "k", "1", path.c_str()));
  for (const char *pszFile : {(const char *)nullptr, "", "/nowhere/a.ini", "/"})
    EXPECT_FALSE(WritePrivateProfileStringA("s", "k", "1", pszFile));
  EXPECT_EQ(ReadFile(path), kWritten);
  EXPECT_EQ(folder.List(), std::vector<std::string>{"a.ini"});
}

TEST(ProfileTest, BareNamesLieInTheUsersFolderOfSettings) {
  const test::Scratch folder;
  setenv("HOME", (folder / "home").c_str(), 1);
  setenv("XDG_CONFIG_HOME", (folder / "config").c_str(), 1);
  EXPECT_TRUE(WritePrivateProfileStringA("s", "k", "1", "a.ini"));
  EXPECT_EQ(ReadFile(folder / "config/qel/a.ini"), "[s]\nk=1\n");
  setenv("XDG_CONFIG_HOME", "relative", 1);
  EXPECT_EQ(GetPrivateProfileIntA("s", "k", 5, "a.ini"), 5u);
  std::filesystem::create_directories(folder / "home/.config/qel");
  WriteFile(folder / "elsewhere.ini", "[s]\nk=2\n");
  std::filesystem::create_symlink(folder / "elsewhere.ini", folder / "home/.config/qel/a.ini");
  EXPECT_TRUE(WritePrivateProfileStringA("s", "k", "3", "a.ini"));
  EXPECT_EQ(ReadFile(folder / "elsewhere.ini"), "[s]\nk=3\n");
  EXPECT_EQ(GetPrivateProfileIntA("S", "K", 5, "a.ini"), 3u);
  unsetenv("HOME");
  EXPECT_FALSE(WritePrivateProfileStringA("s", "k", "1", "a.ini"));
}

}  // namespace

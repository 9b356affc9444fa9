// The engine as users link it: a shared library whose strings stand beside those of the program.

#include <gtest/gtest.h>

#include <string>

#include "qel/qel.h"

namespace {

std::string String(HINSTANCE hModule, UINT nId) {
  char szText[64];
  LoadStringA(hModule, nId, szText, sizeof(szText));
  return szText;
}

TEST(SharedLibraryTest, TablesOfProgramAndLibraryStandSideBySide) {
  EXPECT_EQ(String(nullptr, 130), "palette.map");
  EXPECT_EQ(String(nullptr, 131), "Memory not enough!");
  EXPECT_EQ(String(nullptr, 0xE000), "The program");

  const HINSTANCE hEngine = LoadLibraryA(QEL_LIBRARY_FILE);
  ASSERT_NE(hEngine, nullptr);
  EXPECT_EQ(String(hEngine, 0xE000), "QEL");
  EXPECT_EQ(String(hEngine, 7), "");
  char szPath[4096];
  ASSERT_GT(GetModuleFileNameA(hEngine, szPath, sizeof(szPath)), 0u);
  EXPECT_NE(std::string(szPath).find("libqel.so"), std::string::npos);
  EXPECT_NE(GetProcAddress(hEngine, "_Z12LoadLibraryAPKc"), nullptr);
  EXPECT_TRUE(FreeLibrary(hEngine));
  EXPECT_FALSE(FreeLibrary(hEngine));
  EXPECT_EQ(String(nullptr, 130), "palette.map");  // its own registration goes on
}

// Run-time class records and exceptions are the same objects on both sides of the library's border.
TEST(SharedLibraryTest, ClassesCrossTheBorder) {
  const PQel image;
  EXPECT_TRUE(image.IsKindOf(RUNTIME_CLASS(PQel)) && image.IsKindOf(RUNTIME_CLASS(CObject)));
  CFile file;
  try {
    file.Seek(0, CFile::begin);
    FAIL();
  } catch (CFileException *e) {
    EXPECT_EQ(e->m_cause, CFileException::invalidFile);
    e->Delete();
  }
}

}  // namespace

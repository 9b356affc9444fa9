// Modules and their resources, with a module built for the purpose and with this executable's own table; the engine's
// registration as an extension module.

#include "qel/platform/kernel/module.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>

#include "qel/module/entry.h"
#include "qel/platform/kernel/resource.h"
#include "qel/platform/mfc/extension_module.h"

namespace {

std::string String(HINSTANCE hModule, UINT nId) {
  char szText[64] = "untouched";
  const int nLength = LoadStringA(hModule, nId, szText, sizeof(szText));
  EXPECT_EQ(static_cast<size_t>(nLength), std::strlen(szText));
  return szText;
}

std::string FileName(HINSTANCE hModule) {
  char szPath[4096];
  const DWORD nLength = GetModuleFileNameA(hModule, szPath, sizeof(szPath));
  EXPECT_EQ(nLength, std::strlen(szPath));
  return szPath;
}

// A module loaded for the length of a test.
class ModuleTest : public testing::Test {
 protected:
  ModuleTest() : m_hModule(LoadLibraryA("zultest32.dll")), m_hPlain(LoadLibraryA("zulplain32.dll")) {}
  ~ModuleTest() override {
    EXPECT_TRUE(FreeLibrary(m_hModule));
    EXPECT_FALSE(FreeLibrary(m_hModule));
    EXPECT_TRUE(FreeLibrary(m_hPlain));
  }
  void SetUp() override { ASSERT_TRUE(m_hModule != nullptr && m_hPlain != nullptr && m_hModule != m_hPlain); }

  const HINSTANCE m_hModule, m_hPlain;
};

TEST_F(ModuleTest, IsFoundBesideTheExecutableWithoutRegardToCase) {
  const std::string path = FileName(m_hModule);
  EXPECT_TRUE(std::filesystem::equivalent(std::filesystem::path(path).parent_path(),
                                          std::filesystem::path(FileName(nullptr)).parent_path()));
  for (const std::string &name : {std::string("ZulTest32.DLL"), std::string("zultest32"), std::string("zultest32.so"),
                                  path, path.substr(0, path.size() - 3) + ".dll"}) {
    EXPECT_EQ(LoadLibraryA(name.c_str()), m_hModule) << name;
    EXPECT_TRUE(FreeLibrary(m_hModule));
  }
  for (const char *name : {"", "zulnone32.dll", "/nowhere/zultest32.dll", "zultest32.", "/", ".dll"})
    EXPECT_EQ(LoadLibraryA(name), nullptr) << name;
  EXPECT_EQ(LoadLibraryA(nullptr), nullptr);
}

TEST_F(ModuleTest, OffersOnlyItsOwnSymbols) {
  const auto pfnAnswer = reinterpret_cast<int (*)(int)>(GetProcAddress(m_hModule, "ModuleAnswer"));
  ASSERT_NE(pfnAnswer, nullptr);
  EXPECT_EQ(pfnAnswer(5), 16);
  EXPECT_EQ(GetProcAddress(m_hModule, "malloc"), nullptr);
  EXPECT_EQ(GetProcAddress(m_hPlain, "QelModuleResources"), nullptr);
  EXPECT_NE(GetProcAddress(m_hModule, "QelModuleResources"), nullptr);
  EXPECT_NE(GetProcAddress(nullptr, "QelModuleResources"), GetProcAddress(m_hModule, "QelModuleResources"));
  EXPECT_EQ(GetProcAddress(m_hModule, nullptr), nullptr);
  EXPECT_EQ(GetProcAddress(m_hModule, ""), nullptr);
}

TEST_F(ModuleTest, NamesAreCutToTheBuffer) {
  const std::string path = FileName(m_hModule);
  char szPath[8] = "~~~~~~~";
  EXPECT_EQ(GetModuleFileNameA(m_hModule, szPath, 5), 4u);
  EXPECT_EQ(std::string(szPath), path.substr(0, 4));
  EXPECT_EQ(szPath[5], '~');
  EXPECT_EQ(GetModuleFileNameA(m_hModule, szPath, 0), 0u);
  EXPECT_EQ(GetModuleFileNameA(m_hModule, nullptr, 5), 0u);
  EXPECT_TRUE(std::filesystem::equivalent(FileName(nullptr), "/proc/self/exe"));
}

TEST_F(ModuleTest, GarbageHandlesGiveNothing) {
  int nLocal = 0;
  char szText[8];
  const HINSTANCE hFreed = LoadLibraryA(FileName(m_hPlain).c_str());
  EXPECT_TRUE(FreeLibrary(hFreed));
  for (const HINSTANCE hBad :
       {reinterpret_cast<HINSTANCE>(&nLocal), reinterpret_cast<HINSTANCE>(INVALID_HANDLE_VALUE)}) {
    EXPECT_FALSE(FreeLibrary(hBad));
    EXPECT_EQ(GetProcAddress(hBad, "ModuleAnswer"), nullptr);
    EXPECT_EQ(GetModuleFileNameA(hBad, szText, sizeof(szText)), 0u);
    EXPECT_EQ(FindResourceA(hBad, MAKEINTRESOURCEA(1), RT_BITMAP), nullptr);
    EXPECT_EQ(LoadStringA(hBad, 7, szText, sizeof(szText)), 0);
    AFX_EXTENSION_MODULE state = {};
    EXPECT_FALSE(AfxInitExtensionModule(state, hBad));
  }
  EXPECT_FALSE(FreeLibrary(nullptr));
}

// The end of a module's life is seen: its name is unknown afterwards, and a copy under another name lives on its own.
TEST_F(ModuleTest, CopiesAndReloadsAreTheirOwnModules) {
  const std::string copy = testing::TempDir() + "qel_copy_" + std::to_string(getpid()) + ".so";
  std::filesystem::copy_file(FileName(m_hModule), copy, std::filesystem::copy_options::overwrite_existing);
  const HINSTANCE hCopy = LoadLibraryA(copy.c_str());
  ASSERT_NE(hCopy, nullptr);
  EXPECT_NE(hCopy, m_hModule);
  std::filesystem::remove(copy);
  EXPECT_EQ(String(hCopy, 7), "module's seven");
  EXPECT_NE(GetProcAddress(hCopy, "ModuleAnswer"), GetProcAddress(m_hModule, "ModuleAnswer"));
  const HRSRC hResource = FindResourceA(hCopy, "stripes", RT_BITMAP);
  EXPECT_NE(LoadResource(hCopy, hResource), nullptr);
  EXPECT_TRUE(FreeLibrary(hCopy));
  EXPECT_EQ(LoadResource(nullptr, hResource), nullptr);
  EXPECT_EQ(String(hCopy, 7), "");
  EXPECT_EQ(FileName(hCopy), "");
}

// Resources ----------------------------------------------------------------------------------------------------------

TEST_F(ModuleTest, EachModuleHasItsOwnStrings) {
  EXPECT_EQ(String(m_hModule, 7), "module's seven");
  EXPECT_EQ(String(nullptr, 7), "the executable's seven");
  EXPECT_EQ(String(nullptr, 65535), "");
  EXPECT_EQ(String(m_hModule, 0xE000), "");
  EXPECT_EQ(String(m_hModule, 0x10007), "");
  EXPECT_EQ(String(m_hPlain, 7), "");

  char szCut[8] = "~~~~~~~";
  EXPECT_EQ(LoadStringA(m_hModule, 7, szCut, 4), 3);
  EXPECT_STREQ(szCut, "mod");
  EXPECT_EQ(szCut[4], '~');
  EXPECT_EQ(LoadStringA(m_hModule, 7, szCut, 0), 0);
  EXPECT_EQ(LoadStringA(m_hModule, 7, szCut, -1), 0);
  EXPECT_EQ(LoadStringA(m_hModule, 7, nullptr, 8), 0);
}

// A resource's bytes under a name; empty when it is not found.
std::string Bytes(HINSTANCE hModule, const char *pszName) {
  const HRSRC hResource = FindResourceA(hModule, pszName, RT_BITMAP);
  const void *pv = LockResource(LoadResource(hModule, hResource));
  return pv != nullptr ? std::string(static_cast<const char *>(pv), SizeofResource(hModule, hResource)) : std::string();
}

std::string DataFile(const char *pszName) {
  std::ifstream in(std::string(QEL_TEST_DATA) + pszName, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), {});
}

TEST_F(ModuleTest, BitmapsArePackedDIBs) {
  const std::string stripes = DataFile("stripes.bmp").substr(14);
  std::string gap = DataFile("gap.bmp");
  gap = gap.substr(14, 40 + 8) + gap.substr(14 + 40 + 8 + 6);  // the six bytes before the rows are left out
  ASSERT_FALSE(stripes.empty() || gap.empty());
  for (const char *pszName : {"stripes", "STRIPES"}) EXPECT_EQ(Bytes(m_hModule, pszName), stripes);
  for (const char *pszName : {MAKEINTRESOURCEA(12), "#12"}) EXPECT_EQ(Bytes(m_hModule, pszName), gap);
  EXPECT_EQ(Bytes(nullptr, MAKEINTRESOURCEA(12)), stripes);
  for (const char *pszName : {MAKEINTRESOURCEA(0), MAKEINTRESOURCEA(7), "#7", "#12 ", "#", "#70012", "strip", ""})
    EXPECT_EQ(Bytes(m_hModule, pszName), "");
  EXPECT_EQ(FindResourceA(m_hModule, "stripes", RT_STRING), nullptr);
  EXPECT_EQ(FindResourceA(m_hModule, "stripes", "BITMAP"), nullptr);
  EXPECT_NE(FindResourceA(m_hModule, "stripes", "#2"), nullptr);
  EXPECT_EQ(FindResourceA(m_hModule, nullptr, nullptr), nullptr);

  int nLocal = 0;
  EXPECT_EQ(LoadResource(m_hModule, reinterpret_cast<HRSRC>(&nLocal)), nullptr);
  EXPECT_EQ(LockResource(&nLocal), nullptr);
  EXPECT_EQ(LockResource(nullptr), nullptr);
  EXPECT_EQ(SizeofResource(m_hModule, nullptr), 0u);
}

// Extension modules --------------------------------------------------------------------------------------------------

TEST_F(ModuleTest, TheEngineIsAnExtensionModule) {
  const HINSTANCE hEngine = qel::module::EngineModule();
  ASSERT_NE(hEngine, nullptr);
  EXPECT_EQ(String(hEngine, 130), "palette.map");
  EXPECT_EQ(String(hEngine, 131), "Memory not enough!");
  EXPECT_EQ(String(hEngine, 0xE000), "QEL");
  EXPECT_EQ(String(nullptr, 130), "palette.map");  // through the list of extension modules
  EXPECT_NE(String(nullptr, 0xE000), "QEL");       // the executable's own comes first
  EXPECT_FALSE(FreeLibrary(hEngine));              // registered, but not loaded by LoadLibraryA
  EXPECT_EQ(String(hEngine, 130), "palette.map");
}

TEST_F(ModuleTest, ExtensionModulesAreSearchedInOrderOfRegistration) {
  EXPECT_EQ(String(nullptr, 9), "");
  AFX_EXTENSION_MODULE state = {};
  ASSERT_TRUE(AfxInitExtensionModule(state, m_hModule));
  EXPECT_FALSE(AfxInitExtensionModule(state, m_hModule));
  auto *pEntry = new CDynLinkLibrary(state);
  EXPECT_TRUE(pEntry->m_hModule == m_hModule && pEntry->m_pNextDLL == nullptr);
  new CDynLinkLibrary(state);
  EXPECT_EQ(String(nullptr, 9), "only in the module");
  EXPECT_EQ(String(nullptr, 130), "palette.map");  // registered earlier
  AfxTermExtensionModule(state);
  EXPECT_EQ(String(nullptr, 9), "");
  EXPECT_EQ(String(nullptr, 130), "palette.map");
  EXPECT_FALSE(state.bInitialized);
}

TEST(PathTest, TheLastSeparatorEndsTheFolder) {
  EXPECT_EQ(qel::kernel::FolderOf("a/b\\c.bmp"), "a/b\\");
  EXPECT_EQ(qel::kernel::FolderOf("a\\b/c.bmp"), "a\\b/");
  EXPECT_EQ(qel::kernel::FolderOf("c.bmp"), "");
  EXPECT_EQ(qel::kernel::FolderOf("/"), "/");
}

}  // namespace

// An engine that a program loads with its symbols to itself, as a plugin host does, still serves its format libraries.
#include <dlfcn.h>
#include <gtest/gtest.h>

#include "fileio/fake_format.h"
#include "qel/platform/kernel/module.h"

FakeRecord g_fake;

TEST(LocalEngine, ShowsItsSymbolsToTheModulesThatItLoads) {
  void *const pvEngine = dlopen(QEL_LIBRARY_FILE, RTLD_NOW | RTLD_LOCAL);
  ASSERT_NE(pvEngine, nullptr) << dlerror();
  ASSERT_EQ(dlsym(RTLD_DEFAULT, "_Z13CreatePalettePK10LOGPALETTE"), nullptr);
  const auto pfnLoad = reinterpret_cast<decltype(&LoadLibraryA)>(dlsym(pvEngine, "_Z12LoadLibraryAPKc"));
  ASSERT_NE(pfnLoad, nullptr);
  EXPECT_NE(pfnLoad("zulfake32.dll"), nullptr) << dlerror();
}

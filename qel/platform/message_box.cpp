// Message boxes: a handler of the application, or one line on standard error.

#include "qel/platform/message_box.h"

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <string>

#include "qel/platform/kernel/module.h"
#include "qel/platform/kernel/resource.h"

namespace {

constexpr UINT kTitleString = 0xE000;

int PrintMessage(HWND, const char *pszText, const char *pszCaption, UINT) {
  std::string line = std::string(pszCaption) + ": " + pszText;
  std::replace(line.begin(), line.end(), '\n', ' ');
  std::fprintf(stderr, "%s\n", line.c_str());
  return IDOK;
}

std::atomic<MessageBoxHandler> g_pfnHandler = &PrintMessage;

// The title string of the executable or of the first extension module that has one, else the executable's file name.
std::string ApplicationTitle() {
  char szTitle[256];
  if (LoadStringA(nullptr, kTitleString, szTitle, sizeof(szTitle)) > 0) return szTitle;
  const std::string path = qel::kernel::ModulePath(nullptr);
  return path.substr(qel::kernel::FolderOf(path).size());
}

}  // namespace

MessageBoxHandler SetMessageBoxHandler(MessageBoxHandler pfn) {
  return g_pfnHandler.exchange(pfn != nullptr ? pfn : &PrintMessage);
}

int MessageBoxA(HWND hOwner, const char *pszText, const char *pszCaption, UINT nType) {
  return g_pfnHandler.load()(hOwner, pszText != nullptr ? pszText : "", pszCaption != nullptr ? pszCaption : "Error",
                             nType);
}

int AfxMessageBox(const char *pszText, UINT nType, UINT) {
  return MessageBoxA(nullptr, pszText, ApplicationTitle().c_str(), nType);
}

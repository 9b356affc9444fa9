// Device contexts of the desktop: each keeps the screen's mode of the moment it was made.

#include "qel/platform/gdi/device_context.h"
#include "qel/platform/gdi/window.h"

#include "qel/platform/handle_table.h"
#include "qel/platform/screen.h"

namespace {

using ContextTable = qel::HandleTable<HDC, const ScreenMode>;

ContextTable &Contexts() {
  static ContextTable &table = *new ContextTable(qel::HandleKind::kDeviceContext);
  return table;
}

bool IsDesktop(HWND hWnd) {
  return hWnd == nullptr || hWnd == GetDesktopWindow();
}

}  // namespace

HWND GetDesktopWindow() {
  // A number of the windows' kind that no table gives out: tables count from 1.
  return reinterpret_cast<HWND>(static_cast<std::uintptr_t>(qel::HandleKind::kWindow));
}

HDC GetDC(HWND hWnd) {
  if (!IsDesktop(hWnd)) return nullptr;
  return Contexts().Add(std::make_shared<const ScreenMode>(qel::CurrentScreenMode()));
}

int ReleaseDC(HWND hWnd, HDC hDC) {
  return IsDesktop(hWnd) && Contexts().Remove(hDC) != nullptr;
}

int GetDeviceCaps(HDC hDC, int nIndex) {
  const auto mode = Contexts().Find(hDC);
  if (mode == nullptr) return 0;
  switch (nIndex) {
    case HORZRES:
      return mode->nWidth;
    case VERTRES:
      return mode->nHeight;
    case BITSPIXEL:
      return mode->nBitsPixel;
    case PLANES:
      return mode->nPlanes;
    case LOGPIXELSX:
      return mode->nDpiX;
    case LOGPIXELSY:
      return mode->nDpiY;
    default:
      return 0;
  }
}

int GetSystemMetrics(int nIndex) {
  switch (nIndex) {
    case SM_CXSCREEN:
      return qel::CurrentScreenMode().nWidth;
    case SM_CYSCREEN:
      return qel::CurrentScreenMode().nHeight;
    default:
      return 0;
  }
}

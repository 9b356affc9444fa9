// Windows: surfaces behind handles, and the desktop, which has only a size.

#include "qel/platform/gdi/window.h"

#include "qel/platform/gdi/context.h"
#include "qel/platform/screen.h"

namespace qel::gdi {

namespace {

using WindowTable = HandleTable<HWND, Surface>;

WindowTable &Windows() {
  static WindowTable &table = *new WindowTable(HandleKind::kWindow);
  return table;
}

}  // namespace

bool IsDesktop(HWND hWnd) {
  return hWnd == nullptr || hWnd == GetDesktopWindow();
}

std::shared_ptr<Surface> SurfaceOf(HWND hWnd) {
  return Windows().Find(hWnd);
}

}  // namespace qel::gdi

HWND GetDesktopWindow() {
  // A number of the windows' kind that no table gives out: tables count from 1.
  return reinterpret_cast<HWND>(static_cast<std::uintptr_t>(qel::HandleKind::kWindow));
}

HWND CreateSurfaceWindow(int nWidth, int nHeight) {
  auto surface = qel::gdi::Surface::Make(nWidth, nHeight, false);
  return surface != nullptr ? qel::gdi::Windows().Add(std::move(surface)) : nullptr;
}

BOOL DestroyWindow(HWND hWnd) {
  if (qel::gdi::Windows().Remove(hWnd) == nullptr) return FALSE;
  qel::gdi::EndContextsOf(hWnd);
  return TRUE;
}

BOOL GetClientRect(HWND hWnd, RECT *pRect) {
  if (pRect == nullptr) return FALSE;
  if (hWnd == GetDesktopWindow()) {
    *pRect = {0, 0, GetSystemMetrics(SM_CXSCREEN), GetSystemMetrics(SM_CYSCREEN)};
    return TRUE;
  }
  const auto surface = qel::gdi::SurfaceOf(hWnd);
  if (surface == nullptr) return FALSE;
  *pRect = {0, 0, surface->Width(), surface->Height()};
  return TRUE;
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

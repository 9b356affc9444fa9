// CDC and CClientDC: a device context that ends with its owner.

#include "qel/platform/mfc/dc.h"

#include <utility>

#include "qel/platform/gdi/text.h"

IMPLEMENT_DYNAMIC(CDC, CObject)
IMPLEMENT_DYNAMIC(CClientDC, CDC)

CDC::~CDC() {
  if (m_hDC != nullptr) ::DeleteDC(Detach());
}

BOOL CDC::Attach(HDC hDC) {
  if (hDC == nullptr || m_hDC != nullptr) return FALSE;
  m_hDC = hDC;
  return TRUE;
}

HDC CDC::Detach() {
  return std::exchange(m_hDC, nullptr);
}

int CDC::DrawText(const char *pText, int nCount, RECT *pRect, UINT nFormat) {
  return ::DrawTextA(m_hDC, pText, nCount, pRect, nFormat);
}

int CDC::GetDeviceCaps(int nIndex) const {
  return ::GetDeviceCaps(m_hDC, nIndex);
}

CClientDC::CClientDC(HWND hWnd) : m_hWnd(hWnd) {
  Attach(::GetDC(hWnd));
}

CClientDC::~CClientDC() {
  ::ReleaseDC(m_hWnd, Detach());
}

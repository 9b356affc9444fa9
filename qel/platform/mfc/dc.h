// CDC and CClientDC: owners of device contexts.
//
// What is different here: windows are handles, so that CClientDC takes one instead of a window object.
#pragma once

#include "qel/export.h"
#include "qel/platform/gdi/device_context.h"
#include "qel/platform/mfc/object.h"

/// Holds a device context and ends it with itself when it is one in memory.
class QEL_API CDC : public CObject {
  DECLARE_DYNAMIC(CDC)
 public:
  CDC() = default;
  ~CDC() override;

  HDC m_hDC = nullptr;

  HDC GetSafeHdc() const { return m_hDC; }
  operator HDC() const { return m_hDC; }

  /// Takes a handle; 0 when it is null or one is already held.
  BOOL Attach(HDC hDC);

  /// Hands the context out without ending it.
  HDC Detach();

  /// Text as DrawTextA draws it.
  int DrawText(const char *pText, int nCount, RECT *pRect, UINT nFormat);

  int GetDeviceCaps(int nIndex) const;
};

/// The context of a window's client area, of the whole screen for null, while the object lives.
class QEL_API CClientDC : public CDC {
  DECLARE_DYNAMIC(CClientDC)
 public:
  explicit CClientDC(HWND hWnd);
  ~CClientDC() override;

 private:
  const HWND m_hWnd;
};

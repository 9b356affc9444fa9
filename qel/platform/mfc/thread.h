// The class library's thread objects, which tell the window that a thread's messages belong to. The engine makes none:
// an application that has a main window makes one on the thread that it calls the engine from.
#pragma once

#include "qel/export.h"
#include "qel/platform/mfc/object.h"
#include "qel/platform/types.h"

/// A window as an object: its handle.
class CWnd : public CObject {
 public:
  HWND GetSafeHwnd() const { return m_hWnd; }

  HWND m_hWnd = nullptr;
};

/// The thread that constructs it, until it is destroyed there; of several the last one made counts.
class QEL_API CWinThread : public CObject {
 public:
  CWinThread();
  ~CWinThread() override;

  /// The thread's main window; null when it has none.
  virtual CWnd *GetMainWnd() { return m_pMainWnd; }

  CWnd *m_pMainWnd = nullptr;

 private:
  CWinThread *m_pBefore;
};

/// The object of the running thread; null when it has none.
QEL_API CWinThread *AfxGetThread();

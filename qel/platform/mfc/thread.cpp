// Thread objects form a stack for each thread.
#include "qel/platform/mfc/thread.h"

namespace {

thread_local CWinThread *t_pThread = nullptr;

}  // namespace

CWinThread::CWinThread() : m_pBefore(t_pThread) {
  t_pThread = this;
}

CWinThread::~CWinThread() {
  if (t_pThread == this) t_pThread = m_pBefore;
}

CWinThread *AfxGetThread() {
  return t_pThread;
}

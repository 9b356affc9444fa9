// The signal handler behind guarded accesses.
//
// It acts only on a fault that the processor raised while its thread is inside a guarded access; everything else goes
// to whoever handled the signal before. It leaves the access by __builtin_longjmp, which restores no signal mask: none
// has to be, as the handler is installed with an empty mask and SA_NODEFER.
#include "qel/platform/kernel/fault_guard.h"

#include <signal.h>
#include <ucontext.h>

#include <cerrno>
#include <mutex>

#if defined(__SANITIZE_ADDRESS__)
#define QEL_ADDRESS_SANITIZER 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define QEL_ADDRESS_SANITIZER 1
#endif
#endif

#ifdef QEL_ADDRESS_SANITIZER
extern "C" void __asan_handle_no_return();
#endif

namespace qel::kernel {

constinit thread_local FaultFrame *t_faultFrame __attribute__((tls_model("initial-exec"))) = nullptr;
constinit std::atomic<bool> g_faultHandlersInstalled{false};

namespace {

// The handlers before ours -------------------------------------------------------------------------------------------

struct Previous {
  struct sigaction action;
  std::atomic<bool> spent;  // it asked to be called once only, and was
};
Previous g_previousSegv;
Previous g_previousBus;

/// What the system does by default: end the process, with a core for a fault.
void TakeDefault(int nSignal, bool bFault) {
  signal(nSignal, SIG_DFL);
  if (!bFault) raise(nSignal);  // a fault comes back by itself when the instruction runs again
}

void CallPrevious(int nSignal, siginfo_t *pInfo, void *pContext) {
  Previous &previous = nSignal == SIGSEGV ? g_previousSegv : g_previousBus;
  const struct sigaction &action = previous.action;
  bool bFault = pInfo->si_code > 0;
  bool bInfo = (action.sa_flags & SA_SIGINFO) != 0;
  // A fault cannot be ignored: the instruction would fault for ever.
  if (!bInfo && action.sa_handler == SIG_IGN && !bFault) return;
  if (previous.spent.load() || (!bInfo && (action.sa_handler == SIG_DFL || action.sa_handler == SIG_IGN))) {
    TakeDefault(nSignal, bFault);
    return;
  }
  if ((action.sa_flags & SA_RESETHAND) != 0) previous.spent.store(true);

  // It expects to run with the signals blocked that it asked to have blocked.
  sigset_t blocked = action.sa_mask;
  sigset_t before;
  if ((action.sa_flags & SA_NODEFER) == 0) sigaddset(&blocked, nSignal);
  pthread_sigmask(SIG_BLOCK, &blocked, &before);
  if (bInfo)
    action.sa_sigaction(nSignal, pInfo, pContext);
  else
    action.sa_handler(nSignal);
  pthread_sigmask(SIG_SETMASK, &before, nullptr);
}

// The fault ----------------------------------------------------------------------------------------------------------

EXCEPTION_RECORD Describe(int nSignal, const siginfo_t &info, void *pContext) {
  EXCEPTION_RECORD record{};
  record.ExceptionCode = nSignal == SIGBUS ? EXCEPTION_IN_PAGE_ERROR : EXCEPTION_ACCESS_VIOLATION;
  record.NumberParameters = 2;
  record.ExceptionInformation[1] = reinterpret_cast<std::uintptr_t>(info.si_addr);
#if defined(__x86_64__)
  const mcontext_t &machine = static_cast<ucontext_t *>(pContext)->uc_mcontext;
  record.ExceptionAddress = reinterpret_cast<void *>(machine.gregs[REG_RIP]);
  record.ExceptionInformation[0] = (machine.gregs[REG_ERR] & 2) != 0;
#else
  (void)pContext;  // other processors tell the kind of access elsewhere; a filter sees a read there
#endif
  return record;
}

/// Asks the filter of an access whether to try again.
bool ShouldContinue(FaultFrame &frame, int nSignal, const siginfo_t &info, void *pContext) {
  // An address that is none on this processor arrives as 0 from the kernel: nothing can be repaired there.
  if (info.si_code == SI_KERNEL || info.si_addr == frame.lastFault) return false;
  EXCEPTION_RECORD record = Describe(nSignal, info, pContext);
  EXCEPTION_POINTERS pointers = {&record, pContext};
  if (frame.filter == nullptr || frame.filter(frame.context, &pointers) != EXCEPTION_CONTINUE_EXECUTION) return false;
  frame.lastFault = info.si_addr;
  return true;
}

void OnFault(int nSignal, siginfo_t *pInfo, void *pContext) {
  int nErrno = errno;
  FaultFrame *frame = t_faultFrame;
  if (frame == nullptr || pInfo->si_code <= 0) {  // not inside a guarded access, or sent by a process
    CallPrevious(nSignal, pInfo, pContext);
    errno = nErrno;
    return;
  }
  t_faultFrame = frame->outer;  // a fault of the filter is not this access's
  bool bContinue = ShouldContinue(*frame, nSignal, *pInfo, pContext);
  t_faultFrame = frame;
  errno = nErrno;
  if (bContinue) return;
#ifdef QEL_ADDRESS_SANITIZER
  __asan_handle_no_return();
#endif
  __builtin_longjmp(frame->resume, 1);
}

void Install(int nSignal, Previous &previous) {
  sigaction(nSignal, nullptr, &previous.action);  // known before a fault of another thread can need it
  struct sigaction action = {};
  action.sa_sigaction = OnFault;
  action.sa_flags = SA_SIGINFO | SA_NODEFER | SA_ONSTACK;
  sigemptyset(&action.sa_mask);
  sigaction(nSignal, &action, nullptr);
}

}  // namespace

void InstallFaultHandlers() {
  static std::once_flag once;
  std::call_once(once, [] {
    Install(SIGSEGV, g_previousSegv);
    Install(SIGBUS, g_previousBus);
    g_faultHandlersInstalled.store(true);
  });
}

}  // namespace qel::kernel

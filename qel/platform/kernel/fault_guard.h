// Guarded accesses: memory accesses that may fault without taking the process down.
//
// A handler for SIGSEGV and SIGBUS, installed on first use and chained to the one before it, acts only while its thread
// is inside a guarded access. It describes the fault to the access's filter; the filter either has it tried again (it
// has made the page accessible) or gives up, and then the access ends and Guarded() returns 0. A fault that comes back
// at the same address after the filter let it continue ends the access too.
//
// Nothing with a destructor may live inside the access: it is left by a jump.
#pragma once

#include <atomic>

#include "qel/export.h"
#include "qel/platform/types.h"

// The filter's view of a fault ---------------------------------------------------------------------------------------

struct EXCEPTION_RECORD {
  DWORD ExceptionCode;
  DWORD ExceptionFlags;
  EXCEPTION_RECORD *ExceptionRecord;
  void *ExceptionAddress;  // the faulting instruction
  DWORD NumberParameters;
  std::uintptr_t ExceptionInformation[15];  // [0]: 0 read, 1 write; [1]: the faulting data address
};

struct _EXCEPTION_POINTERS {
  EXCEPTION_RECORD *ExceptionRecord;
  void *ContextRecord;
};
using EXCEPTION_POINTERS = _EXCEPTION_POINTERS;

constexpr DWORD EXCEPTION_ACCESS_VIOLATION = 0xC0000005;
constexpr DWORD EXCEPTION_IN_PAGE_ERROR = 0xC0000006;
constexpr int EXCEPTION_EXECUTE_HANDLER = 1;
constexpr int EXCEPTION_CONTINUE_SEARCH = 0;
constexpr int EXCEPTION_CONTINUE_EXECUTION = -1;

// The guard ----------------------------------------------------------------------------------------------------------

namespace qel::kernel {

/// Decides about a fault: EXCEPTION_CONTINUE_EXECUTION tries the access again, anything else ends it.
using FaultFilter = int (*)(void *context, EXCEPTION_POINTERS *fault);

/// One guarded access in progress on this thread.
struct FaultFrame {
  void *resume[5];  // where __builtin_longjmp goes
  FaultFilter filter;
  void *context;
  const void *lastFault;
  FaultFrame *outer;
};

/// The innermost guarded access of this thread. Initial-exec and constinit, so that reaching it is one load.
extern constinit thread_local FaultFrame *t_faultFrame __attribute__((tls_model("initial-exec")));

/// Installs the signal handlers once per process.
void InstallFaultHandlers();
extern std::atomic<bool> g_faultHandlersInstalled;

/// Runs `access` under the guard: 1 when it ran through, 0 when a fault ended it. Bytes written before stay written.
/// `access` comes by reference: a copy of what it holds, made just before it is read, would hold up each short access.
template <class Access>
__attribute__((noinline)) int Guarded(FaultFilter filter, void *context, const Access &access) {
  if (!g_faultHandlersInstalled.load(std::memory_order_relaxed)) [[unlikely]]
    InstallFaultHandlers();
  FaultFrame frame;
  frame.filter = filter;
  frame.context = context;
  frame.lastFault = nullptr;
  frame.outer = t_faultFrame;
  if (__builtin_setjmp(frame.resume) != 0) {
    t_faultFrame = t_faultFrame->outer;
    return 0;
  }
  t_faultFrame = &frame;
  std::atomic_signal_fence(std::memory_order_seq_cst);  // the access must not move out of the guarded stretch
  access();
  std::atomic_signal_fence(std::memory_order_seq_cst);
  t_faultFrame = frame.outer;
  return 1;
}

}  // namespace qel::kernel

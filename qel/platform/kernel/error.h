// The calling thread's last error code.
#pragma once

#include "qel/export.h"
#include "qel/platform/types.h"

/// The code that the last failing (or already-existing) kernel operation of this thread left.
QEL_API DWORD GetLastError();

/// Sets the code.
QEL_API void SetLastError(DWORD dwCode);

namespace qel::kernel {

/// The code that stands for a value of errno.
DWORD ErrorFromErrno(int nErrno);

}  // namespace qel::kernel

// Global memory: movable blocks behind handles, the form in which packed DIBs travel between callers.
//
// A handle must be locked to get its address. Different here: a block never moves once it has an address, a
// GMEM_FIXED handle is not its address, and GlobalFlags keeps the allocation flags in bits 8 to 15. Handles are checked
// before they are used: a stale or invented one is answered with the failure value.
#pragma once

#include "qel/export.h"
#include "qel/platform/types.h"

/// Allocates `nBytes` bytes; GMEM_ZEROINIT clears them. Null when memory is short. A block of 0 bytes has no address.
QEL_API HGLOBAL GlobalAlloc(UINT nFlags, SIZE_T nBytes);

/// Adds a lock and returns the block's address; null for a block of 0 bytes or a handle that is not one.
QEL_API void *GlobalLock(HGLOBAL hMem);

/// Takes one lock back; non-zero while locks remain, 0 after the last one and for a handle that is not one.
QEL_API BOOL GlobalUnlock(HGLOBAL hMem);

/// Frees the block, locked or not. Null on success, `hMem` when it is not a handle.
QEL_API HGLOBAL GlobalFree(HGLOBAL hMem);

/// The handle of the locked block that starts at `pMem`; null for any other address, which is never touched.
QEL_API HGLOBAL GlobalHandle(const void *pMem);

/// Size of the block in bytes as asked for; 0 for a handle that is not one.
QEL_API SIZE_T GlobalSize(HGLOBAL hMem);

/// The allocation flags in bits 8 to 15 and the lock count (at most 255) in bits 0 to 7; 0x8000 for a handle that is not one.
QEL_API UINT GlobalFlags(HGLOBAL hMem);

// Blocks of global memory that stay locked as long as they live.
#pragma once

#include "qel/platform/kernel/global_memory.h"

namespace qel::kernel {

/// Allocates and locks a block; null, and a null handle, when memory is short.
inline unsigned char *AllocLocked(UINT nFlags, long lBytes, HGLOBAL *phBlock) {
  *phBlock = GlobalAlloc(nFlags, static_cast<SIZE_T>(lBytes));
  void *const pBlock = *phBlock != nullptr ? GlobalLock(*phBlock) : nullptr;
  if (pBlock == nullptr && *phBlock != nullptr) *phBlock = GlobalFree(*phBlock);
  return static_cast<unsigned char *>(pBlock);
}

/// Unlocks and frees a block, and makes its handle null. A null handle is none.
inline void FreeLocked(HGLOBAL *phBlock) {
  if (*phBlock == nullptr) return;
  GlobalUnlock(*phBlock);
  *phBlock = GlobalFree(*phBlock);
}

}  // namespace qel::kernel

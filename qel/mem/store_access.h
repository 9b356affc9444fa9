// Accesses that work on bytes of several stores where they lie, under one fault guard.
#pragma once

#include "qel/mem/mem.h"
#include "qel/platform/kernel/fault_guard.h"

namespace qel::mem {

/// The stores that an access touches, null for none: a fault is the affair of the one that it lies in.
struct StoreGroup {
  PMem *pStores[4];
};

inline int FilterGroupFault(void *pGroup, EXCEPTION_POINTERS *pFault) {
  for (PMem *const pStore : static_cast<StoreGroup *>(pGroup)->pStores)
    if (pStore != nullptr && pStore->ExpFilter(pFault) == EXCEPTION_CONTINUE_EXECUTION)
      return EXCEPTION_CONTINUE_EXECUTION;
  return EXCEPTION_EXECUTE_HANDLER;
}

/// Runs `access` to bytes that have been committed: 1 when it ran through, 0 when a fault ended it.
template <class Access>
int AccessStores(StoreGroup &group, const Access &access) {
  return kernel::Guarded(FilterGroupFault, &group, access);
}

}  // namespace qel::mem

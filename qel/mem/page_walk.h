// Walks over the pages of a reservation or view, run of equal state by run of equal state.
#pragma once

#include "qel/platform/kernel/reserved_memory.h"

namespace qel::mem {

/// Calls `visit(offset, size, committed)` for every run of pages of the allocation that starts at `base`, in order.
template <class Visit>
void WalkPages(const unsigned char *base, Visit visit) {
  MEMORY_BASIC_INFORMATION run;
  unsigned long offset = 0;
  while (VirtualQuery(base + offset, &run, sizeof run) == sizeof run && run.AllocationBase == base &&
         run.RegionSize != 0) {
    visit(offset, run.RegionSize, run.State == MEM_COMMIT);
    offset += run.RegionSize;
  }
}

}  // namespace qel::mem

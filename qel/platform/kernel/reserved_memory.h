// Reserved memory: address space whose pages are committed piece by piece.
//
// A reservation is one anonymous mapping that the system backs as its pages are touched, without huge pages, so that a
// sparse store costs only what it holds. Which pages count as committed is kept as bits, with a summary level above
// them, in front of the reservation's base: an access finds them without a search. Different here: touching a page that
// is not committed does not fault but reads as zero; the stores commit ahead of each access instead. A reservation made
// with MEM_COMMIT is mapped so that the kernel refuses what it cannot back.
#pragma once

#include "qel/export.h"
#include "qel/platform/kernel/region.h"
#include "qel/platform/types.h"

/// Reserves (address null) or commits (address inside a reservation) `nSize` bytes, rounded out to whole pages.
/// `dwType`: MEM_RESERVE, MEM_COMMIT or both; MEM_COMMIT with a null address reserves too. `dwProtect`: PAGE_READWRITE,
/// for a mere reservation PAGE_NOACCESS too. Returns the base (of the first page, when committing), or null.
QEL_API void *VirtualAlloc(void *pAddress, SIZE_T nSize, DWORD dwType, DWORD dwProtect);

/// MEM_DECOMMIT: gives the pages of a range back, they read as zero again (size 0 with the base: all of them).
/// MEM_RELEASE: ends the reservation that starts at `pAddress` (size 0). 0 when the range is no reservation's.
QEL_API BOOL VirtualFree(void *pAddress, SIZE_T nSize, DWORD dwType);

/// Describes the run of pages of equal state that starts at the page of `pAddress`, in a reservation or a mapped view.
/// Returns sizeof(MEMORY_BASIC_INFORMATION), or 0 when the address belongs to neither or `nLength` is too small.
QEL_API SIZE_T VirtualQuery(const void *pAddress, MEMORY_BASIC_INFORMATION *pInfo, SIZE_T nLength);

/// Fills in the page size and what else the system tells.
QEL_API void GetSystemInfo(SYSTEM_INFO *pInfo);

namespace qel::kernel {

/// True when every page that covers bytes [offset, offset + count) is committed. `base` is the base of a reservation or
/// of a mapped view; the range lies inside it. A few loads, no search, no lock.
inline bool ArePagesCommitted(const unsigned char *base, std::size_t offset, std::size_t count) {
  if (count == 0) return true;
  const RegionHeader &header = HeaderOf(base);
  std::size_t first = offset >> header.pageShift;
  std::size_t last = (offset + count - 1) >> header.pageShift;
  if (first / 64 != last / 64) return header.states.NextClear(first) > last;
  std::uint64_t wanted = (~std::uint64_t{0} >> (63 - (last - first))) << first % 64;
  return (header.states.bits[first / 64].load(std::memory_order_relaxed) & wanted) == wanted;
}

/// Commits the pages that cover the range, reserving real space first where the pages are shared. False when the range
/// leaves the reservation or the system cannot back the pages; nothing is lost then.
bool CommitPages(unsigned char *base, std::size_t offset, std::size_t count);

/// Decommits every page of the reservation that starts at `base`; they read as zero again. A mapped view is left as it
/// is: its pages hold other openers' data too.
void DecommitAllPages(unsigned char *base);

}  // namespace qel::kernel

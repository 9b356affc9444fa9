// Reservations of address space, and the commits, decommits and queries that serve mapped views too.
//
// A reservation is one anonymous mapping: page states and header in front, the reserved pages behind them. Memory comes
// in as pages are touched; committing only marks them, except in shared pages, where it reserves real space first.
// Decommitting hands pages back to the kernel, which gives zeroed ones at the next touch.
#include "qel/platform/kernel/reserved_memory.h"

#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <limits>
#include <new>

#include "qel/platform/kernel/error.h"
#include "qel/platform/kernel/shared_object.h"

namespace qel::kernel {
namespace {

template <class Result>
Result Fail(DWORD dwCode) {
  SetLastError(dwCode);
  return Result{};
}

std::size_t SystemPageBytes() {
  return std::size_t{1} << PageShift();
}

// Making and ending a reservation ------------------------------------------------------------------------------------

/// Maps a reservation of `pages` pages, all of them committed or none. Null when the system refuses.
RegionHeader *MakeReservation(std::size_t pages, bool bCommit, DWORD dwProtect) {
  std::size_t frontBytes = RoundUpToPages(PageStates::Bytes(pages) + sizeof(RegionHeader));
  if (pages > (std::numeric_limits<std::size_t>::max() - frontBytes) >> PageShift()) return nullptr;
  std::size_t totalBytes = frontBytes + (pages << PageShift());

  // With MAP_NORESERVE the kernel counts a page when it is touched; without, it refuses now what it could not back.
  int nFlags = MAP_PRIVATE | MAP_ANONYMOUS | (bCommit ? 0 : MAP_NORESERVE);
  void *mapping = mmap(nullptr, totalBytes, PROT_READ | PROT_WRITE, nFlags, -1, 0);
  if (mapping == MAP_FAILED) return nullptr;
  // A huge page would back 512 pages of a sparse store for one byte. Kernels without huge pages refuse this: all is
  // well.
  if (!bCommit) madvise(mapping, totalBytes, MADV_NOHUGEPAGE);

  unsigned char *front = static_cast<unsigned char *>(mapping);
  PageStates states = PageStates::At(front, pages);
  if (bCommit) states.Set(0, pages);
  void *place = front + frontBytes - sizeof(RegionHeader);
  return new (place) RegionHeader{states, PageShift(), dwProtect, front, totalBytes, -1, 0};
}

void *Reserve(SIZE_T nSize, bool bCommit, DWORD dwProtect) {
  RegionHeader *header = MakeReservation(PagesFor(nSize), bCommit, dwProtect);
  if (header == nullptr) return Fail<void *>(bCommit ? ERROR_COMMITMENT_LIMIT : ERROR_NOT_ENOUGH_MEMORY);
  AddRegion(*header);
  return header->Base();
}

// Ranges -------------------------------------------------------------------------------------------------------------

struct PageRange {
  std::size_t first;
  std::size_t end;
};

/// The pages that cover `count` > 0 bytes from `offset` on; empty when they leave the region.
PageRange PagesOf(const RegionHeader &header, std::size_t offset, std::size_t count) {
  if (offset > header.Bytes() || count > header.Bytes() - offset || count == 0) return {0, 0};
  return {offset >> header.pageShift, ((offset + count - 1) >> header.pageShift) + 1};
}

bool CommitRange(RegionHeader &header, PageRange range) {
  const PageStates &states = header.states;
  std::size_t first = states.NextClear(range.first);
  if (first >= range.end) return true;
  if (header.IsShared()) {
    std::size_t offset = header.fileOffset + (first << header.pageShift);
    int nErrno = ReserveObjectSpace(header.fd, offset, (range.end - first) << header.pageShift);
    if (nErrno != 0) return Fail<bool>(ErrorFromErrno(nErrno));
  }
  states.Set(first, range.end);
  return true;
}

/// Makes pages read as zero and gives their memory back.
void DropPages(RegionHeader &header, PageRange range) {
  unsigned char *base = header.Base();
  std::size_t bytes = (range.end - range.first) << header.pageShift;
  if (madvise(base + (range.first << header.pageShift), bytes, MADV_DONTNEED) == 0) return;
  // Locked pages cannot be given back: then only what they hold goes.
  const PageStates &states = header.states;
  for (std::size_t page = states.NextSet(range.first); page < range.end;) {
    std::size_t end = std::min(range.end, states.NextClear(page));
    std::memset(base + (page << header.pageShift), 0, (end - page) << header.pageShift);
    page = states.NextSet(end);
  }
}

void DecommitRange(RegionHeader &header, PageRange range) {
  DropPages(header, range);
  header.states.Clear(range.first, range.end);
}

void DecommitAll(RegionHeader &header) {
  DropPages(header, {0, header.states.pages});
  // The states of a big region take pages of their own: those go back whole, what shares the header's page is cleared.
  std::size_t stateBytes = PageStates::Bytes(header.states.pages);
  std::size_t wholeBytes = stateBytes & ~(header.PageBytes() - 1);
  if (wholeBytes != 0 && madvise(header.mapping, wholeBytes, MADV_DONTNEED) != 0) wholeBytes = 0;
  std::memset(header.mapping + wholeBytes, 0, stateBytes - wholeBytes);
}

}  // namespace

// Commits by base ----------------------------------------------------------------------------------------------------

bool CommitPages(unsigned char *base, std::size_t offset, std::size_t count) {
  if (base == nullptr) return Fail<bool>(ERROR_INVALID_ADDRESS);
  RegionHeader &header = HeaderOf(base);
  if (count == 0 && offset <= header.Bytes()) return true;
  PageRange range = PagesOf(header, offset, count);
  return range.end != 0 ? CommitRange(header, range) : Fail<bool>(ERROR_INVALID_ADDRESS);
}

void DecommitAllPages(unsigned char *base) {
  if (base == nullptr || HeaderOf(base).IsShared()) return;
  DecommitAll(HeaderOf(base));
}

}  // namespace qel::kernel

// Any address --------------------------------------------------------------------------------------------------------

using namespace qel::kernel;

void *VirtualAlloc(void *pAddress, SIZE_T nSize, DWORD dwType, DWORD dwProtect) {
  bool bCommit = (dwType & MEM_COMMIT) != 0;
  bool bTypeKnown = dwType != 0 && (dwType & ~(MEM_COMMIT | MEM_RESERVE)) == 0;
  bool bProtectKnown = dwProtect == PAGE_READWRITE || (dwProtect == PAGE_NOACCESS && !bCommit);
  if (nSize == 0 || !bTypeKnown || !bProtectKnown) return Fail<void *>(ERROR_INVALID_PARAMETER);
  if (pAddress == nullptr) return Reserve(nSize, bCommit, dwProtect);

  // Where a reservation comes to lie is the system's choice alone.
  if ((dwType & MEM_RESERVE) != 0) return Fail<void *>(ERROR_INVALID_ADDRESS);
  RegionAt region(pAddress);
  if (!region) return Fail<void *>(ERROR_INVALID_ADDRESS);
  std::size_t offset = static_cast<std::size_t>(static_cast<unsigned char *>(pAddress) - region->Base());
  PageRange range = PagesOf(*region, offset, nSize);
  if (range.end == 0) return Fail<void *>(ERROR_INVALID_ADDRESS);
  return CommitRange(*region, range) ? region->Base() + (range.first << region->pageShift) : nullptr;
}

BOOL VirtualFree(void *pAddress, SIZE_T nSize, DWORD dwType) {
  if (dwType == MEM_RELEASE) {
    if (nSize != 0) return Fail<BOOL>(ERROR_INVALID_PARAMETER);
    RegionHeader *header = TakePrivateRegion(pAddress);
    if (header == nullptr) return Fail<BOOL>(ERROR_INVALID_ADDRESS);
    munmap(header->mapping, header->mappingBytes);
    return TRUE;
  }
  if (dwType != MEM_DECOMMIT) return Fail<BOOL>(ERROR_INVALID_PARAMETER);

  RegionAt region(pAddress);
  if (!region || region->IsShared()) return Fail<BOOL>(ERROR_INVALID_ADDRESS);
  std::size_t offset = static_cast<std::size_t>(static_cast<unsigned char *>(pAddress) - region->Base());
  if (nSize == 0) {
    if (offset != 0) return Fail<BOOL>(ERROR_INVALID_PARAMETER);
    DecommitAll(*region);
    return TRUE;
  }
  PageRange range = PagesOf(*region, offset, nSize);
  if (range.end == 0) return Fail<BOOL>(ERROR_INVALID_ADDRESS);
  DecommitRange(*region, range);
  return TRUE;
}

SIZE_T VirtualQuery(const void *pAddress, MEMORY_BASIC_INFORMATION *pInfo, SIZE_T nLength) {
  if (pInfo == nullptr || nLength < sizeof *pInfo) return Fail<SIZE_T>(ERROR_INVALID_PARAMETER);
  RegionAt region(pAddress);
  if (!region) return Fail<SIZE_T>(ERROR_INVALID_ADDRESS);

  std::size_t offset = static_cast<std::size_t>(static_cast<const unsigned char *>(pAddress) - region->Base());
  std::size_t page = offset >> region->pageShift;
  bool bCommitted = region->states.IsSet(page);
  std::size_t end = bCommitted ? region->states.NextClear(page) : region->states.NextSet(page);
  pInfo->BaseAddress = region->Base() + (page << region->pageShift);
  pInfo->AllocationBase = region->Base();
  pInfo->AllocationProtect = region->protect;
  pInfo->RegionSize = (end - page) << region->pageShift;
  pInfo->State = bCommitted ? MEM_COMMIT : MEM_RESERVE;
  pInfo->Protect = bCommitted ? PAGE_READWRITE : 0;
  pInfo->Type = region->IsShared() ? MEM_MAPPED : MEM_PRIVATE;
  return sizeof *pInfo;
}

void GetSystemInfo(SYSTEM_INFO *pInfo) {
  if (pInfo == nullptr) return;
  long lProcessors = sysconf(_SC_NPROCESSORS_ONLN);
  std::size_t page = SystemPageBytes();
  pInfo->dwPageSize = static_cast<DWORD>(page);
  pInfo->dwAllocationGranularity = static_cast<DWORD>(page);
  pInfo->dwNumberOfProcessors = lProcessors > 0 ? static_cast<DWORD>(lProcessors) : 1;
  // What a process may map: not the lowest 64 KiB, nor above the 47 bits that user space has by default.
  pInfo->lpMinimumApplicationAddress = reinterpret_cast<void *>(std::uintptr_t{1} << 16);
  pInfo->lpMaximumApplicationAddress = reinterpret_cast<void *>((std::uintptr_t{1} << 47) - page - 1);
}

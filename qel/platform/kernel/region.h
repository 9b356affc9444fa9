// Regions: what reservations and mapped views have in common.
//
// A region is a base address and a count of pages. A header right in front of the base tells where the state of its
// pages stands: one bit a page, set when the page is committed, and a summary above it, one bit for each word of those
// bits, set when the word may hold a set bit. So an access finds the state of its pages with no search, and a scan
// passes over the empty parts of a huge region 4096 pages at a step. A process-wide registry finds the region around
// any address.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <mutex>
#include <shared_mutex>

#include "qel/platform/types.h"

namespace qel::kernel {

// Page states --------------------------------------------------------------------------------------------------------

/// A word of state bits; other threads, and for views other processes, may set bits at the same time.
using StateWord = std::atomic<std::uint64_t>;
static_assert(StateWord::is_always_lock_free && sizeof(StateWord) == 8);

struct PageStates {
  StateWord *bits;
  StateWord *summary;
  std::size_t pages;

  /// Words of bits that `pages` pages take, and of the summary above them.
  static constexpr std::size_t BitWords(std::size_t pages) { return pages / 64 + (pages % 64 != 0); }
  static constexpr std::size_t SummaryWords(std::size_t pages) { return BitWords(BitWords(pages)); }

  /// Bytes that both levels take.
  static constexpr std::size_t Bytes(std::size_t pages) { return (BitWords(pages) + SummaryWords(pages)) * 8; }

  /// The states kept in `Bytes(pages)` bytes at `memory` (zero bytes: nothing committed).
  static PageStates At(void *memory, std::size_t pages);

  /// Mark pages [first, end) as committed or not.
  void Set(std::size_t first, std::size_t end) const;
  void Clear(std::size_t first, std::size_t end) const;

  /// The first page at or behind `page` that is (is not) committed; `pages` when there is none.
  std::size_t NextSet(std::size_t page) const;
  std::size_t NextClear(std::size_t page) const;

  bool IsSet(std::size_t page) const { return bits[page / 64].load(std::memory_order_relaxed) >> page % 64 & 1; }
};

// Regions ------------------------------------------------------------------------------------------------------------

/// Stands right in front of the base of every region.
struct RegionHeader {
  PageStates states;
  unsigned pageShift;
  DWORD protect;           // as asked for when the region was made
  unsigned char *mapping;  // the whole mapping, header and states included
  std::size_t mappingBytes;
  int fd;                  // object that shared pages belong to; -1: private pages
  std::size_t fileOffset;  // of the first page in it

  bool IsShared() const { return fd >= 0; }
  std::size_t PageBytes() const { return std::size_t{1} << pageShift; }
  std::size_t Bytes() const { return states.pages << pageShift; }
  unsigned char *Base() { return reinterpret_cast<unsigned char *>(this + 1); }
};

inline RegionHeader &HeaderOf(const unsigned char *base) {
  return const_cast<RegionHeader *>(reinterpret_cast<const RegionHeader *>(base))[-1];
}

/// log2 of the system's page size.
unsigned PageShift();

/// Pages that `bytes` bytes take.
std::size_t PagesFor(std::size_t bytes);

/// `bytes` rounded up to whole pages; 0 when that overflows.
std::size_t RoundUpToPages(std::size_t bytes);

// Registry -----------------------------------------------------------------------------------------------------------

void AddRegion(RegionHeader &header);
void RemoveRegion(RegionHeader &header);

/// The region around an address, kept alive by a lock for as long as this object lives.
class RegionAt {
 public:
  explicit RegionAt(const void *address);

  explicit operator bool() const { return m_header != nullptr; }
  RegionHeader *operator->() const { return m_header; }
  RegionHeader &operator*() const { return *m_header; }

 private:
  std::shared_lock<std::shared_mutex> m_lock;
  RegionHeader *m_header;
};

/// Takes the private region that starts at `base` out of the registry, so that its caller alone ends it; null when none
/// does.
RegionHeader *TakePrivateRegion(const void *base);

}  // namespace qel::kernel

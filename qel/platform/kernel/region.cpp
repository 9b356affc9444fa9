// Page states as bits under a summary, and the registry of regions.
//
// Bits are changed by atomic operations, because threads that commit different pages may meet in one word. The summary
// bit of a word is set before the word's first bit and stays set when bits are cleared one by one: it only ever says
// "look here" too often.
#include "qel/platform/kernel/region.h"

#include <unistd.h>

#include <algorithm>
#include <bit>
#include <map>

namespace qel::kernel {
namespace {

constexpr auto kRelaxed = std::memory_order_relaxed;
constexpr std::uint64_t kAllSet = ~std::uint64_t{0};

/// Calls step(word, mask) for each word that holds bits of [first, end).
template <class Step>
void ForEachWord(std::size_t first, std::size_t end, Step step) {
  while (first < end) {
    std::size_t count = std::min(end - first, 64 - first % 64);
    step(first / 64, (kAllSet >> (64 - count)) << first % 64);
    first += count;
  }
}

}  // namespace

// Page states --------------------------------------------------------------------------------------------------------

PageStates PageStates::At(void *memory, std::size_t pages) {
  StateWord *words = static_cast<StateWord *>(memory);
  return {words + SummaryWords(pages), words, pages};
}

void PageStates::Set(std::size_t first, std::size_t end) const {
  if (first >= end) return;
  ForEachWord(first / 64, (end - 1) / 64 + 1, [&](std::size_t word, std::uint64_t mask) {
    if ((summary[word].load(kRelaxed) & mask) != mask) summary[word].fetch_or(mask, kRelaxed);
  });
  ForEachWord(first, end, [&](std::size_t word, std::uint64_t mask) { bits[word].fetch_or(mask, kRelaxed); });
}

void PageStates::Clear(std::size_t first, std::size_t end) const {
  // Words that hold no bit are left untouched: in a sparse region they have no memory of their own.
  for (std::size_t page = NextSet(first); page < end;) {
    std::size_t wordEnd = std::min(end, page / 64 * 64 + 64);
    ForEachWord(page, wordEnd, [&](std::size_t word, std::uint64_t mask) { bits[word].fetch_and(~mask, kRelaxed); });
    page = NextSet(wordEnd);
  }
}

std::size_t PageStates::NextSet(std::size_t page) const {
  if (page >= pages) return pages;
  std::uint64_t rest = bits[page / 64].load(kRelaxed) & (kAllSet << page % 64);
  if (rest != 0) return page / 64 * 64 + std::countr_zero(rest);
  std::size_t bitWords = BitWords(pages);
  for (std::size_t word = page / 64 + 1; word < bitWords;) {
    std::uint64_t marks = summary[word / 64].load(kRelaxed) & (kAllSet << word % 64);
    if (marks == 0) {
      word = word / 64 * 64 + 64;
      continue;
    }
    word = word / 64 * 64 + std::countr_zero(marks);
    std::uint64_t found = bits[word].load(kRelaxed);
    if (found != 0) return word * 64 + std::countr_zero(found);
    ++word;
  }
  return pages;
}

std::size_t PageStates::NextClear(std::size_t page) const {
  if (page >= pages) return pages;
  std::uint64_t rest = ~bits[page / 64].load(kRelaxed) & (kAllSet << page % 64);
  std::size_t word = page / 64;
  std::size_t bitWords = BitWords(pages);
  while (rest == 0 && ++word < bitWords) rest = ~bits[word].load(kRelaxed);
  return rest == 0 ? pages : std::min(pages, word * 64 + std::countr_zero(rest));
}

// Regions ------------------------------------------------------------------------------------------------------------

unsigned PageShift() {
  static const unsigned shift = [] {
    long bytes = sysconf(_SC_PAGESIZE);
    return bytes > 0 ? static_cast<unsigned>(std::bit_width(static_cast<unsigned long>(bytes)) - 1) : 12U;
  }();
  return shift;
}

std::size_t PagesFor(std::size_t bytes) {
  std::size_t mask = (std::size_t{1} << PageShift()) - 1;
  return (bytes >> PageShift()) + ((bytes & mask) != 0);
}

std::size_t RoundUpToPages(std::size_t bytes) {
  std::size_t mask = (std::size_t{1} << PageShift()) - 1;
  return (bytes + mask) & ~mask;
}

// Registry -----------------------------------------------------------------------------------------------------------

namespace {

struct Registry {
  std::shared_mutex mutex;
  std::map<std::uintptr_t, RegionHeader *> regions;  // by base
};

/// Never destroyed: objects with static storage may still release their memory after it would be.
Registry &TheRegistry() {
  static Registry *registry = new Registry;
  return *registry;
}

}  // namespace

void AddRegion(RegionHeader &header) {
  Registry &registry = TheRegistry();
  std::unique_lock lock(registry.mutex);
  registry.regions[reinterpret_cast<std::uintptr_t>(header.Base())] = &header;
}

void RemoveRegion(RegionHeader &header) {
  Registry &registry = TheRegistry();
  std::unique_lock lock(registry.mutex);
  registry.regions.erase(reinterpret_cast<std::uintptr_t>(header.Base()));
}

RegionHeader *TakePrivateRegion(const void *base) {
  Registry &registry = TheRegistry();
  std::unique_lock lock(registry.mutex);
  auto it = registry.regions.find(reinterpret_cast<std::uintptr_t>(base));
  if (it == registry.regions.end() || it->second->IsShared()) return nullptr;
  RegionHeader *header = it->second;
  registry.regions.erase(it);
  return header;
}

RegionAt::RegionAt(const void *address) : m_lock(TheRegistry().mutex), m_header(nullptr) {
  auto &regions = TheRegistry().regions;
  std::uintptr_t at = reinterpret_cast<std::uintptr_t>(address);
  auto it = regions.upper_bound(at);
  if (it == regions.begin()) return;
  --it;
  if (at - it->first < it->second->Bytes()) m_header = it->second;
}

}  // namespace qel::kernel

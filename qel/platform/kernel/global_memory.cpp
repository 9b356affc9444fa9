// Global memory: control slots, the blocks attached to them, and the way from an address back to its slot.
//
// A handle is the address of a control slot. All slots lie in one reserved range and are never given back, so that any
// value at all can be checked as a handle by range, alignment and the slot's state. One atomic word of the slot holds
// that state, the flags and the lock count. A freed small block stays attached to its slot and known to the registry
// while it waits in a list of the thread that freed it; allocating it again touches no lock and no table. The registry,
// which leads from an address to a slot, is split by address into shards with a mutex each, and is written only when
// memory really comes from the heap or goes back to it.
#include "qel/platform/kernel/global_memory.h"

#include <sys/mman.h>

#include <atomic>
#include <bit>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <mutex>
#include <new>
#include <unordered_map>

#include "qel/platform/kernel/error.h"

namespace {

#if defined(__SANITIZE_ADDRESS__)
constexpr bool kAddressSanitizer = true;
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
constexpr bool kAddressSanitizer = true;
#else
constexpr bool kAddressSanitizer = false;
#endif
#else
constexpr bool kAddressSanitizer = false;
#endif

// Slots --------------------------------------------------------------------------------------------------------------

// The word of a slot: a free or waiting slot holds 0, one in use this bit, its flags and its lock count.
constexpr std::uint64_t kInUse = std::uint64_t{1} << 63;
constexpr int kFlagShift = 48;
constexpr std::uint64_t kLockMask = (std::uint64_t{1} << kFlagShift) - 1;

struct alignas(64) Slot {
  std::atomic<std::uint64_t> word;
  std::atomic<Slot *> next;  // in the list of free slots or in a thread's list of waiting blocks
  void *data;                // null for a block of 0 bytes
  void *heap;                // what the heap gave; the data starts at the next multiple of kAlignment
  std::size_t size;          // as asked for
  int sizeClass;             // kNoClass for blocks that are not recycled
};

// Address space only: pages of slots that were never used cost nothing. Where address space is limited, fewer will do.
constexpr std::size_t kMostSlots = std::size_t{1} << 26;
constexpr std::size_t kFewestSlots = std::size_t{1} << 12;

struct SlotRange {
  Slot *first = nullptr;
  std::size_t count = 0;
};

constinit std::atomic<Slot *> g_firstSlot{nullptr};
constinit std::atomic<std::size_t> g_usedSlots{0};

// Top of the list of free slots: index + 1 in the low half, a count of changes in the high half, so that a top which
// went and came back is not taken for one that stayed.
constinit std::atomic<std::uint64_t> g_freeSlots{0};

SlotRange MapSlots() {
  for (std::size_t count = kMostSlots; count >= kFewestSlots; count /= 2) {
    void *range =
        mmap(nullptr, count * sizeof(Slot), PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    if (range == MAP_FAILED) continue;
    madvise(range, count * sizeof(Slot), MADV_NOHUGEPAGE);
    Slot *first = static_cast<Slot *>(range);
    g_firstSlot.store(first, std::memory_order_release);
    return {first, count};
  }
  return {};
}

Slot *PopFreeSlot() {
  Slot *first = g_firstSlot.load(std::memory_order_acquire);
  std::uint64_t top = g_freeSlots.load(std::memory_order_acquire);
  while (static_cast<std::uint32_t>(top) != 0) {
    Slot *slot = first + (static_cast<std::uint32_t>(top) - 1);
    Slot *next = slot->next.load(std::memory_order_relaxed);
    const std::uint64_t below = next ? static_cast<std::uint64_t>(next - first) + 1 : 0;
    if (g_freeSlots.compare_exchange_weak(top, ((top >> 32) + 1) << 32 | below, std::memory_order_acq_rel)) return slot;
  }
  return nullptr;
}

void PushFreeSlot(Slot *slot) {
  Slot *first = g_firstSlot.load(std::memory_order_acquire);
  const std::uint64_t index = static_cast<std::uint64_t>(slot - first) + 1;
  std::uint64_t top = g_freeSlots.load(std::memory_order_acquire);
  do {
    const auto below = static_cast<std::uint32_t>(top);
    slot->next.store(below ? first + (below - 1) : nullptr, std::memory_order_relaxed);
  } while (!g_freeSlots.compare_exchange_weak(top, ((top >> 32) + 1) << 32 | index, std::memory_order_acq_rel));
}

/// A slot that nobody uses; null when there are no more.
Slot *TakeSlot() {
  static const SlotRange range = MapSlots();
  if (Slot *slot = PopFreeSlot()) return slot;
  std::size_t used = g_usedSlots.load(std::memory_order_relaxed);
  do {
    if (used >= range.count) return nullptr;
  } while (!g_usedSlots.compare_exchange_weak(used, used + 1, std::memory_order_acq_rel));
  return range.first + used;
}

/// The slot behind a handle; null for a value that no slot in the range has. The slot may still be out of use.
Slot *SlotOf(HGLOBAL hMem) {
  const auto first = reinterpret_cast<std::uintptr_t>(g_firstSlot.load(std::memory_order_acquire));
  const std::uintptr_t offset = reinterpret_cast<std::uintptr_t>(hMem) - first;
  if (offset % sizeof(Slot) != 0 || offset / sizeof(Slot) >= g_usedSlots.load(std::memory_order_acquire))
    return nullptr;
  return static_cast<Slot *>(hMem);
}

/// The slot behind a handle in use, and the word it had; null, with the last error set, for everything else.
Slot *SlotInUse(HGLOBAL hMem, std::uint64_t &word) {
  Slot *slot = SlotOf(hMem);
  if (slot) {
    word = slot->word.load(std::memory_order_acquire);
    if (word & kInUse) return slot;
  }
  SetLastError(ERROR_INVALID_HANDLE);
  return nullptr;
}

// Registry -----------------------------------------------------------------------------------------------------------

struct alignas(64) Shard {
  std::mutex mutex;
  std::unordered_map<const void *, Slot *> slots;
};

/// The shard that knows an address. The shards are never destroyed: blocks may be freed by the last destructor to run.
Shard &ShardOf(const void *data) {
  constexpr int kShardBits = 6;
  alignas(Shard) static std::byte room[sizeof(Shard) << kShardBits];
  static Shard *const shards = new (room) Shard[std::size_t{1} << kShardBits];
  const auto address = static_cast<std::uint64_t>(reinterpret_cast<std::uintptr_t>(data));
  return shards[(address >> 6) * 0x9E3779B97F4A7C15u >> (64 - kShardBits)];
}

bool Register(Slot *slot) {
  try {
    Shard &shard = ShardOf(slot->data);
    const std::lock_guard lock(shard.mutex);
    shard.slots[slot->data] = slot;
    return true;
  } catch (const std::bad_alloc &) {
    return false;
  }
}

void Unregister(const void *data) {
  Shard &shard = ShardOf(data);
  const std::lock_guard lock(shard.mutex);
  shard.slots.erase(data);
}

// Size classes -------------------------------------------------------------------------------------------------------

// Two classes to each doubling: 64, 96, 128, 192, ... 65536 bytes.
constexpr std::size_t kSmallestClass = 64;
constexpr std::size_t kLargestClass = 65536;
constexpr int kClasses = 21;
constexpr int kNoClass = -1;

constexpr std::size_t ClassSize(int sizeClass) {
  return (kSmallestClass << sizeClass / 2) * (sizeClass % 2 ? 3 : 2) / 2;
}

/// The smallest class that holds `size` bytes (1 to kLargestClass).
constexpr int ClassOf(std::size_t size) {
  if (size <= kSmallestClass) return 0;
  const int doublings =
      static_cast<int>(std::bit_width((size - 1) / kSmallestClass));  // kSmallestClass << doublings holds it
  const bool lower = size <= ClassSize(2 * doublings - 1);
  return 2 * doublings - (lower ? 1 : 0);
}

static_assert(ClassSize(kClasses - 1) == kLargestClass && ClassOf(kLargestClass) == kClasses - 1);

/// How many freed blocks of a class a thread keeps: 256 KiB of them, within 4 to 32.
constexpr int MostWaiting(int sizeClass) {
  const std::size_t count = 4 * kLargestClass / ClassSize(sizeClass);
  return static_cast<int>(count < 4 ? 4 : count > 32 ? 32 : count);
}

// Blocks from the heap -----------------------------------------------------------------------------------------------

constexpr std::size_t kAlignment = 64;

// AddressSanitizer stops the program for sizes that the heap would merely refuse.
constexpr std::size_t kMostBytes = kAddressSanitizer ? std::size_t{1} << 39 : PTRDIFF_MAX - 2 * kAlignment;

constexpr std::size_t kHugePage = std::size_t{1} << 21;

/// Memory for a block that will be filled: in huge pages from its first byte on where it spans several, because
/// hundreds of small page faults cost as much as the fill. Not for cleared blocks, whose untouched pages are to cost
/// nothing.
void *AllocateFilled(std::size_t bytes) {
  if (kAddressSanitizer || bytes < 2 * kHugePage) return std::malloc(bytes);
  void *block = nullptr;
  if (posix_memalign(&block, kHugePage, bytes) != 0) return std::malloc(bytes);
  madvise(block, bytes / kHugePage * kHugePage, MADV_HUGEPAGE);
  return block;
}

/// Attaches `capacity` bytes from the heap to a slot. Under AddressSanitizer the block is exactly as large as asked
/// for, so that whoever writes past its end is caught.
bool AttachHeap(Slot *slot, std::size_t capacity, bool zero) {
  const std::size_t bytes = kAddressSanitizer ? capacity : capacity + kAlignment;
  slot->heap = zero ? std::calloc(bytes, 1) : AllocateFilled(bytes);
  if (!slot->heap) return false;
  const auto address = reinterpret_cast<std::uintptr_t>(slot->heap);
  const std::uintptr_t gap = kAddressSanitizer ? 0 : (0 - address) % kAlignment;
  slot->data = static_cast<unsigned char *>(slot->heap) + gap;
  if (Register(slot)) return true;
  std::free(slot->heap);
  return false;
}

/// Gives a slot's block back to the heap and the slot to the list of free ones.
void ReleaseSlot(Slot *slot) {
  if (slot->data) {
    Unregister(slot->data);
    std::free(slot->heap);
  }
  PushFreeSlot(slot);
}

/// A slot with a new block of `size` bytes, or of its class's size; null when memory is short.
Slot *NewBlock(std::size_t size, int sizeClass, bool zero) {
  Slot *slot = TakeSlot();
  if (!slot) return nullptr;
  slot->data = nullptr;
  slot->heap = nullptr;
  slot->sizeClass = sizeClass;
  if (size == 0 || AttachHeap(slot, sizeClass == kNoClass ? size : ClassSize(sizeClass), zero)) return slot;
  PushFreeSlot(slot);
  return nullptr;
}

// Waiting blocks of a thread -----------------------------------------------------------------------------------------

struct WaitingBlocks {
  Slot *first[kClasses] = {};
  int count[kClasses] = {};

  Slot *Pop(int sizeClass) {
    Slot *slot = first[sizeClass];
    if (!slot) return nullptr;
    first[sizeClass] = slot->next.load(std::memory_order_relaxed);
    --count[sizeClass];
    return slot;
  }

  bool Push(Slot *slot) {
    const int sizeClass = slot->sizeClass;
    if (count[sizeClass] >= MostWaiting(sizeClass)) return false;
    slot->next.store(first[sizeClass], std::memory_order_relaxed);
    first[sizeClass] = slot;
    ++count[sizeClass];
    return true;
  }
};

// Initial-exec, so that reaching it is one load also from the shared library.
__attribute__((tls_model("initial-exec"))) constinit thread_local WaitingBlocks *t_waiting = nullptr;
constinit thread_local bool t_threadEnds = false;

/// Returns a thread's waiting blocks when it ends. Destructors that run after it do without them.
struct WaitingOwner {
  std::unique_ptr<WaitingBlocks> blocks{new (std::nothrow) WaitingBlocks};

  WaitingOwner() { t_waiting = blocks.get(); }
  ~WaitingOwner() {
    t_waiting = nullptr;
    t_threadEnds = true;
    if (!blocks) return;
    for (int sizeClass = 0; sizeClass < kClasses; ++sizeClass) {
      while (Slot *slot = blocks->Pop(sizeClass)) ReleaseSlot(slot);
    }
  }
};

__attribute__((noinline)) WaitingBlocks *OpenWaiting() {
  if (t_threadEnds) return nullptr;
  thread_local const WaitingOwner owner;
  return owner.blocks.get();
}

/// The calling thread's waiting blocks; null when it ends or memory is short.
WaitingBlocks *Waiting() {
  return t_waiting ? t_waiting : OpenWaiting();
}

/// A slot with a block of a class, recycled or new.
Slot *TakeSmallBlock(std::size_t size, bool zero) {
  const int sizeClass = ClassOf(size);
  WaitingBlocks *waiting = Waiting();
  Slot *slot = waiting ? waiting->Pop(sizeClass) : nullptr;
  if (!slot) slot = NewBlock(size, sizeClass, false);
  if (slot && zero) std::memset(slot->data, 0, size);
  return slot;
}

}  // namespace

// Interface ----------------------------------------------------------------------------------------------------------

HGLOBAL GlobalAlloc(UINT nFlags, SIZE_T nBytes) {
  const bool zero = (nFlags & GMEM_ZEROINIT) != 0;
  const bool small = !kAddressSanitizer && nBytes != 0 && nBytes <= kLargestClass;
  // Large cleared blocks come from calloc, which leaves pages untouched that the system has cleared.
  Slot *slot = nBytes > kMostBytes ? nullptr : small ? TakeSmallBlock(nBytes, zero) : NewBlock(nBytes, kNoClass, zero);
  if (!slot) {
    SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    return nullptr;
  }
  slot->size = nBytes;
  slot->word.store(kInUse | std::uint64_t{nFlags & 0xFF} << kFlagShift, std::memory_order_release);
  return slot;
}

void *GlobalLock(HGLOBAL hMem) {
  std::uint64_t word;
  Slot *slot = SlotInUse(hMem, word);
  if (!slot || !slot->data) return nullptr;
  while (!slot->word.compare_exchange_weak(word, word + 1, std::memory_order_acq_rel)) {
    if (!(word & kInUse)) return nullptr;
  }
  return slot->data;
}

BOOL GlobalUnlock(HGLOBAL hMem) {
  std::uint64_t word;
  Slot *slot = SlotInUse(hMem, word);
  if (!slot) return FALSE;
  do {
    if (!(word & kInUse) || (word & kLockMask) == 0) return FALSE;
  } while (!slot->word.compare_exchange_weak(word, word - 1, std::memory_order_acq_rel));
  return (word & kLockMask) > 1;
}

HGLOBAL GlobalFree(HGLOBAL hMem) {
  std::uint64_t word;
  Slot *slot = SlotInUse(hMem, word);
  if (!slot) return hMem;
  // Whoever takes the word from in-use to 0 frees the block; of two threads only one does.
  if (!(slot->word.exchange(0, std::memory_order_acq_rel) & kInUse)) return hMem;
  WaitingBlocks *waiting = slot->sizeClass == kNoClass ? nullptr : Waiting();
  if (!waiting || !waiting->Push(slot)) ReleaseSlot(slot);
  return nullptr;
}

HGLOBAL GlobalHandle(const void *pMem) {
  if (!pMem) return nullptr;
  Shard &shard = ShardOf(pMem);
  const std::lock_guard lock(shard.mutex);
  const auto found = shard.slots.find(pMem);
  if (found == shard.slots.end()) return nullptr;
  const std::uint64_t word = found->second->word.load(std::memory_order_acquire);
  return (word & kInUse) && (word & kLockMask) ? found->second : nullptr;
}

SIZE_T GlobalSize(HGLOBAL hMem) {
  std::uint64_t word;
  const Slot *slot = SlotInUse(hMem, word);
  return slot ? slot->size : 0;
}

UINT GlobalFlags(HGLOBAL hMem) {
  constexpr UINT kInvalidHandle = 0x8000;
  std::uint64_t word;
  if (!SlotInUse(hMem, word)) return kInvalidHandle;
  const std::uint64_t locks = word & kLockMask;
  return static_cast<UINT>((word >> kFlagShift & 0xFF) << 8 | (locks < 255 ? locks : 255));
}

// The stores as tests want them: by kind, with a look at which pages are committed, and with a plain vector of bytes
// that does what every operation should do.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cstdint>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "qel/mem/mem_map_file.h"
#include "qel/mem/mirror_mem.h"
#include "qel/platform/kernel/global_memory.h"
#include "qel/platform/kernel/reserved_memory.h"

namespace test {

using Bytes = std::vector<unsigned char>;

enum class Kind { kGlobal, kReserved, kCommitted, kMapped, kMappedCommitted };
constexpr Kind kAllKinds[] = {Kind::kGlobal, Kind::kReserved, Kind::kCommitted, Kind::kMapped, Kind::kMappedCommitted};

/// Allocation flags of a kind; global memory is cleared, as the others are.
inline unsigned int FlagsOf(Kind kind) {
  if (kind == Kind::kGlobal) return GHND;
  return kind == Kind::kReserved || kind == Kind::kMapped ? MEM_RESERVE : MEM_COMMIT;
}

inline std::unique_ptr<PMem> MakeEmpty(Kind kind) {
  if (kind == Kind::kGlobal) return std::make_unique<PMem>();
  if (kind == Kind::kReserved || kind == Kind::kCommitted) return std::make_unique<PVirtualMem>();
  return std::make_unique<PMemMapFile>();
}

inline std::unique_ptr<PMem> Make(Kind kind, unsigned long size) {
  auto mem = MakeEmpty(kind);
  EXPECT_NE(mem->AllocMemory(FlagsOf(kind), size), nullptr);
  return mem;
}

inline Bytes RandomBytes(std::mt19937 &random, unsigned long count) {
  Bytes bytes(count);
  for (auto &b : bytes) b = static_cast<unsigned char>(random());
  return bytes;
}

/// The whole block.
inline Bytes Contents(PMem &mem) {
  Bytes bytes(mem.GetSize());
  EXPECT_EQ(mem.GetBlock(0, bytes.size(), bytes.data()), 1);
  return bytes;
}

/// Which pages of a reservation or view are committed.
inline std::vector<bool> CommittedPages(const PMem &mem) {
  std::vector<bool> pages;
  unsigned char *const base = mem.GetPointer();
  MEMORY_BASIC_INFORMATION run;
  for (unsigned long offset = 0;
       base != nullptr && VirtualQuery(base + offset, &run, sizeof run) == sizeof run && run.AllocationBase == base;
       offset += run.RegionSize)
    pages.insert(pages.end(), run.RegionSize / PMem::GetPageSize(), run.State == MEM_COMMIT);
  return pages;
}

// Random ranges ------------------------------------------------------------------------------------------------------

/// An offset: mostly inside the block, often at its edges, sometimes absurd.
inline unsigned long RandomOffset(std::mt19937 &random, unsigned long size) {
  switch (random() % 12) {
    case 0:
      return size;
    case 1:
      return size - 1;
    case 2:
      return size + random() % 5000;
    case 3:
      return ULONG_MAX - random() % 8;
    case 4:
      return 1UL << 63;
    case 5:
      return 0;
    default:
      return random() % size;
  }
}

/// A count of units: mostly small, often up to the end or past it, sometimes absurd.
inline unsigned long RandomCount(std::mt19937 &random, unsigned long size) {
  switch (random() % 10) {
    case 0:
      return 0;
    case 1:
      return size;
    case 2:
      return ULONG_MAX - random() % 3;
    case 3:
      return ULONG_MAX / 2 + random() % 3;
    case 4:
      return random() % (2 * size);
    default:
      return random() % (size / 4 + 2);
  }
}

inline long RandomStride(std::mt19937 &random, unsigned long size) {
  switch (random() % 10) {
    case 0:
      return 0;
    case 1:
      return LONG_MIN;
    case 2:
      return LONG_MAX;
    case 3:
      return static_cast<long>(random() % 9) - 4;
    case 4:
      return -static_cast<long>(random() % (size / 8 + 1));
    default:
      return static_cast<long>(random() % (size / 8 + 1));
  }
}

// The oracle ---------------------------------------------------------------------------------------------------------

/// Byte ranges that one operation touched: [low, high) as a whole, empty when none.
struct Touched {
  unsigned long low = 0, high = 0;
};

/// True when every unit of a strided range lies in [0, size).
inline bool UnitsFit(unsigned long size, unsigned long offset, unsigned long count, unsigned long unit, long stride) {
  if (count == 0) return true;
  if (count > 2 * size && stride != 0) return false;
  const __int128 last = static_cast<__int128>(offset) + static_cast<__int128>(count - 1) * stride;
  const __int128 low = std::min<__int128>(offset, last), high = std::max<__int128>(offset, last) + unit;
  return low >= 0 && high <= size;
}

/// Runs one random write on the block and on its model; the results must agree. Tells what was overwritten.
inline Touched WriteRandomly(std::mt19937 &random, PMem &mem, Bytes &model) {
  const unsigned long size = model.size();
  const unsigned long offset = RandomOffset(random, size);
  unsigned long count = RandomCount(random, size);
  const std::uint64_t value = std::uint64_t{random()} << 32 | random();
  static constexpr unsigned long kUnits[] = {1, 1, 2, 3, 4, 6};
  const unsigned kind = random() % 10;

  if (kind < 6) {  // fills
    const unsigned long unit = kUnits[kind];
    int result = 0;
    switch (kind) {
      case 0:
        result = mem.SetBlock(offset, count, static_cast<unsigned char>(value));
        break;
      case 1:
        result = mem.SetBlockBYTE(offset, count, static_cast<unsigned char>(value));
        break;
      case 2:
        result = mem.SetBlockWORD(offset, count, static_cast<unsigned short>(value));
        break;
      case 3:
        result = mem.SetBlockTRIO(offset, count, value);
        break;
      case 4:
        result = mem.SetBlockDWORD(offset, count, value);
        break;
      default:
        result = mem.SetBlockDLONG(offset, count, static_cast<long long>(value));
        break;
    }
    EXPECT_EQ(result, offset < size) << offset << ' ' << count;
    if (offset >= size) return {};
    count = std::min(count, (size - offset) / unit);
    for (unsigned long i = 0; i < count * unit; ++i)
      model[offset + i] = static_cast<unsigned char>(value >> 8 * (i % unit));
    return {offset, offset + count * unit};
  }

  if (kind == 6) {
    EXPECT_EQ(mem.PokeByte(offset, static_cast<unsigned char>(value)), offset < size);
    if (offset >= size) return {};
    model[offset] = static_cast<unsigned char>(value);
    return {offset, offset + 1};
  }

  if (kind == 7) {  // strided
    const unsigned long unit = 1 + random() % 9;
    const long stride = RandomStride(random, size);
    count = std::min(count, stride == 0 ? 100 : ULONG_MAX);
    const bool fits = UnitsFit(size, offset, count, unit, stride);
    Bytes line = RandomBytes(random, fits ? count * unit : 1);
    EXPECT_EQ(mem.PutSkipBlock(offset, count, unit, stride, line.data()), fits)
        << offset << ' ' << count << ' ' << unit << ' ' << stride;
    if (!fits || count == 0) return {};
    for (unsigned long i = 0; i < line.size(); ++i)
      model[offset + i / unit * static_cast<unsigned long>(stride) + i % unit] = line[i];
    const unsigned long last = offset + (count - 1) * static_cast<unsigned long>(stride);
    return {std::min(offset, last), std::max(offset, last) + unit};
  }

  // Blocks, from the caller's memory or from another block.
  Bytes line = RandomBytes(random, size);
  int result = 0;
  if (kind == 8) {
    result = mem.PutBlock(offset, count, line.data());
  } else {
    PMem other;
    other.AllocMemory(GMEM_MOVEABLE, size);
    other.PutBlock(0, size, line.data());
    if (count > size) {
      EXPECT_EQ(mem.CopyBlock(&other, offset, 0, count), 0);
      return {};
    }
    result = mem.CopyBlock(&other, offset, 0, count);
  }
  EXPECT_EQ(result, offset < size) << offset << ' ' << count;
  if (offset >= size) return {};
  count = std::min(count, size - offset);
  std::copy_n(line.begin(), count, model.begin() + static_cast<long>(offset));
  return {offset, offset + count};
}

/// Runs one random read on the block and checks it against its model, the bytes behind the destination included.
inline void ReadRandomly(std::mt19937 &random, PMem &mem, const Bytes &model) {
  const unsigned long size = model.size();
  const unsigned long offset = RandomOffset(random, size);
  unsigned long count = RandomCount(random, size);
  if (random() % 3 == 0) {
    EXPECT_EQ(mem.PeekByte(offset), offset < size ? model[offset] : 0);
    return;
  }
  const bool strided = random() % 2;
  const unsigned long unit = strided ? 1 + random() % 9 : 1;
  const long stride = strided ? RandomStride(random, size) : 1;
  const long step = unit == 2 || unit == 4 ? stride / static_cast<long>(unit) * static_cast<long>(unit) : stride;
  if (step == 0) count = std::min(count, 100UL);
  const bool fits = UnitsFit(size, offset, count, unit, step);
  Bytes line((fits ? count * unit : 0) + 8, 0x5A), expected = line;
  for (unsigned long i = 0; fits && i < count * unit; ++i)
    expected[i] = model[offset + i / unit * static_cast<unsigned long>(step) + i % unit];
  const int result =
      strided ? mem.GetSkipBlock(offset, count, unit, stride, line.data()) : mem.GetBlock(offset, count, line.data());
  EXPECT_EQ(result, fits) << offset << ' ' << count << ' ' << unit << ' ' << stride;
  EXPECT_EQ(line, expected);
}

}  // namespace test

// Runs of source pixels made from a zoom table.

#include "qel/geometry/rescale_runs.h"

#include <algorithm>

namespace qel::geometry {

namespace {

/// Writes the weights of one pixel after the other, pair by pair.
class RunWriter {
 public:
  RunWriter(const lines::Runs &runs, const RunsMemory &memory, long channels)
      : m_pairs(runs.pairs), m_channels(channels), m_memory(memory) {}

  void Begin(long i, long lStart) {
    m_memory.starts[i] = static_cast<std::uint32_t>(m_channels * lStart);
    m_p = m_memory.weights + i / lines::kGroup * lines::kGroup * m_pairs + i % lines::kGroup;
    m_bHigh = false;
  }

  void Add(int nWeight) {
    *m_p |= static_cast<std::uint32_t>(nWeight) << (m_bHigh ? 16 : 0);
    if (m_bHigh) m_p += lines::kGroup;
    m_bHigh = !m_bHigh;
  }

 private:
  long m_pairs, m_channels;
  const RunsMemory &m_memory;
  std::uint32_t *m_p = nullptr;
  bool m_bHigh = false;
};

}  // namespace

lines::Runs MakeRuns(const RunsMemory &memory, const ZoomTable &table, long n, long m, long channels) {
  lines::Runs runs{m, PairsOfRuns(n, m), memory.starts, memory.weights, memory.picks, 0, 0};
  RunWriter writer(runs, memory, channels);
  if (n < m) {
    runs.divisor = static_cast<std::uint32_t>(m);
    for (long i = 0, k = 0; i < m; ++i) {
      writer.Begin(i, k);
      writer.Add(table.weights1[i]);
      writer.Add(table.weights2[i]);
      if (table.map[i] != 0) ++k;
    }
  } else {
    runs.divisor = static_cast<std::uint32_t>(n);
    for (long i = 0, k = 0, entry = 0; i < m; ++i) {
      while (table.weights1[entry] == 0) k += table.map[entry++] == 0;  // both pixels ended together
      writer.Begin(i, k);
      for (bool bClosed = false; !bClosed; ++entry) {
        writer.Add(table.weights1[entry]);
        bClosed = table.map[entry] != 0;
        if (!bClosed) ++k;
      }
    }
  }
  runs.start = runs.divisor / 2;
  std::fill(memory.starts + m, memory.starts + (m + lines::kGroup - 1) / lines::kGroup * lines::kGroup, 0u);
  return runs;
}

}  // namespace qel::geometry

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

/// Walks a zoom-out table: begin(i, k) with destination pixel i and the first source pixel that weighs in it, then
/// add(weight) for each that does.
template <class Begin, class Add>
void WalkZoomOut(const ZoomTable &table, long m, Begin begin, Add add) {
  for (long i = 0, k = 0, entry = 0; i < m; ++i) {
    while (table.weights1[entry] == 0) k += table.map[entry++] == 0;  // both pixels ended together
    begin(i, k);
    for (bool bClosed = false; !bClosed; ++entry) {
      add(table.weights1[entry]);
      bClosed = table.map[entry] != 0;
      if (!bClosed) ++k;
    }
  }
}

}  // namespace

lines::Runs MakeRuns(const RunsMemory &memory, const ZoomTable &table, long n, long m, long channels) {
  const auto divisor = static_cast<std::uint32_t>(std::max(n, m));
  const lines::Runs runs{m, PairsOfRuns(n, m), memory.starts, memory.weights, memory.picks, divisor, divisor / 2};
  RunWriter writer(runs, memory, channels);
  if (n < m) {
    for (long i = 0, k = 0; i < m; ++i) {
      writer.Begin(i, k);
      writer.Add(table.weights1[i]);
      writer.Add(table.weights2[i]);
      if (table.map[i] != 0) ++k;
    }
  } else {
    WalkZoomOut(
        table, m, [&](long i, long k) { writer.Begin(i, k); }, [&](int nWeight) { writer.Add(nWeight); });
  }
  std::fill(memory.starts + m, memory.starts + WholeGroups(m), memory.starts[m - 1]);
  if (channels == 1) lines::SetPicks(memory.picks, memory.starts, WholeGroups(m));
  return runs;
}

lines::Spans MakeSpans(const SpansMemory &memory, const ZoomTable &table, long n, long m) {
  const auto weight = static_cast<std::uint32_t>(m), divisor = static_cast<std::uint32_t>(n);
  long lLast = 0;
  WalkZoomOut(
      table, m,
      [&](long i, long k) {
        lLast = i;
        memory.starts[i] = static_cast<std::uint32_t>(k);
        memory.lengths[i] = 0;
      },
      [&](int nWeight) {
        const std::uint32_t cut = weight - static_cast<std::uint32_t>(nWeight);
        if (memory.lengths[lLast]++ == 0) memory.cuts[0][lLast] = cut;
        memory.cuts[1][lLast] = cut;
      });
  return {m, memory.starts, memory.lengths, {memory.cuts[0], memory.cuts[1]}, weight, divisor, divisor / 2};
}

}  // namespace qel::geometry

// Runs of source pixels (lines/rescale.h) made from the zoom table of the columns: what the fast forms of a rescaled
// row read instead of the table.
#pragma once

#include "qel/lines/rescale.h"

namespace qel::geometry {

/// The zoom table of one direction; `weights2` is for zoom-in only.
struct ZoomTable {
  int *map;
  int *weights1;
  int *weights2;
};

/// Entries of the table of n source and m destination pixels; 0 when they are as many.
inline long TableEntries(long n, long m) {
  return n > m ? n + m - 1 : n < m ? m : 0;
}

/// Pairs of source pixels in the longest run.
inline long PairsOfRuns(long n, long m) {
  return n < m ? 1 : ((n % m == 0 ? n / m : n / m + 2) + 1) / 2;
}

inline long WholeGroups(long m) {
  return (m + lines::kGroup - 1) / lines::kGroup * lines::kGroup;
}

/// True when gray lines are better summed by spans than by runs.
inline bool AreSpansLong(long n, long m) {
  return n > 4 * m;
}

/// Where the runs of m pixels are made: room for m rounded up to whole groups, and for the weights of as many pairs.
struct RunsMemory {
  std::uint32_t *starts;
  std::uint32_t *weights;  // zeroed
  std::uint32_t *picks;    // gray lines only
};

/// The same for spans.
struct SpansMemory {
  std::uint32_t *starts;
  std::uint32_t *lengths;
  std::uint32_t *cuts[2];
};

/// Runs by the table of n source and m destination pixels of 1 or 3 bytes (m at most lines::kMaxWeight), rounding to
/// nearest.
lines::Runs MakeRuns(const RunsMemory &memory, const ZoomTable &table, long n, long m, long channels);

/// Spans of gray pixels by the zoom-out table of n source and m destination pixels, rounding to nearest.
lines::Spans MakeSpans(const SpansMemory &memory, const ZoomTable &table, long n, long m);

}  // namespace qel::geometry

// Rescaling of whole images. Gray levels and colours: every source row is resampled to the new width once, then rows
// are blended (enlarging) or averaged (reducing) down the columns, each direction on its own. Palettes: nearest
// neighbour, so that no other indices arise.

#include <algorithm>
#include <utility>

#include "qel/geometry/rescale_runs.h"
#include "qel/image/image.h"
#include "qel/lines/rescale.h"

int PQel::RescaleImage(PQel *pSource) {
  if (pSource == nullptr || IsEmpty() || pSource->IsEmpty()) return 0;
  const int nFrom = pSource->m_nImageType, nTo = m_nImageType;
  if (nFrom == nTo && pSource->GetImageWidth() == GetImageWidth() && pSource->m_lHeight == m_lHeight)
    return CopyImage(pSource);
  const bool bAdmitted = nFrom == nTo || nTo == 1 || (nTo == 5 && nFrom == 0);
  if (!bAdmitted || nTo < 0 || nTo > 9) return 0;
  return nTo == 2 || nTo == 3 ? xRescaleImageOther(pSource) : xRescaleImageInterpolation(pSource);
}

// Interpolation and area averages ------------------------------------------------------------------------------------

namespace {

namespace lines = qel::lines;
using qel::geometry::MakeRuns;
using qel::geometry::PairsOfRuns;
using qel::geometry::RunsMemory;
using qel::geometry::TableEntries;
using qel::geometry::ZoomTable;

struct Sizes {
  long width;
  long height;
  explicit Sizes(const PQel &image) : width(image.GetImageWidth()), height(image.GetImageHeight()) {}
};

/// Working memory of a rescaling in one zeroed block.
class Workspace {
 public:
  ZoomTable columns{};
  ZoomTable rows{};
  RunsMemory runs{};              // of the columns, when they are asked for
  unsigned char *source{};        // a source row
  unsigned char *resampled[2]{};  // two of them at the new width
  unsigned char *out{};           // a destination row
  std::uint32_t *sums{};          // of a destination row

  bool Alloc(const Sizes &from, const Sizes &to, bool bRuns) {
    xLayOut(from, to, bRuns);  // finds the size
    if (!m_memory.AllocMemory(GHND, m_dwUsed)) return false;
    xLayOut(from, to, bRuns);
    return true;
  }

 private:
  template <class T>
  void xTake(T *&p, long lCount) {
    if (!m_memory.IsEmpty()) p = reinterpret_cast<T *>(m_memory.GetPointer() + m_dwUsed);
    m_dwUsed += (static_cast<unsigned long>(lCount) * sizeof(T) + 15) / 16 * 16;
  }

  void xTake(ZoomTable &table, long n, long m) {
    const long lEntries = TableEntries(n, m);
    for (int **p : {&table.map, &table.weights1, &table.weights2}) xTake(*p, lEntries);
  }

  void xLayOut(const Sizes &from, const Sizes &to, bool bRuns) {
    m_dwUsed = 0;
    xTake(columns, from.width, to.width);
    xTake(rows, from.height, to.height);
    long lReadSlack = 0;
    if (bRuns) {
      const long lPixels = (to.width + lines::kGroup - 1) / lines::kGroup * lines::kGroup;
      const long lPairs = PairsOfRuns(from.width, to.width);
      xTake(runs.starts, lPixels);
      xTake(runs.picks, lPixels);
      xTake(runs.weights, lPixels * lPairs);
      lReadSlack = lines::ReadSlack(lPairs);
    }
    xTake(source, 3 * from.width + lReadSlack);
    for (unsigned char **p : {&resampled[0], &resampled[1], &out}) xTake(*p, 3 * to.width + lines::kWriteSlack);
    xTake(sums, 3 * to.width);
  }

  PMem m_memory;
  unsigned long m_dwUsed = 0;
};

/// True when the columns can be resampled by runs: both lines hold gray levels or both 24-bit pixels, and weights fit.
bool HasRuns(const PQel &source, const PQel &dest) {
  const long m = dest.GetImageWidth();
  if (source.GetImageWidth() == m || m > lines::kMaxWeight) return false;
  const int nType = source.GetImageType(), nBits = dest.GetBitCount();
  return nBits <= 8 ? nType == 0 || nType == 4 || nType == 5 : nBits == 24 || source.GetBitCount() > 8;
}

}  // namespace

int PQel::xRescaleImageInterpolation(PQel *pSource) {
  if (pSource == nullptr || IsEmpty() || pSource->IsEmpty()) return 0;
  const Sizes from(*pSource), to(*this);
  if (std::max(to.width < from.width ? from.width : 0, to.height < from.height ? from.height : 0) > lines::kMaxAveraged)
    return 0;  // sums of 32 bits would overflow

  Workspace work;
  bool bRuns = HasRuns(*pSource, *this);
  if (!work.Alloc(from, to, bRuns)) return 0;
  xBuildZoomTable(from.width, to.width, work.columns.map, work.columns.weights1, work.columns.weights2);
  xBuildZoomTable(from.height, to.height, work.rows.map, work.rows.weights1, work.rows.weights2);
  const int nBits = GetBitCount();
  const bool bGray = nBits <= 8;
  lines::Runs runs{};
  if (bRuns) runs = MakeRuns(work.runs, work.columns, from.width, to.width, bGray ? 1 : 3);
  if (bRuns && bGray) bRuns = lines::SetPicks(work.runs.picks, runs.starts, to.width);

  const auto Read = [&](long lRow, unsigned char *pLine) {
    if (!bRuns) {
      pSource->GetRescaleLine(to.width, lRow, pLine, work.columns.map, work.columns.weights1, work.columns.weights2,
                              nBits);
    } else if (lRow < from.height && bGray) {
      pSource->GetGrayHorLine(0, from.width - 1, lRow, work.source, nullptr);
      lines::SumRuns8(pLine, work.source, runs);
    } else if (lRow < from.height) {
      pSource->Get24bitHorLine(0, from.width - 1, lRow, work.source, nullptr);
      lines::SumRuns24(pLine, work.source, runs);
    }
  };
  const auto Store = [&](long lRow, unsigned char *pLine) {
    bGray ? PutGrayHorLine(0, to.width - 1, lRow, pLine) : Put24bitHorLine(0, to.width - 1, lRow, pLine);
  };
  const long lCount = bGray ? to.width : 3 * to.width;
  unsigned char *pA = work.resampled[0], *pB = work.resampled[1];
  const ZoomTable &rows = work.rows;

  if (from.height == to.height) {
    for (long y = to.height - 1; y >= 0; --y) {
      Read(y, pA);
      Store(y, pA);
    }
  } else if (from.height < to.height) {
    Read(0, pA);
    Read(1, pB);
    const long lWhole = (lCount + lines::kWriteSlack - 1) / lines::kWriteSlack * lines::kWriteSlack;  // whole vectors
    for (long y = 0, k = 0; y < to.height; ++y) {
      BlendLines(work.out, pA, pB, static_cast<std::int32_t>(to.height), rows.weights1[y], rows.weights2[y], lWhole);
      Store(y, work.out);
      if (rows.map[y] == 0) continue;
      Read(k++ + 2, pA);
      std::swap(pA, pB);
    }
  } else {
    Read(0, pA);
    for (long y = 0, k = 0, i = 0; y < to.height; ++i) {
      if (rows.weights1[i] != 0) AccumulateLine(work.sums, pA, lCount, rows.weights1[i]);
      if (rows.map[i] == 0) {
        Read(++k, pA);
        continue;
      }
      DivideLine(work.out, work.sums, lCount, static_cast<std::uint32_t>(from.height));
      std::fill_n(work.sums, lCount, 0u);
      Store(y++, work.out);
    }
  }
  return 1;
}

// Nearest neighbour --------------------------------------------------------------------------------------------------

int PQel::xRescaleImageOther(PQel *pSource) {
  if (pSource == nullptr || IsEmpty() || pSource->IsEmpty()) return 0;
  const long lSrcHeight = pSource->m_lHeight, lWidth = GetImageWidth();
  PMem line;
  const long lBytes = std::max(m_lLineBytes, 3 * lWidth);  // whatever the source is, its line fits
  if (!line.AllocMemory(GHND, static_cast<unsigned long>(lBytes))) return 0;
  for (long y = 0, lLast = -1; y < m_lHeight; ++y) {
    const long lRow = m_lHeight == 1 ? 0 : ((m_lHeight - 1) / 2 + y * (lSrcHeight - 1)) / (m_lHeight - 1);
    if (lRow != lLast)
      pSource->GetRescaleLine(lWidth, lRow, line.GetPointer(), nullptr, nullptr, nullptr, GetBitCount());
    lLast = lRow;
    PutHorLine(y, line.GetPointer());
  }
  return 1;
}

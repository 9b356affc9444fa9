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
using namespace qel::geometry;

struct Sizes {
  long width;
  long height;
  explicit Sizes(const PQel &image) : width(image.GetImageWidth()), height(image.GetImageHeight()) {}
};

/// How the columns are resampled.
enum class Columns { kByTable, kByRuns, kBySpans };

Columns ColumnsOf(const PQel &source, const PQel &dest) {
  const long n = source.GetImageWidth(), m = dest.GetImageWidth();
  const int nType = source.GetImageType(), nBits = dest.GetBitCount();
  const bool bGray = nBits <= 8;
  // both lines hold gray levels, or both 24-bit pixels
  const bool bAlike = bGray ? nType == 0 || nType == 4 || nType == 5 : nBits == 24 || source.GetBitCount() > 8;
  if (n == m || !bAlike) return Columns::kByTable;
  if (bGray && AreSpansLong(n, m)) return Columns::kBySpans;
  return m <= lines::kMaxWeight ? Columns::kByRuns : Columns::kByTable;
}

/// Working memory of a rescaling in one zeroed block.
class Workspace {
 public:
  ZoomTable columns{};
  ZoomTable rows{};
  RunsMemory runs{};  // of the columns: these or those
  SpansMemory spans{};
  unsigned char *source{};        // a source row
  unsigned char *resampled[2]{};  // two of them at the new width
  unsigned char *out{};           // a destination row
  std::uint32_t *sums{};          // of a destination row

  bool Alloc(const Sizes &from, const Sizes &to, Columns how) {
    xLayOut(from, to, how);  // finds the size
    if (!m_memory.AllocMemory(GHND, m_dwUsed)) return false;
    xLayOut(from, to, how);
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
    for (int **p : {&table.map, &table.weights1}) xTake(*p, lEntries);
    if (n < m) xTake(table.weights2, lEntries);
  }

  void xLayOut(const Sizes &from, const Sizes &to, Columns how) {
    m_dwUsed = 0;
    xTake(columns, from.width, to.width);
    xTake(rows, from.height, to.height);
    long lReadSlack = lines::ReadSlack(0);
    if (how == Columns::kByRuns) {
      const long lPixels = WholeGroups(to.width), lPairs = PairsOfRuns(from.width, to.width);
      xTake(runs.starts, lPixels);
      xTake(runs.picks, lPixels);
      xTake(runs.weights, lPixels * lPairs);
      lReadSlack = lines::ReadSlack(lPairs);
    } else if (how == Columns::kBySpans) {
      for (std::uint32_t **p : {&spans.starts, &spans.lengths, &spans.cuts[0], &spans.cuts[1]}) xTake(*p, to.width);
    }
    xTake(source, 3 * from.width + lReadSlack);
    for (unsigned char **p : {&resampled[0], &resampled[1], &out}) xTake(*p, 3 * to.width + lines::kWriteSlack);
    xTake(sums, 3 * to.width);
  }

  PMem m_memory;
  unsigned long m_dwUsed = 0;
};

/// Resamples the rows of one image into those of another, once the zoom tables are built.
class Resampling {
 public:
  Resampling(PQel &source, PQel &dest)
      : m_source(source),
        m_dest(dest),
        m_from(source),
        m_to(dest),
        m_columns(ColumnsOf(source, dest)),
        m_nBits(dest.GetBitCount()),
        m_bGray(m_nBits <= 8) {}

  /// False when the sums of 32 bits would overflow, or memory is short.
  bool Alloc() {
    const long lAveraged =
        std::max(m_to.width < m_from.width ? m_from.width : 0, m_to.height < m_from.height ? m_from.height : 0);
    return lAveraged <= lines::kMaxAveraged && m_work.Alloc(m_from, m_to, m_columns);
  }

  const Sizes &From() const { return m_from; }
  const Sizes &To() const { return m_to; }
  const ZoomTable &ColumnTable() const { return m_work.columns; }
  const ZoomTable &RowTable() const { return m_work.rows; }

  void Run() {
    const long n = m_from.width, m = m_to.width;
    if (m_columns == Columns::kByRuns) m_runs = MakeRuns(m_work.runs, m_work.columns, n, m, m_bGray ? 1 : 3);
    if (m_columns == Columns::kBySpans) m_spans = MakeSpans(m_work.spans, m_work.columns, n, m);
    if (m_from.height == m_to.height)
      xKeepRows();
    else if (m_from.height < m_to.height)
      xBlendRows();
    else
      xAverageRows();
  }

 private:
  /// Reads a source row at the new width; behind the last row nothing.
  void xRead(long lRow, unsigned char *pLine) {
    const ZoomTable &table = m_work.columns;
    if (m_columns == Columns::kByTable) {
      m_source.GetRescaleLine(m_to.width, lRow, pLine, table.map, table.weights1, table.weights2, m_nBits);
      return;
    }
    if (lRow >= m_from.height) return;
    if (m_bGray)
      m_source.GetGrayHorLine(0, m_from.width - 1, lRow, m_work.source, nullptr);
    else
      m_source.Get24bitHorLine(0, m_from.width - 1, lRow, m_work.source, nullptr);
    if (m_columns == Columns::kBySpans)
      lines::SumSpans(pLine, m_work.source, m_spans);
    else
      (m_bGray ? lines::SumRuns8 : lines::SumRuns24)(pLine, m_work.source, m_runs);
  }

  void xStore(long lRow, unsigned char *pLine) {
    if (m_bGray)
      m_dest.PutGrayHorLine(0, m_to.width - 1, lRow, pLine);
    else
      m_dest.Put24bitHorLine(0, m_to.width - 1, lRow, pLine);
  }

  long xValues() const { return m_bGray ? m_to.width : 3 * m_to.width; }

  void xKeepRows() {
    for (long y = m_to.height - 1; y >= 0; --y) {
      xRead(y, m_work.out);
      xStore(y, m_work.out);
    }
  }

  void xBlendRows() {
    const ZoomTable &rows = m_work.rows;
    const auto divisor = static_cast<std::int32_t>(m_to.height);
    const long lValues = (xValues() + lines::kWriteSlack - 1) / lines::kWriteSlack * lines::kWriteSlack;  // no tails
    unsigned char *pA = m_work.resampled[0], *pB = m_work.resampled[1];
    xRead(0, pA);
    xRead(1, pB);
    for (long y = 0, k = 0; y < m_to.height; ++y) {
      BlendLines(m_work.out, pA, pB, divisor, rows.weights1[y], rows.weights2[y], lValues);
      xStore(y, m_work.out);
      if (rows.map[y] == 0) continue;
      xRead(k++ + 2, pA);
      std::swap(pA, pB);
    }
  }

  void xAverageRows() {
    const ZoomTable &rows = m_work.rows;
    const auto divisor = static_cast<std::uint32_t>(m_from.height);
    unsigned char *const pLine = m_work.resampled[0];
    xRead(0, pLine);
    for (long y = 0, k = 0, i = 0; y < m_to.height; ++i) {
      if (rows.weights1[i] != 0) AccumulateLine(m_work.sums, pLine, xValues(), rows.weights1[i]);
      if (rows.map[i] == 0) {
        xRead(++k, pLine);
        continue;
      }
      DivideLine(m_work.out, m_work.sums, xValues(), divisor);
      std::fill_n(m_work.sums, xValues(), 0u);
      xStore(y++, m_work.out);
    }
  }

  PQel &m_source, &m_dest;
  Sizes m_from, m_to;
  Columns m_columns;
  int m_nBits;
  bool m_bGray;
  Workspace m_work;
  lines::Runs m_runs{};
  lines::Spans m_spans{};
};

}  // namespace

int PQel::xRescaleImageInterpolation(PQel *pSource) {
  if (pSource == nullptr || IsEmpty() || pSource->IsEmpty()) return 0;
  Resampling work(*pSource, *this);
  if (!work.Alloc()) return 0;
  const ZoomTable &columns = work.ColumnTable(), &rows = work.RowTable();
  xBuildZoomTable(work.From().width, work.To().width, columns.map, columns.weights1, columns.weights2);
  xBuildZoomTable(work.From().height, work.To().height, rows.map, rows.weights1, rows.weights2);
  work.Run();
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

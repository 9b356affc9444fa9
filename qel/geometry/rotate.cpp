// Free rotation by point samples.
//
// The source is turned about its centre: every pixel of the result is the average of N x N points, each of which shows
// the source pixel that it falls into. Along a row the points move on by equal steps; the sums of these steps decide,
// to the last bit, which pixel a point near an edge shows, so they are added in one order everywhere.

#include <algorithm>
#include <cmath>

#include "qel/image/image.h"
#include "qel/lines/convert.h"
#include "qel/lines/gaussian.h"
#include "qel/lines/rescale.h"
#include "qel/lines/sample.h"

namespace {

/// How a source is turned, and where the turned picture lies.
struct Turn {
  double cos, sin;
  long left = 0, top = 0, right = 0, bottom = 0;  // box of the result around the centre
  long centreX, centreY;

  Turn(int nAngle, long lWidth, long lHeight) : centreX((lWidth + 1) / 2), centreY((lHeight + 1) / 2) {
    const double theta = nAngle * 0.017453292519944444;
    sin = std::sin(theta);
    cos = std::cos(theta);
    for (const long x : {-centreX, lWidth - centreX})
      for (const long y : {-centreY, lHeight - centreY}) Include(static_cast<double>(x), static_cast<double>(y));
  }

  void Include(double x, double y) {
    const long lX = std::lround(x * cos + y * sin), lY = std::lround(x * sin + y * cos);
    left = std::min(left, lX), right = std::max(right, lX);
    top = std::min(top, lY), bottom = std::max(bottom, lY);
  }
};

}  // namespace

// The job ------------------------------------------------------------------------------------------------------------

namespace {

using qel::lines::kWalks;
using qel::lines::SampleGrid;
using qel::lines::SampleWalks;

/// What every form of the rotation shares.
struct RotateJob {
  PQel *source;
  PQel *target;
  Turn turn;
  long samples;  // a pixel and direction
  int channels;
  unsigned long background;  // 0x00RRGGBB or the gray level
  bool clamp;                // edge pixels instead of the background

  /// The width of a frame of background around the source.
  long Margin() const { return clamp ? 0 : 1; }

  /// The source and its frame.
  SampleGrid Grid() const {
    const long m = Margin(), lWidth = source->GetImageWidth(), lHeight = source->GetImageHeight();
    return {-turn.centreX - m, lWidth - 1 - turn.centreX + m, -turn.centreY - m, lHeight - 1 - turn.centreY + m,
            lWidth + 2 * m};
  }
};

/// Starts a walk at the left edge of the result.
void StartWalk(const RotateJob &job, long lRow, long lSubRow, SampleWalks &walks, long k) {
  const double n = static_cast<double>(job.samples);
  const double X = static_cast<double>(job.turn.left) + 0.5 / n;
  const double Y = static_cast<double>(job.turn.top + lRow) + (static_cast<double>(lSubRow) + 0.5) / n;
  walks.x[k] = X * job.turn.cos - Y * job.turn.sin;
  walks.y[k] = X * job.turn.sin + Y * job.turn.cos;
  walks.stepX = job.turn.cos / n;
  walks.stepY = job.turn.sin / n;
}

}  // namespace

// Pixel by pixel -----------------------------------------------------------------------------------------------------

namespace {

/// The pixels of the source one by one; the pixel read last is remembered.
class PixelReader {
 public:
  explicit PixelReader(const RotateJob &job) : m_job(job), m_grid(job.Grid()), m_dwPixel(Read(0, 0)) {}

  /// The value of a pixel by its number.
  unsigned long operator[](long lNumber) {
    const long lPlace = lNumber - m_grid.top * m_grid.stride - m_grid.left;
    const long x = lPlace % m_grid.stride - m_job.Margin(), y = lPlace / m_grid.stride - m_job.Margin();
    if (x < 0 || y < 0 || x >= m_job.source->GetImageWidth() || y >= m_job.source->GetImageHeight())
      return m_job.background;
    if (x != m_lX || y != m_lY) {
      m_lX = x;
      m_lY = y;
      m_dwPixel = Read(x, y);
    }
    return m_dwPixel;
  }

 private:
  unsigned long Read(long x, long y) const {
    long long llDeep = 0;
    return m_job.channels == 3 ? m_job.source->GetPixelBGR(x, y) : m_job.source->GetPixel(x, y, &llDeep);
  }

  const RotateJob &m_job;
  SampleGrid m_grid;
  long m_lX = 0, m_lY = 0;
  unsigned long m_dwPixel;
};

/// Reads pixel by pixel: the way that repeating images and hooks want, and that every source can go.
int RotateByPixels(const RotateJob &job) {
  const long lSums = job.target->GetImageWidth() * job.channels;
  PMem sumLine, numberLine, row;
  auto *const pdwSums = reinterpret_cast<std::uint32_t *>(
      sumLine.AllocMemory(GMEM_MOVEABLE, static_cast<unsigned long>(lSums) * sizeof(std::uint32_t)));
  auto *const pllNumbers = reinterpret_cast<std::int64_t *>(
      numberLine.AllocMemory(GMEM_MOVEABLE, static_cast<unsigned long>(job.samples) * sizeof(std::int64_t)));
  unsigned char *const pRow = row.AllocMemory(GHND, static_cast<unsigned long>(job.target->GetLineBytes()));
  if (pdwSums == nullptr || pllNumbers == nullptr || pRow == nullptr) return 0;

  const SampleGrid grid = job.Grid();
  PixelReader pixels(job);
  for (long r = 0; r < job.target->GetImageHeight(); ++r) {
    std::fill_n(pdwSums, lSums, 0U);
    for (long s = 0; s < job.samples; ++s) {
      SampleWalks walks;
      StartWalk(job, r, s, walks, 0);
      for (long c = 0; c < lSums; c += job.channels) {
        qel::lines::FindSamplesOfOne(pllNumbers, walks, grid, job.samples);
        for (long j = 0; j < job.samples; ++j) {
          const unsigned long v = pixels[pllNumbers[j]];
          if (job.channels == 1) {
            pdwSums[c] += static_cast<std::uint32_t>(v);
          } else {
            for (int k = 0; k < 3; ++k) pdwSums[c + k] += v >> 8 * k & 0xFF;
          }
        }
      }
    }
    DivideLine(pRow, pdwSums, lSums, static_cast<std::uint32_t>(job.samples * job.samples));
    if (!job.target->PutHorLine(r, pRow)) return 0;
  }
  return 1;
}

}  // namespace

// From a plane -------------------------------------------------------------------------------------------------------

namespace {

/// All pixels of the source as 24-bit pixels or bytes, in a frame of background.
class Plane {
 public:
  /// False when there is no memory for the plane, or the source has values that do not fit into it.
  bool Fill(const RotateJob &job, const RGBQUAD *pTable) {
    constexpr long kMostAcross = 1L << 28, kMostPixels = (1L << 31) - 1;
    const long lWidth = job.source->GetImageWidth(), lHeight = job.source->GetImageHeight(), m = job.Margin();
    if (job.channels == 1 && job.source->GetBitCount() > 8) return false;
    const long lAcross = lWidth + 2 * m, lRows = lHeight + 2 * m;
    if (std::max(lAcross, lRows) > kMostAcross || lAcross > kMostPixels / lRows) return false;
    const long lStride = lAcross * job.channels;
    unsigned char *p = m_memory.AllocMemory(GMEM_MOVEABLE, static_cast<unsigned long>(lStride * lRows + 1));
    PMem line;
    unsigned char *const pLine =
        line.AllocMemory(GMEM_MOVEABLE, static_cast<unsigned long>(job.source->GetLineBytes() + 1));
    if (p == nullptr || pLine == nullptr) return false;
    m_pCentre = p + (job.turn.centreY + m) * lStride + (job.turn.centreX + m) * job.channels;

    const unsigned char background[3] = {static_cast<unsigned char>(job.background),
                                         static_cast<unsigned char>(job.background >> 8),
                                         static_cast<unsigned char>(job.background >> 16)};
    const auto frame = [&](unsigned char *pAt, long lCount) {
      qel::lines::RepeatPixel(pAt, background, job.channels, lCount);
      return pAt + lCount * job.channels;
    };
    p = frame(p, m * lAcross);
    for (long y = 0; y < lHeight; ++y) {
      p = frame(p, m);
      if (!ReadRow(job, pTable, y, p, pLine)) return false;
      p = frame(p + lWidth * job.channels, m);
    }
    frame(p, m * lAcross);
    return true;
  }

  /// The pixel of point (0, 0).
  const unsigned char *Centre() const { return m_pCentre; }

 private:
  /// A row as the single pixels read: 48-bit pixels by their high bytes, gray ones through their table, gray levels as
  /// the raw values.
  static bool ReadRow(const RotateJob &job, const RGBQUAD *pTable, long y, unsigned char *pDst, unsigned char *pLine) {
    namespace lines = qel::lines;
    const long n = job.source->GetImageWidth();
    const int nBits = job.source->GetBitCount();
    if (job.channels == 3 && nBits != 8 && nBits != 48) return job.source->Get24bitHorLine(0, n - 1, y, pDst, nullptr);
    if (!job.source->GetHorLine(0, n - 1, y, pLine)) return false;
    if (nBits == 48)
      lines::Rgb48To24(pDst, pLine + 1, n);
    else if (job.channels == 3)
      lines::BytesTo24(pDst, pLine, n, pTable);
    else
      lines::UnpackValues(pDst, pLine, n, nBits);
    return true;
  }

  PMem m_memory;
  unsigned char *m_pCentre = nullptr;
};

/// Rows that are turned together, as many as the walks hold.
class PlaneRotation {
 public:
  explicit PlaneRotation(const RotateJob &job)
      : m_job(job),
        m_grid(job.Grid()),
        m_lWidth(job.target->GetImageWidth()),
        m_lBytes(m_lWidth * job.channels),
        m_lSubRows(std::min<long>(job.samples, kWalks)),
        m_lRows(kWalks / m_lSubRows) {}

  int Run(const RGBQUAD *pTable) {
    if (!Alloc() || !m_plane.Fill(m_job, pTable)) return 0;
    const long lHeight = m_job.target->GetImageHeight();
    for (long r = 0; r < lHeight; r += m_lRows) {
      if (m_job.samples > 1) std::fill_n(m_pdwSums, m_lRows * m_lBytes, 0U);
      for (long s = 0; s < m_job.samples; s += m_lSubRows) Walk(r, s);
      for (long i = 0; i < std::min(m_lRows, lHeight - r); ++i)
        if (!Put(r + i, i)) return 0;
    }
    return 1;
  }

 private:
  static constexpr long kPoints = 256;  // of each walk that are looked up together; the numbers stay in the cache

  bool Alloc() {
    m_lRowBytes = m_job.target->GetLineBytes() + 4;
    if (m_job.samples > 1) {
      m_pdwSums = reinterpret_cast<std::uint32_t *>(
          m_sums.AllocMemory(GMEM_MOVEABLE, static_cast<unsigned long>(m_lRows * m_lBytes) * sizeof(std::uint32_t)));
      if (m_pdwSums == nullptr) return false;
    }
    m_pRows = m_rows.AllocMemory(GHND, static_cast<unsigned long>(m_lRows * m_lRowBytes));
    return m_pRows != nullptr;
  }

  unsigned char *Row(long i) const { return m_pRows + i * m_lRowBytes; }

  /// Walks along sub-rows lSubRow .. of the rows from lRow on.
  void Walk(long lRow, long lSubRow) {
    SampleWalks walks;
    const long lSubRows = std::min(m_lSubRows, m_job.samples - lSubRow), lUsed = m_lRows * m_lSubRows;
    for (long k = 0; k < kWalks; ++k)  // walks that are left over go where others go
      StartWalk(m_job, lRow + k % lUsed / m_lSubRows, lSubRow + k % lUsed % m_lSubRows, walks, k);

    std::int32_t numbers[kPoints * kWalks];
    const long lAtOnce = kPoints / m_job.samples;
    for (long c = 0; c < m_lWidth; c += lAtOnce) {
      const long lCount = std::min(lAtOnce, m_lWidth - c);
      qel::lines::FindSamples(numbers, walks, m_grid, lCount * m_job.samples);
      for (long i = 0; i < m_lRows; ++i) {
        const long lAt = c * m_job.channels;
        if (m_job.samples == 1)
          qel::lines::CopySamples(Row(i) + lAt, m_plane.Centre(), numbers + i, lCount, m_job.channels);
        else
          qel::lines::AddSamples(m_pdwSums + i * m_lBytes + lAt, m_plane.Centre(), numbers + i * m_lSubRows, lCount,
                                 m_job.samples, lSubRows, m_job.channels);
      }
    }
  }

  int Put(long lRow, long i) {
    if (m_job.samples > 1)
      DivideLine(Row(i), m_pdwSums + i * m_lBytes, m_lBytes, static_cast<std::uint32_t>(m_job.samples * m_job.samples));
    return m_job.target->PutHorLine(lRow, Row(i));
  }

  const RotateJob &m_job;
  SampleGrid m_grid;
  long m_lWidth;
  long m_lBytes;    // of a row
  long m_lSubRows;  // of a row that are walked along together
  long m_lRows;
  long m_lRowBytes = 0;  // between rows in memory
  Plane m_plane;
  PMem m_sums, m_rows;
  std::uint32_t *m_pdwSums = nullptr;
  unsigned char *m_pRows = nullptr;
};

/// A source, and what its class alone knows.
struct RotateSource {
  PQel *image;
  bool isWatched;         // it repeats or has a hook: its pixels are to be read one by one
  const RGBQUAD *pTable;  // colour table
};

/// The three forms of the rotation.
struct RotateForm {
  int channels;
  unsigned long background;
  bool clamp;
};

/// Makes the result in `pTarget`, another image than the source.
int Rotate(PQel *pTarget, const RotateSource &source, int nAngle, int nSample, const RotateForm &form) {
  PQel *const pSource = source.image;
  pTarget->DeleteImage(1);
  if (nAngle % 360 == 0) return pTarget->GenerateImage(pSource, 15, 0, 0);
  const RotateJob job = {pSource,
                         pTarget,
                         Turn(nAngle, pSource->GetImageWidth(), pSource->GetImageHeight()),
                         std::clamp(nSample, 1, 256),
                         form.channels,
                         form.background,
                         form.clamp};
  if (!pTarget->CreateImage(form.channels == 3 ? 1 : 5, job.turn.right - job.turn.left, job.turn.bottom - job.turn.top,
                            0, nullptr, static_cast<unsigned long>(pSource->GetDpmX()),
                            static_cast<unsigned long>(pSource->GetDpmY()), 15, 0, 0))
    return 0;
  if (!source.isWatched && PlaneRotation(job).Run(source.pTable)) return 1;
  if (RotateByPixels(job)) return 1;  // also when there is no memory for a plane
  pTarget->DeleteImage(1);
  return 0;
}

/// 0x00RRGGBB of a colour reference.
unsigned long PixelOf(unsigned long dwColorRef) {
  return (dwColorRef & 0xFF) << 16 | (dwColorRef & 0xFF00) | (dwColorRef >> 16 & 0xFF);
}

}  // namespace

// Forms --------------------------------------------------------------------------------------------------------------

int PQel::Rotate24bitImage(PQel *pSource, int nAngle, int nSample, unsigned long dwBackground) {
  if (pSource == nullptr || pSource == this) return 0;
  const bool bWatched = pSource->m_bRepeat || pSource->m_pfnHook != nullptr;
  return Rotate(this, {pSource, bWatched, pSource->m_pRGBQuad}, nAngle, nSample, {3, PixelOf(dwBackground), false});
}

int PQel::Rotate24bitImage(PQel *pSource, int nAngle, int nSample) {
  if (pSource == nullptr || pSource == this) return 0;
  const bool bWatched = pSource->m_bRepeat || pSource->m_pfnHook != nullptr;
  return Rotate(this, {pSource, bWatched, pSource->m_pRGBQuad}, nAngle, nSample, {3, 0, true});
}

int PQel::RotateGrayImage(PQel *pSource, int nAngle, int nSample, unsigned long dwBackground) {
  if (pSource == nullptr || pSource == this) return 0;
  const bool bWatched = pSource->m_bRepeat || pSource->m_pfnHook != nullptr;
  return Rotate(this, {pSource, bWatched, pSource->m_pRGBQuad}, nAngle, nSample, {1, dwBackground & 0xFF, false});
}

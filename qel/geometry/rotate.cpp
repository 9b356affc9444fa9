// Free rotation by point samples.
//
// The source is turned about its centre: every pixel of the result is the average of N x N points, each of which shows
// the source pixel that it falls into. Along a row the points move on by equal steps; the sums of these steps decide,
// to the last bit, which pixel a point near an edge shows, so they are added in one order everywhere.

#include <algorithm>
#include <cmath>

#include "qel/image/image.h"
#include "qel/lines/convert.h"
#include "qel/lines/pixels.h"
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

using qel::lines::kOutside;
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

  /// The source's pixels, when they lie as told.
  SampleGrid Grid(long lRowBytes, long lPixelBytes) const {
    return {-turn.centreX, source->GetImageWidth() - 1 - turn.centreX,
            -turn.centreY, source->GetImageHeight() - 1 - turn.centreY,
            lRowBytes,     lPixelBytes,
            clamp};
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
  explicit PixelReader(const RotateJob &job) : m_job(job), m_lWidth(job.source->GetImageWidth()), m_dwPixel(Read(0)) {}

  /// The value of a pixel by its number from the top left one on.
  unsigned long operator[](long lNumber) {
    if (lNumber != m_lNumber) m_dwPixel = Read(m_lNumber = lNumber);
    return m_dwPixel;
  }

 private:
  unsigned long Read(long lNumber) const {
    const long x = lNumber % m_lWidth, y = lNumber / m_lWidth;
    long long llDeep = 0;
    return m_job.channels == 3 ? m_job.source->GetPixelBGR(x, y) : m_job.source->GetPixel(x, y, &llDeep);
  }

  const RotateJob &m_job;
  long m_lWidth;
  long m_lNumber = 0;
  unsigned long m_dwPixel;
};

/// Reads pixel by pixel: the way that repeating images and hooks want, and that every source can go.
int RotateByPixels(const RotateJob &job) {
  const long lSums = job.target->GetImageWidth() * job.channels;
  PMem sumLine, placeLine, row;
  auto *const pdwSums = reinterpret_cast<std::uint32_t *>(
      sumLine.AllocMemory(GMEM_MOVEABLE, static_cast<unsigned long>(lSums) * sizeof(std::uint32_t)));
  auto *const pllPlaces = reinterpret_cast<std::int64_t *>(
      placeLine.AllocMemory(GMEM_MOVEABLE, static_cast<unsigned long>(job.samples) * sizeof(std::int64_t)));
  unsigned char *const pRow = row.AllocMemory(GHND, static_cast<unsigned long>(job.target->GetLineBytes()));
  if (pdwSums == nullptr || pllPlaces == nullptr || pRow == nullptr) return 0;

  const long lWidth = job.source->GetImageWidth(), lCentre = job.turn.centreY * lWidth + job.turn.centreX;
  const SampleGrid grid = job.Grid(lWidth, 1);
  PixelReader pixels(job);
  for (long r = 0; r < job.target->GetImageHeight(); ++r) {
    std::fill_n(pdwSums, lSums, 0U);
    for (long s = 0; s < job.samples; ++s) {
      SampleWalks walks;
      StartWalk(job, r, s, walks, 0);
      for (long c = 0; c < lSums; c += job.channels) {
        qel::lines::FindSamplesOfOne(pllPlaces, walks, grid, job.samples);
        std::transform(pllPlaces, pllPlaces + job.samples, pllPlaces, [&](std::int64_t place) {
          const bool bOutside = place == kOutside<std::int64_t>;
          return static_cast<std::int64_t>(bOutside ? job.background : pixels[lCentre + place]);
        });
        qel::lines::AddSampleValues(pdwSums + c, pllPlaces, job.samples, job.channels);
      }
    }
    DivideLine(pRow, pdwSums, lSums, static_cast<std::uint32_t>(job.samples * job.samples));
    if (!job.target->PutHorLine(r, pRow)) return 0;
  }
  return 1;
}

}  // namespace

// From memory --------------------------------------------------------------------------------------------------------

namespace {

/// A source and where it lies.
struct RotateSource {
  PQel *image;
  bool isWatched;                          // it repeats or has a hook: its pixels are to be read one by one
  const RGBQUAD *pTable;                   // colour table
  const unsigned char *pPixels = nullptr;  // its top row, when all rows lie one by one in memory that can be read
  long lRowBytes = 0;                      // from row to row; negative when the bottom row comes first

  RotateSource(PQel *pImage, const RGBQUAD *pColors)
      : image(pImage), isWatched(pImage->GetHookProc() != nullptr || pImage->IsEnableRepeat()), pTable(pColors) {
    pPixels = pImage->xGetStoredRows(&lRowBytes);
  }
};

/// The source's pixels where samples can be taken from: in its own store, or in a copy as 24-bit pixels or bytes.
class Plane {
 public:
  /// False when there is no memory for a copy, or the source has values or a size that the samples cannot have.
  bool Open(const RotateJob &job, const RotateSource &source) {
    constexpr long kMostAcross = 1L << 28, kMostBytes = (1L << 31) - 1;
    const long lWidth = source.image->GetImageWidth(), lHeight = source.image->GetImageHeight();
    const int nBits = source.image->GetBitCount();
    if (job.channels == 1 && nBits > 8) return false;
    const bool bAsItIs = source.pPixels != nullptr && (job.channels == 1 ? nBits == 8 : nBits == 24 || nBits == 32);
    const long lPixelBytes = bAsItIs ? nBits / 8 : job.channels;
    const long lRowBytes = bAsItIs ? source.lRowBytes : lWidth * lPixelBytes;
    if (std::max(lWidth, lHeight) > kMostAcross || std::abs(lRowBytes) > kMostBytes / lHeight) return false;
    const unsigned char *const pTop = bAsItIs ? source.pPixels : Copy(job, source, lRowBytes);
    if (pTop == nullptr) return false;
    grid = job.Grid(lRowBytes, lPixelBytes);
    pixels = {pTop + job.turn.centreY * lRowBytes + job.turn.centreX * lPixelBytes, job.channels,
              static_cast<std::uint32_t>(job.background)};
    return true;
  }

  SampleGrid grid;
  qel::lines::SamplePixels pixels;

 private:
  const unsigned char *Copy(const RotateJob &job, const RotateSource &source, long lRowBytes) {
    const long lHeight = source.image->GetImageHeight();
    PMem line;
    unsigned char *const pLine =
        line.AllocMemory(GMEM_MOVEABLE, static_cast<unsigned long>(source.image->GetLineBytes() + 1));
    unsigned char *const p =
        m_memory.AllocMemory(GMEM_MOVEABLE, static_cast<unsigned long>(lRowBytes * lHeight + kBefore));
    if (p == nullptr || pLine == nullptr) return nullptr;
    for (long y = 0; y < lHeight; ++y)
      if (!CopyRow(job, source, y, p + kBefore + y * lRowBytes, pLine)) return nullptr;
    return p + kBefore;
  }

  /// A row as the single pixels read: 48-bit pixels by their high bytes, 8-bit ones through their table whatever their
  /// type, levels as raw values.
  static bool CopyRow(const RotateJob &job, const RotateSource &source, long y, unsigned char *pDst,
                      unsigned char *pLine) {
    namespace lines = qel::lines;
    const long n = source.image->GetImageWidth();
    const int nBits = source.image->GetBitCount();
    if (job.channels == 3 && nBits != 8 && nBits != 48)
      return source.image->Get24bitHorLine(0, n - 1, y, pDst, nullptr);
    if (!source.image->GetHorLine(0, n - 1, y, pLine)) return false;
    if (nBits == 48)
      lines::Rgb48To24(pDst, pLine + 1, n);
    else if (job.channels == 3)
      lines::BytesTo24(pDst, pLine, n, source.pTable);
    else
      lines::UnpackIndices(pDst, pLine, nBits, n);
    return true;
  }

  static constexpr long kBefore = 4;  // a byte before the first pixel is read
  PMem m_memory;
};

/// Turns as many rows together as the walks hold; a row of more sub-rows than walks takes several batches of them.
class PlaneRotation {
 public:
  explicit PlaneRotation(const RotateJob &job)
      : m_job(job),
        m_lSamples(job.samples),
        m_lWidth(job.target->GetImageWidth()),
        m_lSubRows(std::min<long>(job.samples, kWalks)),
        m_lRows(kWalks / m_lSubRows),
        m_lBatches((job.samples + kWalks - 1) / kWalks),
        m_lRowBytes(job.target->GetLineBytes() + 4) {}

  int Run(const RotateSource &source) {
    if (!m_rows.AllocMemory(GHND, static_cast<unsigned long>(m_lRows * m_lRowBytes))) return 0;
    if (!m_plane.Open(m_job, source)) return 0;
    const long lHeight = m_job.target->GetImageHeight(), lAtOnce = kPoints / m_lSamples;
    for (long r = 0; r < lHeight; r += m_lRows) {
      for (long b = 0; b < m_lBatches; ++b) StartWalks(r, b);
      for (long c = 0; c < m_lWidth; c += lAtOnce) MakePixels(c, std::min(lAtOnce, m_lWidth - c));
      for (long i = 0; i < std::min(m_lRows, lHeight - r); ++i)
        if (!m_job.target->PutHorLine(r + i, Row(i))) return 0;
    }
    return 1;
  }

 private:
  static constexpr long kPoints = 256;  // of each walk that are looked up together; their places stay in the cache
  static constexpr long kMostBatches = 256 / kWalks;

  /// The walks along the sub-rows of the rows from lRow on; those that are left over go where others go.
  void StartWalks(long lRow, long lBatch) {
    const long lUsed = m_lRows * m_lSubRows;
    for (long k = 0; k < kWalks; ++k)
      StartWalk(m_job, lRow + k % lUsed / m_lSubRows, lBatch * kWalks + k % lUsed % m_lSubRows, m_walks[lBatch], k);
  }

  /// True when each walk stays on one side of the source for its next points, so clearly that no rounding matters.
  bool IsFarOutside(const SampleWalks &walks, long lCount) const {
    constexpr double kMargin = 2;
    const SampleGrid &grid = m_plane.grid;
    const auto isBeside = [lCount](double v, double step, long first, long last) {
      const double end = v + step * static_cast<double>(lCount);
      return std::max(v, end) < static_cast<double>(first) - kMargin ||
             std::min(v, end) > static_cast<double>(last) + kMargin;
    };
    for (int k = 0; k < kWalks; ++k)
      if (!isBeside(walks.x[k], walks.stepX, grid.left, grid.right) &&
          !isBeside(walks.y[k], walks.stepY, grid.top, grid.bottom))
        return false;
    return !m_job.clamp;
  }

  /// The next lCount pixels of all rows.
  void MakePixels(long c, long lCount) {
    namespace lines = qel::lines;
    const long lPoints = lCount * m_lSamples, lAt = c * m_job.channels;
    if (m_lBatches > 1) return AddPixels(Row(0) + lAt, lCount);
    if (IsFarOutside(m_walks[0], lPoints)) {
      lines::SkipSamples(m_walks[0], lPoints);
      for (long i = 0; i < m_lRows; ++i) lines::FillBackground(Row(i) + lAt, m_plane.pixels, lCount);
      return;
    }
    std::int32_t places[kPoints * kWalks];
    const bool bAll = lines::FindSamples(places, m_walks[0], m_plane.grid, lPoints);
    for (long i = 0; i < m_lRows; ++i) {
      if (m_lSamples == 1)
        lines::CopySamples(Row(i) + lAt, m_plane.pixels, places + i, lCount, bAll);
      else
        lines::AverageSamples(Row(i) + lAt, m_plane.pixels, places + i * m_lSubRows, lCount, m_lSamples, bAll);
    }
  }

  /// The next lCount pixels of one row, batch by batch.
  void AddPixels(unsigned char *pRow, long lCount) {
    namespace lines = qel::lines;
    const long lPoints = lCount * m_lSamples;
    std::int32_t places[kPoints * kWalks];
    std::uint32_t sums[kPoints / kWalks * 3] = {};
    for (long b = 0; b < m_lBatches; ++b) {
      const long lWalks = std::min<long>(kWalks, m_lSamples - b * kWalks);
      const bool bAll = lines::FindSamples(places, m_walks[b], m_plane.grid, lPoints);
      lines::AddSamples(sums, m_plane.pixels, places, lCount, m_lSamples, lWalks, bAll);
    }
    DivideLine(pRow, sums, lCount * m_job.channels, static_cast<std::uint32_t>(m_lSamples * m_lSamples));
  }

  unsigned char *Row(long i) const { return m_rows.GetPointer() + i * m_lRowBytes; }

  const RotateJob &m_job;
  long m_lSamples;
  long m_lWidth;
  long m_lSubRows;  // of a row that are walked along together
  long m_lRows;     // turned together
  long m_lBatches;
  long m_lRowBytes;  // between rows in memory
  Plane m_plane;
  PMem m_rows;
  SampleWalks m_walks[kMostBatches];
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
  if (!source.isWatched && PlaneRotation(job).Run(source)) return 1;
  if (RotateByPixels(job)) return 1;  // also when memory is short
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
  return Rotate(this, {pSource, pSource->m_pRGBQuad}, nAngle, nSample, {3, PixelOf(dwBackground), false});
}

int PQel::Rotate24bitImage(PQel *pSource, int nAngle, int nSample) {
  if (pSource == nullptr || pSource == this) return 0;
  return Rotate(this, {pSource, pSource->m_pRGBQuad}, nAngle, nSample, {3, 0, true});
}

int PQel::RotateGrayImage(PQel *pSource, int nAngle, int nSample, unsigned long dwBackground) {
  if (pSource == nullptr || pSource == this) return 0;
  return Rotate(this, {pSource, pSource->m_pRGBQuad}, nAngle, nSample, {1, dwBackground & 0xFF, false});
}

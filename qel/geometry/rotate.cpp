// Free rotation by point samples.
//
// The source is turned about its centre: every pixel of the result is the average of N x N points, each of which shows
// the source pixel that it falls into. Along a row the points move on by equal steps; the sums of these steps decide,
// to the last bit, which pixel a point near an edge shows, so they are added in one order everywhere.

#include <algorithm>
#include <cmath>
#include <vector>

#include "qel/image/image.h"
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

namespace {

/// What every form of the rotation shares.
struct RotateJob {
  PQel *source;
  PQel *target;
  Turn turn;
  long samples;  // a pixel and direction
  int channels;
  unsigned long background;  // 0x00RRGGBB or the gray level
  bool clamp;                // edge pixels instead of the background
};

/// The pixels of the source one by one; the pixel read last is remembered.
class PixelReader {
 public:
  PixelReader(const RotateJob &job) : m_job(job), m_lWidth(job.source->GetImageWidth()) { m_dwPixel = Read(0, 0); }

  /// The value of a pixel by its number, or the background for numbers below 0.
  unsigned long operator[](long lNumber) {
    if (lNumber < 0) return m_job.background;
    if (lNumber != m_lNumber) {
      m_lNumber = lNumber;
      m_dwPixel = Read(lNumber % m_lWidth, lNumber / m_lWidth);
    }
    return m_dwPixel;
  }

 private:
  unsigned long Read(long x, long y) const {
    long long llDeep = 0;
    return m_job.channels == 3 ? m_job.source->GetPixelBGR(x, y) : m_job.source->GetPixel(x, y, &llDeep);
  }

  const RotateJob &m_job;
  long m_lWidth;
  long m_lNumber = 0;
  unsigned long m_dwPixel;
};

/// Starts the walk of a sub-row at the left edge of the result.
void StartWalk(const RotateJob &job, long lRow, long lSubRow, qel::lines::SampleWalks &walks, int k) {
  const double n = static_cast<double>(job.samples);
  const double X = static_cast<double>(job.turn.left) + 0.5 / n;
  const double Y = static_cast<double>(job.turn.top + lRow) + (static_cast<double>(lSubRow) + 0.5) / n;
  walks.x[k] = X * job.turn.cos - Y * job.turn.sin;
  walks.y[k] = X * job.turn.sin + Y * job.turn.cos;
  walks.stepX = job.turn.cos / n;
  walks.stepY = job.turn.sin / n;
}

/// Reads pixel by pixel: the way that repeating images and hooks want, and that every source can go.
int RotateByPixels(const RotateJob &job) {
  const long lWidth = job.target->GetImageWidth(), lSums = lWidth * job.channels;
  PMem sumLine, numberLine, row;
  auto *const pdwSums = reinterpret_cast<std::uint32_t *>(
      sumLine.AllocMemory(GMEM_MOVEABLE, static_cast<unsigned long>(lSums) * sizeof(std::uint32_t)));
  auto *const plNumbers = reinterpret_cast<std::int64_t *>(numberLine.AllocMemory(
      GMEM_MOVEABLE, static_cast<unsigned long>(job.samples * qel::lines::kWalks) * sizeof(std::int64_t)));
  unsigned char *const pRow = row.AllocMemory(GHND, static_cast<unsigned long>(job.target->GetLineBytes()));
  if (pdwSums == nullptr || plNumbers == nullptr || pRow == nullptr) return 0;

  const qel::lines::SampleGrid grid = {
      job.source->GetImageWidth(), job.source->GetImageHeight(), job.turn.centreX, job.turn.centreY, -1, job.clamp};
  PixelReader pixels(job);
  for (long r = 0; r < job.target->GetImageHeight(); ++r) {
    std::fill_n(pdwSums, lSums, 0U);
    for (long s = 0; s < job.samples; ++s) {
      qel::lines::SampleWalks walks{};
      StartWalk(job, r, s, walks, 0);
      for (long c = 0; c < lSums; c += job.channels) {
        qel::lines::FindSamplesWide(plNumbers, walks, grid, job.samples);
        for (long j = 0; j < job.samples; ++j) {
          const unsigned long v = pixels[plNumbers[j * qel::lines::kWalks]];
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

/// Makes the result in `target`, an empty image; the job's turn is set up here.
int Rotate(PQel *pTarget, PQel *pSource, int nAngle, int nSample, int nChannels, unsigned long dwBackground,
           bool bClamp) {
  if (pSource == nullptr || pSource == pTarget) return 0;
  pTarget->DeleteImage(1);
  if (nAngle % 360 == 0) return pTarget->GenerateImage(pSource, 15, 0, 0);
  const RotateJob job = {pSource,
                         pTarget,
                         Turn(nAngle, pSource->GetImageWidth(), pSource->GetImageHeight()),
                         std::clamp(nSample, 1, 256),
                         nChannels,
                         dwBackground,
                         bClamp};
  if (!pTarget->CreateImage(nChannels == 3 ? 1 : 5, job.turn.right - job.turn.left, job.turn.bottom - job.turn.top, 0,
                            nullptr, static_cast<unsigned long>(pSource->GetDpmX()),
                            static_cast<unsigned long>(pSource->GetDpmY()), 15, 0, 0))
    return 0;
  if (RotateByPixels(job)) return 1;
  pTarget->DeleteImage(1);
  return 0;
}

/// 0x00RRGGBB of a colour reference.
unsigned long PixelOf(unsigned long dwColorRef) {
  return (dwColorRef & 0xFF) << 16 | (dwColorRef & 0xFF00) | (dwColorRef >> 16 & 0xFF);
}

}  // namespace

int PQel::Rotate24bitImage(PQel *pSource, int nAngle, int nSample, unsigned long dwBackground) {
  return Rotate(this, pSource, nAngle, nSample, 3, PixelOf(dwBackground), false);
}

int PQel::Rotate24bitImage(PQel *pSource, int nAngle, int nSample) {
  return Rotate(this, pSource, nAngle, nSample, 3, 0, true);
}

int PQel::RotateGrayImage(PQel *pSource, int nAngle, int nSample, unsigned long dwBackground) {
  return Rotate(this, pSource, nAngle, nSample, 1, dwBackground & 0xFF, false);
}

// Gaussian blur of an area, and the shift of a gray line by a part of a pixel.
//
// A separable blur: every row of the area is filtered into this image, then every column of it, by a kernel of whole
// numbers that was made from sigma; each pass truncates to bytes and goes through this image's own format. Beyond the
// edges of the images the outermost pixels go on; in repeat mode the plane does.

#include <algorithm>
#include <cmath>
#include <cstring>
#include <memory>
#include <utility>

#include "qel/image/image.h"
#include "qel/lines/gaussian.h"

// Kernel -------------------------------------------------------------------------------------------------------------

namespace {

constexpr int kMaxHalf = 60;  // taps on each side of the middle

static_assert(2 * kMaxHalf + 1 == qel::lines::kMaxTaps);

/// A kernel and what it was made from.
struct Kernel {
  double sigma = 0;
  int n = 0;  // taps, odd; 0 when there is no kernel for sigma
  int weights[qel::lines::kMaxTaps];
  qel::lines::SmoothKernel ready;
};

/// Samples the Gaussian and cuts its tails where they hold less than 0.5 % or a weight falls below 4 / 1024.
void BuildKernel(Kernel &kernel, double sigma) {
  kernel.sigma = sigma;
  kernel.n = 1;
  kernel.weights[0] = 1;
  if (sigma < 0.1) return;
  kernel.n = 0;
  if (!std::isfinite(sigma)) return;

  using Extended = long double;
  const Extended s = sigma, a = 0.39894228 / s;
  Extended g[kMaxHalf + 1], sum = 0;
  for (int i = 0; i <= kMaxHalf; ++i) {
    g[i] = a * std::exp(-static_cast<Extended>(i * i) / (2 * s * s));
    sum += g[i];
  }
  const Extended total = 2 * sum - g[0];
  const auto weight = [&](int j) { return static_cast<int>(Extended(0.5) + 1024 * g[j] / total); };
  const auto tail = [&](int j) {
    Extended beyond = 0;
    for (int i = j + 1; i <= kMaxHalf; ++i) beyond += g[i];
    return 2 * beyond;
  };
  int h = 0;
  while (tail(h) / total >= Extended(0.005) && weight(h) >= 4) ++h;  // ends at kMaxHalf, where no tail is left
  kernel.n = 2 * h + 1;
  for (int k = 0; k <= h; ++k) kernel.weights[h - k] = kernel.weights[h + k] = weight(k);
}

/// The kernel of a sigma. The last one is kept: its 61 exponentials in extended precision take longer than the blur of
/// a small image. On the heap: a program that loads the engine while it runs has a few hundred bytes for thread-locals.
const Kernel &KernelOf(double sigma) {
  thread_local const auto kept = std::make_unique<Kernel>();
  Kernel &last = *kept;
  if (last.sigma != sigma || last.n == 0) {
    BuildKernel(last, sigma);
    qel::lines::MakeKernel(last.ready, last.weights, last.n);
  }
  return last;
}

}  // namespace

int PQel::xGetGaussianFilterMatrix(int *pWeights, double sigma) {
  if (pWeights == nullptr) return 0;
  const Kernel &kernel = KernelOf(sigma);
  std::copy_n(kernel.weights, kernel.n, pWeights);
  return kernel.n;
}

int PQel::GetGaussianFilterWidth(double sigma) {
  return KernelOf(sigma).n;
}

// Filters of lines ---------------------------------------------------------------------------------------------------

void PQel::xDoGrayGaussianFilter(BYTE *pOut, BYTE *pIn, long lCount, int *pTable, int nDivisor, long n) {
  if (pOut == nullptr || pIn == nullptr || pTable == nullptr || nDivisor <= 0 || n <= 0) return;
  qel::lines::FilterByTable(pOut, pIn, lCount, 1, pTable, nDivisor, n);
}

void PQel::xDo24bitGaussianFilter(BYTE *pOut, BYTE *pIn, long lCount, int *pTable, int nDivisor, long n) {
  if (pOut == nullptr || pIn == nullptr || pTable == nullptr || nDivisor <= 0 || n <= 0) return;
  qel::lines::FilterByTable(pOut, pIn, lCount, 3, pTable, nDivisor, n);
}

void PQel::SlantGrayLine(int nShift, BYTE *pLine, int nCount) {
  if (pLine == nullptr || nShift == 0 || nShift < -256 || nShift > 256) return;
  qel::lines::SlantGray(pLine, nCount, std::abs(nShift));
}

// Blur ---------------------------------------------------------------------------------------------------------------

namespace {

/// Gray levels or 24-bit pixels, the two forms in which lines are filtered.
struct LineForm {
  int bytes;  // a pixel
  int (PQel::*getRow)(long, long, long, unsigned char *, unsigned char *);
  int (PQel::*getColumn)(long, long, long, unsigned char *, unsigned char *);
  int (PQel::*putRow)(long, long, long, unsigned char *);
  int (PQel::*putColumn)(long, long, long, unsigned char *);
};

constexpr LineForm kGrayForm = {1, &PQel::GetGrayHorLine, &PQel::GetGrayVerLine, &PQel::PutGrayHorLine,
                                &PQel::PutGrayVerLine};
constexpr LineForm kColorForm = {3, &PQel::Get24bitHorLine, &PQel::Get24bitVerLine, &PQel::Put24bitHorLine,
                                 &PQel::Put24bitVerLine};

/// A blur to be done.
struct BlurJob {
  PQel *source;
  PQel *target;
  const LineForm *form;
  Kernel kernel;  // a copy: a hook may blur with another one
  long left, top, right, bottom;
  bool isWritten;  // the target's type takes lines of the form
};

/// Pixels first .. last of a line of `size` pixels, or of an endless one (size 0); the outermost pixels of the line go
/// on beyond its ends. `read` moves a span that the line has.
template <class Read>
bool ReadWithEdges(unsigned char *pLine, int nBytes, long first, long last, long size, Read read) {
  if (size == 0) return read(first, last, pLine);
  const long lBefore = std::max(0L, -first), lBehind = std::max(0L, last - (size - 1));
  unsigned char *const pFirst = pLine + lBefore * nBytes;
  if (!read(first + lBefore, last - lBehind, pFirst)) return false;
  unsigned char *const pEnd = pLine + (last - first + 1 - lBehind) * nBytes;
  qel::lines::RepeatPixel(pLine, pFirst, nBytes, lBefore);
  qel::lines::RepeatPixel(pEnd, pEnd - nBytes, nBytes, lBehind);
  return true;
}

/// The blur line by line, as repeating images and hooks want it: all rows, then all columns.
int BlurByLines(const BlurJob &job) {
  const LineForm &form = *job.form;
  const long n = job.kernel.n, h = n / 2, nBytes = form.bytes;
  const long lWidth = job.right - job.left, lHeight = job.bottom - job.top;
  const long lLine = (std::max(lWidth, lHeight) + 2 * n + 1) * nBytes;
  PMem lines, products;
  unsigned char *const pIn = lines.AllocMemory(GMEM_MOVEABLE, static_cast<unsigned long>(2 * lLine));
  auto *const pTable =
      reinterpret_cast<int *>(products.AllocMemory(GMEM_MOVEABLE, static_cast<unsigned long>(n) * 256 * sizeof(int)));
  if (pIn == nullptr || pTable == nullptr) return 0;
  unsigned char *const pOut = pIn + lLine;
  qel::lines::FillProductTable(pTable, job.kernel.weights, n);
  const int nDivisor = job.kernel.ready.divisor;
  const auto filter = [&](long count) {
    qel::lines::FilterByTable(pOut, pIn, count + 2 * h, form.bytes, pTable, nDivisor, n);
    return pOut + h * nBytes;
  };

  const bool bEndless = job.target->IsTiled() != 0, bEndlessRows = bEndless && job.source->IsTiled();
  for (long y = job.bottom - 1; y >= job.top; --y) {
    const auto read = [&](long first, long last, unsigned char *p) {
      return (job.source->*form.getRow)(first, last, y, p, nullptr) != 0;
    };
    if (!ReadWithEdges(pIn, form.bytes, job.left - h, job.right - 1 + h, bEndlessRows ? 0 : job.source->GetImageWidth(),
                       read))
      return 0;
    if (!(job.target->*form.putRow)(job.left, job.right - 1, y, filter(lWidth)) && job.isWritten) return 0;
  }
  for (long x = job.left; x < job.right; ++x) {
    const auto read = [&](long first, long last, unsigned char *p) {
      return (job.target->*form.getColumn)(x, first, last, p, nullptr) != 0;
    };
    if (!ReadWithEdges(pIn, form.bytes, job.top - h, job.bottom - 1 + h, bEndless ? 0 : job.target->GetImageHeight(),
                       read))
      return 0;
    if (!(job.target->*form.putColumn)(x, job.top, job.bottom - 1, filter(lHeight)) && job.isWritten) return 0;
  }
  return 1;
}

// By strips ----------------------------------------------------------------------------------------------------------

/// Both passes together, row by row: the rows that the next four results need, filtered along themselves, are held
/// zipped in pairs, and the results are written behind them. Rows of the source are read before the results reach them,
/// so that an image may be blurred in place.
class StripBlur {
 public:
  explicit StripBlur(const BlurJob &job)
      : m_job(job),
        m_kernel(job.kernel.ready),
        m_lBytes((job.right - job.left) * job.form->bytes),
        m_bKeepsBytes(job.target->GetImageType() == (job.form->bytes == 3 ? 1 : 5)) {}

  int Run() {
    if (!Alloc()) return 0;
    const long lHeight = m_job.bottom - m_job.top, lRows = lHeight + 2 * m_kernel.Half();
    const long lPairs = m_kernel.PairsAtOnce();
    long lRead = 0;
    for (long lDone = 0; lDone < lHeight; lDone += kRows) {
      for (const long lEnd = std::min(lDone + 2 * lPairs, lRows); lRead < lEnd; lRead += 2)
        if (!MakePair(lRead, std::min(lRead + 2, lEnd))) return 0;
      for (long p = 0; p < lPairs; ++p) m_window[p] = Pair(lDone / 2 + p);
      qel::lines::SmoothColumns(m_result, m_window, m_lBytes, m_kernel);
      for (long i = lDone; i < std::min(lDone + kRows, lHeight); ++i)
        if (!Put(m_job.top + i, m_result[i - lDone])) return 0;
    }
    return 1;
  }

 private:
  static constexpr long kRows = qel::lines::kRowsAtOnce;

  bool Alloc() {
    const auto roundUp = [](long lCount) { return (lCount + 63) / 64 * 64; };
    const long lLine = roundUp(m_lBytes), lWide = roundUp(m_lBytes + 2 * m_kernel.Half() * m_job.form->bytes);
    const long lPairs = m_kernel.PairsAtOnce();
    unsigned char *p = m_memory.AllocMemory(
        GMEM_MOVEABLE, static_cast<unsigned long>(lWide + (2 + kRows) * lLine + lPairs * 2 * lLine));
    if (p == nullptr) return false;
    const auto take = [&p](long lCount) { return std::exchange(p, p + lCount); };
    m_pWide = take(lWide);
    for (auto &row : m_row) row = take(lLine);
    for (auto &row : m_result) row = take(lLine);
    m_lPairBytes = 2 * lLine;
    m_pPairs = p;
    return true;
  }

  /// The place of a pair of rows among those held.
  unsigned char *Pair(long lPair) const { return m_pPairs + lPair % m_kernel.PairsAtOnce() * m_lPairBytes; }

  /// Makes rows lRow .. lEnd - 1, counted from the first row that the kernel reaches; a second row that is not there
  /// counts for nothing.
  bool MakePair(long lRow, long lEnd) {
    for (long i = lRow; i < lEnd; ++i)
      if (!MakeRow(m_job.top - m_kernel.Half() + i, m_row[i - lRow])) return false;
    qel::lines::ZipRows(Pair(lRow / 2), m_row[0], m_row[1], m_lBytes);
    return true;
  }

  /// Row y as the vertical pass sees it: within the area filtered, and as this image's format gives it back.
  bool MakeRow(long y, unsigned char *pRow) {
    y = std::clamp(y, 0L, m_job.target->GetImageHeight() - 1);
    if (y == m_lLastRow) {
      if (pRow != m_pLastRow) std::memcpy(pRow, m_pLastRow, static_cast<std::size_t>(m_lBytes));
      return true;
    }
    m_lLastRow = y;
    m_pLastRow = pRow;
    if (y < m_job.top || y >= m_job.bottom) return Get(y, pRow);
    const long h = m_kernel.Half();
    const auto read = [&](long first, long last, unsigned char *p) {
      return (m_job.source->*m_job.form->getRow)(first, last, y, p, nullptr) != 0;
    };
    if (!ReadWithEdges(m_pWide, m_job.form->bytes, m_job.left - h, m_job.right - 1 + h, m_job.source->GetImageWidth(),
                       read))
      return false;
    qel::lines::SmoothRow(pRow, m_pWide, m_lBytes, m_job.form->bytes, m_kernel);
    return m_bKeepsBytes || (Put(y, pRow) && Get(y, pRow));
  }

  bool Get(long y, unsigned char *pRow) {
    return (m_job.target->*m_job.form->getRow)(m_job.left, m_job.right - 1, y, pRow, nullptr) != 0;
  }
  bool Put(long y, unsigned char *pRow) {
    return (m_job.target->*m_job.form->putRow)(m_job.left, m_job.right - 1, y, pRow) != 0;
  }

  const BlurJob &m_job;
  const qel::lines::SmoothKernel &m_kernel;
  long m_lBytes;       // of a row of the area
  bool m_bKeepsBytes;  // the target gives filtered bytes back as they are
  PMem m_memory;
  unsigned char *m_pWide = nullptr;  // a source row with what the kernel reaches on both sides
  unsigned char *m_row[2] = {};      // filtered rows
  unsigned char *m_result[kRows] = {};
  unsigned char *m_pPairs = nullptr;  // a ring of zipped rows
  long m_lPairBytes = 0;
  const unsigned char *m_window[kMaxHalf + 2] = {};
  long m_lLastRow = -1;  // the row made last and where it lies
  unsigned char *m_pLastRow = nullptr;
};

}  // namespace

int PQel::GaussianBlur(PQel *pSrc, double sigma, RECT *pArea) {
  if (!(sigma > 0) || IsEmpty()) return 0;
  if (pSrc == nullptr) pSrc = this;
  const RECT rc = pArea ? *pArea : RECT{0, 0, static_cast<LONG>(GetImageWidth()), static_cast<LONG>(m_lHeight)};
  if (pSrc->IsEmpty() || rc.left >= rc.right || rc.top >= rc.bottom || rc.left < 0 || rc.top < 0) return 0;
  if (rc.right > std::min(GetImageWidth(), pSrc->GetImageWidth())) return 0;
  if (rc.bottom > std::min(m_lHeight, pSrc->m_lHeight)) return 0;
  const bool bGray = GetBitCount() <= 8;
  if (bGray && pSrc->GetBitCount() > 8) return 0;  // deep pixels cannot be read as gray levels
  const Kernel kernel = KernelOf(sigma);
  if (kernel.n == 0) return 0;
  const bool bWritten = !bGray || m_nImageType == 0 || m_nImageType == 4 || m_nImageType == 5;
  const BlurJob job = {pSrc,      this,    bGray ? &kGrayForm : &kColorForm, kernel, rc.left, rc.top, rc.right,
                       rc.bottom, bWritten};
  const auto isWatched = [](const PQel *p) { return p->m_bRepeat || p->m_pfnHook != nullptr; };
  if (isWatched(pSrc) || isWatched(this)) return BlurByLines(job);
  return bWritten ? StripBlur(job).Run() : 1;
}

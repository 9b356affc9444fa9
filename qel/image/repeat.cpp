// Repeat access: the image as an endless plane covered with copies of itself.
//
// A plane line is cut into runs that each lie inside the image and are moved by the plain line workers. The copies need
// not sit on a plain grid: every yPeriod rows they shift sideways by xPeriod, every xPeriod columns down by yPeriod.
// A run keeps the fixed coordinate of its first pixel, so a shift that falls inside a run shows from the next run on.
//
// In 1- and 4-bit images a run after the first may start inside a byte of the caller's buffer. Such a run goes through
// a work line: reads are moved right into place, writes are gathered left to a byte boundary.

#include <algorithm>

#include "qel/image/image.h"
#include "qel/lines/shift_copy.h"

namespace {

// Plane arithmetic ---------------------------------------------------------------------------------------------------

long FloorDivide(long a, long b) {
  return a / b - (a % b < 0);
}

long PositiveRemainder(long a, long m) {
  const long r = a % m;
  return r < 0 ? r + m : r;
}

/// (position - steps * step) mod size for any values; sizes fit 31 bits, so no product overflows.
long Displaced(long position, long steps, long step, long size) {
  const long shift = PositiveRemainder(steps, size) * PositiveRemainder(step, size) % size;
  return PositiveRemainder(PositiveRemainder(position, size) - shift, size);
}

constexpr long kMostPixels = 1L << 56;  // more than any buffer holds; their bits can still be counted

/// Pixels from `first` to `last`; -1 when there are more than a buffer can hold.
long SpanLength(long first, long last) {
  long n = 0;
  if (last < first) return 0;
  return __builtin_sub_overflow(last, first, &n) || n >= kMostPixels ? -1 : n + 1;
}

unsigned char KeepTop(unsigned char top, unsigned char rest, long bits) {
  const int mask = 0xFF << (8 - bits);
  return static_cast<unsigned char>((top & mask) | (rest & ~mask));
}

}  // namespace

// Settings -----------------------------------------------------------------------------------------------------------

void PQel::EnableRepeat(int b) {
  m_bRepeat = b;
  if (b == 1) SetRepeat(m_lXRepeat, m_lYRepeat);
}

void PQel::SetRepeat(long lX, long lY) {
  m_bRepeat = 1;
  m_lXRepeat = lX != 0 ? lX : GetImageWidth();
  m_lYRepeat = lY != 0 ? lY : m_lHeight;
}

void PQel::SetSameRepeat(PQel *pSource) {
  if (pSource == nullptr) return;
  if (pSource->m_bRepeat)
    SetRepeat(pSource->m_lXRepeat, pSource->m_lYRepeat);
  else
    EnableRepeat(0);
}

// Runs ---------------------------------------------------------------------------------------------------------------

/// A plane line being walked: what is left of it from its current pixel on.
struct PQel::WarpedLine {
  bool vertical;
  long across;  // the fixed coordinate
  long along;   // the current one
  long left;    // pixels still to do

  explicit WarpedLine(const LineSpan &span)
      : vertical(span.vertical),
        across(vertical ? span.a : span.c),
        along(span.First()),
        left(SpanLength(span.First(), span.Last())) {}

  /// Steps over pixels that are done. Behind the last one there may be no coordinate any more.
  void Advance(long pixels) {
    left -= pixels;
    if (left > 0) along += pixels;
  }
};

/// Pixels (x, y) and the count - 1 behind it, to the right or below.
struct PQel::WarpedRun {
  long x;
  long y;
  long count;
};

/// The longest run of the line from its current pixel that stays inside the image.
PQel::WarpedRun PQel::xNextRun(const WarpedLine &line) const {
  const long x = line.vertical ? line.across : line.along;
  const long y = line.vertical ? line.along : line.across;
  WarpedRun run;
  xMapRepeat(x, y, &run.x, &run.y);
  run.count = std::min(line.left, line.vertical ? m_lHeight - run.y : GetImageWidth() - run.x);
  return run;
}

void PQel::xMapRepeat(long x, long y, long *pX, long *pY) const {
  *pX = Displaced(x, FloorDivide(y, m_lYRepeat), m_lXRepeat, GetImageWidth());
  *pY = Displaced(y, FloorDivide(x, m_lXRepeat), m_lYRepeat, m_lHeight);
}

int PQel::xReadRun(bool bVertical, const WarpedRun &run, unsigned char *pBuf) {
  return bVertical ? xGetVerLine(run.x, run.y, run.y + run.count - 1, pBuf)
                   : xGetHorLine(run.x, run.x + run.count - 1, run.y, pBuf);
}

int PQel::xWriteRun(bool bVertical, const WarpedRun &run, unsigned char *pBuf) {
  return bVertical ? xPutVerLine(run.x, run.y, run.y + run.count - 1, pBuf)
                   : xPutHorLine(run.x, run.x + run.count - 1, run.y, pBuf);
}

// Whole bytes --------------------------------------------------------------------------------------------------------

int PQel::xMoveWarped(WarpedLine line, unsigned char *pBuf, bool bWrite) {
  const long lPixelBytes = m_pBIH->biBitCount / 8;
  const auto pfnMove = bWrite ? &PQel::xWriteRun : &PQel::xReadRun;
  while (line.left > 0) {
    const WarpedRun run = xNextRun(line);
    if (!(this->*pfnMove)(line.vertical, run, pBuf)) return 0;
    pBuf += run.count * lPixelBytes;
    line.Advance(run.count);
  }
  return 1;
}

// Parts of bytes -----------------------------------------------------------------------------------------------------

int PQel::xReadWarpedBits(WarpedLine line, long lBits, unsigned char *pBuf) {
  if (line.left < 0) return 0;
  PMem work;
  long lOffset = 0;  // bit of *pBuf where the run starts
  while (line.left > 0) {
    const WarpedRun run = xNextRun(line);
    const long lTotal = lOffset + run.count * lBits;
    unsigned char *const pLast = pBuf + (lTotal - 1) / 8;
    const unsigned char byLast = *pLast;
    if (lOffset == 0) {
      if (!xReadRun(line.vertical, run, pBuf)) return 0;
    } else {
      if (work.IsEmpty() && !work.AllocMemory(GHND, (line.left * lBits + 63) / 32 * 4)) return 0;
      unsigned char *const pWork = work.GetPointer();
      if (!xReadRun(line.vertical, run, pWork)) return 0;
      *pBuf = KeepTop(*pBuf, static_cast<unsigned char>(pWork[0] >> lOffset), lOffset);
      if (lTotal > 8) ShiftCopyAhead(pBuf + 1, pWork, (lTotal - 1) / 8, static_cast<int>(8 - lOffset));
    }
    pBuf += lTotal / 8;
    lOffset = lTotal % 8;
    if (lOffset != 0) *pLast = KeepTop(*pLast, byLast, lOffset);
    line.Advance(run.count);
  }
  return 1;
}

int PQel::xWriteWarpedBits(WarpedLine line, long lBits, unsigned char *pBuf) {
  if (line.left < 0) return 0;
  PMem work;
  long lOffset = 0;
  while (line.left > 0) {
    const WarpedRun run = xNextRun(line);
    const long lRunBits = run.count * lBits;
    unsigned char *pRun = pBuf;
    if (lOffset != 0) {
      if (work.IsEmpty() && !work.AllocMemory(GHND, (line.left * lBits + 63) / 32 * 4)) return 0;
      pRun = work.GetPointer();
      const long lBytes = (lRunBits + 7) / 8;
      const auto gather = (lOffset + lRunBits + 7) / 8 != lBytes ? ShiftCopyAhead : ShiftCopyExact;
      gather(pRun, pBuf, lBytes, static_cast<int>(lOffset));
    }
    if (!xWriteRun(line.vertical, run, pRun)) return 0;
    pBuf += (lOffset + lRunBits) / 8;
    lOffset = (lOffset + lRunBits) % 8;
    line.Advance(run.count);
  }
  return 1;
}

int PQel::xGetWarpedHorLine1(long x1, long x2, long y, unsigned char *pBuf) {
  return xReadWarpedBits(WarpedLine({x1, x2, y, false}), 1, pBuf);
}

int PQel::xGetWarpedHorLine4(long x1, long x2, long y, unsigned char *pBuf) {
  return xReadWarpedBits(WarpedLine({x1, x2, y, false}), 4, pBuf);
}

int PQel::xPutWarpedHorLine1(long x1, long x2, long y, unsigned char *pBuf) {
  return xWriteWarpedBits(WarpedLine({x1, x2, y, false}), 1, pBuf);
}

int PQel::xPutWarpedHorLine4(long x1, long x2, long y, unsigned char *pBuf) {
  return xWriteWarpedBits(WarpedLine({x1, x2, y, false}), 4, pBuf);
}

int PQel::xGetWarpedVerLine1(long x, long y1, long y2, unsigned char *pBuf) {
  return xReadWarpedBits(WarpedLine({x, y1, y2, true}), 1, pBuf);
}

int PQel::xGetWarpedVerLine4(long x, long y1, long y2, unsigned char *pBuf) {
  return xReadWarpedBits(WarpedLine({x, y1, y2, true}), 4, pBuf);
}

int PQel::xPutWarpedVerLine1(long x, long y1, long y2, unsigned char *pBuf) {
  return xWriteWarpedBits(WarpedLine({x, y1, y2, true}), 1, pBuf);
}

int PQel::xPutWarpedVerLine4(long x, long y1, long y2, unsigned char *pBuf) {
  return xWriteWarpedBits(WarpedLine({x, y1, y2, true}), 4, pBuf);
}

// Entry points -------------------------------------------------------------------------------------------------------

/// Repeat access needs pixels and periods to count with; without them the plain operations serve.
bool PQel::xCanWarp() const {
  return !IsEmpty() && m_lXRepeat >= 1 && m_lYRepeat >= 1;
}

/// Runs a plain line operation with the repeat mode off for its duration.
int PQel::xPlain(LineOperation pfn, const LineSpan &span, unsigned char *pBuf) {
  const int bRepeat = m_bRepeat;
  m_bRepeat = 0;
  const int nResult = (this->*pfn)(span.a, span.b, span.c, pBuf);
  m_bRepeat = bRepeat;
  return nResult;
}

/// All four operations: as the plain one, but on the plane.
int PQel::xWarp(LineOperation pfnPlain, const LineSpan &span, unsigned char *pBuf, bool bWrite) {
  if (pBuf == nullptr) return 0;
  if (!xCanWarp()) return xPlain(pfnPlain, span, pBuf);
  const WarpedLine line(span);
  if (line.left < 0) return 0;
  const auto tell = [&](int nEvent) {
    if (m_pfnHook == nullptr) return;
    if (span.vertical)
      m_pfnHook(this, nEvent, span.a, span.b, span.a, span.c, pBuf);
    else
      m_pfnHook(this, nEvent, span.a, span.c, span.b, span.c, pBuf);
  };
  if (bWrite) {
    tell(4);
    if (!xCanWarp()) return 0;  // the hook may have changed the image
  }
  const long lBits = m_pBIH->biBitCount;
  const int nResult = lBits >= 8 ? xMoveWarped(line, pBuf, bWrite)
                      : bWrite   ? xWriteWarpedBits(line, lBits, pBuf)
                                 : xReadWarpedBits(line, lBits, pBuf);
  if (nResult && !bWrite) tell(3);
  return nResult;
}

int PQel::GetWarpedHorLine(long x1, long x2, long y, unsigned char *pBuf) {
  return xWarp(&PQel::GetHorLine, {x1, x2, y, false}, pBuf, false);
}

int PQel::PutWarpedHorLine(long x1, long x2, long y, unsigned char *pBuf) {
  return xWarp(&PQel::PutHorLine, {x1, x2, y, false}, pBuf, true);
}

int PQel::GetWarpedVerLine(long x, long y1, long y2, unsigned char *pBuf) {
  return xWarp(&PQel::GetVerLine, {x, y1, y2, true}, pBuf, false);
}

int PQel::PutWarpedVerLine(long x, long y1, long y2, unsigned char *pBuf) {
  return xWarp(&PQel::PutVerLine, {x, y1, y2, true}, pBuf, true);
}

// Pixels of a line operation -----------------------------------------------------------------------------------------

long PQel::xPixelsToMove(const LineSpan &span) const {
  const bool bPlane = m_bRepeat && xCanWarp();
  if (!bPlane && !span.vertical && (span.c < 0 || span.c >= m_lHeight)) return 0;  // such rows are no error
  const long n = SpanLength(span.First(), span.Last());
  if (n <= 0 || bPlane) return n;
  if (span.First() < 0 || span.Last() >= (span.vertical ? m_lHeight : GetImageWidth())) return -1;
  return !span.vertical || (span.a >= 0 && span.a < GetImageWidth()) ? n : -1;
}

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

/// Pixels from `first` to `last`; -1 when there are more than a count can hold.
long SpanLength(long first, long last) {
  long n = 0;
  if (last < first) return 0;
  return __builtin_sub_overflow(last, first, &n) || __builtin_add_overflow(n, 1L, &n) ? -1 : n;
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

int PQel::xMoveWarped(WarpedLine line, unsigned char *pBuf, RunMover pfnMove) {
  const long lPixelBytes = m_pBIH->biBitCount / 8;
  while (line.left > 0) {
    const WarpedRun run = xNextRun(line);
    if (!(this->*pfnMove)(line.vertical, run, pBuf)) return 0;
    pBuf += run.count * lPixelBytes;
    line.along += run.count;
    line.left -= run.count;
  }
  return 1;
}

// Parts of bytes -----------------------------------------------------------------------------------------------------

int PQel::xReadWarpedBits(WarpedLine line, long lBits, unsigned char *pBuf) {
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
    line.along += run.count;
    line.left -= run.count;
  }
  return 1;
}

int PQel::xWriteWarpedBits(WarpedLine line, long lBits, unsigned char *pBuf) {
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
    line.along += run.count;
    line.left -= run.count;
  }
  return 1;
}

int PQel::xGetWarpedHorLine1(long x1, long x2, long y, unsigned char *pBuf) {
  return xReadWarpedBits({false, y, x1, SpanLength(x1, x2)}, 1, pBuf);
}

int PQel::xGetWarpedHorLine4(long x1, long x2, long y, unsigned char *pBuf) {
  return xReadWarpedBits({false, y, x1, SpanLength(x1, x2)}, 4, pBuf);
}

int PQel::xPutWarpedHorLine1(long x1, long x2, long y, unsigned char *pBuf) {
  return xWriteWarpedBits({false, y, x1, SpanLength(x1, x2)}, 1, pBuf);
}

int PQel::xPutWarpedHorLine4(long x1, long x2, long y, unsigned char *pBuf) {
  return xWriteWarpedBits({false, y, x1, SpanLength(x1, x2)}, 4, pBuf);
}

int PQel::xGetWarpedVerLine1(long x, long y1, long y2, unsigned char *pBuf) {
  return xReadWarpedBits({true, x, y1, SpanLength(y1, y2)}, 1, pBuf);
}

int PQel::xGetWarpedVerLine4(long x, long y1, long y2, unsigned char *pBuf) {
  return xReadWarpedBits({true, x, y1, SpanLength(y1, y2)}, 4, pBuf);
}

int PQel::xPutWarpedVerLine1(long x, long y1, long y2, unsigned char *pBuf) {
  return xWriteWarpedBits({true, x, y1, SpanLength(y1, y2)}, 1, pBuf);
}

int PQel::xPutWarpedVerLine4(long x, long y1, long y2, unsigned char *pBuf) {
  return xWriteWarpedBits({true, x, y1, SpanLength(y1, y2)}, 4, pBuf);
}

// Entry points -------------------------------------------------------------------------------------------------------

/// Repeat access needs pixels and periods to count with; without them the plain operations serve.
bool PQel::xCanWarp() const {
  return !IsEmpty() && m_lXRepeat >= 1 && m_lYRepeat >= 1;
}

/// Runs a plain line operation with the repeat mode off for its duration.
int PQel::xPlain(LineOperation pfn, long a, long b, long c, unsigned char *pBuf) {
  const int bRepeat = m_bRepeat;
  m_bRepeat = 0;
  const int nResult = (this->*pfn)(a, b, c, pBuf);
  m_bRepeat = bRepeat;
  return nResult;
}

int PQel::GetWarpedHorLine(long x1, long x2, long y, unsigned char *pBuf) {
  if (pBuf == nullptr) return 0;
  if (!xCanWarp()) return xPlain(&PQel::GetHorLine, x1, x2, y, pBuf);
  const WarpedLine line = {false, y, x1, SpanLength(x1, x2)};
  if (line.left < 0) return 0;
  int nResult = 0;
  switch (m_pBIH->biBitCount) {
    case 1:
      nResult = xGetWarpedHorLine1(x1, x2, y, pBuf);
      break;
    case 4:
      nResult = xGetWarpedHorLine4(x1, x2, y, pBuf);
      break;
    default:
      nResult = xMoveWarped(line, pBuf, &PQel::xReadRun);
  }
  if (nResult && m_pfnHook) m_pfnHook(this, 3, x1, y, x2, y, pBuf);
  return nResult;
}

int PQel::PutWarpedHorLine(long x1, long x2, long y, unsigned char *pBuf) {
  if (pBuf == nullptr) return 0;
  if (!xCanWarp()) return xPlain(&PQel::PutHorLine, x1, x2, y, pBuf);
  const WarpedLine line = {false, y, x1, SpanLength(x1, x2)};
  if (line.left < 0) return 0;
  if (m_pfnHook) m_pfnHook(this, 4, x1, y, x2, y, pBuf);
  switch (m_pBIH->biBitCount) {
    case 1:
      return xPutWarpedHorLine1(x1, x2, y, pBuf);
    case 4:
      return xPutWarpedHorLine4(x1, x2, y, pBuf);
    default:
      return xMoveWarped(line, pBuf, &PQel::xWriteRun);
  }
}

int PQel::GetWarpedVerLine(long x, long y1, long y2, unsigned char *pBuf) {
  if (pBuf == nullptr) return 0;
  if (!xCanWarp()) return xPlain(&PQel::GetVerLine, x, y1, y2, pBuf);
  const WarpedLine line = {true, x, y1, SpanLength(y1, y2)};
  if (line.left < 0) return 0;
  int nResult = 0;
  switch (m_pBIH->biBitCount) {
    case 1:
      nResult = xGetWarpedVerLine1(x, y1, y2, pBuf);
      break;
    case 4:
      nResult = xGetWarpedVerLine4(x, y1, y2, pBuf);
      break;
    default:
      nResult = xMoveWarped(line, pBuf, &PQel::xReadRun);
  }
  if (nResult && m_pfnHook) m_pfnHook(this, 3, x, y1, x, y2, pBuf);
  return nResult;
}

int PQel::PutWarpedVerLine(long x, long y1, long y2, unsigned char *pBuf) {
  if (pBuf == nullptr) return 0;
  if (!xCanWarp()) return xPlain(&PQel::PutVerLine, x, y1, y2, pBuf);
  const WarpedLine line = {true, x, y1, SpanLength(y1, y2)};
  if (line.left < 0) return 0;
  if (m_pfnHook) m_pfnHook(this, 4, x, y1, x, y2, pBuf);
  switch (m_pBIH->biBitCount) {
    case 1:
      return xPutWarpedVerLine1(x, y1, y2, pBuf);
    case 4:
      return xPutWarpedVerLine4(x, y1, y2, pBuf);
    default:
      return xMoveWarped(line, pBuf, &PQel::xWriteRun);
  }
}

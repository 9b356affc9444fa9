// Row spans of 1- and 4-bit pixels.
//
// Block edges lie at whole bytes, so in both layouts a span is a string of stored bytes whose first pixel may start
// inside its first byte. Reads move the string left to the top of the caller's buffer, writes move the caller's line
// right to where the span starts and keep the stored pixels beside it. Unaligned spans pass through a small work line
// in portions; so the caller's buffer may be the image's own scratch line, and nothing is allocated.
#include <algorithm>

#include "qel/image/image.h"
#include "qel/lines/bits.h"
#include "qel/lines/shift_copy.h"

namespace {

using qel::lines::MergeBits;

constexpr long kPortion = 1024;  // bytes

/// Where a span of pixels lies in its stored row.
struct BitSpan {
  long first;   // byte of its first pixel
  int shift;    // bits of that byte in front of it
  long stored;  // stored bytes it touches
  long packed;  // bytes of a line that holds it
  int tail;     // bits of that line's last byte it takes, 0: all
  int end;      // bits of its last stored byte up to its end, 1 to 8

  BitSpan(long x0, long x1, long bits) {
    const long begin = x0 * bits, last = (x1 + 1) * bits - 1, count = last - begin + 1;
    first = begin / 8;
    shift = static_cast<int>(begin % 8);
    stored = last / 8 - first + 1;
    packed = (count + 7) / 8;
    tail = static_cast<int>(count % 8);
    end = static_cast<int>(last % 8) + 1;
  }
};

/// Reads a span; `get` reads whole bytes of the stored row. Bits behind the span in the last byte stay.
template <class Get>
int ReadSpan(const BitSpan &span, unsigned char *pBuf, Get get) {
  unsigned char &byLast = pBuf[span.packed - 1];
  const unsigned char byKept = byLast;
  if (span.shift == 0) {
    if (!get(span.first, span.packed, pBuf)) return 0;
  } else {
    unsigned char work[kPortion + 1];
    for (long done = 0; done < span.packed; done += kPortion) {
      const long lCount = std::min(kPortion, span.packed - done), lSource = std::min(lCount + 1, span.stored - done);
      if (!get(span.first + done, lSource, work)) return 0;
      (lSource > lCount ? ShiftCopyAhead : ShiftCopyExact)(pBuf + done, work, lCount, span.shift);
    }
  }
  if (span.tail != 0) byLast = MergeBits(byLast, byKept, 0xFFu << (8 - span.tail));
  return 1;
}

/// Fills `work` with `count` stored bytes of a span from byte `done` on, the line moved right to where the span starts.
void Align(const BitSpan &span, long done, long count, const unsigned char *pBuf, unsigned char *work) {
  if (span.shift == 0) {
    std::copy_n(pBuf + done, count, work);
    return;
  }
  if (done == 0) {
    *work++ = static_cast<unsigned char>(pBuf[0] >> span.shift);
    --count;
    ++done;
  }
  const bool bAhead = done + count <= span.packed;  // the last byte takes bits of one more byte of the line
  (bAhead ? ShiftCopyAhead : ShiftCopyExact)(work, pBuf + done - 1, count, 8 - span.shift);
}

/// Writes a span; `get` and `put` move whole bytes of the stored row. Stored pixels beside the span stay.
template <class Get, class Put>
int WriteSpan(const BitSpan &span, unsigned char *pBuf, Get get, Put put) {
  if (span.shift == 0 && span.end == 8) return put(span.first, span.stored, pBuf);
  unsigned char work[kPortion];
  for (long done = 0; done < span.stored; done += kPortion) {
    const long lCount = std::min(kPortion, span.stored - done);
    Align(span, done, lCount, pBuf, work);
    unsigned char byStored;
    if (done == 0 && span.shift != 0) {
      if (!get(span.first, 1, &byStored)) return 0;
      work[0] = MergeBits(work[0], byStored, 0xFFu >> span.shift);
    }
    if (done + lCount == span.stored && span.end != 8) {
      if (!get(span.first + span.stored - 1, 1, &byStored)) return 0;
      work[lCount - 1] = MergeBits(work[lCount - 1], byStored, 0xFFu << (8 - span.end));
    }
    if (!put(span.first + done, lCount, work)) return 0;
  }
  return 1;
}

}  // namespace

int PQel::xReadRowBits(RowMove pfnMove, long lBits, long x0, long x1, long y, unsigned char *pBuf) {
  return ReadSpan(BitSpan(x0, x1, lBits), pBuf, [=, this](long lByte, long lCount, unsigned char *pDst) {
    return (this->*pfnMove)(&PMem::GetBlock, lByte, lCount, y, pDst);
  });
}

int PQel::xWriteRowBits(RowMove pfnMove, long lBits, long x0, long x1, long y, unsigned char *pBuf) {
  InvalidateLine(x0, x1, y);
  const auto mover = [=, this](BlockMove pfn) {
    return [=, this](long lByte, long lCount, unsigned char *p) { return (this->*pfnMove)(pfn, lByte, lCount, y, p); };
  };
  return WriteSpan(BitSpan(x0, x1, lBits), pBuf, mover(&PMem::GetBlock), mover(&PMem::PutBlock));
}

// Linear layout ------------------------------------------------------------------------------------------------------

int PQel::xxGetHorLine1(long x0, long x1, long y, unsigned char *pBuf) {
  return xReadRowBits(&PQel::xMoveLinearRow, 1, x0, x1, y, pBuf);
}

int PQel::xxGetHorLine4(long x0, long x1, long y, unsigned char *pBuf) {
  return xReadRowBits(&PQel::xMoveLinearRow, 4, x0, x1, y, pBuf);
}

int PQel::xxPutHorLine1(long x0, long x1, long y, unsigned char *pBuf) {
  return xWriteRowBits(&PQel::xMoveLinearRow, 1, x0, x1, y, pBuf);
}

int PQel::xxPutHorLine4(long x0, long x1, long y, unsigned char *pBuf) {
  return xWriteRowBits(&PQel::xMoveLinearRow, 4, x0, x1, y, pBuf);
}

// Block layout -------------------------------------------------------------------------------------------------------

int PQel::xGetBlockHorLine1(long x0, long x1, long y, unsigned char *pBuf) {
  return xReadRowBits(&PQel::xMoveBlockRow, 1, x0, x1, y, pBuf);
}

int PQel::xGetBlockHorLine4(long x0, long x1, long y, unsigned char *pBuf) {
  return xReadRowBits(&PQel::xMoveBlockRow, 4, x0, x1, y, pBuf);
}

int PQel::xPutBlockHorLine1(long x0, long x1, long y, unsigned char *pBuf) {
  return xWriteRowBits(&PQel::xMoveBlockRow, 1, x0, x1, y, pBuf);
}

int PQel::xPutBlockHorLine4(long x0, long x1, long y, unsigned char *pBuf) {
  return xWriteRowBits(&PQel::xMoveBlockRow, 4, x0, x1, y, pBuf);
}

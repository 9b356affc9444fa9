// Mask mixes, mask lines and channel lines of spans: each reads a span, changes it by a line function, and writes it
// back through line access, so that layout, repeat mode, hook and undo behave as there.
//
// A span that leaves the image or is reversed, and a null line, give 0 before anything is read. Rows outside the image
// are no error: nothing changes.

#include "qel/image/image.h"
#include "qel/lines/mix.h"
#include "qel/ops/mixes.h"

namespace lines = qel::lines;

// Mixes --------------------------------------------------------------------------------------------------------------

int PQel::MixHorLineWithGrayMask(long x0, long x1, long y, unsigned char *pLine, unsigned char *pMask) {
  if (IsEmpty() || pLine == nullptr || pMask == nullptr || x1 < x0) return 0;
  const long n = xPixelsToMove({x0, x1, y, false});
  if (n < 0) return 0;
  PMem old;
  if (!old.AllocMemory(GMEM_MOVEABLE, static_cast<unsigned long>(n * GetBitCount() / 8 + 8))) return 0;
  if (!GetHorLine(x0, x1, y, old.GetPointer())) return 0;
  return MixHorLineWithGrayMask(x0, x1, y, pLine, old.GetPointer(), pMask);
}

int PQel::MixHorLineWithGrayMask(long x0, long x1, long y, unsigned char *pLine, unsigned char *pOld,
                                 unsigned char *pMask) {
  if (IsEmpty() || m_nImageType < 0 || m_nImageType > 9 || x1 < x0) return 0;
  if (pLine == nullptr || pOld == nullptr || pMask == nullptr) return 0;
  const long n = xPixelsToMove({x0, x1, y, false});
  if (n < 0) return 0;
  qel::ops::kMixes[m_nImageType](pOld, pLine, pMask, n);
  return PutHorLine(x0, x1, y, pOld);
}

// Masks --------------------------------------------------------------------------------------------------------------

int PQel::CombineMaskLine(long x0, long x1, long y, unsigned char *pMask) {
  const int nBits = GetBitCount();
  if ((nBits != 1 && nBits != 8) || pMask == nullptr || x1 < x0) return 0;
  const long n = xPixelsToMove({x0, x1, y, false});
  PMem span;
  if (n < 0 || !span.AllocMemory(GMEM_MOVEABLE, static_cast<unsigned long>(n + 4))) return 0;
  if (!GetHorLine(x0, x1, y, span.GetPointer())) return 0;
  (nBits == 1 ? lines::CombineMaskBits : lines::CombineMasks)(pMask, span.GetPointer(), n);
  return 1;
}

int PQel::FilterHorLine(long x0, long x1, long y, unsigned char *pLine) {
  if (GetBitCount() != 1 || pLine == nullptr || x1 < x0) return 0;
  const long n = xPixelsToMove({x0, x1, y, false});
  PMem span;
  if (n < 0 || !span.AllocMemory(GMEM_MOVEABLE, static_cast<unsigned long>(n / 8 + 8))) return 0;
  if (!GetHorLine(x0, x1, y, span.GetPointer())) return 0;
  lines::ClearUnderBits(pLine, span.GetPointer(), n);
  return 1;
}

// Channels -----------------------------------------------------------------------------------------------------------

int PQel::PutRGBPlanarLine(long x0, long x1, long y, unsigned char *pPlane, long nChannel) {
  if (GetBitCount() <= 8 || pPlane == nullptr || nChannel < 0 || nChannel > 2 || x1 < x0) return 0;
  const long n = xPixelsToMove({x0, x1, y, false});
  PMem span;
  if (n < 0 || !span.AllocMemory(GMEM_MOVEABLE, static_cast<unsigned long>(3 * n + 1))) return 0;
  if (!Get24bitHorLine(x0, x1, y, span.GetPointer(), nullptr)) return 0;
  lines::ReplaceChannel24(span.GetPointer(), pPlane, n, nChannel);
  return Put24bitHorLine(x0, x1, y, span.GetPointer());
}

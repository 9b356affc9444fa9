// Copies of a line moved left by 1 to 7 bits, for pixels of 1 and 4 bits that do not start at a byte.
#pragma once

#include "qel/export.h"

/// Byte i of the destination: source byte i shifted left by nShift, filled from the top of byte i + 1. Reads
/// lCount + 1 source bytes.
QEL_API void ShiftCopyAhead(unsigned char *pDst, const unsigned char *pSrc, long lCount, int nShift);

/// The same, but the last byte is filled with zeros: reads exactly lCount source bytes.
QEL_API void ShiftCopyExact(unsigned char *pDst, const unsigned char *pSrc, long lCount, int nShift);

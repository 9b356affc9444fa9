// Two small helpers of the idiom: scaling by a fraction, and formatting into a buffer.
#pragma once

#include "qel/export.h"
#include "qel/platform/types.h"

/// nNumber * nNumerator / nDenominator with a 64-bit product, halves rounded away from zero; -1 for a denominator of 0
/// or a result whose magnitude passes 2^31 - 1.
QEL_API int MulDiv(int nNumber, int nNumerator, int nDenominator);

/// Writes at most 1024 bytes, the terminator included; returns the length written. Conversions are those of printf, in
/// the C library's widths. 0 for a null buffer or format.
QEL_API int wsprintfA(char *pszBuf, const char *pszFormat, ...) __attribute__((format(printf, 2, 3)));

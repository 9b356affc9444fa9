// Scaling by a fraction, and formatting into a buffer.

#include "qel/platform/kernel/helpers.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <limits>

int MulDiv(int nNumber, int nNumerator, int nDenominator) {
  if (nDenominator == 0) return -1;
  const LONGLONG llProduct = LONGLONG{nNumber} * nNumerator;
  const LONGLONG llDivisor = std::llabs(LONGLONG{nDenominator});
  const LONGLONG llResult = (std::llabs(llProduct) + llDivisor / 2) / llDivisor;
  if (llResult > std::numeric_limits<int>::max()) return -1;
  return static_cast<int>((llProduct < 0) != (nDenominator < 0) ? -llResult : llResult);
}

int wsprintfA(char *pszBuf, const char *pszFormat, ...) {
  constexpr int kMost = 1024;
  if (pszBuf == nullptr || pszFormat == nullptr) return 0;
  std::va_list arguments;
  va_start(arguments, pszFormat);
  const int nLength = std::vsnprintf(pszBuf, kMost, pszFormat, arguments);
  va_end(arguments);
  if (nLength < 0) *pszBuf = '\0';
  return std::clamp(nLength, 0, kMost - 1);
}

// Fills of a line with repeated units of 1 to 6 bytes, low byte first. A count of 0 writes nothing.
#pragma once

#include "qel/export.h"

QEL_API void FillRunWord(unsigned char *pDst, unsigned short w, unsigned long dwCount);
QEL_API void FillRunTrio(unsigned char *pDst, unsigned long dw, unsigned long dwCount);
QEL_API void FillRunDword(unsigned char *pDst, unsigned long dw, unsigned long dwCount);
QEL_API void FillRunDlong(unsigned char *pDst, long long ll, unsigned long dwCount);

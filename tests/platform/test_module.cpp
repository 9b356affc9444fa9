// A module for the tests to load: one function, and resources of its own.

#include "qel/export.h"

extern "C" QEL_API int ModuleAnswer(int nValue) {
  return nValue * 3 + 1;
}

// Lookup maps and factors.

#include "qel/image/image.h"

// Runs of rows and columns, solid and anti-aliased.

#include "qel/image/image.h"

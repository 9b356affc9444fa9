// Filled quadrilaterals and wide lines.

#include "qel/image/image.h"

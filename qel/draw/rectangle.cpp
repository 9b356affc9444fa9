// Filled rectangles.

#include "qel/image/image.h"

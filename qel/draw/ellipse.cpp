// Filled ellipses.

#include "qel/image/image.h"

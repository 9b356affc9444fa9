// Rescaling to 24 bits with pixels left out by a mask.

#include "qel/image/image.h"

// Rescaling of whole images: interpolation, area averages, nearest neighbour.

#include "qel/image/image.h"

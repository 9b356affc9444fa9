// Gaussian blur of an area, and the shift of a gray line by a part of a pixel.

#include "qel/image/image.h"

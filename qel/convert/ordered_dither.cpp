// Ordered dither: the thresholds of a matrix for a destination, and dithered lines.

#include "qel/convert/itc.h"

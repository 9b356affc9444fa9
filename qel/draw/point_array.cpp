// A sequence of points in chunks.

#include "qel/draw/point_array.h"

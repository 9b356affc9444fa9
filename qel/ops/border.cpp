// Border pixels and bounding rectangles of thresholded shapes.

#include "qel/image/image.h"

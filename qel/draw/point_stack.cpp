// A stack of points.

#include "qel/draw/point_stack.h"

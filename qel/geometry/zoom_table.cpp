// The tables that carry the geometry of a rescaling.

#include "qel/image/image.h"

// Quarter turns, tile by tile.

#include "qel/image/image.h"

// One row of an image resampled to another width.

#include "qel/image/image.h"

// Mask files.

#include "qel/image/image.h"

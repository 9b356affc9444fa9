// Mirrors: left to right, top to bottom, through the centre.

#include "qel/image/image.h"

// The entry point of whole-image transforms by code.

#include "qel/image/image.h"

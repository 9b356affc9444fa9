// Masks of a key colour and soft shadows.

#include "qel/image/image.h"

// Free rotation by point samples.

#include "qel/image/image.h"

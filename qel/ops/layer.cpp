// Images copied through masks, and masked layers composited.

#include "qel/image/image.h"

// Mask mixes, mask lines and channel lines of spans.

#include "qel/image/image.h"

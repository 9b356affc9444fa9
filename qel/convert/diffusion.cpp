// Error diffusion, in serpentine order (Floyd and Steinberg 1976).

#include "qel/convert/itc.h"

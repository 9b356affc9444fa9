// The matrices of the six families of ordered dither.

#include "qel/convert/itc.h"

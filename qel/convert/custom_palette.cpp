// A palette of 256 colours made for one picture.

#include "qel/convert/itc.h"

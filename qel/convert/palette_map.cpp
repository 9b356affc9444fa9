// Colour maps: palette.map, the 4096-colour cube and the search of the nearest colour.

#include "qel/convert/itc.h"

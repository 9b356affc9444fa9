// Rectangles and single lines through a conversion agent.

#include "qel/convert/itc.h"

// The memory of an agent: the map buffer, laid out by case, and the error rows.

#include "qel/convert/itc.h"

// Whole images of one format into another, row by row, without an agent.

#include "qel/convert/itc.h"

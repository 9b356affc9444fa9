// Single pixels of the source and destination lines of an agent.

#include "qel/convert/itc.h"

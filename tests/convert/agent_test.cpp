// Conversion agents: the method check, refusals, rebuilding.

#include <gtest/gtest.h>

#include "qel/convert/itc.h"

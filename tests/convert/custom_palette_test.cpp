// Custom palettes.

#include <gtest/gtest.h>

#include "qel/convert/itc.h"

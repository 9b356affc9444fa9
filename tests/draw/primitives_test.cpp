// Raster primitives.

#include <gtest/gtest.h>

#include "qel/qel.h"

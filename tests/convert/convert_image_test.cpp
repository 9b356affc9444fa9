// Whole images of one format into another.

#include <gtest/gtest.h>

#include "qel/convert/itc.h"

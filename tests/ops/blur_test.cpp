// Gaussian blur.

#include <gtest/gtest.h>

#include "qel/image/image.h"

// Quarter turns, mirrors and the transform entry point.

#include <gtest/gtest.h>

#include "qel/image/image.h"

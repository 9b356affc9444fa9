// Rectangles and lines through an agent.

#include <gtest/gtest.h>

#include "qel/convert/itc.h"

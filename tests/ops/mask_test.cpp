// Masks and borders.

#include <gtest/gtest.h>

#include "qel/qel.h"

// Point containers.

#include <gtest/gtest.h>

#include "qel/qel.h"

// Free rotation.

#include <gtest/gtest.h>

#include "qel/image/image.h"

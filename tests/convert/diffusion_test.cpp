// Error diffusion.

#include <gtest/gtest.h>

#include "qel/convert/itc.h"

// Building and releasing a conversion agent: the check of the method against the pair of images.

#include "qel/convert/itc.h"

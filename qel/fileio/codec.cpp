// Files through format libraries, and the opener of every kind of file.

#include "qel/image/image.h"

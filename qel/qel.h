// Everything that the engine offers.
#pragma once

#include "qel/convert/itc.h"
#include "qel/draw/point_array.h"
#include "qel/draw/point_stack.h"
#include "qel/export.h"
#include "qel/fileio/codec_header.h"
#include "qel/image/image.h"
#include "qel/lines/convert.h"
#include "qel/lines/coverage.h"
#include "qel/lines/rescale.h"
#include "qel/lines/run_fill.h"
#include "qel/lines/shift_copy.h"
#include "qel/mem/mem.h"
#include "qel/mem/mem_map_file.h"
#include "qel/mem/mirror_mem.h"
#include "qel/mem/virtual_mem.h"
#include "qel/platform/platform.h"

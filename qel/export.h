// Marks what the shared library offers; everything else stays hidden inside it.
#pragma once

#define QEL_API __attribute__((visibility("default")))

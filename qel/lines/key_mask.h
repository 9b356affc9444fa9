// Lines of masks made from pictures: 0 is opaque, 255 transparent.
#pragma once

#include "qel/platform/types.h"

namespace qel::lines {

/// n 24-bit pixels: those of the key colour (blue in the low byte) become black and their mask 255, the mask of others
/// 0.
void KeyOut(unsigned char *pixels, unsigned char *mask, long n, DWORD key);

/// A picture over its black shadow: joins the picture's mask into the shadow's weights, and darkens the n 24-bit pixels
/// so that the joint weights show them right.
void DropShadow(unsigned char *pixels, const unsigned char *mask, unsigned char *shadow, long n);

}  // namespace qel::lines

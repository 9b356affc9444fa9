// A box of colours.
#pragma once

namespace qel::lines {

/// The colours between two bounds, both included: blue, green, red.
struct ColorBox {
  unsigned char low[3];
  unsigned char high[3];
};

}  // namespace qel::lines

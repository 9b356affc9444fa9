// A box of colours.
#pragma once

namespace qel::lines {

/// The colours between two bounds, both included: blue, green, red.
struct ColorBox {
  unsigned char low[3];
  unsigned char high[3];
};

/// A box as tests of a vector of bytes need it: its bounds over and over, so that a vector may begin at any channel.
struct BoxTest {
  static constexpr int kBytes = 64 + 2;
  unsigned char low[kBytes];
  unsigned char high[kBytes];

  explicit BoxTest(const ColorBox &box) {
    for (int i = 0; i < kBytes; ++i) low[i] = box.low[i % 3], high[i] = box.high[i % 3];
  }
};

}  // namespace qel::lines

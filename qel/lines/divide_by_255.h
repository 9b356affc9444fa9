// The division of products of bytes and mask levels.
#pragma once

namespace qel::lines {

/// x / 255, truncated, for every x up to 255 x 255.
constexpr unsigned DivideBy255(unsigned x) {
  return (x + (x >> 8) + 1) >> 8;
}

}  // namespace qel::lines

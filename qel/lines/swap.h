// Exchange of two byte ranges.
#pragma once

namespace qel::lines {

/// Exchanges `dwCount` bytes of two ranges that do not overlap.
void SwapBytes(unsigned char *pA, unsigned char *pB, unsigned long dwCount);

}  // namespace qel::lines

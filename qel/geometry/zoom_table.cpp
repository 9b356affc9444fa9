// The tables that carry the geometry of a rescaling in one direction (their entries: lines/rescale.h).

#include <algorithm>
#include <limits>

#include "qel/image/image.h"

namespace {

bool IsSize(long l) {
  return l >= 1 && l <= std::numeric_limits<int>::max();
}

}  // namespace

void PQel::xBuildZoomTable(long lSource, long lDest, int *pnMap, int *plWeight1, int *plWeight2) {
  if (lSource > lDest) xBuildZoomOutTable(lSource, lDest, pnMap, plWeight1);
  if (lSource < lDest) xBuildZoomInTable(lSource, lDest, pnMap, plWeight1, plWeight2);
}

// Zoom-in ------------------------------------------------------------------------------------------------------------

namespace {

/// Blends over the middle three quarters of the pixel spacing instead of all of it.
long Steepen(long lWeight2, long lDest) {
  return std::clamp((8 * lWeight2 - lDest) / 6, 0L, lDest);
}

}  // namespace

/// Destination pixel i samples the source at (i - h) n / m: the first h pixels repeat the first source pixel, those
/// beyond the last pair the last one.
void PQel::xBuildZoomInTable(long lSource, long lDest, int *pnMap, int *plWeight1, int *plWeight2) {
  if (!IsSize(lSource) || !IsSize(lDest) || pnMap == nullptr || plWeight1 == nullptr || plWeight2 == nullptr) return;
  const long lHead = std::min(lDest / (2 * lSource), lDest);
  std::fill_n(pnMap, lDest, 0);
  std::fill_n(plWeight2, lDest, 0);
  long lFraction = 0, k = 0, lTail = lHead;  // lTail: behind the last entry that moves on within the source
  for (long i = lHead; i < lDest && k < lSource; ++i) {
    plWeight2[i] = static_cast<int>(lFraction);
    for (lFraction += lSource; lFraction >= lDest; lFraction -= lDest) pnMap[i] = static_cast<int>(++k);
    if (pnMap[i] != 0 && k < lSource) lTail = i + 1;
  }
  std::fill(pnMap + lTail, pnMap + lDest, 0);
  std::fill(plWeight2 + lTail, plWeight2 + lDest, 0);
  const bool bSteep = lDest > 6 * lSource;
  for (long i = 0; i < lDest; ++i) {
    if (bSteep) plWeight2[i] = static_cast<int>(Steepen(plWeight2[i], lDest));
    plWeight1[i] = static_cast<int>(lDest - plWeight2[i]);
  }
}

// Zoom-out -----------------------------------------------------------------------------------------------------------

/// Both pixel grids laid over each other, a source pixel lDest long and a destination pixel lSource long.
void PQel::xBuildZoomOutTable(long lSource, long lDest, int *pnMap, int *plWeight) {
  if (!IsSize(lSource) || !IsSize(lDest) || pnMap == nullptr || plWeight == nullptr) return;
  long lDestRest = lSource, lSourceRest = lDest;
  for (long lLeft = lDest; lLeft > 0; ++pnMap, ++plWeight) {
    const bool bClosesDest = lDestRest <= lSourceRest;
    *pnMap = bClosesDest ? 1 : 0;
    *plWeight = static_cast<int>(std::min(lDestRest, lSourceRest));
    if (bClosesDest) {
      lSourceRest -= lDestRest;
      lDestRest = lSource;
      --lLeft;
    } else {
      lDestRest -= lSourceRest;
      lSourceRest = lDest;
    }
  }
}

// Copies between a packed line and units that lie a stride apart.
//
// Both directions are one loop with two steps, one of which is the unit. Units of 1 to 4 and of 6 bytes have it
// compiled for their size, so that each is moved with single loads and stores.
#include "qel/lines/strided.h"

#include <cstring>

namespace qel::lines {
namespace {

/// Moves `dwCount` units from places lSrcStep apart to places lDstStep apart. Addresses are made from the index, so
/// that none beyond the last unit is ever formed.
inline void MoveUnits(unsigned char *pDst, long lDstStep, const unsigned char *pSrc, long lSrcStep,
                      unsigned long dwCount, unsigned long dwUnit) {
  for (long i = 0; i < static_cast<long>(dwCount); ++i) std::memcpy(pDst + i * lDstStep, pSrc + i * lSrcStep, dwUnit);
}

/// Calls `move` with the unit as a constant where it is small.
template <class Move>
inline void DispatchUnit(unsigned long dwUnit, Move move) {
  switch (dwUnit) {
    case 1:
      return move(1UL);
    case 2:
      return move(2UL);
    case 3:
      return move(3UL);
    case 4:
      return move(4UL);
    case 6:
      return move(6UL);
    default:
      return move(dwUnit);
  }
}

}  // namespace

void GatherStrided(unsigned char *pDst, const unsigned char *pSrc, unsigned long dwCount, unsigned long dwUnit,
                   long lStride) {
  DispatchUnit(dwUnit,
               [=](unsigned long unit) { MoveUnits(pDst, static_cast<long>(unit), pSrc, lStride, dwCount, unit); });
}

void ScatterStrided(unsigned char *pDst, const unsigned char *pSrc, unsigned long dwCount, unsigned long dwUnit,
                    long lStride) {
  DispatchUnit(dwUnit,
               [=](unsigned long unit) { MoveUnits(pDst, lStride, pSrc, static_cast<long>(unit), dwCount, unit); });
}

}  // namespace qel::lines
